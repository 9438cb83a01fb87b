#include "../Process.h"

#include <windows.h>

namespace proc {
namespace {

// Quotes one argument so that the C runtime of the child splits it back unchanged.
std::string quoteArgument(const std::string& arg)
{
    if (!arg.empty() && arg.find_first_of(" \t\"") == std::string::npos)
        return arg;
    std::string out = "\"";
    size_t slashes = 0;
    for (char c : arg) {
        if (c == '\\') {
            ++slashes;
            continue;
        }
        if (c == '"') {
            out.append(slashes * 2 + 1, '\\');
        } else {
            out.append(slashes, '\\');
        }
        slashes = 0;
        out += c;
    }
    out.append(slashes * 2, '\\');
    out += '"';
    return out;
}

class WinProcess : public Process {
public:
    WinProcess(HANDLE process, DWORD pid) : m_process(process), m_pid(pid) {}
    ~WinProcess() override { CloseHandle(m_process); }

    long id() const override { return static_cast<long>(m_pid); }

    bool waitFor(std::chrono::milliseconds timeout) override
    {
        if (m_exitCode >= 0)
            return true;
        if (WaitForSingleObject(m_process, static_cast<DWORD>(timeout.count())) != WAIT_OBJECT_0)
            return false;
        DWORD code = 0;
        GetExitCodeProcess(m_process, &code);
        m_exitCode = static_cast<int>(code & 0x7fffffff);
        return true;
    }

    int exitCode() const override { return m_exitCode; }

    void kill() override
    {
        if (m_exitCode < 0)
            TerminateProcess(m_process, 1);
    }

private:
    HANDLE m_process;
    DWORD m_pid;
    int m_exitCode = -1;
};

} // namespace

std::string ownExecutableFolder()
{
    char buf[MAX_PATH];
    const DWORD n = GetModuleFileNameA(nullptr, buf, MAX_PATH);
    if (n == 0 || n >= MAX_PATH)
        return {};
    std::string path(buf, n);
    const auto slash = path.find_last_of("\\/");
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::unique_ptr<Process> start(const std::string& program, const std::vector<std::string>& arguments,
                               std::string& error)
{
    std::string commandLine = quoteArgument(program);
    for (const auto& a : arguments)
        commandLine += " " + quoteArgument(a);

    STARTUPINFOA si{};
    si.cb = sizeof si;
    si.dwFlags = STARTF_USESHOWWINDOW;
    si.wShowWindow = SW_HIDE;
    PROCESS_INFORMATION pi{};
    // The application name stays null so that a bare program name is looked up on PATH.
    if (!CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                        nullptr, &si, &pi)) {
        error = "cannot start \"" + program + "\": error " + std::to_string(GetLastError());
        return nullptr;
    }
    CloseHandle(pi.hThread);
    return std::make_unique<WinProcess>(pi.hProcess, pi.dwProcessId);
}

} // namespace proc
