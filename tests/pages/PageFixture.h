#pragma once

#include "FakeFileDialogs.h"
#include "QStringPrinter.h"
#include "FakeSystemInfo.h"

#include <QApplication>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>

#include <memory>

// Widget tests of the input and summary pages: an English machine (LCID 1033) and scripted
// dialogs, both for the test's own scope.
class PageFixture : public ::testing::Test {
protected:
    std::shared_ptr<FakeSystemInfo> system = std::make_shared<FakeSystemInfo>();
    sys::ScopedSystemOverride systemOverride{system};
    std::shared_ptr<FakeFileDialogs> fake = std::make_shared<FakeFileDialogs>();
    dialogs::ScopedFileDialogsOverride dialogsOverride{fake};

    // A control of the page by its object name; fails the test when it is missing.
    template <typename T> static T* control(const QWidget& page, const char* name)
    {
        T* found = page.findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(found, nullptr) << "no control named " << name;
        return found;
    }

    // Shows the page as a window of its own and makes it the active one, so that focus
    // changes are real.
    static void showActive(QWidget& page)
    {
        page.show();
        page.activateWindow();
        QApplication::setActiveWindow(&page);
        QApplication::processEvents();
    }
};
