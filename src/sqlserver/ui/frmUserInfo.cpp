#include "frmUserInfo.h"

#include "LfError.h"
#include "PageControls.h"
#include "Prompter.h"
#include "SQLServerUtils.h"
#include "ServerManager.h"

#include <QFont>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

namespace {
const char* const kConnectFailedTitle = "MSDE Server connection failed";
} // namespace

frmUserInfo::frmUserInfo(Prompter& prompter, QWidget* parent)
    : QDialog(parent),
      Label3(new QLabel(QStringLiteral("Please provide the user name and password to log in MSDE server."),
                        this)),
      Label4(new QLabel(QStringLiteral("MSDE Name"), this)), txtMSDE(new QLineEdit(this)),
      Label1(new QLabel(QStringLiteral("User Name:"), this)), txtMSDEUser(new QLineEdit(this)),
      Label2(new QLabel(QStringLiteral("Password:"), this)), txtPWD(new QLineEdit(this)),
      OKButton(new QPushButton(QStringLiteral("&OK"), this)),
      CancelButton(new QPushButton(QStringLiteral("&Cancel"), this)), m_prompter(prompter)
{
    setObjectName(QStringLiteral("frmUserInfo"));
    setWindowTitle(QStringLiteral("MSDE Connection User Information"));
    setModal(true);
    QFont face = font();
    face.setFamily(QStringLiteral("MS Sans Serif"));
    setFont(face);

    Label3->setObjectName(QStringLiteral("Label3"));
    Label4->setObjectName(QStringLiteral("Label4"));
    txtMSDE->setObjectName(QStringLiteral("txtMSDE"));
    Label1->setObjectName(QStringLiteral("Label1"));
    txtMSDEUser->setObjectName(QStringLiteral("txtMSDEUser"));
    Label2->setObjectName(QStringLiteral("Label2"));
    txtPWD->setObjectName(QStringLiteral("txtPWD"));
    OKButton->setObjectName(QStringLiteral("OKButton"));
    CancelButton->setObjectName(QStringLiteral("CancelButton"));

    Label3->setWordWrap(true);
    txtPWD->setEchoMode(QLineEdit::Password);
    // The dialog masks the password with asterisks, whatever mask the style would draw.
    txtPWD->setStyleSheet(QStringLiteral("QLineEdit { lineedit-password-character: 42; }"));
    Label4->setBuddy(txtMSDE);
    Label1->setBuddy(txtMSDEUser);
    Label2->setBuddy(txtPWD);
    OKButton->setDefault(true);

    auto* fields = new QGridLayout;
    fields->addWidget(Label4, 0, 0);
    fields->addWidget(txtMSDE, 0, 1);
    fields->addWidget(Label1, 1, 0);
    fields->addWidget(txtMSDEUser, 1, 1);
    fields->addWidget(Label2, 2, 0);
    fields->addWidget(txtPWD, 2, 1);
    fields->setColumnStretch(1, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(OKButton);
    buttons->addWidget(CancelButton);
    auto* page = new QVBoxLayout(this);
    page->addWidget(Label3);
    page->addSpacing(8);
    page->addLayout(fields);
    page->addSpacing(8);
    page->addLayout(buttons);
    resize(380, sizeHint().height());

    // The desktop instance is the usual place for this login.
    txtMSDE->setText(QString::fromStdString(SQLServerUtils::GetLocalComputerName()) +
                     QStringLiteral("\\VELDRIN"));

    connect(OKButton, &QPushButton::clicked, this, &frmUserInfo::onOkClicked);
    connect(CancelButton, &QPushButton::clicked, this, &frmUserInfo::reject);
}

frmUserInfo::~frmUserInfo() = default;

QString frmUserInfo::MSDEName() const
{
    return PageControls::trimBlanks(txtMSDE->text());
}

QString frmUserInfo::MSDEUser() const
{
    return PageControls::trimBlanks(txtMSDEUser->text());
}

QString frmUserInfo::MSDEPWD() const
{
    return PageControls::trimBlanks(txtPWD->text());
}

void frmUserInfo::onOkClicked()
{
    if (m_connecting)
        return;
    // Only a truly empty name skips the test; a name of blanks is tried (as an empty name).
    if (txtMSDE->text().isEmpty()) {
        closeWithOk();
        return;
    }

    sqlserver::ConnectOptions options;
    options.server = MSDEName().toStdString();
    options.loginSecure = false;
    options.user = MSDEUser().toStdString();
    options.password = MSDEPWD().toStdString();

    setConnecting(true);
    const std::uint64_t attempt = ++m_attempt;
    sqlserver::ServerManager& manager = sqlserver::serverManager();
    // The test connection lives and dies on the worker; only the outcome comes back.
    QtConcurrent::run(&m_logins, [&manager, options] {
        Attempt outcome;
        try {
            manager.Connect(options);
            outcome.connected = true;
        } catch (const LfError& e) {
            outcome.error = e.description();
        } catch (const std::exception& e) {
            outcome.error = e.what();
        }
        return outcome;
    }).then(this, [this, attempt](const Attempt& outcome) { onAttemptFinished(attempt, outcome); });
}

void frmUserInfo::onAttemptFinished(std::uint64_t attempt, const Attempt& outcome)
{
    if (attempt != m_attempt)
        return; // the dialog was cancelled while this login was being tested
    setConnecting(false);
    if (outcome.connected) {
        m_isConnect = true;
        closeWithOk();
    } else {
        // Reported here only: the frame never sees a failed login. The entries stay for a retry.
        m_prompter.messageBox(outcome.error, MsgButtons::OK, MsgIcon::Information, kConnectFailedTitle);
    }
    emit connectAttemptFinished(outcome.connected);
}

void frmUserInfo::reject()
{
    if (m_connecting) {
        ++m_attempt;
        setConnecting(false);
    }
    QDialog::reject();
}

void frmUserInfo::closeWithOk()
{
    m_ok = true;
    accept();
}

void frmUserInfo::setConnecting(bool connecting)
{
    m_connecting = connecting;
    OKButton->setEnabled(!connecting);
    txtMSDE->setReadOnly(connecting);
    txtMSDEUser->setReadOnly(connecting);
    txtPWD->setReadOnly(connecting);
    if (connecting)
        setCursor(Qt::BusyCursor);
    else
        unsetCursor();
}
