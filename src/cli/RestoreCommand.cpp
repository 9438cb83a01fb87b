#include "RestoreCommand.h"

#include "ExitStatus.h"
#include "InterruptStop.h"
#include "LfError.h"
#include "Migration.h"
#include "ProgressLine.h"
#include "SQLServerUtils.h"
#include "ServerManager.h"
#include "StopFlag.h"
#include "Terminal.h"
#include "TerminalPrompter.h"

namespace cli {
namespace {

bool databaseExists(const std::string& serverName, const std::string& databaseName)
{
    sqlserver::ConnectOptions options;
    options.server = serverName;
    options.loginSecure = true;
    options.loginTimeoutSeconds = 60;
    auto server = sqlserver::serverManager().Connect(options);
    const bool exists = SQLServerUtils::DatabaseExists(*server, databaseName);
    server->DisConnect();
    return exists;
}

// "Sorry, " and the description, ended by one full stop, as the error results read.
std::string sorry(const std::string& description)
{
    const bool endsWithStop = !description.empty() && description.back() == '.';
    return "Sorry, " + description + (endsWithStop ? "" : ".");
}

} // namespace

RestoreCommand::RestoreCommand(Terminal& terminal, const ParsedCommand& command)
    : m_terminal(terminal), m_command(command)
{
}

int RestoreCommand::Run()
{
    const std::string server = m_command.valueOr("server");
    const std::string database = m_command.valueOr("database");
    const std::string backup = m_command.valueOr("backup");
    const bool setAdministrator = m_command.flag("set-administrator");
    const bool dryRun = m_command.flag("dry-run");

    InterruptStop interrupt(m_terminal);
    TerminalPrompter prompter(m_terminal, {m_command.flag("yes"), dryRun, std::nullopt});
    try {
        if (databaseExists(server, database) &&
            prompter.messageBox("Are you sure you want to replace the database \"" + database + "\"?",
                                MsgButtons::YesNo, MsgIcon::Information, "Database Setup") != MsgAnswer::Yes)
            return kRefused;
    } catch (const LfError& e) {
        m_terminal.err(sorry(e.description()) + "\n");
        return kRefused;
    }
    if (dryRun) {
        m_terminal.out("Ready to Restore Database\nServer: " + server + "\nDatabase: " + database +
                       "\nBackup File: " + backup +
                       "\nSet Administrator: " + (setAdministrator ? "Yes" : "No") + "\n");
        m_terminal.err("Dry run: every check passed, nothing was changed.\n");
        return kDone;
    }

    engine::StopFlag stop;
    try {
        // The restore reports from 100 to 200 on the migration's scale.
        ProgressLine line(m_terminal);
        line.setProgressMinimum(100);
        line.setProgressMaximum(200);
        line.setMessage("Restoring Database...");
        engine::Migration migration(line, stop, prompter);
        interrupt.stoppable([&stop] { stop.request(); });
        migration.RestoreDatabase(server, database, backup);
        interrupt.unstoppable();
        if (setAdministrator)
            migration.SetAdministrator(server, database);
        interrupt.checks();
    } catch (const LfError& e) {
        interrupt.checks();
        m_terminal.err("Restore Aborted\n" + sorry(e.description()) + "\n");
        return interrupt.stopRequested() ? kStopped : kFailed;
    }
    m_terminal.out(
        "Restore Completed\nThe database \"" + database + "\" has been restored on \"" + server + "\"" +
        (setAdministrator ? ", with you as its administrator and a new database identity." : ".") + "\n");
    return kDone;
}

} // namespace cli
