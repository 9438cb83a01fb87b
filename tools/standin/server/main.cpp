// lf-standin: the SQL Server stand-in's network front end, for tests and the demo.

#include "ServerConfig.h"
#include "TdsServer.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace {

int g_stopPipe[2] = {-1, -1};

void requestStop(int)
{
    const char byte = 1;
    [[maybe_unused]] auto n = ::write(g_stopPipe[1], &byte, 1);
}

} // namespace

int main(int argc, char** argv)
{
    using namespace standin::tds;
    ServerSettings settings;
    try {
        settings = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const ConfigError& e) {
        std::cerr << "lf-standin: " << e.what() << "\n";
        return 2;
    }
    if (::pipe2(g_stopPipe, O_CLOEXEC) != 0) {
        std::perror("lf-standin: pipe");
        return 1;
    }
    struct sigaction action {};
    action.sa_handler = requestStop;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    try {
        TdsServer server(settings);
        server.announce(std::cout);
        server.run(g_stopPipe[0]);
    } catch (const std::exception& e) {
        std::cerr << "lf-standin: " << e.what() << "\n";
        return 1;
    }
    std::cout << "stopped" << std::endl;
    return 0;
}
