#pragma once

#include "WizardPage.h"

class QLabel;

// The first page: a greeting with its own title, beside the frame's side picture.
class WelcomeCtl : public WizardPage {
    Q_OBJECT
public:
    explicit WelcomeCtl(QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QLabel* m_lblTop;
    QLabel* m_lblHeader;
};
