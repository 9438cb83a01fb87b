#include "FolderPage.h"

#include "FileDialogs.h"

#include <QLineEdit>
#include <QPushButton>

FolderPage::FolderPage(const QString& browseTitle, const QString& labelName, const QString& caption,
                       const QString& textBoxName, QWidget* parent)
    : FieldPage(labelName, caption, textBoxName, Browse::Button, parent), m_browseTitle(browseTitle)
{
    connect(browseButton(), &QPushButton::clicked, this, &FolderPage::onBrowse);
}

QString FolderPage::DirectoryPath() const
{
    return textBox()->text();
}

void FolderPage::onBrowse()
{
    // File-system folders only, with the browser's edit box and its new style (which can make
    // a new folder), over the Browse button.
    constexpr unsigned flags =
        dialogs::kBrowseOnlyFileSystemDirs | dialogs::kBrowseEditBox | dialogs::kBrowseNewDialogStyle;
    // A cancel leaves the box alone; an item without a file-system path empties it.
    if (const std::optional<QString> folder = dialogs::BrowseForFolder(browseButton(), m_browseTitle, flags))
        textBox()->setText(*folder);
}
