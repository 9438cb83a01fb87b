#include "ServiceFileCtl.h"

#include "PageFixture.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

class ServiceFileCtlTest : public PageFixture {
protected:
    ServiceFileCtl page;
    QLineEdit* box() const { return control<QLineEdit>(page, "mServiceFileLocationTextBox"); }
    QPushButton* browse() const { return control<QPushButton>(page, "mBrowseButton"); }
};

TEST_F(ServiceFileCtlTest, HasItsCaptionAnEmptyBoxAndBrowse)
{
    EXPECT_EQ(control<QLabel>(page, "mServiceFileLocationLabel")->text(), "Service File Location:");
    EXPECT_EQ(box()->text(), "");
    EXPECT_EQ(browse()->text(), "Browse");
    EXPECT_EQ(page.Path(), "");
}

TEST_F(ServiceFileCtlTest, BrowseAsksTheFileDialogWithTheServiceFileSettings)
{
    QTest::keyClicks(box(), "/srv/share/Lab.lfsvc");
    QTest::mouseClick(browse(), Qt::LeftButton);
    ASSERT_EQ(fake->fileCalls().size(), 1u);
    const FakeFileDialogs::FileCall& call = fake->fileCalls()[0];
    EXPECT_EQ(call.owner, &page);
    EXPECT_EQ(call.request.title, "");
    EXPECT_EQ(call.request.defaultExtension, "lfsvc");
    EXPECT_EQ(call.request.filter, "Service Configuration (*.lfsvc) Files | *.lfsvc");
    EXPECT_EQ(call.request.fileName, "/srv/share/Lab.lfsvc");
    EXPECT_EQ(call.request.flags, 32782u);
    EXPECT_EQ(call.request.flags, dialogs::kFileOverwritePrompt | dialogs::kFileHideReadOnly |
                                      dialogs::kFileNoChangeDir | dialogs::kFileNoReadOnlyReturn);
    EXPECT_TRUE(fake->folderCalls().empty());
}

TEST_F(ServiceFileCtlTest, DialogOpensOnAnEmptyNameWhenTheBoxIsEmpty)
{
    QTest::mouseClick(browse(), Qt::LeftButton);
    ASSERT_EQ(fake->fileCalls().size(), 1u);
    EXPECT_EQ(fake->fileCalls()[0].request.fileName, "");
}

TEST_F(ServiceFileCtlTest, ConfirmedFileGoesIntoTheBox)
{
    fake->confirmFile("/srv/share/Chemistry.lfsvc");
    QTest::mouseClick(browse(), Qt::LeftButton);
    EXPECT_EQ(box()->text(), "/srv/share/Chemistry.lfsvc");
    EXPECT_EQ(page.Path(), "/srv/share/Chemistry.lfsvc");
    EXPECT_EQ(page.property("Path").toString(), "/srv/share/Chemistry.lfsvc");
}

TEST_F(ServiceFileCtlTest, CancelLeavesTheTextUntouched)
{
    QTest::keyClicks(box(), "Lab.lfsvc ");
    fake->cancelFile();
    QTest::mouseClick(browse(), Qt::LeftButton);
    EXPECT_EQ(fake->fileCalls().size(), 1u);
    EXPECT_EQ(page.Path(), "Lab.lfsvc ");
}

TEST_F(ServiceFileCtlTest, FailingDialogLeavesTheTextUntouched)
{
    QTest::keyClicks(box(), "Lab.lfsvc");
    fake->failFile();
    QTest::mouseClick(browse(), Qt::LeftButton);
    EXPECT_EQ(page.Path(), "Lab.lfsvc");
}

TEST_F(ServiceFileCtlTest, BlanksOnlyAreReturnedUnchanged)
{
    QTest::keyClicks(box(), "   ");
    EXPECT_EQ(page.Path(), "   ");
}

TEST_F(ServiceFileCtlTest, ShowingSelectsTheWholeText)
{
    QTest::keyClicks(box(), "/srv/share/Lab.lfsvc");
    page.show();
    EXPECT_EQ(box()->selectionStart(), 0);
    EXPECT_EQ(box()->selectedText(), "/srv/share/Lab.lfsvc");
}

TEST_F(ServiceFileCtlTest, PassesTheFocusToItsTextBox)
{
    showActive(page);
    page.takeFocus();
    EXPECT_TRUE(box()->hasFocus());
}

TEST_F(ServiceFileCtlTest, BrowseStaysFlushRightAndTheBoxStretchesTowardsIt)
{
    // Resize events reach a page once it is shown, as in the frame.
    page.show();
    page.resize(500, 250);
    EXPECT_EQ(browse()->x() + browse()->width(), 500);
    const int gap = browse()->x() - (box()->x() + box()->width());
    EXPECT_GT(gap, 0);
    page.resize(700, 250);
    EXPECT_EQ(browse()->x() + browse()->width(), 700);
    EXPECT_EQ(browse()->x() - (box()->x() + box()->width()), gap);
}

TEST_F(ServiceFileCtlTest, FontsAreVerdanaAdjustedForTheLanguage)
{
    for (const char* name : {"mServiceFileLocationLabel", "mServiceFileLocationTextBox", "mBrowseButton"}) {
        const QFont font = control<QWidget>(page, name)->font();
        EXPECT_EQ(font.family(), "Verdana") << name;
        EXPECT_EQ(font.pointSize(), 8) << name;
    }
}

} // namespace
