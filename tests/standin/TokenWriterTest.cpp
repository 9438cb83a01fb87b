#include "TdsVersion.h"
#include "TokenWriter.h"

#include <gtest/gtest.h>

using namespace standin;
using namespace standin::tds;

namespace {
const std::vector<ColumnInfo> kColumns{{"a", SqlType::Int, 4, true}, {"b", SqlType::Int, 4, true}};
}

TEST(TokenWriter, RowWithNullsUsesTheNullBitmapFrom73B)
{
    TokenWriter w(kTds74, "LABHOST");
    w.columns(kColumns);
    const size_t start = w.out().size();
    w.row({std::monostate{}, int64_t{5}});
    const Bytes row(w.out().bytes().begin() + static_cast<std::ptrdiff_t>(start), w.out().bytes().end());
    EXPECT_EQ(row, (Bytes{0xD2, 0x01, 4, 5, 0, 0, 0}));
}

TEST(TokenWriter, RowWithoutNullsOrForOlderClientsIsAPlainRow)
{
    TokenWriter modern(kTds74, "LABHOST");
    modern.columns(kColumns);
    size_t start = modern.out().size();
    modern.row({int64_t{1}, int64_t{2}});
    EXPECT_EQ(modern.out().bytes()[start], 0xD1);

    TokenWriter older(kTds73A, "LABHOST");
    older.columns(kColumns);
    start = older.out().size();
    older.row({std::monostate{}, int64_t{2}});
    const Bytes row(older.out().bytes().begin() + static_cast<std::ptrdiff_t>(start),
                    older.out().bytes().end());
    EXPECT_EQ(row, (Bytes{0xD1, 0, 4, 2, 0, 0, 0}));
}

TEST(TokenWriter, RowThatDoesNotMatchItsColumnsIsRefusedWhole)
{
    TokenWriter w(kTds74, "LABHOST");
    EXPECT_THROW(w.row({int64_t{1}}), std::logic_error);
    w.columns(kColumns);
    const size_t before = w.out().size();
    EXPECT_THROW(w.row({int64_t{1}}), std::logic_error);
    EXPECT_THROW(w.row({int64_t{1}, std::vector<uint8_t>{1}}), std::invalid_argument);
    EXPECT_EQ(w.out().size(), before);
}

TEST(TokenWriter, DoneRowCountIsEightBytesFrom72AndFourBefore)
{
    TokenWriter modern(kTds72, "LABHOST");
    modern.done(Done, DoneCount, 0xC1, 3);
    EXPECT_EQ(modern.out().size(), 13u);
    TokenWriter old(kTds71, "LABHOST");
    old.done(Done, DoneCount, 0xC1, 3);
    EXPECT_EQ(old.out().size(), 9u);
}
