#include "TerminalView.h"

#include "IndexSummary.h"
#include "MigrationSummary.h"

namespace cli {

TerminalView::TerminalView(Values values, std::function<MsdeLogin()> askMsdeLogin)
    : m_values(std::move(values)), m_askMsdeLogin(std::move(askMsdeLogin))
{
}

void TerminalView::InitializeMigrationSummary(const MigrationValues& v)
{
    m_summary = engine::MigrationSummaryText(v.SrcServerName, v.SrcDBName, v.SrcMSTFilePath,
                                             v.TargetServerName, v.TargetDBName, v.TargetMSTFilePath,
                                             v.ServiceName, v.BackupFilePath, "\n");
}

void TerminalView::InitializeIndexSummary(const std::string& serverName, const std::string& databaseName,
                                          const std::string& indexPath)
{
    m_summary = IndexSummaryText(serverName, databaseName, indexPath, "\n");
}

void TerminalView::SetButtonVisible(Button button, bool visible)
{
    if (button == Button::Done)
        m_finishOffered = visible;
}

std::string TerminalView::text(Label label) const
{
    const auto found = m_text.find(label);
    return found == m_text.end() ? std::string() : found->second;
}

} // namespace cli
