#include "FieldPage.h"

#include "ApplyLanguageFont.h"

#include <QFont>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QResizeEvent>

#include <algorithm>

namespace {
constexpr int kMargin = 16;    // left and top edge of the caption
constexpr int kCaptionGap = 6; // between the caption and the box
constexpr int kBoxWidth = 360; // the box's width before the first resize
constexpr int kButtonGap = 8;  // between the box and Browse
constexpr int kButtonWidth = 75;

// The input pages' face before the language adjustment picks face and size for the locale.
void setPageFont(QWidget* widget)
{
    LanguageUtils::ApplyLanguageFont(widget, QStringLiteral("Verdana"), false, 0);
}
} // namespace

FieldPage::FieldPage(const QString& labelName, const QString& caption, const QString& textBoxName,
                     Browse browse, QWidget* parent)
    : WizardPage(parent), m_label(new QLabel(caption, this)), m_textBox(new QLineEdit(this))
{
    m_label->setObjectName(labelName);
    m_textBox->setObjectName(textBoxName);
    setPageFont(m_label);
    setPageFont(m_textBox);

    m_label->adjustSize();
    m_label->move(kMargin, kMargin);
    const int boxTop = m_label->geometry().bottom() + 1 + kCaptionGap;
    const int boxHeight = m_textBox->sizeHint().height();
    m_textBox->setGeometry(kMargin, boxTop, kBoxWidth, boxHeight);

    if (browse == Browse::Button) {
        m_browseButton = new QPushButton(QStringLiteral("Browse"), this);
        m_browseButton->setObjectName(QStringLiteral("mBrowseButton"));
        setPageFont(m_browseButton);
        const int buttonHeight = std::max(boxHeight, m_browseButton->sizeHint().height());
        m_browseButton->setGeometry(kMargin + kBoxWidth + kButtonGap, boxTop - (buttonHeight - boxHeight) / 2,
                                    kButtonWidth, buttonHeight);
    }
}

QWidget* FieldPage::focusField() const
{
    return m_textBox;
}

void FieldPage::selectOnShow()
{
    m_textBox->setCursorPosition(0);
    m_textBox->setSelection(0, static_cast<int>(m_textBox->text().size()));
}

void FieldPage::showEvent(QShowEvent* event)
{
    WizardPage::showEvent(event);
    selectOnShow();
}

void FieldPage::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    if (!m_browseButton)
        return;
    m_browseButton->move(width() - m_browseButton->width(), m_browseButton->y());
    const int boxWidth = m_browseButton->x() - kButtonGap - m_textBox->x();
    if (boxWidth >= 0)
        m_textBox->resize(boxWidth, m_textBox->height());
}
