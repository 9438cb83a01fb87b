#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FakeServerManager.h"
#include "FakeSystemInfo.h"
#include "RegistryFixture.h"

// A computer (PC1 unless named) whose registry lists the given SQL Server instances and whose
// servers are a FakeServerManager's, for the scope of a test.
struct FakeLocalMachine {
    explicit FakeLocalMachine(const std::vector<std::string>& instances, const std::string& computer = "PC1")
        : registry(regtext::installedInstances(instances)), system(std::make_shared<FakeSystemInfo>()),
          systemOverride(system), manager(std::make_shared<FakeServerManager>()), managerOverride(manager)
    {
        system->computer = computer;
    }
    RegistryFixture registry;
    std::shared_ptr<FakeSystemInfo> system;
    sys::ScopedSystemOverride systemOverride;
    std::shared_ptr<FakeServerManager> manager;
    sqlserver::ScopedServerManagerOverride managerOverride;
};
