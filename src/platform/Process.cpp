#include "Process.h"

#include <thread>

namespace proc {

std::vector<std::string> splitCommandLine(const std::string& commandLine)
{
    std::vector<std::string> args;
    size_t i = 0;
    const size_t n = commandLine.size();
    for (;;) {
        while (i < n && (commandLine[i] == ' ' || commandLine[i] == '\t'))
            ++i;
        if (i >= n)
            break;
        std::string arg;
        bool quoted = false;
        while (i < n) {
            const char c = commandLine[i];
            if (!quoted && (c == ' ' || c == '\t'))
                break;
            if (c == '\\') {
                size_t slashes = 0;
                while (i < n && commandLine[i] == '\\') {
                    ++slashes;
                    ++i;
                }
                if (i < n && commandLine[i] == '"') {
                    arg.append(slashes / 2, '\\');
                    if (slashes % 2) {
                        arg += '"';
                        ++i;
                    }
                    // an even count leaves the quote to toggle grouping below
                } else {
                    arg.append(slashes, '\\');
                }
                continue;
            }
            if (c == '"') {
                // "" inside a quoted part is a literal quote, as the C runtime reads it
                if (quoted && i + 1 < n && commandLine[i + 1] == '"') {
                    arg += '"';
                    i += 2;
                    continue;
                }
                quoted = !quoted;
                ++i;
                continue;
            }
            arg += c;
            ++i;
        }
        args.push_back(std::move(arg));
    }
    return args;
}

void waitWithCallback(Process& process, const std::function<void()>& whileWaiting,
                      std::chrono::milliseconds interval)
{
    while (!process.waitFor(interval)) {
        if (whileWaiting)
            whileWaiting();
    }
}

} // namespace proc
