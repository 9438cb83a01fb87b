#include "OfflinePermissions.h"

#include <gtest/gtest.h>

#include "FakeLocalMachine.h"
#include "RecordingConnections.h"
#include "ScriptedPrompter.h"

using engine::LocalServerLogin;
using engine::OfflineGrantResult;
using engine::OfflinePermissions;

namespace {

constexpr uint32_t kUnitedStates = 1033;
constexpr uint32_t kGermany = 1031;

const std::vector<std::string> kBuiltinStatements = {"EXEC sp_grantlogin 'BUILTIN\\users'",
                                                     "EXEC sp_grantdbaccess 'BUILTIN\\users', 'OfflineUsers'",
                                                     "EXEC sp_addrolemember 'db_datareader', 'OfflineUsers'",
                                                     "EXEC sp_addrolemember 'db_datawriter', 'OfflineUsers'"};

// PC1 with the instances VELDRIN, which holds the offline database, and OTHER, which does not.
struct OfflineMachine : FakeLocalMachine {
    OfflineMachine() : FakeLocalMachine({"OTHER", "VELDRIN"})
    {
        manager->servers["PC1\\OTHER"].databases = {{"master", true}};
        manager->servers["PC1\\VELDRIN"].databases = {{"master", true}, {"LFOffline9", true}};
        opener = connections.install();
    }
    RecordingConnections connections;
    std::unique_ptr<sqlserver::ScopedConnectionOpenerOverride> opener;
    ScriptedPrompter prompter;
};

} // namespace

TEST(OfflinePermissions, EnglishLocaleGrantsTheBuiltinUsersGroupWithATrustedConnection)
{
    OfflineMachine m;
    EXPECT_EQ(OfflinePermissions({}, kUnitedStates, m.prompter).GrantOfflinePermissions(),
              OfflineGrantResult::Granted);
    EXPECT_TRUE(m.prompter.shown().empty());
    const auto opened = m.connections.opened();
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0].connectionString, "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security "
                                          "Info=False;Initial Catalog=LFOffline9;Data Source=PC1\\VELDRIN");
    EXPECT_EQ(opened[0].statements, kBuiltinStatements);
    EXPECT_TRUE(opened[0].closed);
}

TEST(OfflinePermissions, WithTheMsdeLoginTheStringCarriesUserAndIntegratedSecurity)
{
    OfflineMachine m;
    const LocalServerLogin login{"PC1\\VELDRIN", "labadmin", "pw;1"};
    OfflinePermissions(login, kUnitedStates, m.prompter).GrantOfflinePermissions();
    ASSERT_EQ(m.connections.opened().size(), 1u);
    EXPECT_EQ(m.connections.opened()[0].connectionString,
              "Provider=SQLOLEDB.1;Password=pw;1;User ID=labadmin;Integrated Security=SSPI;Persist Security "
              "Info=False;Initial Catalog=LFOffline9;Data Source=PC1\\VELDRIN");
}

TEST(OfflinePermissions, EveryEnglishLocaleUsesTheBuiltinGroupAndEveryOtherAsks)
{
    for (uint32_t lcid : {1033u, 2057u, 3081u, 4105u, 5129u, 6153u, 7177u, 8201u, 9225u, 10249u, 11273u}) {
        OfflineMachine m;
        OfflinePermissions({}, lcid, m.prompter).GrantOfflinePermissions();
        EXPECT_TRUE(m.prompter.shown().empty()) << lcid;
    }
    for (uint32_t lcid : {1031u, 1036u, 1041u, 16393u}) {
        OfflineMachine m;
        m.prompter.queueInput(std::string());
        OfflinePermissions({}, lcid, m.prompter).GrantOfflinePermissions();
        ASSERT_EQ(m.prompter.shown().size(), 1u) << lcid;
        EXPECT_TRUE(m.prompter.shown()[0].isInput) << lcid;
    }
}

TEST(OfflinePermissions, GermanLocaleAsksForTheGroupAndGrantsTheTrimmedName)
{
    OfflineMachine m;
    m.prompter.queueInput(std::string("  LAB\\Offline-Benutzer  "));
    EXPECT_EQ(OfflinePermissions({}, kGermany, m.prompter).GrantOfflinePermissions(),
              OfflineGrantResult::Granted);

    ASSERT_EQ(m.prompter.shown().size(), 1u);
    const auto& box = m.prompter.shown()[0];
    EXPECT_TRUE(box.isInput);
    EXPECT_EQ(box.text, "Please provide a valid Windows group name that will be used for assigning offline "
                        "database permission.");
    EXPECT_EQ(box.title, "Windows user group name");
    EXPECT_EQ(box.defaultText, "Winows group Name");

    const std::vector<std::string> expected = {
        "EXEC sp_grantlogin 'LAB\\Offline-Benutzer'",
        "EXEC sp_grantdbaccess 'LAB\\Offline-Benutzer', 'OfflineUsers'",
        "EXEC sp_addrolemember 'db_datareader', 'OfflineUsers'",
        "EXEC sp_addrolemember 'db_datawriter', 'OfflineUsers'"};
    ASSERT_EQ(m.connections.opened().size(), 1u);
    EXPECT_EQ(m.connections.opened()[0].statements, expected);
}

TEST(OfflinePermissions, AMachineWithAGermanUserLocaleAsksInsteadOfUsingTheEnglishName)
{
    OfflineMachine m;
    m.prompter.queueInput(std::string("Benutzer"));
    OfflinePermissions({}, sys::lcidFromLocaleName("de_DE.UTF-8"), m.prompter).GrantOfflinePermissions();
    ASSERT_EQ(m.prompter.shown().size(), 1u);
    EXPECT_TRUE(m.prompter.shown()[0].isInput);
    EXPECT_EQ(m.connections.opened().at(0).statements.at(0), "EXEC sp_grantlogin 'Benutzer'");
}

TEST(OfflinePermissions, AnEmptyBlankOrCancelledAnswerGrantsNothing)
{
    for (const std::optional<std::string>& answer :
         {std::optional<std::string>(""), std::optional<std::string>("   "), std::optional<std::string>()}) {
        OfflineMachine m;
        m.prompter.queueInput(answer);
        EXPECT_EQ(OfflinePermissions({}, kGermany, m.prompter).GrantOfflinePermissions(),
                  OfflineGrantResult::NoGroupGiven);
        const auto opened = m.connections.opened();
        ASSERT_EQ(opened.size(), 1u);
        EXPECT_TRUE(opened[0].statements.empty());
        EXPECT_TRUE(opened[0].closed);
    }
}

TEST(OfflinePermissions, AQuoteInTheGroupNameIsDoubledAndCannotEndTheLiteral)
{
    EXPECT_EQ(OfflinePermissions::GrantStatements("O'Brien's"),
              (std::vector<std::string>{"EXEC sp_grantlogin 'O''Brien''s'",
                                        "EXEC sp_grantdbaccess 'O''Brien''s', 'OfflineUsers'",
                                        "EXEC sp_addrolemember 'db_datareader', 'OfflineUsers'",
                                        "EXEC sp_addrolemember 'db_datawriter', 'OfflineUsers'"}));
    EXPECT_EQ(OfflinePermissions::GrantStatements("BUILTIN\\users"), kBuiltinStatements);
}

TEST(OfflinePermissions, NoInstanceHoldingTheDatabaseShowsTheErrorBoxAndOpensNothing)
{
    OfflineMachine m;
    m.manager->servers["PC1\\VELDRIN"].databases = {{"master", true}};
    EXPECT_EQ(OfflinePermissions({}, kUnitedStates, m.prompter).GrantOfflinePermissions(),
              OfflineGrantResult::NoOfflineDatabase);
    ASSERT_EQ(m.prompter.shown().size(), 1u);
    EXPECT_EQ(m.prompter.shown()[0].title, "Error");
    EXPECT_EQ(m.prompter.shown()[0].text, "No Offline database can be found");
    EXPECT_FALSE(m.prompter.shown()[0].isInput);
    EXPECT_TRUE(m.connections.opened().empty());
}

TEST(OfflinePermissions, NoAnsweringInstanceIsNoOfflineDatabaseEither)
{
    OfflineMachine m;
    m.manager->servers.clear();
    EXPECT_EQ(OfflinePermissions({}, kGermany, m.prompter).GrantOfflinePermissions(),
              OfflineGrantResult::NoOfflineDatabase);
    ASSERT_EQ(m.prompter.shown().size(), 1u); // the error box, no group question
    EXPECT_EQ(m.prompter.shown()[0].text, "No Offline database can be found");
}

TEST(OfflinePermissions, AFailingStatementIsRaisedWithTheFramesSourceAndStopsTheRest)
{
    OfflineMachine m;
    m.connections.failing.emplace(kBuiltinStatements[1],
                                  LfError(0x80040000u + 15023, "",
                                          "User, group, or role 'OfflineUsers' already "
                                          "exists in the current database."));
    try {
        OfflinePermissions({}, kUnitedStates, m.prompter).GrantOfflinePermissions();
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u + 15023);
        EXPECT_EQ(e.source(), "frmInstall.RunCreateOffline");
        EXPECT_EQ(e.description(),
                  "User, group, or role 'OfflineUsers' already exists in the current database.");
    }
    EXPECT_EQ(m.connections.opened().at(0).statements.size(), 2u);
}

TEST(OfflinePermissions, TheWindowIsKeptAliveWhileTheServerIsAsked)
{
    OfflineMachine m;
    m.manager->servers["PC1\\OTHER"].connectDelay = std::chrono::milliseconds(400);
    int calls = 0;
    OfflinePermissions({}, kUnitedStates, m.prompter, [&] { ++calls; }).GrantOfflinePermissions();
    EXPECT_GE(calls, 3);
}
