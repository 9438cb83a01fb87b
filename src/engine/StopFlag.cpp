#include "StopFlag.h"

#include "OperationControl.h"

namespace engine {

void StopFlag::request()
{
    m_requested.store(true);
    std::lock_guard lock(m_mutex);
    if (m_control)
        m_control->Abort();
}

void StopFlag::attach(sqlserver::OperationControl* control)
{
    std::lock_guard lock(m_mutex);
    m_control = control;
}

} // namespace engine
