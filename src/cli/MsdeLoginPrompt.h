#pragma once

#include "TaskFlowView.h"

#include <optional>
#include <string>

class Prompter;

namespace cli {

class Terminal;

// The MSDE login dialog on a terminal: the instance from --msde-server (else this computer's
// VELDRIN, as the dialog presets it), the user from --msde-user, the password from a file, from
// LABFOLIO_MSDE_PASSWORD or asked without echo; never from the command line, where every user of
// the computer could read it. The login is tested once, as the dialog's OK does.
class MsdeLoginPrompt {
public:
    struct Sources {
        std::optional<std::string> server;
        std::optional<std::string> user;
        std::optional<std::string> passwordFile;
    };

    static constexpr const char* kPasswordVariable = "LABFOLIO_MSDE_PASSWORD";

    MsdeLoginPrompt(Terminal& terminal, Prompter& prompter, Sources sources);

    // What the dialog hands back: closed with OK and tested, or cancelled with its server name.
    TaskFlowView::MsdeLogin Ask();

private:
    std::optional<std::string> password();

    Terminal& m_terminal;
    Prompter& m_prompter;
    Sources m_sources;
};

} // namespace cli
