#pragma once

#include "ServiceSlot.h"
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class QWidget;

// The folder browser and the file dialog that the folder, file and index-location pages open.
// The pages describe their request in the shell's and the common dialog's own terms (flags,
// filter text, default extension); Qt's dialogs show it in the product, a scripted fake in tests.
namespace dialogs {

// Folder browser flags, as the pages pass them (the shell's BIF_* values).
constexpr unsigned kBrowseOnlyFileSystemDirs = 0x1;
constexpr unsigned kBrowseEditBox = 0x10;
constexpr unsigned kBrowseNewDialogStyle = 0x40;

// File dialog flags, as the pages pass them (the common dialog's OFN_* values).
constexpr unsigned kFileOverwritePrompt = 0x2;
constexpr unsigned kFileHideReadOnly = 0x4;
constexpr unsigned kFileNoChangeDir = 0x8;
constexpr unsigned kFileNoReadOnlyReturn = 0x8000;

// What the folder browser gave back. The shell can return an item that is no file-system
// folder (a virtual folder such as the network neighbourhood); it has no path.
struct FolderChoice {
    enum class Outcome { Cancelled, ItemWithoutPath, Folder };
    Outcome outcome = Outcome::Cancelled;
    QString path; // the folder, for Outcome::Folder only

    static FolderChoice cancelled() { return {Outcome::Cancelled, {}}; }
    static FolderChoice itemWithoutPath() { return {Outcome::ItemWithoutPath, {}}; }
    static FolderChoice folder(const QString& path) { return {Outcome::Folder, path}; }
};

// A file dialog request in the common dialog's terms.
struct FileRequest {
    QString title;            // empty: the dialog's own title
    QString defaultExtension; // without the dot; appended to a typed name that has none
    QString filter;           // "description|pattern" pairs, exactly as the page wrote them
    QString fileName;         // the name the dialog opens on
    unsigned flags = 0;       // kFile* values
};

struct FileChoice {
    enum class Outcome { Confirmed, Cancelled, Failed };
    Outcome outcome = Outcome::Cancelled;
    QString fileName; // for Outcome::Confirmed only

    static FileChoice confirmed(const QString& name) { return {Outcome::Confirmed, name}; }
    static FileChoice cancelled() { return {Outcome::Cancelled, {}}; }
    static FileChoice failed() { return {Outcome::Failed, {}}; }
};

class FileDialogs {
public:
    virtual ~FileDialogs() = default;

    // Shows the folder browser over owner. flags: kBrowse* values.
    virtual FolderChoice browseForFolder(QWidget* owner, const QString& title, unsigned flags) = 0;

    // Shows the file dialog over owner.
    virtual FileChoice browseForFile(QWidget* owner, const FileRequest& request) = 0;
};

// The dialogs of this process: Qt's, unless a test has put its own in place.
FileDialogs& fileDialogs();

// Qt's dialogs (native ones where the platform has them).
std::shared_ptr<FileDialogs> makeQtFileDialogs();

// Tests replace the dialogs for their own scope.
ServiceSlot<FileDialogs>& fileDialogsSlot();
using ScopedFileDialogsOverride = ScopedServiceOverride<FileDialogs, fileDialogsSlot>;

// The folder-browsing operation the pages share: empty optional when the user cancels; the
// folder's path otherwise, cut before its first NUL character as the shell's path buffer is,
// and an empty text for an item without a file-system path.
std::optional<QString> BrowseForFolder(QWidget* owner, const QString& title, unsigned flags);

// The common dialog's filter ("description|pattern|description|pattern") as Qt name filters
// ("description (pattern)"). Blanks around each part are dropped for display only; the
// patterns of a part may be separated by ';'. A description without a pattern is skipped.
QStringList toQtNameFilters(const QString& commonDialogFilter);

} // namespace dialogs
