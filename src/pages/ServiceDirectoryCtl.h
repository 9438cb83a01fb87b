#pragma once

#include "FolderPage.h"

// The folder that receives the service's files for setting up other clients.
class ServiceDirectoryCtl : public FolderPage {
    Q_OBJECT
public:
    explicit ServiceDirectoryCtl(QWidget* parent = nullptr);
};
