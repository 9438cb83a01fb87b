#pragma once

#include <QString>

class QComboBox;
class QWidget;

// Small helpers shared by the server and database pages and the MSDE dialog.
namespace PageControls {

// Adds an item without touching the box's text or selection: Qt selects the first item put
// into an empty combo box, the pages expect the typed or preset text to stay until they
// select an item themselves.
void addItemKeepingText(QComboBox* box, const QString& text);

// Selects an item and shows its text, even when the item was already the current one and
// the user has typed over it since.
void selectItem(QComboBox* box, int index);

// Empties the list and the text.
void clearBox(QComboBox* box);

// Stretches a control to the right border of a page whose inner width exceeds its left edge;
// a narrower page leaves it as it is.
void stretchToRightBorder(QWidget* control, int innerWidth);

// The text without leading and trailing blanks (spaces only; tabs stay, as they always have).
QString trimBlanks(const QString& text);

} // namespace PageControls
