#pragma once

#include <QString>

class QTextEdit;
class QWidget;

// The summary box of the summary pages: the product's "rtbSum", a read-only plain-text box.
namespace SummaryBox {

// Makes the box on page, with its face before the language adjustment.
QTextEdit* create(QWidget* page);

// Puts text, whose lines are joined by "\r\n", into the box in one assignment, without any
// character formatting.
void setText(QTextEdit* box, const QString& text);

} // namespace SummaryBox
