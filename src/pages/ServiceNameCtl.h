#pragma once

#include "FieldPage.h"

// The name of the service to which users will connect. The frame may preset it.
class ServiceNameCtl : public FieldPage {
    Q_OBJECT
    Q_PROPERTY(QString ServiceName READ ServiceName WRITE setServiceName)
public:
    explicit ServiceNameCtl(QWidget* parent = nullptr);

    // The text box's text exactly as it stands.
    QString ServiceName() const;
    void setServiceName(const QString& name);
};
