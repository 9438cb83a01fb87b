#include "ServiceDirectoryCtl.h"

ServiceDirectoryCtl::ServiceDirectoryCtl(QWidget* parent)
    : FolderPage(QStringLiteral("Service Folder"), QStringLiteral("mServiceDirectoryLabel"),
                 QStringLiteral("Service Folder:"), QStringLiteral("mServiceDirectoryTextBox"), parent)
{
}
