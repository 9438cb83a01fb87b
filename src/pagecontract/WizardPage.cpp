#include "WizardPage.h"

#include <QFocusEvent>

WizardPage::WizardPage(QWidget* parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
}

void WizardPage::takeFocus()
{
    if (QWidget* field = focusField())
        field->setFocus(Qt::OtherFocusReason);
    else
        setFocus(Qt::OtherFocusReason);
}

void WizardPage::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    if (QWidget* field = focusField())
        field->setFocus(event->reason());
}
