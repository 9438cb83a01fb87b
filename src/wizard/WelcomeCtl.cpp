#include "WelcomeCtl.h"

#include "ApplyLanguageFont.h"

#include <QLabel>

WelcomeCtl::WelcomeCtl(QWidget* parent) : WizardPage(parent)
{
    m_lblTop = new QLabel("Welcome to the Multi-User System Administration Wizard", this);
    m_lblTop->setObjectName("lblTop");
    m_lblTop->setWordWrap(true);
    LanguageUtils::ApplyLanguageFont(m_lblTop, "Arial", true, 2);

    m_lblHeader = new QLabel(
        "This wizard will let you perform several administrative tasks. To continue, click Next.", this);
    m_lblHeader->setObjectName("lblHeader");
    m_lblHeader->setWordWrap(true);
    LanguageUtils::ApplyLanguageFont(m_lblHeader, "Arial", false, 0);
}

void WelcomeCtl::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    const int w = std::max(0, width() - 10);
    const int titleHeight = m_lblTop->heightForWidth(w);
    m_lblTop->setGeometry(0, 16, w, titleHeight);
    m_lblHeader->setGeometry(0, 16 + titleHeight + 18, w, m_lblHeader->heightForWidth(w));
}
