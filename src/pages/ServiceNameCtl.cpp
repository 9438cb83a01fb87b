#include "ServiceNameCtl.h"

#include <QLineEdit>

// The caption's member keeps the name lblDatabase although it shows "Service:".
ServiceNameCtl::ServiceNameCtl(QWidget* parent)
    : FieldPage(QStringLiteral("lblDatabase"), QStringLiteral("Service:"), QStringLiteral("Text1"),
                Browse::None, parent)
{
}

QString ServiceNameCtl::ServiceName() const
{
    return textBox()->text();
}

void ServiceNameCtl::setServiceName(const QString& name)
{
    textBox()->setText(name);
}
