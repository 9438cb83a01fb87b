#pragma once

#include "ServerConfig.h"
#include "StandinEngine.h"

namespace standin::tds {

// Makes sure a configured SQL login exists (and is a sysadmin when asked), by running the same
// T-SQL an administrator would, as "sa". A login that already exists is left as it is.
// Throws std::runtime_error with the engine's message when the login cannot be created.
void provisionLogin(Instance& instance, const SqlLogin& login);

} // namespace standin::tds
