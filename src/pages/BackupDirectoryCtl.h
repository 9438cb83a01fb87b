#pragma once

#include "FolderPage.h"

// The shared folder that receives the database backup for the multi-user server.
class BackupDirectoryCtl : public FolderPage {
    Q_OBJECT
public:
    explicit BackupDirectoryCtl(QWidget* parent = nullptr);
};
