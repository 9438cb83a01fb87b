#pragma once

#include "WizardPage.h"

#include <QString>

#include <vector>

class QComboBox;
class QLabel;

namespace sqlserver {
class ServerConnection;
struct DatabaseInfo;
}

// The page on which the user names the database on the chosen server: one the login may use,
// from the list, or a new name typed in.
class SQLDatabaseCtl : public WizardPage {
    Q_OBJECT
    Q_PROPERTY(QString DatabaseName READ DatabaseName)
    Q_PROPERTY(QString AdminLoginName READ AdminLoginName)
public:
    // The name proposed when the server has no database the login may use.
    static inline const QString kDefaultDatabaseName = QStringLiteral("Labfolio_9");

    explicit SQLDatabaseCtl(QWidget* parent = nullptr);

    // Refills the list from the connected server the frame opened; the server is used only
    // during the call. Failures of the server are raised to the caller as they are.
    void Initialize(sqlserver::ServerConnection& server);
    // The same, from a list already read from the server (away from the window's thread).
    void Initialize(const std::vector<sqlserver::DatabaseInfo>& databases);

    // The box's text exactly as it stands.
    QString DatabaseName() const;
    // Always empty.
    QString AdminLoginName() const;
    // A non-system login of the server is named AdminLoginName (so only a login with an empty
    // name matches).
    bool validateAdminLoginName(sqlserver::ServerConnection& server) const;

    QWidget* focusField() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QComboBox* cmbDatabase;
    QLabel* lblDatabase;
};
