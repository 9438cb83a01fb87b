#include "TaskOffer.h"

#include "SQLServerUtils.h"
#include "TaskFlowView.h"

namespace {

constexpr const char* kProductKey = "SOFTWARE\\Veldrin\\Labfolio\\10.0";
constexpr const char* kChemistryKey = "Strucora10.Document\\CLSID";

} // namespace

TaskOffer TaskOffer::ForThisComputer()
{
    using SQLServerUtils::RegistryKeyExists;
    const bool engine = SQLServerUtils::InstalledInstancesExist();
    return TaskOffer(engine, engine && RegistryKeyExists(reg::Hive::LocalMachine, kProductKey),
                     RegistryKeyExists(reg::Hive::ClassesRoot, kChemistryKey));
}

TaskOffer::TaskOffer(bool enginePresent, bool productPresent, bool chemistryPresent)
    : m_enginePresent(enginePresent), m_productPresent(enginePresent && productPresent),
      m_chemistryPresent(chemistryPresent)
{
}

std::string TaskOffer::whyNot(int32_t task) const
{
    const bool needsEngine = task == TaskFlowView::MigrateDatabase || task == TaskFlowView::ConnectDesktop ||
                             task == TaskFlowView::CreateOffline;
    const bool needsProduct = task == TaskFlowView::MigrateDatabase || task == TaskFlowView::ConnectDesktop;
    if (needsEngine && !m_enginePresent)
        return "no SQL Server or MSDE instance is installed on this computer";
    if (needsProduct && !m_productPresent)
        return "Labfolio is not installed on this computer";
    if (task == TaskFlowView::RebuildIndex && !m_chemistryPresent)
        return "the chemistry component is not installed on this computer";
    return {};
}

int32_t TaskOffer::preselected() const
{
    return m_productPresent ? TaskFlowView::MigrateDatabase : TaskFlowView::ConnectService;
}
