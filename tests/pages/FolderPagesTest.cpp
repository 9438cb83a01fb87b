// ServiceDirectoryCtl and BackupDirectoryCtl: the same page with its own names and title.
#include "BackupDirectoryCtl.h"
#include "ServiceDirectoryCtl.h"

#include "PageFixture.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

struct Names {
    const char* label;
    const char* caption;
    const char* textBox;
    const char* title;
};

template <typename Page> Names namesOf();
template <> Names namesOf<ServiceDirectoryCtl>()
{
    return {"mServiceDirectoryLabel", "Service Folder:", "mServiceDirectoryTextBox", "Service Folder"};
}
template <> Names namesOf<BackupDirectoryCtl>()
{
    return {"mBackupDirectoryLabel", "Backup Folder:", "mBackupDirectoryTextBox", "Backup Folder"};
}

template <typename Page> class FolderPageTest : public PageFixture {
protected:
    Page page;
    Names names = namesOf<Page>();
    QLineEdit* box() const { return control<QLineEdit>(page, names.textBox); }
    QPushButton* browse() const { return control<QPushButton>(page, "mBrowseButton"); }
    void type(const QString& text) { QTest::keyClicks(box(), text); }
};

using FolderPages = ::testing::Types<ServiceDirectoryCtl, BackupDirectoryCtl>;
TYPED_TEST_SUITE(FolderPageTest, FolderPages);

TYPED_TEST(FolderPageTest, HasItsCaptionAnEmptyBoxAndBrowse)
{
    EXPECT_EQ(this->template control<QLabel>(this->page, this->names.label)->text(), this->names.caption);
    EXPECT_EQ(this->box()->text(), "");
    EXPECT_EQ(this->browse()->text(), "Browse");
    EXPECT_EQ(this->page.DirectoryPath(), "");
}

TYPED_TEST(FolderPageTest, BrowseAsksForFileSystemFoldersWithEditBoxInNewStyleOverTheButton)
{
    QTest::mouseClick(this->browse(), Qt::LeftButton);
    ASSERT_EQ(this->fake->folderCalls().size(), 1u);
    const auto& call = this->fake->folderCalls()[0];
    EXPECT_EQ(call.title, this->names.title);
    EXPECT_EQ(call.flags, 81u);
    EXPECT_EQ(call.flags, 0x51u);
    EXPECT_EQ(call.owner, this->browse());
}

TYPED_TEST(FolderPageTest, ConfirmedFolderGoesIntoTheBox)
{
    this->type("old");
    this->fake->confirmFolder("/srv/share/Labfolio Services");
    QTest::mouseClick(this->browse(), Qt::LeftButton);
    EXPECT_EQ(this->box()->text(), "/srv/share/Labfolio Services");
    EXPECT_EQ(this->page.DirectoryPath(), "/srv/share/Labfolio Services");
    EXPECT_EQ(this->page.property("DirectoryPath").toString(), "/srv/share/Labfolio Services");
}

TYPED_TEST(FolderPageTest, CancelLeavesTheTextUntouched)
{
    this->type(R"(\\fileserver\shared )");
    this->fake->cancelFolder();
    QTest::mouseClick(this->browse(), Qt::LeftButton);
    EXPECT_EQ(this->fake->folderCalls().size(), 1u);
    EXPECT_EQ(this->box()->text(), R"(\\fileserver\shared )");
    EXPECT_EQ(this->page.DirectoryPath(), R"(\\fileserver\shared )");
}

TYPED_TEST(FolderPageTest, ItemWithoutFileSystemPathEmptiesTheBox)
{
    this->type("C:\\Shared");
    this->fake->returnItemWithoutPath();
    QTest::mouseClick(this->browse(), Qt::LeftButton);
    EXPECT_EQ(this->box()->text(), "");
}

TYPED_TEST(FolderPageTest, PathIsCutBeforeItsFirstNulCharacter)
{
    this->fake->confirmFolder(QString("C:\\Shared") + QChar(u'\0') + "garbage");
    QTest::mouseClick(this->browse(), Qt::LeftButton);
    EXPECT_EQ(this->box()->text(), "C:\\Shared");
}

TYPED_TEST(FolderPageTest, BlanksOnlyAreReturnedUnchanged)
{
    this->type("  ");
    EXPECT_EQ(this->page.DirectoryPath(), "  ");
}

TYPED_TEST(FolderPageTest, ShowingSelectsTheWholeText)
{
    this->type("/srv/backup");
    this->box()->setCursorPosition(4);
    this->page.show();
    EXPECT_EQ(this->box()->selectionStart(), 0);
    EXPECT_EQ(this->box()->selectedText(), "/srv/backup");
}

TYPED_TEST(FolderPageTest, PassesTheFocusToItsTextBox)
{
    this->showActive(this->page);
    this->page.takeFocus();
    EXPECT_TRUE(this->box()->hasFocus());
}

TYPED_TEST(FolderPageTest, BrowseStaysFlushRightAndTheBoxStretchesTowardsIt)
{
    // Resize events reach a page once it is shown, as in the frame.
    this->page.show();
    this->page.resize(500, 250);
    QPushButton* button = this->browse();
    QLineEdit* box = this->box();
    EXPECT_EQ(button->x() + button->width(), 500);
    const int gap = button->x() - (box->x() + box->width());
    EXPECT_GT(gap, 0);

    this->page.resize(640, 250);
    EXPECT_EQ(button->x() + button->width(), 640);
    EXPECT_EQ(button->x() - (box->x() + box->width()), gap);

    // The box's left edge and height stay; only its width follows the button.
    const QRect wide = box->geometry();
    this->page.resize(520, 300);
    EXPECT_EQ(box->x(), wide.x());
    EXPECT_EQ(box->height(), wide.height());
    EXPECT_EQ(box->width(), wide.width() - 120);
}

TYPED_TEST(FolderPageTest, TooNarrowAPageLeavesTheBoxWidthAsItWas)
{
    // Resize events reach a page once it is shown, as in the frame.
    this->page.show();
    this->page.resize(500, 250);
    QPushButton* button = this->browse();
    QLineEdit* box = this->box();
    const int width500 = box->width();
    ASSERT_GT(width500, 0);

    // The computed width would be negative: the button still moves, the box keeps its width.
    const int narrow = button->width() + box->x() / 2;
    this->page.resize(narrow, 250);
    EXPECT_EQ(button->x() + button->width(), narrow);
    EXPECT_EQ(box->width(), width500);

    // A computed width of exactly zero is still applied.
    this->page.resize(500 - width500, 250);
    EXPECT_EQ(box->width(), 0);
}

TYPED_TEST(FolderPageTest, FontsAreVerdanaAdjustedForTheLanguage)
{
    for (const char* name : {this->names.label, this->names.textBox, "mBrowseButton"}) {
        const QFont font = this->template control<QWidget>(this->page, name)->font();
        EXPECT_EQ(font.family(), "Verdana") << name;
        EXPECT_EQ(font.pointSize(), 8) << name;
        EXPECT_FALSE(font.bold()) << name;
    }
}

TYPED_TEST(FolderPageTest, KeepsItsTextAcrossHideAndShow)
{
    this->fake->confirmFolder("/srv/share");
    QTest::mouseClick(this->browse(), Qt::LeftButton);
    this->page.show();
    this->page.hide();
    this->page.show();
    EXPECT_EQ(this->page.DirectoryPath(), "/srv/share");
}

} // namespace

namespace {

// The frame gives every page the same rectangle, the hidden ones included; a hidden page lays
// itself out when it is shown.
class FolderPageInFrameTest : public PageFixture {};

TEST_F(FolderPageInFrameTest, PageResizedWhileHiddenIsLaidOutWhenShown)
{
    QWidget frame;
    frame.resize(700, 400);
    auto* page = new BackupDirectoryCtl(&frame);
    frame.show();
    page->hide();
    page->setGeometry(0, 60, 560, 250);
    page->show();
    auto* button = page->findChild<QPushButton*>("mBrowseButton");
    auto* box = page->findChild<QLineEdit*>("mBackupDirectoryTextBox");
    EXPECT_EQ(button->x() + button->width(), 560);
    EXPECT_GT(button->x(), box->x() + box->width());
}

} // namespace
