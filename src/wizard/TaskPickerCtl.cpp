#include "TaskPickerCtl.h"

#include "ApplyLanguageFont.h"
#include "TaskOffer.h"

#include <QButtonGroup>
#include <QPlainTextEdit>
#include <QRadioButton>

namespace {

struct Option {
    const char* objectName;
    const char* caption;
    const char* toolTip;   // empty: none
};

// In task-code order (code = index + 1).
const Option kOptions[6] = {
    {"mServeDatabaseOption", "Migrate your database to a Multi-User Server",
     "Click here if you want to share your data along with the data of your colleagues."},
    {"mConnectOption", "Connect to an existing Service",
     "Click here if a multi-user server has been created and you want to use it to store information."},
    {"mConnectDesktopOption", "Connect to your Desktop Database",
     "Click here if you have created a connection to a multi-user database and you want to get back to your "
     "local database."},
    {"mCreateOfflineOption", "Create Offline Database",
     "Click here if you want to work with Labfolio data without being connected to your Labfolio database."},
    {"mRebuildMolIDsOption", "Rebuild SQLServer Chemical Structure Index",
     "Click here if the Chemical Structure Index associated with a database has been lost or corrupted."},
    {"mRemoveOfflineOption", "Remove Offline Database", ""},
};

// Rows on the page: the three options offered today first, the three hidden ones after them,
// each keeping its row when hidden.
const int kRowOfOption[6] = {0, 1, 3, 4, 2, 5};

}  // namespace

std::string TaskPickerCtl::ExplanationFor(int32_t task)
{
    switch (task) {
    case MigrateDatabase:
        return std::string("Migrate an existing local Labfolio database that can be shared by several users.") +
               "\r\n\r\n" +
               "NOTE: This multi-user setup wizard will migrate your single-user database to a multi-user "
               "database using SQL Server or MSDE. To create an Oracle database, contact Veldrin Services via " +
               kSupportAddress + ".";
    case ConnectService:
        return "Provide an option to connect to an existing multi-user service located on your computer or another "
               "server.";
    case ConnectDesktop:
        return "Provide an option to connect to your desktop database in addition to other Labfolio services.";
    case CreateOffline:
        // No closing full stop after the second paragraph: the product's text.
        return "Work with Labfolio data from a remote Labfolio service without being connected to the service."
               "\r\n\r\n"
               "Assign offline database permission to the built-in user group";
    case RebuildIndex:
        return "Enable chemical structure searching in SQL Server or MSDE databases if the chemical structure index "
               "associated with the database has been lost or corrupted.";
    case RemoveOffline:
        return "Remove Labfolio Offline Database.";
    default:
        return "";
    }
}

TaskPickerCtl::TaskPickerCtl(QWidget* parent) : WizardPage(parent)
{
    m_group = new QButtonGroup(this);
    m_group->setExclusive(true);
    for (int i = 0; i < 6; ++i) {
        auto* option = new QRadioButton(kOptions[i].caption, this);
        option->setObjectName(kOptions[i].objectName);
        option->setFont(QFont("Verdana"));
        if (*kOptions[i].toolTip)
            option->setToolTip(kOptions[i].toolTip);
        m_group->addButton(option, i + 1);
        // A click on the selected option runs the handler again; a programmatic selection
        // arrives as a toggle.
        connect(option, &QRadioButton::clicked, this, [this, i] { optionClicked(i); });
        connect(option, &QRadioButton::toggled, this, [this, i](bool on) {
            if (on)
                optionClicked(i);
        });
        m_options[i] = option;
    }
    m_explanationTextBox = new QPlainTextEdit("Text1", this);
    m_explanationTextBox->setObjectName("mExplanationTextBox");
    m_explanationTextBox->setReadOnly(true);
    m_explanationTextBox->setFont(QFont("Verdana"));

    initializeFromRegistry();
}

void TaskPickerCtl::initializeFromRegistry()
{
    auto option = [this](TaskCode code) { return m_options[code - 1]; };
    const TaskOffer offer = TaskOffer::ForThisComputer();
    for (int32_t task = MigrateDatabase; task <= RemoveOffline; ++task)
        m_options[task - 1]->setEnabled(offer.offers(task));
    m_options[offer.preselected() - 1]->setChecked(true);

    // Offered only through the other tasks today; their flows stay complete.
    option(RemoveOffline)->setVisible(false);
    option(CreateOffline)->setVisible(false);
    option(ConnectDesktop)->setVisible(false);

    for (QRadioButton* o : m_options) {
        LanguageUtils::ApplyLanguageFont(o, true, 0);
        // Tool tips are drawn in the application's tool-tip font; a rule on the option gives
        // this option's tip the caption's face without touching the tips of other windows.
        o->setStyleSheet(QStringLiteral("QToolTip { font-family: \"%1\"; }").arg(o->font().family()));
    }
    LanguageUtils::ApplyLanguageFont(m_explanationTextBox, false, 0);
}

void TaskPickerCtl::optionClicked(int index)
{
    QRadioButton* clicked = m_options[index];
    if (!clicked->isChecked())
        return;   // the event of an option being cleared changes nothing
    const bool changed = m_task != index + 1;
    m_task = index + 1;
    for (int i = 0; i < 6; ++i)
        if (i != index)
            m_options[i]->setChecked(false);
    m_explanation = ExplanationFor(m_task);
    QString shown = QString::fromStdString(m_explanation);
    shown.replace("\r\n", "\n");
    m_explanationTextBox->setPlainText(shown);
    if (changed)
        emit taskChanged(m_task);
}

QWidget* TaskPickerCtl::focusField() const
{
    if (m_task >= 1 && m_task <= 6)
        return m_options[m_task - 1];
    return nullptr;
}

void TaskPickerCtl::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    const int margin = 8;
    const int columnWidth = std::max(120, width() * 11 / 20);
    int rowHeight = 0;
    for (QRadioButton* o : m_options)
        rowHeight = std::max(rowHeight, o->sizeHint().height());
    rowHeight += 8;
    for (int i = 0; i < 6; ++i)
        m_options[i]->setGeometry(margin, margin + kRowOfOption[i] * rowHeight, columnWidth - margin, rowHeight - 4);
    const int boxLeft = columnWidth + margin;
    m_explanationTextBox->setGeometry(boxLeft, margin, std::max(0, width() - boxLeft - margin),
                                      std::max(0, height() - 2 * margin));
}
