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
    void Initialize(const QString& SrcServerName, const QString& SrcDBName, const QString& TargetServerName,
                    const QString& TargetDBName, const QString& SrcMSTFilePath,
                    const QString& TargetMSTFilePath, const QString& UDLPath, const QString& ServerConfigPath,
                    const QString& ServiceConfigPath, const QString& ServiceName,
                    const QString& BackupFilePath);

    // The text the last Initialize put into the box, its lines joined by "\r\n".
    const QString& summaryText() const { return m_summaryText; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QTextEdit* m_rtbSum;
    QString m_summaryText;
};
