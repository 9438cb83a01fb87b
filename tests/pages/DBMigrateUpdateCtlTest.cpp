#include "DBMigrateUpdateCtl.h"

#include "PageFixture.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>

namespace {

class DBMigrateUpdateCtlTest : public PageFixture {
protected:
    DBMigrateUpdateCtl page;
    QTextEdit* box() const { return control<QTextEdit>(page, "rtbSum"); }

    void initialize(const QString& udl = "C:\\ProgramData\\Labfolio 10.0\\Lab.udl",
                    const QString& serverConfig = "C:\\ProgramData\\Labfolio 10.0\\Lab.xml",
                    const QString& serviceConfig = "\\\\files\\services\\Lab.lfsvc")
    {
        page.Initialize("PC1\\VELDRIN", "LFDesktop10", "LABSQL01", "LabfolioShared",
                        "C:\\Labfolio\\Labfolio.mst", "\\\\files\\index", udl, serverConfig, serviceConfig,
                        "Chemistry Lab", "\\\\files\\backup\\LFDesktop.BAK");
    }
};

const char* const kExpected = "Migrating from:\r\n"
                              "  Server: PC1\\VELDRIN\r\n"
                              "  Database: LFDesktop10\r\n"
                              "  Chemical Structure Index File: C:\\Labfolio\\Labfolio.mst\r\n"
                              "\r\n"
                              "Migrating to:\r\n"
                              "  Server: LABSQL01\r\n"
                              "  Database: LabfolioShared\r\n"
                              "  Chemical Structure Index File: \\\\files\\index\r\n"
                              "\r\n"
                              "Service Name: Chemistry Lab\r\n"
                              "Database Backup File: \\\\files\\backup\\LFDesktop.BAK";

TEST_F(DBMigrateUpdateCtlTest, SummaryIsTheTwelveLinesByteForByte)
{
    initialize();
    EXPECT_EQ(page.summaryText().toStdString(), kExpected);
}

TEST_F(DBMigrateUpdateCtlTest, BoxShowsTheSummaryLineByLine)
{
    initialize();
    EXPECT_EQ(box()->toPlainText(), QString(kExpected).replace("\r\n", "\n"));
    EXPECT_EQ(box()->document()->blockCount(), 12);
}

TEST_F(DBMigrateUpdateCtlTest, AllEmptyValuesLeaveTheLabelsAndElevenLineBreaks)
{
    page.Initialize("", "", "", "", "", "", "", "", "", "", "");
    const std::string text = page.summaryText().toStdString();
    EXPECT_EQ(text, "Migrating from:\r\n"
                    "  Server: \r\n"
                    "  Database: \r\n"
                    "  Chemical Structure Index File: \r\n"
                    "\r\n"
                    "Migrating to:\r\n"
                    "  Server: \r\n"
                    "  Database: \r\n"
                    "  Chemical Structure Index File: \r\n"
                    "\r\n"
                    "Service Name: \r\n"
                    "Database Backup File: ");
    EXPECT_EQ(page.summaryText().count("\r\n"), 11);
    EXPECT_EQ(page.summaryText().count('\n'), 11);
    EXPECT_EQ(page.summaryText().count('\r'), 11);
    EXPECT_FALSE(page.summaryText().endsWith("\r\n"));
}

TEST_F(DBMigrateUpdateCtlTest, ValueWithItsOwnLineBreakIsShownAsIs)
{
    page.Initialize("A", "B", "C", "D", "E", "F", "", "", "", "Lab\r\nOne", "G");
    const QStringList lines = page.summaryText().split("\r\n");
    ASSERT_EQ(lines.size(), 13);
    EXPECT_EQ(lines[10], "Service Name: Lab");
    EXPECT_EQ(lines[11], "One");
    EXPECT_EQ(lines[12], "Database Backup File: G");
}

TEST_F(DBMigrateUpdateCtlTest, PathsOfTheConfigurationFilesAreNotShown)
{
    initialize();
    const QString first = page.summaryText();
    initialize("/elsewhere/other.udl", "C:\\ProgramData\\Labfolio 10.0\\Lab.xml",
               "\\\\files\\services\\Lab.lfsvc");
    EXPECT_EQ(page.summaryText(), first);
    initialize("C:\\ProgramData\\Labfolio 10.0\\Lab.udl", "/elsewhere/other.xml",
               "\\\\files\\services\\Lab.lfsvc");
    EXPECT_EQ(page.summaryText(), first);
    initialize("C:\\ProgramData\\Labfolio 10.0\\Lab.udl", "C:\\ProgramData\\Labfolio 10.0\\Lab.xml",
               "x.lfsvc");
    EXPECT_EQ(page.summaryText(), first);
    EXPECT_EQ(box()->toPlainText(), QString(first).replace("\r\n", "\n"));
}

TEST_F(DBMigrateUpdateCtlTest, EachInitializeReplacesTheWholeText)
{
    initialize();
    page.Initialize("S1", "D1", "S2", "D2", "M1", "M2", "", "", "", "N", "B");
    EXPECT_FALSE(page.summaryText().contains("LFDesktop10"));
    EXPECT_TRUE(page.summaryText().startsWith("Migrating from:\r\n  Server: S1\r\n"));
    EXPECT_FALSE(box()->toPlainText().contains("LFDesktop10"));
}

TEST_F(DBMigrateUpdateCtlTest, ValuesAreShownUntrimmedAndUnquoted)
{
    page.Initialize(" S ", "\"D\"", "", "", "", "", "", "", "", "  ", "");
    const QStringList lines = page.summaryText().split("\r\n");
    EXPECT_EQ(lines[1], "  Server:  S ");
    EXPECT_EQ(lines[2], "  Database: \"D\"");
    EXPECT_EQ(lines[10], "Service Name:   ");
}

TEST_F(DBMigrateUpdateCtlTest, BoxIsReadOnlyPlainTextInTheSummaryFont)
{
    EXPECT_TRUE(box()->isReadOnly());
    EXPECT_FALSE(box()->acceptRichText());
    EXPECT_EQ(box()->font().family(), "MS Sans Serif");
    EXPECT_EQ(box()->font().pointSize(), 8);
    EXPECT_FALSE(box()->font().bold());
}

TEST_F(DBMigrateUpdateCtlTest, SummaryTakesTheBoxFontWithoutFormatting)
{
    initialize();
    const QTextDocument* doc = box()->document();
    for (QTextBlock block = doc->begin(); block.isValid(); block = block.next())
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            EXPECT_FALSE(format.hasProperty(QTextFormat::FontWeight));
            EXPECT_FALSE(format.hasProperty(QTextFormat::FontFamilies));
        }
}

TEST_F(DBMigrateUpdateCtlTest, BoxFillsThePage)
{
    // Resize events reach a page once it is shown, as in the frame.
    page.show();
    page.resize(500, 250);
    EXPECT_EQ(box()->geometry(), QRect(0, 0, 500, 250));
    page.resize(613, 201);
    EXPECT_EQ(box()->geometry(), QRect(0, 0, 613, 201));
}

TEST_F(DBMigrateUpdateCtlTest, KoreanLocaleGetsSizeNine)
{
    system->lcid = 1042;
    DBMigrateUpdateCtl korean;
    const QFont font = korean.findChild<QTextEdit*>("rtbSum")->font();
    EXPECT_EQ(font.pointSize(), 9);
    EXPECT_EQ(font.family(), QString::fromUcs4(U"\uAD74\uB9BC"));
}

} // namespace
