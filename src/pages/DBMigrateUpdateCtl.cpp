#include "DBMigrateUpdateCtl.h"

#include "SummaryBox.h"

#include <QResizeEvent>
#include <QStringList>
#include <QTextEdit>

DBMigrateUpdateCtl::DBMigrateUpdateCtl(QWidget* parent)
    : WizardPage(parent), m_rtbSum(SummaryBox::create(this))
{
    m_rtbSum->setGeometry(rect());
}

void DBMigrateUpdateCtl::Initialize(const QString& SrcServerName, const QString& SrcDBName,
                                    const QString& TargetServerName, const QString& TargetDBName,
                                    const QString& SrcMSTFilePath, const QString& TargetMSTFilePath,
                                    const QString& /*UDLPath*/, const QString& /*ServerConfigPath*/,
                                    const QString& /*ServiceConfigPath*/, const QString& ServiceName,
                                    const QString& BackupFilePath)
{
    // Values are shown as received: an empty one leaves its label alone, trailing blank kept.
    const QStringList lines = {
        QStringLiteral("Migrating from:"),
        QStringLiteral("  Server: ") + SrcServerName,
        QStringLiteral("  Database: ") + SrcDBName,
        QStringLiteral("  Chemical Structure Index File: ") + SrcMSTFilePath,
        QString(),
        QStringLiteral("Migrating to:"),
        QStringLiteral("  Server: ") + TargetServerName,
        QStringLiteral("  Database: ") + TargetDBName,
        QStringLiteral("  Chemical Structure Index File: ") + TargetMSTFilePath,
        QString(),
        QStringLiteral("Service Name: ") + ServiceName,
        QStringLiteral("Database Backup File: ") + BackupFilePath,
    };
    m_summaryText = lines.join(QStringLiteral("\r\n"));
    SummaryBox::setText(m_rtbSum, m_summaryText);
}

void DBMigrateUpdateCtl::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    m_rtbSum->setGeometry(rect());
}
