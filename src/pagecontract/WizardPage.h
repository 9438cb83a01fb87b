#pragma once

#include <QWidget>

// What every page offers the frame: it is shown and hidden by the frame (exactly one at a
// time), placed by the frame, and passes the focus it receives on to its first input field.
// Page-specific values and operations are members of the page classes themselves.
class WizardPage : public QWidget {
    Q_OBJECT
public:
    explicit WizardPage(QWidget* parent = nullptr);

    // The field that receives the focus when the frame gives the page the focus; none for
    // pages without input.
    virtual QWidget* focusField() const { return nullptr; }

    // The frame's "give the page the focus" after showing it and after every failed check.
    void takeFocus();

protected:
    void focusInEvent(QFocusEvent* event) override;
};
