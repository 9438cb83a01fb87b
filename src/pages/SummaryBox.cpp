#include "SummaryBox.h"

#include "ApplyLanguageFont.h"

#include <QFont>
#include <QTextEdit>

namespace SummaryBox {

QTextEdit* create(QWidget* page)
{
    auto* box = new QTextEdit(page);
    box->setObjectName(QStringLiteral("rtbSum"));
    // Read-only: the frame passes its own values on, never the box's text, so an edit here
    // could only mislead the user about what will be done.
    box->setReadOnly(true);
    box->setAcceptRichText(false);
    box->setLineWrapMode(QTextEdit::WidgetWidth);
    QFont font = box->font();
    font.setFamily(QStringLiteral("MS Sans Serif"));
    box->setFont(font);
    LanguageUtils::ApplyLanguageFont(box, false, 0);
    return box;
}

void setText(QTextEdit* box, const QString& text)
{
    // The document keeps paragraphs, not line-break characters: each "\r\n" becomes one break.
    box->setPlainText(text);
}

} // namespace SummaryBox
