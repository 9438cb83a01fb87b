#include "EngineFixture.h"

#include <filesystem>

using namespace standin;
namespace fs = std::filesystem;

class CatalogTest : public EngineTest {};

TEST_F(CatalogTest, CreateDatabaseMakesRealFilesListedInCatalogViews)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE LFDesktop10");
    const fs::path data = fs::path(config().dataFolder) / "LFDesktop10.mdf";
    const fs::path log = fs::path(config().dataFolder) / "LFDesktop10_log.ldf";
    EXPECT_TRUE(fs::exists(data));
    EXPECT_TRUE(fs::exists(log));
    auto dbs = ok(*s, "SELECT name, database_id, state_desc FROM sys.databases ORDER BY database_id");
    EXPECT_EQ(dbs.rows(), (std::vector<std::vector<Value>>{{V("master"), V(1), V("ONLINE")},
                                                           {V("LFDesktop10"), V(5), V("ONLINE")}}));
    auto files = ok(*s, "SELECT file_id, type, type_desc, name, physical_name, size FROM sys.master_files "
                        "WHERE database_id = DB_ID('LFDesktop10') ORDER BY file_id");
    auto rows = files.rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][0], V(1));
    EXPECT_EQ(rows[0][1], V(0));
    EXPECT_EQ(rows[0][2], V("ROWS"));
    EXPECT_EQ(rows[0][3], V("LFDesktop10"));
    EXPECT_EQ(rows[0][4], V(data.string().c_str()));
    EXPECT_GT(std::get<int64_t>(rows[0][5]), 0);
    EXPECT_EQ(rows[1][2], V("LOG"));
    EXPECT_EQ(rows[1][3], V("LFDesktop10_log"));
    EXPECT_EQ(rows[1][4], V(log.string().c_str()));
    auto cols = files.columnsOf(0);
    EXPECT_EQ(cols[3].type, SqlType::NVarChar);
    EXPECT_EQ(cols[3].maxLength, 128);

    auto again = run(*s, "CREATE DATABASE LFDesktop10");
    ASSERT_EQ(again.errors().size(), 1u);
    EXPECT_EQ(again.errors()[0].number, 1801);
    EXPECT_EQ(again.errors()[0].text,
              "Database 'LFDesktop10' already exists. Choose a different database name.");
}

TEST_F(CatalogTest, DropDatabaseRemovesFilesAndRefusesWhileInUse)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Gone");
    {
        auto user = sa("Gone");
        auto busy = run(*s, "DROP DATABASE Gone");
        ASSERT_EQ(busy.errors().size(), 1u);
        EXPECT_EQ(busy.errors()[0].number, 3702);
        EXPECT_EQ(busy.errors()[0].text, "Cannot drop database \"Gone\" because it is currently in use.");
    }
    ok(*s, "DROP DATABASE Gone");
    EXPECT_FALSE(fs::exists(fs::path(config().dataFolder) / "Gone.mdf"));
    EXPECT_FALSE(fs::exists(fs::path(config().dataFolder) / "Gone_log.ldf"));
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM sys.databases WHERE name = 'Gone'"), V(0));
    auto missing = run(*s, "DROP DATABASE Gone");
    ASSERT_EQ(missing.errors().size(), 1u);
    EXPECT_EQ(missing.errors()[0].number, 3701);
}

TEST_F(CatalogTest, ServerFunctionsAndProperties)
{
    auto s = sa();
    auto sink = ok(*s, "SELECT SERVERPROPERTY('MachineName'), SERVERPROPERTY('ServerName'), "
                       "SERVERPROPERTY('InstanceName'), SERVERPROPERTY('ProductVersion'), DB_NAME(), "
                       "IS_SRVROLEMEMBER('sysadmin'), HAS_DBACCESS('master'), HAS_DBACCESS('nothing')");
    EXPECT_EQ(sink.rows().at(0), (std::vector<Value>{V("LABPC"), V("LABPC\\VELDRIN"), V("VELDRIN"),
                                                     V("9.00.5000.00"), V("master"), V(1), V(1), V()}));
    const std::string version = std::get<std::string>(scalar(*s, "SELECT @@VERSION"));
    EXPECT_NE(version.find("Microsoft SQL Server"), std::string::npos);
    EXPECT_NE(version.find("9.00.5000.00"), std::string::npos);
}

TEST_F(CatalogTest, LoginsAndServerRoles)
{
    auto s = sa();
    ok(*s, "CREATE LOGIN [chemist] WITH PASSWORD = N'Pw-1', DEFAULT_DATABASE = master, CHECK_POLICY = OFF\n"
           "CREATE LOGIN [LAB\\dana] FROM WINDOWS\n"
           "EXEC sp_addsrvrolemember 'chemist', 'dbcreator'");
    auto sink = ok(*s, "SELECT name, type, type_desc, is_disabled FROM sys.server_principals "
                       "WHERE type IN ('S','U','G') ORDER BY principal_id");
    EXPECT_EQ(sink.rows(),
              (std::vector<std::vector<Value>>{{V("sa"), V("S"), V("SQL_LOGIN"), V(0)},
                                               {V("chemist"), V("S"), V("SQL_LOGIN"), V(0)},
                                               {V("LAB\\dana"), V("U"), V("WINDOWS_LOGIN"), V(0)}}));
    auto chemist = login("chemist", "Pw-1");
    ASSERT_TRUE(chemist);
    EXPECT_EQ(scalar(*chemist, "SELECT IS_SRVROLEMEMBER('dbcreator')"), V(1));
    EXPECT_EQ(scalar(*chemist, "SELECT IS_SRVROLEMEMBER('sysadmin')"), V(0));
    // A dbcreator may create databases but not logins.
    ok(*chemist, "CREATE DATABASE ChemistsOwn");
    auto denied = run(*chemist, "CREATE LOGIN other WITH PASSWORD = 'x'");
    ASSERT_EQ(denied.errors().size(), 1u);
    EXPECT_EQ(denied.errors()[0].number, 15247);
    ok(*s, "DROP LOGIN [LAB\\dana]");
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM sys.server_principals WHERE name = 'LAB\\dana'"), V(0));
    auto bad = run(*s, "DROP LOGIN nobody");
    ASSERT_EQ(bad.errors().size(), 1u);
    EXPECT_EQ(bad.errors()[0].number, 15151);
}

TEST_F(CatalogTest, OfflineGrantsAreVisibleInCatalogViews)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE LFOffline9");
    ok(*s, "USE LFOffline9; CREATE ROLE OfflineUsers");
    // The wizard's statements, one batch each, as it sends them.
    ok(*s, "EXEC sp_grantlogin 'BUILTIN\\users'");
    ok(*s, "EXEC sp_grantdbaccess 'BUILTIN\\users', 'OfflineUsers2'");
    ok(*s, "EXEC sp_addrolemember 'db_datareader', 'OfflineUsers2'");
    ok(*s, "EXEC sp_addrolemember 'db_datawriter', 'OfflineUsers2'");
    EXPECT_EQ(scalar(*s, "SELECT type FROM sys.server_principals WHERE name = 'BUILTIN\\Users'"), V("G"));
    auto members = ok(*s, "SELECT r.name, m.name, m.type FROM sys.database_role_members rm "
                          "JOIN sys.database_principals r ON r.principal_id = rm.role_principal_id "
                          "JOIN sys.database_principals m ON m.principal_id = rm.member_principal_id "
                          "WHERE m.name = 'OfflineUsers2' ORDER BY r.name");
    EXPECT_EQ(members.rows(),
              (std::vector<std::vector<Value>>{{V("db_datareader"), V("OfflineUsers2"), V("G")},
                                               {V("db_datawriter"), V("OfflineUsers2"), V("G")}}));
    // A second grant of the same login is accepted, as the wizard may run twice.
    ok(*s, "EXEC sp_grantlogin 'BUILTIN\\users'");
    // A user name that is taken, and a role that does not exist, are refused.
    auto taken = run(*s, "EXEC sp_grantdbaccess 'BUILTIN\\users', 'OfflineUsers'");
    ASSERT_EQ(taken.errors().size(), 1u);
    EXPECT_EQ(taken.errors()[0].number, 15023);
    auto noRole = run(*s, "EXEC sp_addrolemember 'no_such_role', 'OfflineUsers2'");
    ASSERT_EQ(noRole.errors().size(), 1u);
    EXPECT_EQ(noRole.errors()[0].number, 15151);

    // Any Windows account now gets in through the group and reaches the database.
    LoginRequest r;
    r.userName = "LAB\\erin";
    r.database = "LFOffline9";
    r.windowsAuthenticated = true;
    ServerMessage error;
    auto erin = m_instance->login(r, error);
    ASSERT_TRUE(erin) << error.text;
    EXPECT_EQ(scalar(*erin, "SELECT SUSER_SNAME()"), V("LAB\\erin"));
    EXPECT_EQ(scalar(*erin, "SELECT IS_MEMBER('db_datareader')"), V(1));
}

TEST_F(CatalogTest, WindowsAccountWithoutLoginIsRefused)
{
    LoginRequest r;
    r.userName = "LAB\\mallory";
    r.windowsAuthenticated = true;
    ServerMessage error;
    EXPECT_FALSE(m_instance->login(r, error));
    EXPECT_EQ(error.number, 18456);
    EXPECT_EQ(error.text, "Login failed for user 'LAB\\mallory'.");
}

TEST_F(CatalogTest, LoginWithoutUserCannotOpenDatabase)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Private; CREATE LOGIN outsider WITH PASSWORD = 'o'");
    LoginRequest r;
    r.userName = "outsider";
    r.password = "o";
    r.database = "Private";
    ServerMessage error;
    EXPECT_FALSE(m_instance->login(r, error));
    EXPECT_EQ(error.number, 4060);
    auto outsider = login("outsider", "o");
    ASSERT_TRUE(outsider);
    EXPECT_EQ(scalar(*outsider, "SELECT HAS_DBACCESS('Private')"), V(0));
    auto use = run(*outsider, "USE Private");
    ASSERT_EQ(use.errors().size(), 1u);
    EXPECT_EQ(use.errors()[0].number, 916);
    ok(*s, "USE Private; CREATE USER outsider FOR LOGIN outsider");
    ok(*outsider, "USE Private");
    EXPECT_EQ(outsider->currentDatabase(), "Private");
}

TEST_F(CatalogTest, ModifyFileRenamesTheLogicalName)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Ren");
    auto sink = ok(*s, "ALTER DATABASE Ren MODIFY FILE (Name = [Ren], NEWName = [Ren_data.mdf])");
    ASSERT_EQ(sink.messages().size(), 1u);
    EXPECT_EQ(sink.messages()[0].number, 5021);
    EXPECT_EQ(sink.messages()[0].text, "The file name 'Ren_data.mdf' has been set.");
    ok(*s, "ALTER DATABASE Ren MODIFY FILE (Name = [Ren_log], NEWName = [Ren_log.mdf])");
    auto names =
        ok(*s, "SELECT name FROM sys.master_files WHERE database_id = DB_ID('Ren') ORDER BY file_id");
    EXPECT_EQ(names.rows(), (std::vector<std::vector<Value>>{{V("Ren_data.mdf")}, {V("Ren_log.mdf")}}));
    auto missing = run(*s, "ALTER DATABASE Ren MODIFY FILE (NAME = nothing, NEWNAME = x)");
    ASSERT_EQ(missing.errors().size(), 1u);
    EXPECT_EQ(missing.errors()[0].number, 5041);
    EXPECT_EQ(missing.errors()[0].text, "MODIFY FILE failed. File 'nothing' does not exist.");
}

TEST_F(CatalogTest, SystemTablesOfOlderServers)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Old");
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM master..sysdatabases WHERE name = 'Old'"), V(1));
    EXPECT_EQ(scalar(*s, "SELECT sysadmin FROM master.dbo.syslogins WHERE name = 'sa'"), V(1));
    ok(*s, "USE Old; CREATE TABLE ELN_people (Username nvarchar(100))");
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM INFORMATION_SCHEMA.TABLES WHERE TABLE_NAME = 'ELN_people'"),
              V(1));
    EXPECT_EQ(scalar(*s, "SELECT CASE WHEN OBJECT_ID('dbo.ELN_people') IS NULL THEN 0 ELSE 1 END"), V(1));
}

// A database script in the style SQL Server's script generators write, run batch by batch
// as the osql tool sends it (split at GO).
TEST_F(CatalogTest, GeneratedScriptRunsBatchByBatch)
{
    const char* const batches[] = {
        "IF EXISTS (SELECT name FROM master.dbo.sysdatabases WHERE name = N'LFOffline9')\n"
        "\tDROP DATABASE [LFOffline9]",
        "CREATE DATABASE [LFOffline9]",
        "use [LFOffline9]",
        "if exists (select * from dbo.sysobjects where id = object_id(N'[dbo].[ELN_people]') and "
        "OBJECTPROPERTY(id, N'IsUserTable') = 1)\ndrop table [dbo].[ELN_people]",
        "SET QUOTED_IDENTIFIER ON \nSET ANSI_NULLS ON ",
        "CREATE TABLE [dbo].[ELN_people] (\n\t[person_id] [int] IDENTITY (1, 1) NOT NULL ,\n"
        "\t[Username] [nvarchar] (255) COLLATE SQL_Latin1_General_CP1_CI_AS NOT NULL ,\n"
        "\t[is_administrator] [bit] NOT NULL \n) ON [PRIMARY]",
        "ALTER TABLE [dbo].[ELN_people] WITH NOCHECK ADD \n\tCONSTRAINT [PK_ELN_people] PRIMARY KEY  "
        "CLUSTERED \n"
        "\t(\n\t\t[person_id]\n\t)  ON [PRIMARY]",
        "ALTER TABLE [dbo].[ELN_people] ADD [email] [nvarchar] (100) NULL",
        "CREATE  INDEX [IX_people_user] ON [dbo].[ELN_people]([Username]) WITH  FILLFACTOR = 90 ON [PRIMARY]",
        "CREATE PROCEDURE dbo.count_people @n int OUTPUT AS\nSELECT @n = COUNT(*) FROM ELN_people",
        "if not exists (select * from dbo.sysusers where name = N'OfflineUsers')\n"
        "\tEXEC sp_addrole N'OfflineUsers'",
        "GRANT SELECT, INSERT, UPDATE, DELETE ON [dbo].[ELN_people] TO [OfflineUsers]",
        "GRANT EXECUTE ON [dbo].[count_people] TO [OfflineUsers]",
        "INSERT INTO ELN_people (Username, is_administrator, email) VALUES (N'LAB\\alice', 0, NULL)",
    };
    auto s = sa();
    for (int round = 0; round < 2; ++round) { // the script may run again over its own result
        for (const char* b : batches) {
            SCOPED_TRACE(b);
            ok(*s, b);
        }
        ok(*s, "USE master");
    }
    auto db = sa("LFOffline9");
    EXPECT_EQ(scalar(*db, "SELECT COUNT(*) FROM ELN_people"), V(1));
    EXPECT_EQ(scalar(*db, "DECLARE @n int; EXEC count_people @n OUTPUT; SELECT @n"), V(1));
    EXPECT_EQ(scalar(*db, "SELECT COUNT(*) FROM sys.database_permissions p JOIN sys.database_principals u "
                          "ON u.principal_id = p.grantee_principal_id WHERE u.name = 'OfflineUsers'"),
              V(5));
    EXPECT_EQ(scalar(*db, "SELECT OBJECTPROPERTY(OBJECT_ID('count_people'), 'IsProcedure')"), V(1));
    auto dup = run(*db, "INSERT INTO ELN_people (person_id, Username, is_administrator) VALUES (1, N'x', 0)");
    ASSERT_EQ(dup.errors().size(), 1u);
    EXPECT_EQ(dup.errors()[0].number, 2627);
}

TEST_F(CatalogTest, PermissionsByName)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Perm; CREATE LOGIN reader WITH PASSWORD = 'r'; USE Perm; "
           "CREATE TABLE t (x int); CREATE USER reader FOR LOGIN reader; "
           "EXEC sp_addrolemember 'db_datareader', 'reader'; DENY SELECT ON t TO reader");
    EXPECT_EQ(scalar(*s, "SELECT HAS_PERMS_BY_NAME(NULL, NULL, 'CREATE ANY DATABASE')"), V(1));
    auto reader = login("reader", "r", "Perm");
    ASSERT_TRUE(reader);
    auto row = ok(*reader, "SELECT HAS_PERMS_BY_NAME(NULL, NULL, 'CREATE ANY DATABASE'), "
                           "HAS_PERMS_BY_NAME('Perm', 'DATABASE', 'CONNECT'), "
                           "HAS_PERMS_BY_NAME('dbo.t', 'OBJECT', 'SELECT'), "
                           "HAS_PERMS_BY_NAME('dbo.t', 'OBJECT', 'INSERT'), "
                           "HAS_PERMS_BY_NAME(NULL, NULL, 'NO SUCH PERMISSION')")
                   .rows();
    EXPECT_EQ(row, (std::vector<std::vector<Value>>{{V(0), V(1), V(0), V(0), V()}}));
}

// What the offline database's grants give an ordinary Windows account, and what they do not.
TEST_F(CatalogTest, TablePermissionsFollowRolesGrantsAndDenies)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE LFOffline9");
    ok(*s, "USE LFOffline9; CREATE TABLE ELN_people (Username nvarchar(100)); CREATE TABLE secrets (x int);"
           "INSERT INTO secrets VALUES (1)");
    // CREATE PROCEDURE takes the rest of its batch as the body.
    ok(*s, "CREATE PROCEDURE count_secrets @n int OUTPUT AS SELECT @n = COUNT(*) FROM secrets");
    ok(*s, "EXEC sp_grantlogin 'BUILTIN\\users'");
    ok(*s, "EXEC sp_grantdbaccess 'BUILTIN\\users', 'LocalUsers'");
    LoginRequest r;
    r.userName = "LAB\\erin";
    r.database = "LFOffline9";
    r.windowsAuthenticated = true;
    ServerMessage error;
    auto erin = m_instance->login(r, error);
    ASSERT_TRUE(erin) << error.text;

    auto denied = run(*erin, "SELECT COUNT(*) FROM ELN_people");
    ASSERT_EQ(denied.errors().size(), 1u);
    EXPECT_EQ(denied.errors()[0].number, 229);
    EXPECT_EQ(
        denied.errors()[0].text,
        "The SELECT permission was denied on the object 'ELN_people', database 'LFOffline9', schema 'dbo'.");

    ok(*s, "EXEC sp_addrolemember 'db_datareader', 'LocalUsers'");
    ok(*s, "EXEC sp_addrolemember 'db_datawriter', 'LocalUsers'");
    ok(*erin, "INSERT INTO ELN_people VALUES (N'LAB\\erin')");
    EXPECT_EQ(scalar(*erin, "SELECT COUNT(*) FROM ELN_people"), V(1));
    auto create = run(*erin, "CREATE TABLE mine (x int)");
    ASSERT_EQ(create.errors().size(), 1u);
    EXPECT_EQ(create.errors()[0].number, 262);

    ok(*s, "DENY SELECT ON secrets TO LocalUsers");
    EXPECT_EQ(run(*erin, "SELECT * FROM secrets").errors().at(0).number, 229);
    // A procedure reaches the table with its owner's rights, once its caller may run it.
    auto noExecute = run(*erin, "DECLARE @n int; EXEC count_secrets @n OUTPUT");
    ASSERT_EQ(noExecute.errors().size(), 1u);
    EXPECT_EQ(noExecute.errors()[0].number, 229);
    ok(*s, "GRANT EXECUTE ON count_secrets TO LocalUsers");
    EXPECT_EQ(scalar(*erin, "DECLARE @n int; EXEC count_secrets @n OUTPUT; SELECT @n"), V(1));
}

TEST_F(CatalogTest, InformationSchemaColumns)
{
    auto s = sa();
    ok(*s,
       "CREATE DATABASE Cols; USE Cols; CREATE TABLE ELN_chemical_structures (primary_key int IDENTITY(1,1) "
       "PRIMARY KEY, CDXML nvarchar(max) NULL, MOL_ID int NULL, note varchar(20) NOT NULL DEFAULT 'x')");
    auto rows = ok(*s, "SELECT COLUMN_NAME, DATA_TYPE, CHARACTER_MAXIMUM_LENGTH, IS_NULLABLE FROM "
                       "INFORMATION_SCHEMA.COLUMNS WHERE TABLE_NAME = 'ELN_chemical_structures' "
                       "ORDER BY ORDINAL_POSITION")
                    .rows();
    EXPECT_EQ(rows, (std::vector<std::vector<Value>>{{V("primary_key"), V("int"), V(), V("NO")},
                                                     {V("CDXML"), V("nvarchar"), V(-1), V("YES")},
                                                     {V("MOL_ID"), V("int"), V(), V("YES")},
                                                     {V("note"), V("varchar"), V(20), V("NO")}}));
}
