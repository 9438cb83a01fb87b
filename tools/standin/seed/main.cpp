// lf-standin-seed: creates or refreshes a stand-in instance's data folder with the desktop
// database "LFDesktop10" the way a Labfolio desktop installation leaves it, plus the Windows
// users and SQL logins a test or the demo needs. See tools/standin/README.md.

#include "EngineInstance.h"
#include "SqlError.h"
#include "StandinEngine.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace standin;

namespace {

const char* const kDatabase = "LFDesktop10";

const char* const kUsage =
    "usage: lf-standin-seed --data DIR [--machine NAME] [--instance NAME]\n"
    "                       [--user DOMAIN\\name[:admin]]... [--login "
    "name:password[:sysadmin|dbcreator]]...\n"
    "                       [--structures FILE|DIR]\n"
    "Creates (or recreates) the desktop database LFDesktop10 in the stand-in instance at DIR.\n"
    "  --user       a Windows account: login, db_owner user in LFDesktop10, row in ELN_people;\n"
    "               ':admin' also sets is_administrator = 1 and makes the login a sysadmin\n"
    "  --login      a SQL Server login (created, or its password reset) with a db_owner user\n"
    "  --structures a text file with one CDXML document per line, or a folder of *.cdxml files\n";

struct Options {
    std::string data;
    std::string machine;
    std::string instance;
    std::vector<std::pair<std::string, bool>> users; // name, admin
    struct Login {
        std::string name, password, role;
    };
    std::vector<Login> logins;
    std::string structures;
};

// Arguments that cannot work (exit status 2); other failures are plain runtime errors (1).
class SeedError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Collects what a batch says; the seeding stops at the first error.
class CheckingSink : public ResultSink {
public:
    std::vector<std::string> errors;
    void columns(const std::vector<ColumnInfo>&) override {}
    void row(const std::vector<Value>&) override {}
    void statementDone(const DoneInfo&) override {}
    void message(const ServerMessage& m) override
    {
        if (m.severity > 10)
            errors.push_back("Msg " + std::to_string(m.number) + ": " + m.text);
    }
    void databaseChanged(const std::string&, const std::string&) override {}
    void returnStatus(int32_t) override {}
    void returnValue(const std::string&, const ColumnInfo&, const Value&) override {}
    bool cancelRequested() override { return false; }
};

std::string quoted(const std::string& s)
{
    std::string out = "N'";
    for (char c : s) {
        out += c;
        if (c == '\'')
            out += '\'';
    }
    return out + "'";
}

std::string bracketed(const std::string& s)
{
    std::string out = "[";
    for (char c : s) {
        out += c;
        if (c == ']')
            out += ']';
    }
    return out + "]";
}

void run(Session& session, const std::string& sql)
{
    CheckingSink sink;
    session.executeBatch(sql, sink);
    if (!sink.errors.empty())
        throw std::runtime_error(sink.errors.front() + "\n  in: " + sql);
}

void insertStructure(Session& session, const std::string& cdxml)
{
    std::vector<RpcParameter> params(3);
    params[0].name = "@stmt";
    params[0].value = std::string("INSERT INTO ELN_chemical_structures (CDXML, MOL_ID) VALUES (@cdxml, 0)");
    params[1].name = "@params";
    params[1].value = std::string("@cdxml nvarchar(max)");
    params[2].name = "@cdxml";
    params[2].value = cdxml;
    CheckingSink sink;
    session.executeRpc("sp_executesql", params, sink);
    if (!sink.errors.empty())
        throw std::runtime_error(sink.errors.front());
}

std::vector<std::string> readStructures(const std::string& source)
{
    std::vector<std::string> documents;
    if (fs::is_directory(source)) {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(source))
            if (entry.is_regular_file() && entry.path().extension() == ".cdxml")
                files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        for (const auto& f : files) {
            std::ifstream in(f, std::ios::binary);
            std::ostringstream text;
            text << in.rdbuf();
            documents.push_back(text.str());
        }
        return documents;
    }
    if (fs::path(source).extension() == ".smi")
        throw SeedError("'" + source + "' holds SMILES; convert it first, e.g. obabel -i smi " + source +
                        " -o cdxml --gen2d, one document per line");
    std::ifstream in(source, std::ios::binary);
    if (!in)
        throw SeedError("cannot read structures from '" + source + "'");
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.find_first_not_of(" \t") != std::string::npos)
            documents.push_back(line);
    }
    return documents;
}

Options parse(int argc, char** argv)
{
    Options o;
    auto value = [&](int& i) -> std::string {
        if (i + 1 >= argc)
            throw SeedError(std::string(argv[i]) + " needs a value");
        return argv[++i];
    };
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--data") {
            o.data = value(i);
        } else if (a == "--machine") {
            o.machine = value(i);
        } else if (a == "--instance") {
            o.instance = value(i);
        } else if (a == "--user") {
            std::string u = value(i);
            bool admin = false;
            if (u.size() > 6 && u.compare(u.size() - 6, 6, ":admin") == 0) {
                admin = true;
                u.resize(u.size() - 6);
            }
            if (u.find('\\') == std::string::npos)
                throw SeedError("--user wants DOMAIN\\name, not '" + u + "'");
            o.users.emplace_back(u, admin);
        } else if (a == "--login") {
            const std::string argument = value(i);
            Options::Login l;
            const auto first = argument.find(':');
            if (first == std::string::npos || first == 0)
                throw SeedError("--login wants name:password[:sysadmin|dbcreator], not '" + argument + "'");
            l.name = argument.substr(0, first);
            l.password = argument.substr(first + 1);
            const auto second = l.password.rfind(':');
            if (second != std::string::npos) {
                const std::string role = l.password.substr(second + 1);
                if (role == "sysadmin" || role == "dbcreator") {
                    l.role = role;
                    l.password.resize(second);
                }
            }
            o.logins.push_back(l);
        } else if (a == "--structures") {
            o.structures = value(i);
        } else if (a == "--help" || a == "-h") {
            std::cout << kUsage;
            std::exit(0);
        } else {
            throw SeedError("unknown argument '" + a + "'");
        }
    }
    if (o.data.empty())
        throw SeedError("--data is required");
    return o;
}

void seed(const Options& o)
{
    std::vector<std::string> structures;
    if (!o.structures.empty())
        structures = readStructures(o.structures);

    InstanceConfig config;
    config.dataFolder = o.data;
    config.machineName = o.machine;
    config.instanceName = o.instance;
    EngineInstance instance(config);
    if (!o.machine.empty() || !o.instance.empty()) {
        const auto [machine, name] = instance.catalog().identity();
        instance.catalog().setIdentity(o.machine.empty() ? machine : o.machine,
                                       o.instance.empty() ? name : o.instance);
    }
    LoginRequest request;
    request.userName = "sa";
    const char* env = std::getenv("LABFOLIO_STANDIN_SA_PASSWORD");
    request.password = env && *env ? env : "Labfolio-sa1";
    request.appName = "lf-standin-seed";
    ServerMessage error;
    auto session = instance.login(request, error);
    if (!session)
        throw std::runtime_error(error.text);

    run(*session, std::string("IF DB_ID(N'") + kDatabase + "') IS NOT NULL DROP DATABASE " + kDatabase);
    run(*session, std::string("CREATE DATABASE ") + kDatabase);
    try {
        run(*session, std::string("USE ") + kDatabase + R"(
CREATE TABLE ELN_people (
  Username nvarchar(255) NOT NULL PRIMARY KEY,
  is_administrator bit NOT NULL DEFAULT 0)
CREATE TABLE ELN_parameters (
  name nvarchar(255) NOT NULL PRIMARY KEY,
  data nvarchar(255) NULL)
CREATE TABLE ELN_chemical_structures (
  primary_key int IDENTITY(1,1) NOT NULL PRIMARY KEY,
  CDXML nvarchar(max) NULL,
  MOL_ID int NULL)
CREATE TABLE ELN_sessions (
  session_key int IDENTITY(1,1) NOT NULL PRIMARY KEY,
  owner_key int NOT NULL,
  client_bias int NULL,
  started datetime NOT NULL,
  ended datetime NULL)
INSERT INTO ELN_parameters (name, data) VALUES (N'database guid', CONVERT(nvarchar(255), NEWID())))");
        for (const auto& [user, admin] : o.users) {
            const std::string name = quoted(user);
            run(*session, "IF NOT EXISTS (SELECT * FROM sys.server_principals WHERE name = " + name +
                              ") CREATE LOGIN " + bracketed(user) + " FROM WINDOWS");
            run(*session, "CREATE USER " + bracketed(user) + " FOR LOGIN " + bracketed(user) +
                              "\nEXEC sp_addrolemember 'db_owner', " + name +
                              "\nINSERT INTO ELN_people (Username, is_administrator) VALUES (" + name + ", " +
                              (admin ? "1" : "0") + ")");
            if (admin)
                run(*session, "EXEC sp_addsrvrolemember " + name + ", 'sysadmin'");
        }
        for (const auto& l : o.logins) {
            const std::string name = quoted(l.name);
            run(*session, "IF EXISTS (SELECT * FROM sys.server_principals WHERE name = " + name +
                              ") ALTER LOGIN " + bracketed(l.name) +
                              " WITH PASSWORD = " + quoted(l.password) + " ELSE CREATE LOGIN " +
                              bracketed(l.name) + " WITH PASSWORD = " + quoted(l.password));
            run(*session, "CREATE USER " + bracketed(l.name) + " FOR LOGIN " + bracketed(l.name) +
                              "\nEXEC sp_addrolemember 'db_owner', " + name);
            if (!l.role.empty())
                run(*session, "EXEC sp_addsrvrolemember " + name + ", '" + l.role + "'");
        }
        // A transaction per thousand rows: one commit (and one sync of the database file) each,
        // rather than one a row, which made 50,000 structures take many minutes.
        constexpr size_t kRowsPerTransaction = 1000;
        for (size_t i = 0; i < structures.size(); ++i) {
            if (i % kRowsPerTransaction == 0)
                run(*session, "BEGIN TRANSACTION");
            insertStructure(*session, structures[i]);
            if (i % kRowsPerTransaction == kRowsPerTransaction - 1 || i + 1 == structures.size())
                run(*session, "COMMIT TRANSACTION");
        }
        run(*session, "USE master");
    } catch (...) {
        // Leave no half-seeded desktop database behind.
        CheckingSink ignored;
        session->executeBatch(std::string("USE master; DROP DATABASE ") + kDatabase, ignored);
        throw;
    }
    std::cout << "lf-standin-seed: " << kDatabase << " in " << o.data << " (" << instance.serverName()
              << "): " << o.users.size() << " users, " << o.logins.size() << " logins, " << structures.size()
              << " structures\n";
}

} // namespace

int main(int argc, char** argv)
{
    try {
        seed(parse(argc, argv));
        return 0;
    } catch (const SeedError& e) {
        std::cerr << "lf-standin-seed: " << e.what() << "\n";
        if (std::string(e.what()).find("needs a value") != std::string::npos ||
            std::string(e.what()).find("unknown argument") != std::string::npos ||
            std::string(e.what()).find("is required") != std::string::npos)
            std::cerr << kUsage;
        return 2;
    } catch (const std::exception& e) {
        std::cerr << "lf-standin-seed: " << e.what() << "\n";
        return 1;
    }
}
