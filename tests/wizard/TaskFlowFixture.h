#pragma once

#include "FakeServerManager.h"
#include "FakeSystemInfo.h"
#include "FakeTaskFlowView.h"
#include "FakeTaskOperations.h"
#include "RegistryFixture.h"
#include "ScriptedPrompter.h"
#include "TaskFlow.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

// A machine named PC1 with the default instance and the desktop instance VELDRIN installed,
// the product's data folder in a temporary folder, fake servers, a fake window and fake
// operations.
class TaskFlowFixture : public ::testing::Test {
protected:
    using V = TaskFlowView;
    using Label = TaskFlowView::Label;
    using Button = TaskFlowView::Button;

    TaskFlowFixture()
        : registry(std::string(regtext::kHeader) + regtext::kInstancesMssqlVeldrin +
                   "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
                   "Folders]\r\n"
                   "\"Common AppData\"=\"" +
                   dir.str() + "\"\r\n\r\n")
    {
        std::filesystem::create_directories(dataFolder());
        // Both local instances answer a Windows login; neither holds a database yet.
        servers->servers[""] = localServer("PC1");
        servers->servers["(local)"] = localServer("PC1");
        servers->servers["PC1\\VELDRIN"] = localServer("PC1\\VELDRIN");
        FakeServerManager::Server remote;
        remote.reportedName = "LABSRV";
        remote.workstationName = "PC1";
        remote.netName = "LABSRV";
        remote.databases = {{"master", true}, {"ChemDB", true}};
        servers->servers["LABSRV"] = remote;
        flow.Start();
    }

    static FakeServerManager::Server localServer(const std::string& name)
    {
        FakeServerManager::Server s;
        s.reportedName = name;
        s.workstationName = "PC1";
        s.netName = "PC1";
        s.databases = {{"master", true}};
        return s;
    }

    std::string dataFolder() const { return (dir.path() / "Labfolio 10.0").string(); }

    // Puts the flow on the task page with the task chosen.
    void toTasks(int32_t task)
    {
        view.task = task;
        flow.Next();
        ASSERT_EQ(flow.CurrentPage(), V::TaskPage);
    }

    // The wizard finds this database on the default local instance.
    void putOnDefaultInstance(const std::string& database)
    {
        for (const char* name : {"", "(local)"})
            servers->servers[name].databases.push_back({database, true});
    }

    // Walks a task from the task page to its summary with values that pass every check.
    void toSummary(int32_t task)
    {
        toTasks(task);
        std::filesystem::create_directories(dir.path() / "share" / "backup");
        std::filesystem::create_directories(dir.path() / "share" / "services");
        view.serverName = "LABSRV";
        view.databaseName = task == V::RebuildIndex ? "ChemDB" : "NewDB";
        view.indexPath = (dir.path() / "share" / "index").string();
        view.serviceFolder = (dir.path() / "share" / "services").string();
        view.backupFolder = (dir.path() / "share" / "backup").string();
        view.serviceFile = dir.write("Chem.lfsvc", "<service><name>Chem</name></service>").string();
        const int maxClicks = 10;
        for (int i = 0; i < maxClicks && flow.CurrentPage() != V::SummaryPage; ++i)
            flow.Next();
        ASSERT_EQ(flow.CurrentPage(), V::SummaryPage);
        prompter.clear();
    }

    // The prompt shown last; fails the test when none was.
    ScriptedPrompter::Shown lastPrompt()
    {
        EXPECT_FALSE(prompter.shown().empty());
        return prompter.shown().empty() ? ScriptedPrompter::Shown{} : prompter.shown().back();
    }

    void expectInformation(const std::string& title, const std::string& text)
    {
        ASSERT_EQ(prompter.shown().size(), 1u);
        EXPECT_EQ(prompter.shown()[0].title, title);
        EXPECT_EQ(prompter.shown()[0].text, text);
        EXPECT_EQ(prompter.shown()[0].icon, MsgIcon::Information);
        EXPECT_EQ(prompter.shown()[0].buttons, MsgButtons::OK);
    }

    TempDir dir;
    RegistryFixture registry;
    std::shared_ptr<FakeServerManager> servers = std::make_shared<FakeServerManager>();
    sqlserver::ScopedServerManagerOverride serverOverride{servers};
    std::shared_ptr<FakeSystemInfo> machine = std::make_shared<FakeSystemInfo>();
    sys::ScopedSystemOverride machineOverride{machine};
    ScriptedPrompter prompter;
    FakeTaskFlowView view;
    FakeTaskOperations operations;
    TaskFlow flow{view, prompter, operations};
};
