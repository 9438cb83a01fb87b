#pragma once

#include "FieldPage.h"

// The path of a service configuration file given by the administrator of the service.
class ServiceFileCtl : public FieldPage {
    Q_OBJECT
    Q_PROPERTY(QString Path READ Path)
public:
    explicit ServiceFileCtl(QWidget* parent = nullptr);

    // The text box's text exactly as it stands.
    QString Path() const;

private:
    void onBrowse();
};
