#include "TextEncoding.h"

#include <gtest/gtest.h>

namespace {

TEST(TextEncodingTest, Utf8ToUtf16leRoundTripsBasicAndSupplementaryCharacters)
{
    const std::string text = "A\xC3\xBC\xE2\x84\xA6\xF0\x9F\xA7\xAA"; // A, u-umlaut, Ohm, test tube
    const std::string wire = text::Utf8ToUtf16le(text);
    EXPECT_EQ(wire, std::string("A\0\xFC\0\x26\x21\x3E\xD8\xEA\xDD", 10));
    EXPECT_EQ(text::Utf16leToUtf8(wire), text);
}

TEST(TextEncodingTest, MalformedUtf8BecomesReplacementCharactersAndEnds)
{
    const std::string replacement = "\xFD\xFF";
    EXPECT_EQ(text::Utf8ToUtf16le("\xC3"), replacement) << "truncated";
    EXPECT_EQ(text::Utf8ToUtf16le("\xC0\x80"), replacement + replacement) << "overlong";
    EXPECT_EQ(text::Utf8ToUtf16le("\xED\xA0\x80"), replacement + replacement + replacement) << "surrogate";
    EXPECT_EQ(text::Utf8ToUtf16le("\xFF"
                                  "a"),
              replacement + std::string("a\0", 2));
    EXPECT_EQ(text::Utf8ToUtf16le(""), "");
}

} // namespace
