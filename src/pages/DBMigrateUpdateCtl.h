#pragma once

#include "WizardPage.h"

class QTextEdit;

// The summary shown before a migration to a multi-user server: where the database comes
// from, where it goes, the service name and the backup file.
class DBMigrateUpdateCtl : public WizardPage {
    Q_OBJECT
public:
    explicit DBMigrateUpdateCtl(QWidget* parent = nullptr);

    // Replaces the whole summary. UDLPath, ServerConfigPath and ServiceConfigPath are taken
    // but not shown.
    void Initialize(QString SrcServerName, QString SrcDBName, QString TargetServerName, QString TargetDBName,
                    QString SrcMSTFilePath, QString TargetMSTFilePath, QString UDLPath,
                    QString ServerConfigPath, QString ServiceConfigPath, QString ServiceName,
                    QString BackupFilePath);

    // The text the last Initialize put into the box, its lines joined by "\r\n".
    const QString& summaryText() const { return m_summaryText; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QTextEdit* m_rtbSum;
    QString m_summaryText;
};
