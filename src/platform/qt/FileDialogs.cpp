#include "FileDialogs.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QUrl>

namespace dialogs {
namespace {

// The common dialog's read-only test is the file's read-only attribute; on POSIX systems a
// file without write permission for anyone, or one this user may not write, stands for it.
bool isReadOnlyFile(const QString& name)
{
    const QFileInfo info(name);
    if (!info.exists() || !info.isFile())
        return false;
    // The owner, group and other bits are the file's own; the "user" bits say what this
    // account may do, and an administrator may write anything.
    const auto writeBits = QFileDevice::WriteOwner | QFileDevice::WriteGroup | QFileDevice::WriteOther;
    return !info.isWritable() || (info.permissions() & writeBits) == 0;
}

class QtFileDialogs : public FileDialogs {
public:
    FolderChoice browseForFolder(QWidget* owner, const QString& title, unsigned flags) override
    {
        QFileDialog dialog(owner, title);
        dialog.setFileMode(QFileDialog::Directory);
        QFileDialog::Options options;
        // Directory mode already accepts folders only; the shell's browser also lists no
        // files, which ShowDirsOnly gives.
        if (flags & kBrowseOnlyFileSystemDirs)
            options |= QFileDialog::ShowDirsOnly;
        // The browser's old style has no way to make a new folder; Qt's read-only model hides
        // that button. Qt's dialog always has its edit box, so kBrowseEditBox needs nothing.
        if (!(flags & kBrowseNewDialogStyle))
            options |= QFileDialog::ReadOnly;
        dialog.setOptions(options);
        if (dialog.exec() != QDialog::Accepted)
            return FolderChoice::cancelled();
        // A native dialog may hand back a location that is no local folder (a network or
        // virtual place): it has no file-system path.
        const QUrl chosen = dialog.selectedUrls().value(0);
        if (!chosen.isLocalFile())
            return FolderChoice::itemWithoutPath();
        return FolderChoice::folder(QDir::toNativeSeparators(chosen.toLocalFile()));
    }

    FileChoice browseForFile(QWidget* owner, const FileRequest& request) override
    {
        // The open form: the user picks a service file that the administrator made, which the
        // frame then requires to exist. A save form would ask whether to replace the very file
        // the user means to read. The request's flags carry no "file must exist", so a typed
        // name is accepted as it is and the frame's check speaks about it; the overwrite prompt
        // belongs to the save form only and so never shows.
        QFileDialog dialog(owner, request.title);
        dialog.setAcceptMode(QFileDialog::AcceptOpen);
        dialog.setFileMode(QFileDialog::AnyFile);
        dialog.setNameFilters(toQtNameFilters(request.filter));
        dialog.setDefaultSuffix(request.defaultExtension);
        if (!request.fileName.isEmpty())
            dialog.selectFile(request.fileName);
        // Qt's dialog neither shows a read-only check box nor changes the process's current
        // folder, which is what kFileHideReadOnly and kFileNoChangeDir ask for.
        for (;;) {
            if (dialog.exec() != QDialog::Accepted)
                return FileChoice::cancelled();
            const QString name = dialog.selectedFiles().value(0);
            if (name.isEmpty())
                return FileChoice::failed();
            if ((request.flags & kFileNoReadOnlyReturn) && isReadOnlyFile(name)) {
                // Refused by the dialog itself, which then lets the user choose again.
                QMessageBox::warning(&dialog, dialog.windowTitle(),
                                     QCoreApplication::translate("FileDialogs",
                                                                 "%1\nThis file is read-only.\n"
                                                                 "Choose a different file.")
                                         .arg(QDir::toNativeSeparators(name)));
                dialog.selectFile(name);
                continue;
            }
            return FileChoice::confirmed(QDir::toNativeSeparators(name));
        }
    }
};

} // namespace

ServiceSlot<FileDialogs>& fileDialogsSlot()
{
    static ServiceSlot<FileDialogs> slot(makeQtFileDialogs);
    return slot;
}

FileDialogs& fileDialogs()
{
    return fileDialogsSlot().get();
}

std::shared_ptr<FileDialogs> makeQtFileDialogs()
{
    return std::make_shared<QtFileDialogs>();
}

std::optional<QString> BrowseForFolder(QWidget* owner, const QString& title, unsigned flags)
{
    const FolderChoice choice = fileDialogs().browseForFolder(owner, title, flags);
    switch (choice.outcome) {
    case FolderChoice::Outcome::Cancelled:
        return std::nullopt;
    case FolderChoice::Outcome::ItemWithoutPath:
        return QString();
    case FolderChoice::Outcome::Folder:
        break;
    }
    const qsizetype nul = choice.path.indexOf(QChar(u'\0'));
    return nul < 0 ? choice.path : choice.path.left(nul);
}

QStringList toQtNameFilters(const QString& commonDialogFilter)
{
    QStringList result;
    const QStringList parts = commonDialogFilter.split(u'|');
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QString description = parts[i].trimmed();
        QStringList patterns = parts[i + 1].split(u';', Qt::SkipEmptyParts);
        for (QString& p : patterns)
            p = p.trimmed();
        patterns.removeAll(QString());
        if (patterns.isEmpty())
            continue;
        result << description + QStringLiteral(" (") + patterns.join(u' ') + u')';
    }
    return result;
}

} // namespace dialogs
