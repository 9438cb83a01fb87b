#include "PageControls.h"

#include <QComboBox>
#include <QWidget>

namespace PageControls {

void addItemKeepingText(QComboBox* box, const QString& text)
{
    const int index = box->currentIndex();
    const QString shown = box->currentText();
    box->addItem(text);
    if (index == -1 && box->currentIndex() != -1) {
        box->setCurrentIndex(-1);
        box->setEditText(shown);
    }
}

void selectItem(QComboBox* box, int index)
{
    box->setCurrentIndex(index);
    if (index >= 0 && index < box->count())
        box->setEditText(box->itemText(index));
}

void clearBox(QComboBox* box)
{
    box->clear();
    box->clearEditText();
}

void stretchToRightBorder(QWidget* control, int innerWidth)
{
    if (innerWidth > control->x())
        control->resize(innerWidth - control->x(), control->height());
}

QString trimBlanks(const QString& text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == u' ')
        ++begin;
    while (end > begin && text.at(end - 1) == u' ')
        --end;
    return text.mid(begin, end - begin);
}

} // namespace PageControls
