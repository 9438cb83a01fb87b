#pragma once

#include "WizardPage.h"

#include <array>
#include <cstdint>
#include <string>

class QButtonGroup;
class QPlainTextEdit;
class QRadioButton;

// The task picker: six options, of which the registry decides which are offered and which
// is preselected, and the explanation of the chosen task.
class TaskPickerCtl : public WizardPage {
    Q_OBJECT
public:
    // Task codes, in the order of the options.
    enum TaskCode : int32_t {
        MigrateDatabase = 1,
        ConnectService = 2,
        ConnectDesktop = 3,
        CreateOffline = 4,
        RebuildIndex = 5,
        RemoveOffline = 6,
    };

    static constexpr const char* kSupportAddress = "support@labfolio.veldrin.com";

    explicit TaskPickerCtl(QWidget* parent = nullptr);

    int32_t Task() const { return m_task; }

    // The explanation exactly as written into the box, CR LF line breaks included.
    const std::string& explanationText() const { return m_explanation; }

    static std::string ExplanationFor(int32_t task);

    QWidget* focusField() const override;

signals:
    // The selection changed to another task.
    void taskChanged(int32_t task);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void optionClicked(int index);
    void initializeFromRegistry();

    std::array<QRadioButton*, 6> m_options{};
    QButtonGroup* m_group;
    QPlainTextEdit* m_explanationTextBox;
    int32_t m_task = 0;
    std::string m_explanation;
};
