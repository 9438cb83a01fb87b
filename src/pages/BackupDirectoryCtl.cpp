#include "BackupDirectoryCtl.h"

BackupDirectoryCtl::BackupDirectoryCtl(QWidget* parent)
    : FolderPage(QStringLiteral("Backup Folder"), QStringLiteral("mBackupDirectoryLabel"),
                 QStringLiteral("Backup Folder:"), QStringLiteral("mBackupDirectoryTextBox"), parent)
{
}
