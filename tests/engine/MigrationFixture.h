#pragma once

#include "FakeBackupServer.h"
#include "FakeDatabase.h"
#include "FakeSystemInfo.h"
#include "Migration.h"
#include "MigrationProgress.h"
#include "RegistryFixture.h"
#include "ScriptedPrompter.h"
#include "StopFlag.h"
#include "TempDir.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

// What the page would show, as a list of events: "message:...", "max:N", "value:N", "finished".
class RecordingProgress : public engine::MigrationProgress {
public:
    void setMessage(const std::string& text) override { add("message:" + text); }
    void setProgressMaximum(int maximum) override { add("max:" + std::to_string(maximum)); }
    void setProgressValue(int value) override { add("value:" + std::to_string(value)); }
    void migrationFinished() override { add("finished"); }

    std::vector<std::string> events() const
    {
        std::lock_guard lock(m_mutex);
        return m_events;
    }
    std::vector<std::string> messages() const { return only("message:"); }
    std::string lastMessage() const
    {
        const auto m = messages();
        return m.empty() ? std::string() : m.back();
    }
    int lastValue() const
    {
        const auto v = only("value:");
        return v.empty() ? -1 : std::stoi(v.back());
    }

private:
    void add(const std::string& e)
    {
        std::lock_guard lock(m_mutex);
        m_events.push_back(e);
    }
    std::vector<std::string> only(const std::string& prefix) const
    {
        std::vector<std::string> out;
        for (const auto& e : events())
            if (e.rfind(prefix, 0) == 0)
                out.push_back(e.substr(prefix.size()));
        return out;
    }
    mutable std::mutex m_mutex;
    std::vector<std::string> m_events;
};

inline std::string readFile(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// A machine with the shared application-data folder in a temporary folder, the user PC1\alice,
// a desktop instance PC1\VELDRIN and a multi-user server LABSRV2.
class MigrationFixture {
public:
    MigrationFixture()
        : registry(std::string(regtext::kHeader) +
                   "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
                   "Folders]\r\n"
                   "\"Common AppData\"=\"" +
                   (dir.path() / "appdata").string() + "\"\r\n\r\n"),
          server(std::make_shared<FakeBackupServer>()), serverOverride(server), database(),
          databaseOverride(database.install()), system(std::make_shared<FakeSystemInfo>()),
          systemOverride(system), migration(progress, stop, prompter)
    {
        system->user = "PC1\\alice";
        std::filesystem::create_directories(dir.path() / "backups");
        std::filesystem::create_directories(dir.path() / "index");
        std::filesystem::create_directories(dir.path() / "shared");
        for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
            dir.write(std::string("index/Labfolio.") + ext, std::string("index file ") + ext);
    }

    std::filesystem::path localBackup() const
    {
        return dir.path() / "appdata" / "Labfolio 10.0" / "LFDesktop.BAK";
    }
    std::filesystem::path bakPath() const { return dir.path() / "backups" / "LFDesktop.BAK"; }
    std::string sourceIndex() const { return (dir.path() / "index" / "Labfolio.mst").string(); }
    std::string targetFolder() const { return (dir.path() / "shared").string(); }

    void migrateTo(const std::string& target)
    {
        migration.Migrate("PC1\\VELDRIN", "LFDesktop10", target, "Labfolio", sourceIndex(), targetFolder(),
                          "Chemistry", "", "", "", bakPath().string());
    }

    TempDir dir;
    RegistryFixture registry;
    std::shared_ptr<FakeBackupServer> server;
    sqlserver::ScopedServerManagerOverride serverOverride;
    FakeDatabase database;
    sqlserver::ScopedConnectionOpenerOverride databaseOverride;
    std::shared_ptr<FakeSystemInfo> system;
    sys::ScopedSystemOverride systemOverride;
    RecordingProgress progress;
    engine::StopFlag stop;
    ScriptedPrompter prompter;
    engine::Migration migration;
};
