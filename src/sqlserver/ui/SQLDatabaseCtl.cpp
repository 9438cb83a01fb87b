#include "SQLDatabaseCtl.h"

#include "ApplyLanguageFont.h"
#include "PageControls.h"
#include "ServerConnection.h"

#include <QComboBox>
#include <QLabel>
#include <QResizeEvent>

namespace {
constexpr int kMargin = 16;
constexpr int kCaptionGap = 6;
constexpr int kComboWidth = 360;
} // namespace

SQLDatabaseCtl::SQLDatabaseCtl(QWidget* parent)
    : WizardPage(parent), cmbDatabase(new QComboBox(this)),
      lblDatabase(new QLabel(QStringLiteral("Database Name:"), this))
{
    cmbDatabase->setObjectName(QStringLiteral("cmbDatabase"));
    lblDatabase->setObjectName(QStringLiteral("lblDatabase"));
    cmbDatabase->setEditable(true);
    cmbDatabase->setInsertPolicy(QComboBox::NoInsert);
    LanguageUtils::ApplyLanguageFont(cmbDatabase, QStringLiteral("Verdana"), false, 0);
    LanguageUtils::ApplyLanguageFont(lblDatabase, QStringLiteral("Verdana"), false, 0);

    lblDatabase->adjustSize();
    lblDatabase->move(kMargin, kMargin);
    cmbDatabase->setGeometry(kMargin, lblDatabase->y() + lblDatabase->height() + kCaptionGap, kComboWidth,
                             cmbDatabase->sizeHint().height());
}

void SQLDatabaseCtl::Initialize(sqlserver::ServerConnection& server)
{
    Initialize(server.Databases());
}

void SQLDatabaseCtl::Initialize(const std::vector<sqlserver::DatabaseInfo>& databases)
{
    PageControls::clearBox(cmbDatabase);
    for (const sqlserver::DatabaseInfo& database : databases) {
        // The server's own databases never hold the product's data.
        if (database.canUse && !database.isSystem)
            PageControls::addItemKeepingText(cmbDatabase, QString::fromStdString(database.name));
    }
    if (cmbDatabase->count() == 0)
        cmbDatabase->setEditText(kDefaultDatabaseName);
    else
        PageControls::selectItem(cmbDatabase, 0);
}

QString SQLDatabaseCtl::DatabaseName() const
{
    return cmbDatabase->currentText();
}

QString SQLDatabaseCtl::AdminLoginName() const
{
    return QString();
}

bool SQLDatabaseCtl::validateAdminLoginName(sqlserver::ServerConnection& server) const
{
    const std::string wanted = AdminLoginName().toStdString();
    for (const sqlserver::LoginInfo& login : server.Logins()) {
        if (login.isSystem)
            continue;
        if (login.name == wanted)
            return true;
    }
    return false;
}

QWidget* SQLDatabaseCtl::focusField() const
{
    return cmbDatabase;
}

void SQLDatabaseCtl::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    PageControls::stretchToRightBorder(cmbDatabase, width());
}
