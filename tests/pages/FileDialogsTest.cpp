#include "FileDialogs.h"

#include "FakeFileDialogs.h"
#include "QStringPrinter.h"
#include "ModalScript.h"
#include "TempDir.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

// --- The pages' side of the seam ---------------------------------------------------------

TEST(ToQtNameFiltersTest, ProductFilterKeepsItsDescriptionAndPattern)
{
    EXPECT_EQ(dialogs::toQtNameFilters("Service Configuration (*.lfsvc) Files | *.lfsvc"),
              QStringList{"Service Configuration (*.lfsvc) Files (*.lfsvc)"});
}

TEST(ToQtNameFiltersTest, SeveralPairsAndSeveralPatterns)
{
    EXPECT_EQ(dialogs::toQtNameFilters("Text|*.txt;*.log|All Files (*.*)|*.*"),
              (QStringList{"Text (*.txt *.log)", "All Files (*.*) (*.*)"}));
}

TEST(ToQtNameFiltersTest, DescriptionWithoutPatternIsSkipped)
{
    EXPECT_EQ(dialogs::toQtNameFilters("Text|*.txt|Dangling"), QStringList{"Text (*.txt)"});
    EXPECT_EQ(dialogs::toQtNameFilters("Blank| "), QStringList{});
    EXPECT_EQ(dialogs::toQtNameFilters(""), QStringList{});
}

class BrowseForFolderTest : public ::testing::Test {
protected:
    std::shared_ptr<FakeFileDialogs> fake = std::make_shared<FakeFileDialogs>();
    dialogs::ScopedFileDialogsOverride scope{fake};
    QWidget owner;
};

TEST_F(BrowseForFolderTest, PassesOwnerTitleAndFlagsThrough)
{
    dialogs::BrowseForFolder(&owner, "Backup Folder", 0x51);
    ASSERT_EQ(fake->folderCalls().size(), 1u);
    EXPECT_EQ(fake->folderCalls()[0].owner, &owner);
    EXPECT_EQ(fake->folderCalls()[0].title, "Backup Folder");
    EXPECT_EQ(fake->folderCalls()[0].flags, 0x51u);
}

TEST_F(BrowseForFolderTest, CancelGivesNothing)
{
    fake->cancelFolder();
    EXPECT_EQ(dialogs::BrowseForFolder(&owner, "t", 1), std::nullopt);
}

TEST_F(BrowseForFolderTest, ItemWithoutPathGivesAnEmptyText)
{
    fake->returnItemWithoutPath();
    const std::optional<QString> result = dialogs::BrowseForFolder(&owner, "t", 1);
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(*result, "");
}

TEST_F(BrowseForFolderTest, FolderIsCutBeforeItsFirstNul)
{
    fake->confirmFolder("C:\\Shared");
    fake->confirmFolder(QString("D:\\A") + QChar(u'\0') + "B");
    EXPECT_EQ(dialogs::BrowseForFolder(&owner, "t", 1), QString("C:\\Shared"));
    EXPECT_EQ(dialogs::BrowseForFolder(&owner, "t", 1), QString("D:\\A"));
}

TEST(ScopedFileDialogsOverrideTest, RestoresThePreviousDialogs)
{
    auto outer = std::make_shared<FakeFileDialogs>();
    auto inner = std::make_shared<FakeFileDialogs>();
    dialogs::ScopedFileDialogsOverride outerScope(outer);
    {
        dialogs::ScopedFileDialogsOverride innerScope(inner);
        EXPECT_EQ(&dialogs::fileDialogs(), inner.get());
    }
    EXPECT_EQ(&dialogs::fileDialogs(), outer.get());
}

// --- Qt's dialogs, driven on the offscreen platform ----------------------------------------

QString native(const std::filesystem::path& p)
{
    return QDir::toNativeSeparators(QString::fromStdString(p.string()));
}

dialogs::FileRequest serviceFileRequest(const QString& fileName)
{
    dialogs::FileRequest request;
    request.defaultExtension = "lfsvc";
    request.filter = "Service Configuration (*.lfsvc) Files | *.lfsvc";
    request.fileName = fileName;
    request.flags = 0x800E;
    return request;
}

// Types a name into the file dialog's edit box and confirms it.
ModalScript::Action typeAndAccept(const QString& name)
{
    return [name](QWidget* w) {
        auto* dialog = qobject_cast<QFileDialog*>(w);
        ASSERT_NE(dialog, nullptr) << "expected the file dialog, got " << w->metaObject()->className();
        auto* edit = dialog->findChild<QLineEdit*>("fileNameEdit");
        ASSERT_NE(edit, nullptr);
        edit->setText(name);
        static_cast<QDialog*>(dialog)->accept(); // public in QDialog, the dialog's own accept()
    };
}

void reject(QWidget* w)
{
    qobject_cast<QDialog*>(w)->reject();
}

class QtFileDialogsTest : public ::testing::Test {
protected:
    std::shared_ptr<dialogs::FileDialogs> qt = dialogs::makeQtFileDialogs();
    TempDir dir;
    QWidget owner;
};

TEST_F(QtFileDialogsTest, FileDialogIsTheOpenFormWithTheRequestsSettings)
{
    dir.write("Start.lfsvc", "<x/>");
    QString title, edit, directory, suffix;
    QStringList filters;
    QFileDialog::AcceptMode mode = QFileDialog::AcceptSave;
    QWidget* parent = nullptr;
    ModalScript script({[&](QWidget* w) {
        auto* dialog = qobject_cast<QFileDialog*>(w);
        ASSERT_NE(dialog, nullptr);
        filters = dialog->nameFilters();
        mode = dialog->acceptMode();
        suffix = dialog->defaultSuffix();
        edit = dialog->findChild<QLineEdit*>("fileNameEdit")->text();
        directory = QDir::toNativeSeparators(dialog->directory().absolutePath());
        parent = dialog->parentWidget();
        dialog->reject();
    }});
    const dialogs::FileChoice choice =
        qt->browseForFile(&owner, serviceFileRequest(native(dir.path() / "Start.lfsvc")));
    EXPECT_TRUE(script.finished());
    EXPECT_EQ(choice.outcome, dialogs::FileChoice::Outcome::Cancelled);
    EXPECT_EQ(filters, QStringList{"Service Configuration (*.lfsvc) Files (*.lfsvc)"});
    EXPECT_EQ(mode, QFileDialog::AcceptOpen);
    EXPECT_EQ(suffix, "lfsvc");
    EXPECT_EQ(edit, "Start.lfsvc");
    EXPECT_EQ(directory, native(dir.path()));
    EXPECT_EQ(parent, &owner);
}

TEST_F(QtFileDialogsTest, NameWithoutExtensionGetsTheDefaultOne)
{
    ModalScript script({typeAndAccept("Chemistry")});
    const dialogs::FileChoice choice =
        qt->browseForFile(&owner, serviceFileRequest(native(dir.path()) + QDir::separator()));
    EXPECT_EQ(script.unexpectedDialogs(), 0);
    ASSERT_EQ(choice.outcome, dialogs::FileChoice::Outcome::Confirmed);
    EXPECT_EQ(choice.fileName, native(dir.path() / "Chemistry.lfsvc"));
}

TEST_F(QtFileDialogsTest, ExistingServiceFileIsConfirmedWithoutAnOverwriteQuestion)
{
    const auto file = dir.write("Lab.lfsvc", "<x/>");
    ModalScript script({typeAndAccept("Lab.lfsvc")});
    const dialogs::FileChoice choice = qt->browseForFile(&owner, serviceFileRequest(native(file)));
    EXPECT_EQ(script.unexpectedDialogs(), 0);
    ASSERT_EQ(choice.outcome, dialogs::FileChoice::Outcome::Confirmed);
    EXPECT_EQ(choice.fileName, native(file));
}

TEST_F(QtFileDialogsTest, CancelGivesCancelled)
{
    ModalScript script({reject});
    const dialogs::FileChoice choice = qt->browseForFile(&owner, serviceFileRequest(""));
    EXPECT_EQ(choice.outcome, dialogs::FileChoice::Outcome::Cancelled);
    EXPECT_EQ(choice.fileName, "");
}

TEST_F(QtFileDialogsTest, ReadOnlyFileIsRefusedByTheDialogItself)
{
    const auto locked = dir.write("Locked.lfsvc", "<x/>");
    std::filesystem::permissions(locked, std::filesystem::perms::owner_read |
                                             std::filesystem::perms::group_read |
                                             std::filesystem::perms::others_read);
    const auto open = dir.write("Open.lfsvc", "<x/>");
    QString refusal;
    ModalScript script({typeAndAccept("Locked.lfsvc"),
                        [&](QWidget* w) {
                            auto* box = qobject_cast<QMessageBox*>(w);
                            ASSERT_NE(box, nullptr)
                                << "expected the refusal, got " << w->metaObject()->className();
                            refusal = box->text();
                            box->accept();
                        },
                        typeAndAccept("Open.lfsvc")});
    const dialogs::FileChoice choice = qt->browseForFile(&owner, serviceFileRequest(native(locked)));
    EXPECT_TRUE(script.finished());
    EXPECT_EQ(script.unexpectedDialogs(), 0);
    EXPECT_TRUE(refusal.contains(native(locked))) << refusal.toStdString();
    ASSERT_EQ(choice.outcome, dialogs::FileChoice::Outcome::Confirmed);
    EXPECT_EQ(choice.fileName, native(open));
}

TEST_F(QtFileDialogsTest, ReadOnlyFileIsAcceptedWithoutTheRefusalFlag)
{
    const auto locked = dir.write("Locked.lfsvc", "<x/>");
    std::filesystem::permissions(locked, std::filesystem::perms::owner_read);
    dialogs::FileRequest request = serviceFileRequest(native(locked));
    request.flags = 0x000E;
    ModalScript script({typeAndAccept("Locked.lfsvc")});
    const dialogs::FileChoice choice = qt->browseForFile(&owner, request);
    EXPECT_EQ(script.unexpectedDialogs(), 0);
    ASSERT_EQ(choice.outcome, dialogs::FileChoice::Outcome::Confirmed);
    EXPECT_EQ(choice.fileName, native(locked));
}

TEST_F(QtFileDialogsTest, FolderBrowserReturnsTheChosenFolder)
{
    std::filesystem::create_directories(dir.path() / "Backups");
    QString title;
    QWidget* parent = nullptr;
    ModalScript script({[&](QWidget* w) {
        auto* dialog = qobject_cast<QFileDialog*>(w);
        ASSERT_NE(dialog, nullptr);
        title = dialog->windowTitle();
        parent = dialog->parentWidget();
        dialog->setDirectory(QString::fromStdString((dir.path() / "Backups").string()));
        static_cast<QDialog*>(dialog)->accept(); // public in QDialog, the dialog's own accept()
    }});
    const dialogs::FolderChoice choice = qt->browseForFolder(&owner, "Backup Folder", 0x51);
    EXPECT_EQ(script.unexpectedDialogs(), 0);
    ASSERT_EQ(choice.outcome, dialogs::FolderChoice::Outcome::Folder);
    EXPECT_EQ(choice.path, native(dir.path() / "Backups"));
    EXPECT_EQ(title, "Backup Folder");
    EXPECT_EQ(parent, &owner);
}

TEST_F(QtFileDialogsTest, FolderBrowserCancelGivesCancelled)
{
    ModalScript script({reject});
    const dialogs::FolderChoice choice = qt->browseForFolder(&owner, "Select Directory", 1);
    EXPECT_EQ(choice.outcome, dialogs::FolderChoice::Outcome::Cancelled);
}

TEST_F(QtFileDialogsTest, FolderBrowserFlagsBecomeTheDialogsOptions)
{
    struct Seen {
        QFileDialog::FileMode mode = QFileDialog::AnyFile;
        bool dirsOnly = false;
        bool readOnly = false;
    };
    auto inspect = [](Seen& seen) {
        return [&seen](QWidget* w) {
            auto* dialog = qobject_cast<QFileDialog*>(w);
            ASSERT_NE(dialog, nullptr);
            seen = {dialog->fileMode(), dialog->testOption(QFileDialog::ShowDirsOnly),
                    dialog->testOption(QFileDialog::ReadOnly)};
            dialog->reject();
        };
    };
    Seen oldStyle, newStyle;
    ModalScript script({inspect(oldStyle), inspect(newStyle)});
    qt->browseForFolder(&owner, "Select Directory", 1);
    qt->browseForFolder(&owner, "Service Folder", 0x51);
    EXPECT_EQ(oldStyle.mode, QFileDialog::Directory);
    EXPECT_TRUE(oldStyle.dirsOnly);
    EXPECT_TRUE(oldStyle.readOnly); // no "new folder" in the old-style browser
    EXPECT_EQ(newStyle.mode, QFileDialog::Directory);
    EXPECT_TRUE(newStyle.dirsOnly);
    EXPECT_FALSE(newStyle.readOnly);
}

} // namespace
