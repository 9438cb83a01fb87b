#pragma once

#include "WizardPage.h"

class QLabel;
class QLineEdit;
class QPushButton;

// The shape the input pages share: one caption, one single-line text box under it and, on the
// pages that browse, a "Browse" button beside the box. The page holds and offers the text as
// typed; checking it is the frame's job.
class FieldPage : public WizardPage {
    Q_OBJECT
public:
    QWidget* focusField() const override;

protected:
    enum class Browse { None, Button };

    FieldPage(const QString& labelName, const QString& caption, const QString& textBoxName, Browse browse,
              QWidget* parent);

    QLabel* label() const { return m_label; }
    QLineEdit* textBox() const { return m_textBox; }
    QPushButton* browseButton() const { return m_browseButton; }

    // Each showing prepares the text for overtyping: the caret goes to the start and the whole
    // text is selected.
    virtual void selectOnShow();

    void showEvent(QShowEvent* event) override;
    // Keeps Browse flush with the right edge and stretches the box towards it.
    void resizeEvent(QResizeEvent* event) override;

private:
    QLabel* m_label;
    QLineEdit* m_textBox;
    QPushButton* m_browseButton = nullptr;
};
