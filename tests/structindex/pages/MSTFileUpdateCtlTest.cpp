#include "MSTFileUpdateCtl.h"

#include "PageFixture.h"

#include <QTextEdit>

namespace {

class MSTFileUpdateCtlTest : public PageFixture {
protected:
    MSTFileUpdateCtl page;
    QTextEdit* box() const { return control<QTextEdit>(page, "rtbSum"); }
};

TEST_F(MSTFileUpdateCtlTest, SummaryIsThreeLinesByteForByte)
{
    page.Initialize("LABSQL01", "LabfolioShared", "\\\\files\\index");
    EXPECT_EQ(page.summaryText().toStdString(), "Server: LABSQL01\r\n"
                                                "Database: LabfolioShared\r\n"
                                                "MST File Location: \\\\files\\index");
    EXPECT_EQ(box()->toPlainText(),
              "Server: LABSQL01\nDatabase: LabfolioShared\nMST File Location: \\\\files\\index");
}

TEST_F(MSTFileUpdateCtlTest, EmptyArgumentsLeaveTheLabelsAlone)
{
    page.Initialize("", "", "");
    EXPECT_EQ(page.summaryText().toStdString(), "Server: \r\nDatabase: \r\nMST File Location: ");
    EXPECT_EQ(page.summaryText().count("\r\n"), 2);
    EXPECT_FALSE(page.summaryText().endsWith("\r\n"));
    EXPECT_EQ(box()->document()->blockCount(), 3);
}

TEST_F(MSTFileUpdateCtlTest, LastLineIsTheFolderWithNothingAfterIt)
{
    page.Initialize("(local)", "LFDesktop10", "C:\\Index\\ ");
    EXPECT_TRUE(page.summaryText().endsWith("\r\nMST File Location: C:\\Index\\ "));
}

TEST_F(MSTFileUpdateCtlTest, EachInitializeReplacesTheWholeText)
{
    page.Initialize("A", "B", "C");
    page.Initialize("X", "Y", "Z");
    EXPECT_EQ(page.summaryText().toStdString(), "Server: X\r\nDatabase: Y\r\nMST File Location: Z");
    EXPECT_EQ(box()->toPlainText(), "Server: X\nDatabase: Y\nMST File Location: Z");
}

TEST_F(MSTFileUpdateCtlTest, BoxIsReadOnlyPlainTextInTheSummaryFont)
{
    EXPECT_TRUE(box()->isReadOnly());
    EXPECT_FALSE(box()->acceptRichText());
    EXPECT_EQ(box()->font().family(), "MS Sans Serif");
    EXPECT_EQ(box()->font().pointSize(), 8);
}

TEST_F(MSTFileUpdateCtlTest, BoxFillsThePage)
{
    page.show();
    page.resize(500, 250);
    EXPECT_EQ(box()->geometry(), QRect(0, 0, 500, 250));
    page.resize(420, 180);
    EXPECT_EQ(box()->geometry(), QRect(0, 0, 420, 180));
}

TEST_F(MSTFileUpdateCtlTest, ChineseLocaleGetsSizeNine)
{
    system->lcid = 2052;
    MSTFileUpdateCtl chinese;
    const QFont font = chinese.findChild<QTextEdit*>("rtbSum")->font();
    EXPECT_EQ(font.pointSize(), 9);
    EXPECT_EQ(font.family(), QString::fromUcs4(U"\u5B8B\u4F53"));
}

} // namespace
