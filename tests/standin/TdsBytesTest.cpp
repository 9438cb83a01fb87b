#include "TdsBytes.h"

#include <gtest/gtest.h>

using namespace standin::tds;

TEST(TdsBytes, Utf16RoundTripIncludingSurrogatePairs)
{
    const std::string text = "caf\xC3\xA9 \xF0\x9F\x98\x80"; // café 😀
    const Bytes wire = utf8ToUtf16le(text);
    EXPECT_EQ(wire.size(), 2u * 7);
    EXPECT_EQ(utf16leToUtf8(wire.data(), wire.size()), text);
}

TEST(TdsBytes, IllFormedTextBecomesReplacementCharacters)
{
    const Bytes lone{0x00, 0xD8, 'a', 0};
    EXPECT_EQ(utf16leToUtf8(lone.data(), lone.size()), "\xEF\xBF\xBD"
                                                       "a");
    EXPECT_EQ(utf8ToUtf16le("\xFF"), (Bytes{0xFD, 0xFF}));
}

TEST(TdsBytes, Cp1252ReplacesWhatItCannotHold)
{
    EXPECT_EQ(utf8ToCp1252("caf\xC3\xA9 \xE2\x82\xAC"), "caf\xE9 \x80");
    EXPECT_EQ(utf8ToCp1252("\xE4\xB8\xAD"), "?");
    EXPECT_EQ(cp1252ToUtf8("\xE9"), "\xC3\xA9");
}

TEST(TdsBytes, ReadingPastTheEndThrows)
{
    const Bytes b{1, 2, 3};
    ByteReader r(b);
    EXPECT_EQ(r.u16(), 0x0201);
    EXPECT_THROW(r.u16(), ProtocolError);
    EXPECT_THROW(r.seek(4), ProtocolError);
}
