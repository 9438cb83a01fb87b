// osql-compatible command-line tool: runs a T-SQL script batch by batch (batches end at "GO"
// lines) against a SQL Server and writes its messages, errors and results to a log, the way
// the wizard's offline-database step expects to read them. Exit status 1 when a batch failed.
#include <fstream>
#include <iostream>
#include <iterator>

#include "LfError.h"
#include "OdbcConnection.h"
#include "OsqlArguments.h"
#include "OsqlOutput.h"
#include "OsqlScript.h"
#include "ServerEndpoint.h"

int main(int argc, char** argv)
{
    std::vector<std::string> args(argv + 1, argv + argc);
    std::string error;
    const auto a = osql::parseArguments(args, error);
    if (!a) {
        std::cerr << "osql: " << error << "\n";
        if (error != osql::usage())
            std::cerr << osql::usage();
        return 2;
    }

    std::ofstream file;
    if (!a->outputFile.empty()) {
        file.open(a->outputFile, std::ios::binary | std::ios::trunc);
        if (!file) {
            std::cerr << "osql: cannot write \"" << a->outputFile << "\"\n";
            return 2;
        }
    }
    std::ostream& out = a->outputFile.empty() ? std::cout : file;

    std::string script = a->query;
    if (!a->inputFile.empty()) {
        std::ifstream in(a->inputFile, std::ios::binary);
        if (!in) {
            out << "Cannot open input file - " << a->inputFile << "\n";
            return 1;
        }
        script = osql::decodeScript(std::string(std::istreambuf_iterator<char>(in), {}));
    }

    std::unique_ptr<sqlserver::OdbcConnection> connection;
    std::string serverName = a->server;
    try {
        sqlserver::OdbcTarget target;
        target.driver = sqlserver::defaultOdbcDriver();
        target.endpoint = sqlserver::resolveServer(a->server);
        target.database = a->database;
        target.integrated = a->trusted || a->user.empty();
        target.user = a->user;
        target.password = a->password;
        connection = sqlserver::OdbcConnection::connect(target, 0, a->server.empty() ? "(local)" : a->server);
        const auto name = connection->scalar("SELECT @@SERVERNAME");
        if (!name.isNull())
            serverName = name.toText();
    } catch (const LfError& e) {
        out << "[osql] " << e.description() << "\n";
        std::cerr << "osql: " << e.description() << "\n";
        return 1;
    }

    bool failed = false;
    for (const auto& batch : osql::splitBatches(script)) {
        osql::OutputWriter writer(out, serverName);
        try {
            if (!connection->runBatch(batch.text, writer, true))
                failed = true;
        } catch (const LfError& e) {
            out << "[osql] " << e.description() << "\n";
            failed = true;
        }
    }
    out.flush();
    return failed ? 1 : 0;
}
