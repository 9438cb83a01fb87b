#include "MSTFileLocationCtl.h"

#include "PageFixture.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

class MSTFileLocationCtlTest : public PageFixture {
protected:
    MSTFileLocationCtl page;
    QLineEdit* box() const { return control<QLineEdit>(page, "mMSTFileLocationTextBox"); }
    QPushButton* browse() const { return control<QPushButton>(page, "mBrowseButton"); }
    void setText(const QString& text) { box()->setText(text); }
};

TEST_F(MSTFileLocationCtlTest, HasItsCaptionAnEmptyBoxAndBrowse)
{
    EXPECT_EQ(control<QLabel>(page, "mMstFileLocationLabel")->text(), "MST File Location:");
    EXPECT_EQ(box()->text(), "");
    EXPECT_EQ(browse()->text(), "Browse");
    EXPECT_EQ(page.Path(), "");
    EXPECT_FALSE(page.IsBrowseClicked());
    EXPECT_FALSE(page.ReplaceMSTFile());
}

TEST_F(MSTFileLocationCtlTest, ReplaceMSTFileIsStoredAndReturned)
{
    page.setReplaceMSTFile(true);
    EXPECT_TRUE(page.ReplaceMSTFile());
    EXPECT_TRUE(page.property("ReplaceMSTFile").toBool());
    page.setProperty("ReplaceMSTFile", false);
    EXPECT_FALSE(page.ReplaceMSTFile());
}

TEST_F(MSTFileLocationCtlTest, BrowseAsksForFileSystemFoldersOverThePage)
{
    QTest::mouseClick(browse(), Qt::LeftButton);
    ASSERT_EQ(fake->folderCalls().size(), 1u);
    EXPECT_EQ(fake->folderCalls()[0].title, "Select Directory");
    EXPECT_EQ(fake->folderCalls()[0].flags, 1u);
    EXPECT_EQ(fake->folderCalls()[0].owner, &page);
}

TEST_F(MSTFileLocationCtlTest, ConfirmedFolderGoesIntoTheBoxAndSetsTheBrowseFlag)
{
    fake->confirmFolder("/srv/index");
    QTest::mouseClick(browse(), Qt::LeftButton);
    EXPECT_EQ(page.Path(), "/srv/index");
    EXPECT_EQ(page.property("Path").toString(), "/srv/index");
    EXPECT_TRUE(page.IsBrowseClicked());
    EXPECT_TRUE(page.property("IsBrowseClicked").toBool());
}

TEST_F(MSTFileLocationCtlTest, CancelLeavesTheTextButStillSetsTheBrowseFlag)
{
    QTest::keyClicks(box(), "C:\\Index ");
    ASSERT_FALSE(page.IsBrowseClicked());
    fake->cancelFolder();
    QTest::mouseClick(browse(), Qt::LeftButton);
    EXPECT_EQ(page.Path(), "C:\\Index ");
    EXPECT_TRUE(page.IsBrowseClicked());
}

TEST_F(MSTFileLocationCtlTest, ItemWithoutFileSystemPathGivesAnEmptyText)
{
    setText("C:\\Index");
    fake->returnItemWithoutPath();
    QTest::mouseClick(browse(), Qt::LeftButton);
    EXPECT_EQ(page.Path(), "");
    EXPECT_TRUE(page.IsBrowseClicked());
}

TEST_F(MSTFileLocationCtlTest, BrowseForDirectoryReturnsTheChoiceOrTheCurrentText)
{
    setText("C:\\Current");
    fake->confirmFolder("D:\\Chosen");
    fake->cancelFolder();
    fake->returnItemWithoutPath();
    EXPECT_EQ(page.BrowseForDirectory(), "D:\\Chosen");
    EXPECT_EQ(page.BrowseForDirectory(), "C:\\Current");
    EXPECT_EQ(page.BrowseForDirectory(), "");
    // Calling it directly neither writes the box nor sets the flag: that is Browse's doing.
    EXPECT_EQ(page.Path(), "C:\\Current");
    EXPECT_FALSE(page.IsBrowseClicked());
}

TEST_F(MSTFileLocationCtlTest, AnyKeyReleaseClearsTheBrowseFlagEvenWithoutAChange)
{
    fake->confirmFolder("/srv/index");
    QTest::mouseClick(browse(), Qt::LeftButton);
    ASSERT_TRUE(page.IsBrowseClicked());
    QTest::keyRelease(box(), Qt::Key_Shift);
    EXPECT_FALSE(page.IsBrowseClicked());
    EXPECT_EQ(page.Path(), "/srv/index");

    fake->cancelFolder();
    QTest::mouseClick(browse(), Qt::LeftButton);
    ASSERT_TRUE(page.IsBrowseClicked());
    QTest::keyClick(box(), Qt::Key_End);
    EXPECT_FALSE(page.IsBrowseClicked());
}

TEST_F(MSTFileLocationCtlTest, KeyReleaseOnBrowseDoesNotClearTheFlag)
{
    fake->confirmFolder("/srv/index");
    QTest::mouseClick(browse(), Qt::LeftButton);
    QTest::keyRelease(browse(), Qt::Key_Shift);
    EXPECT_TRUE(page.IsBrowseClicked());
}

TEST_F(MSTFileLocationCtlTest, ShowingSelectsAllButTheMstExtension)
{
    setText("C:\\Data\\Labfolio.mst");
    box()->setCursorPosition(7);
    page.show();
    EXPECT_EQ(box()->selectionStart(), 0);
    EXPECT_EQ(box()->selectedText(), "C:\\Data\\Labfolio");
}

TEST_F(MSTFileLocationCtlTest, UpperCaseExtensionIsSelectedWhole)
{
    setText("C:\\Data\\Labfolio.MST");
    page.show();
    EXPECT_EQ(box()->selectionStart(), 0);
    EXPECT_EQ(box()->selectedText(), "C:\\Data\\Labfolio.MST");
}

TEST_F(MSTFileLocationCtlTest, FolderIsSelectedWhole)
{
    setText("/srv/index");
    page.show();
    EXPECT_EQ(box()->selectionStart(), 0);
    EXPECT_EQ(box()->selectedText(), "/srv/index");
}

TEST_F(MSTFileLocationCtlTest, OnlyTheExtensionLeavesNothingSelected)
{
    setText(".mst");
    page.show();
    EXPECT_FALSE(box()->hasSelectedText());
    EXPECT_EQ(box()->cursorPosition(), 0);
}

TEST_F(MSTFileLocationCtlTest, EmptyTextStaysEmptyOnShow)
{
    page.show();
    EXPECT_EQ(page.Path(), "");
    EXPECT_FALSE(box()->hasSelectedText());
}

TEST_F(MSTFileLocationCtlTest, SelectionIsMadeAgainOnEveryShowing)
{
    setText("/srv/Labfolio.mst");
    page.show();
    page.hide();
    box()->deselect();
    page.show();
    EXPECT_EQ(box()->selectedText(), "/srv/Labfolio");
}

TEST_F(MSTFileLocationCtlTest, BlanksOnlyAreReturnedUnchanged)
{
    QTest::keyClicks(box(), "  ");
    EXPECT_EQ(page.Path(), "  ");
}

TEST_F(MSTFileLocationCtlTest, KeepsTextAndFlagsAcrossHideAndShow)
{
    fake->confirmFolder("/srv/index");
    QTest::mouseClick(browse(), Qt::LeftButton);
    page.setReplaceMSTFile(true);
    page.show();
    page.hide();
    page.show();
    EXPECT_EQ(page.Path(), "/srv/index");
    EXPECT_TRUE(page.IsBrowseClicked());
    EXPECT_TRUE(page.ReplaceMSTFile());
}

TEST_F(MSTFileLocationCtlTest, PassesTheFocusToItsTextBox)
{
    showActive(page);
    page.takeFocus();
    EXPECT_TRUE(box()->hasFocus());
}

TEST_F(MSTFileLocationCtlTest, BrowseStaysFlushRightAndTheBoxStretchesTowardsIt)
{
    page.show();
    page.resize(500, 250);
    EXPECT_EQ(browse()->x() + browse()->width(), 500);
    const int gap = browse()->x() - (box()->x() + box()->width());
    EXPECT_GT(gap, 0);
    const int width500 = box()->width();

    page.resize(650, 250);
    EXPECT_EQ(browse()->x() + browse()->width(), 650);
    EXPECT_EQ(box()->width(), width500 + 150);

    const int narrow = browse()->width() + box()->x() / 2;
    page.resize(narrow, 250);
    EXPECT_EQ(browse()->x() + browse()->width(), narrow);
    EXPECT_EQ(box()->width(), width500 + 150);
}

TEST_F(MSTFileLocationCtlTest, FontsAreVerdanaAdjustedForTheLanguage)
{
    for (const char* name : {"mMstFileLocationLabel", "mMSTFileLocationTextBox", "mBrowseButton"}) {
        const QFont font = control<QWidget>(page, name)->font();
        EXPECT_EQ(font.family(), "Verdana") << name;
        EXPECT_EQ(font.pointSize(), 8) << name;
        EXPECT_FALSE(font.bold()) << name;
    }
}

} // namespace
