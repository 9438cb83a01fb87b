#pragma once

#include "Catalog.h"
#include "StandinEngine.h"

#include <atomic>
#include <map>
#include <mutex>

namespace standin {

// The instance behind openInstance(): the catalog, and the bookkeeping that sessions share
// (which databases are in use, a generation counter that tells sessions to let go of
// databases that were dropped or restored meanwhile).
class EngineInstance : public Instance {
public:
    explicit EngineInstance(const InstanceConfig& config);

    const InstanceConfig& config() const override { return m_config; }
    std::unique_ptr<Session> login(const LoginRequest& request, ServerMessage& error) override;

    Catalog& catalog() { return m_catalog; }
    // "MACHINE" for the default instance, "MACHINE\INSTANCE" for a named one.
    std::string serverName() const;
    std::string versionText() const;
    bool isDefaultInstance() const;

    void enterDatabase(int id);
    void leaveDatabase(int id);
    int sessionsIn(int id);

    // Creating, dropping and restoring databases take this, so that two of them never
    // work on the same files at once.
    std::mutex& fileOperations() { return m_fileOperations; }
    uint64_t generation() const { return m_generation.load(); }
    void bumpGeneration() { ++m_generation; }
    int nextSpid() { return m_nextSpid++; }

private:
    InstanceConfig m_config;
    Catalog m_catalog;
    std::mutex m_useMutex;
    std::map<int, int> m_inUse;
    std::mutex m_fileOperations;
    std::atomic<uint64_t> m_generation{0};
    std::atomic<int> m_nextSpid{51};
};

} // namespace standin
