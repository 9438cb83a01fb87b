#include "DBMigrateUpdateCtl.h"

#include "MigrationSummary.h"
#include "SummaryBox.h"

#include <QResizeEvent>
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
    const auto s = [](const QString& text) { return text.toStdString(); };
    m_summaryText = QString::fromStdString(engine::MigrationSummaryText(
        s(SrcServerName), s(SrcDBName), s(SrcMSTFilePath), s(TargetServerName), s(TargetDBName),
        s(TargetMSTFilePath), s(ServiceName), s(BackupFilePath), "\r\n"));
    SummaryBox::setText(m_rtbSum, m_summaryText);
}

void DBMigrateUpdateCtl::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    m_rtbSum->setGeometry(rect());
}
