#include "TaskCommand.h"

#include "ExitStatus.h"
#include "InterruptStop.h"
#include "MsdeLoginPrompt.h"
#include "TaskFlow.h"
#include "TaskOffer.h"
#include "Terminal.h"
#include "TerminalOperations.h"
#include "TerminalPrompter.h"
#include "TerminalView.h"

namespace cli {
namespace {

using Label = TaskFlowView::Label;

// The result pages end on the window's Finish button, which a command does not have.
std::string withoutFinishHint(std::string text)
{
    static const std::string hint = "Click Finish to exit the wizard.";
    if (text.size() >= hint.size() && text.compare(text.size() - hint.size(), hint.size(), hint) == 0) {
        text.resize(text.size() - hint.size());
        while (!text.empty() && text.back() == ' ')
            text.pop_back();
    }
    return text;
}

void addLine(std::string& out, const std::string& line)
{
    if (!line.empty())
        out += line + "\n";
}

} // namespace

TaskCommand::TaskCommand(Terminal& terminal, const ParsedCommand& command)
    : m_terminal(terminal), m_command(command)
{
}

int32_t TaskCommand::TaskOf(const std::string& commandName)
{
    if (commandName == "migrate")
        return TaskFlowView::MigrateDatabase;
    if (commandName == "connect-service")
        return TaskFlowView::ConnectService;
    if (commandName == "connect-desktop")
        return TaskFlowView::ConnectDesktop;
    if (commandName == "create-offline")
        return TaskFlowView::CreateOffline;
    if (commandName == "rebuild-index")
        return TaskFlowView::RebuildIndex;
    if (commandName == "remove-offline")
        return TaskFlowView::RemoveOffline;
    return 0;
}

int TaskCommand::Run()
{
    const ParsedCommand& c = m_command;
    const int32_t task = TaskOf(c.definition->name);
    const std::string notOffered = TaskOffer::ForThisComputer().whyNot(task);
    if (!notOffered.empty()) {
        m_terminal.err("labfolio-setup " + c.definition->name + ": " + notOffered +
                       ", so the wizard does not offer "
                       "this task.\n");
        return kRefused;
    }

    InterruptStop interrupt(m_terminal);
    TerminalPrompter prompter(m_terminal, {c.flag("yes"), c.flag("dry-run"), c.value("group")});
    MsdeLoginPrompt msde(m_terminal, prompter,
                         {c.value("msde-server"), c.value("msde-user"), c.value("msde-password-file")});
    TerminalView view({task, c.valueOr("server"), c.valueOr("database"), c.valueOr("index-folder"),
                       c.valueOr("service-name"), c.valueOr("service-folder"), c.valueOr("backup-folder"),
                       c.argument},
                      [&msde] { return msde.Ask(); });
    TaskFlow* running = nullptr;
    TerminalOperations operations(m_terminal, prompter, interrupt,
                                  [&running] { running->MigrationFinished(); });
    TaskFlow flow(view, prompter, operations);
    running = &flow;

    flow.Start();
    flow.Next(); // the welcome page
    while (!view.finishOffered() && flow.CurrentPage() != TaskFlowView::ProgressPage) {
        const int16_t page = flow.CurrentPage();
        if (page == TaskFlowView::SummaryPage && c.flag("dry-run"))
            return showSummary(view);
        flow.Next();
        // A check that refused, a question answered No: the page stays, its message is shown.
        if (flow.CurrentPage() == page && !view.finishOffered())
            return kRefused;
    }
    bool stopped = false;
    if (operations.IndexBuildPending())
        stopped = !operations.RunIndexBuild(
            {[&flow] { flow.BuildFinished(); }, [&flow](const LfError& e) { flow.BuildFailed(e); }});
    if (stopped) {
        m_terminal.err("Stopped: the structures done so far keep their numbers, and the index holds them.\n");
        return kStopped;
    }
    return showResult(view, flow.DoneTag() == "Error", interrupt.stopRequested(),
                      flow.CurrentPage() == TaskFlowView::ProgressPage);
}

int TaskCommand::showSummary(const TerminalView& view)
{
    std::string out;
    addLine(out, view.text(Label::Top));
    addLine(out, view.text(Label::Bottom));
    addLine(out, view.summary());
    m_terminal.out(out);
    m_terminal.err("Dry run: every check passed, nothing was changed.\n");
    return kDone;
}

int TaskCommand::showResult(const TerminalView& view, bool failed, bool stopped, bool onResultPage)
{
    std::string text;
    addLine(text, view.text(Label::Top));
    if (failed) {
        addLine(text, view.text(Label::Bottom));
        m_terminal.err(text);
        return stopped ? kStopped : kFailed;
    }
    if (!onResultPage) {
        // The notice that ends a migration onto this computer's own engine: nothing was done.
        m_terminal.err(view.text(Label::Bottom) + "\n");
        return kRefused;
    }
    addLine(text, withoutFinishHint(view.text(Label::Header)));
    addLine(text, view.text(Label::Bottom));
    m_terminal.out(text);
    return kDone;
}

} // namespace cli
