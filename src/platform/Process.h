#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// Hidden child processes: start one and wait for it (CreateProcess + WaitForSingleObject on
// Windows, posix_spawn + waitpid elsewhere).
namespace proc {

// Splits a command line into arguments the way the C runtime does on Windows: blanks separate
// arguments, double quotes group blanks into one argument and are removed; backslashes are
// literal unless they precede a double quote (2n backslashes + quote: n backslashes and a
// grouping quote; 2n+1: n backslashes and a literal quote).
std::vector<std::string> splitCommandLine(const std::string& commandLine);

// The folder of this process's own executable ("" when the system cannot tell).
std::string ownExecutableFolder();

// A started child process. The destructor does not end the child; it only releases the handle.
class Process {
public:
    virtual ~Process() = default;
    // The child's process id.
    virtual long id() const = 0;
    // Waits at most timeout; true when the child has ended (its exit code is then known).
    virtual bool waitFor(std::chrono::milliseconds timeout) = 0;
    // The exit code once ended (-1 while running; 128 + signal number when a signal ended it).
    virtual int exitCode() const = 0;
    // Ends the child at once.
    virtual void kill() = 0;
};

// Starts the program (an absolute path, or a name looked up on PATH) with the arguments, its
// window hidden, inheriting the environment and the current folder. Empty pointer and an
// explanation in error when it cannot be started.
std::unique_ptr<Process> start(const std::string& program, const std::vector<std::string>& arguments,
                               std::string& error);

// Waits without a time limit, calling whileWaiting every interval meanwhile.
void waitWithCallback(Process& process, const std::function<void()>& whileWaiting,
                      std::chrono::milliseconds interval = std::chrono::milliseconds(50));

} // namespace proc
