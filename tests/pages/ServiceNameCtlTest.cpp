#include "ServiceNameCtl.h"

#include "PageFixture.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

class ServiceNameCtlTest : public PageFixture {};

TEST_F(ServiceNameCtlTest, HasItsCaptionAndAnEmptyBoxButNoBrowseButton)
{
    ServiceNameCtl page;
    EXPECT_EQ(control<QLabel>(page, "lblDatabase")->text(), "Service:");
    EXPECT_EQ(control<QLineEdit>(page, "Text1")->text(), "");
    EXPECT_EQ(page.findChild<QPushButton*>("mBrowseButton"), nullptr);
    EXPECT_EQ(page.ServiceName(), "");
}

TEST_F(ServiceNameCtlTest, WritingServiceNameSetsTheBoxAndReadingReturnsIt)
{
    ServiceNameCtl page;
    page.setServiceName("Chemistry Lab");
    EXPECT_EQ(control<QLineEdit>(page, "Text1")->text(), "Chemistry Lab");
    EXPECT_EQ(page.ServiceName(), "Chemistry Lab");
    EXPECT_EQ(page.property("ServiceName").toString(), "Chemistry Lab");
}

TEST_F(ServiceNameCtlTest, ReturnsTypedTextUnchangedBlanksIncluded)
{
    ServiceNameCtl page;
    QLineEdit* box = control<QLineEdit>(page, "Text1");
    QTest::keyClicks(box, "   ");
    EXPECT_EQ(page.ServiceName(), "   ");
    box->clear();
    QTest::keyClicks(box, " Lab  One ");
    EXPECT_EQ(page.ServiceName(), " Lab  One ");
}

TEST_F(ServiceNameCtlTest, ShowingSelectsTheWholeText)
{
    ServiceNameCtl page;
    page.setServiceName("Chemistry Lab");
    QLineEdit* box = control<QLineEdit>(page, "Text1");
    box->setCursorPosition(5);
    page.show();
    EXPECT_EQ(box->selectionStart(), 0);
    EXPECT_EQ(box->selectedText(), "Chemistry Lab");

    // Again on every showing, after the user moved the caret.
    page.hide();
    box->deselect();
    box->setCursorPosition(3);
    page.show();
    EXPECT_EQ(box->selectionStart(), 0);
    EXPECT_EQ(box->selectedText(), "Chemistry Lab");
}

TEST_F(ServiceNameCtlTest, TypingAfterShowingReplacesTheText)
{
    ServiceNameCtl page;
    page.setServiceName("Old Name");
    showActive(page);
    page.takeFocus();
    QTest::keyClicks(QApplication::focusWidget(), "New");
    EXPECT_EQ(page.ServiceName(), "New");
}

TEST_F(ServiceNameCtlTest, PassesTheFocusToItsTextBox)
{
    ServiceNameCtl page;
    showActive(page);
    QLineEdit* box = control<QLineEdit>(page, "Text1");
    EXPECT_EQ(page.focusField(), box);
    page.takeFocus();
    EXPECT_TRUE(box->hasFocus());

    // Focus given to the page itself goes on to the box as well.
    box->clearFocus();
    page.setFocus(Qt::OtherFocusReason);
    QApplication::processEvents();
    EXPECT_TRUE(box->hasFocus());
}

TEST_F(ServiceNameCtlTest, FontsAreVerdanaAdjustedForTheLanguage)
{
    ServiceNameCtl page;
    for (const char* name : {"lblDatabase", "Text1"}) {
        const QFont font = control<QWidget>(page, name)->font();
        EXPECT_EQ(font.family(), "Verdana") << name;
        EXPECT_EQ(font.pointSize(), 8) << name;
        EXPECT_FALSE(font.bold()) << name;
    }
}

TEST_F(ServiceNameCtlTest, JapaneseLocaleGetsTheJapaneseFaceAtSizeNine)
{
    system->lcid = 1041;
    ServiceNameCtl page;
    const QFont font = control<QWidget>(page, "Text1")->font();
    EXPECT_EQ(font.pointSize(), 9);
    EXPECT_EQ(font.family().size(), 8);
    EXPECT_NE(font.family(), "Verdana");
}

TEST_F(ServiceNameCtlTest, HasNoResizeHandling)
{
    ServiceNameCtl page;
    // Resize events reach a page once it is shown, as in the frame.
    page.show();
    page.resize(500, 250);
    QLineEdit* box = control<QLineEdit>(page, "Text1");
    const QRect before = box->geometry();
    page.resize(900, 300);
    EXPECT_EQ(box->geometry(), before);
}

} // namespace
