// Stands in for the osql tool in tests of the wizard's script runner: writes the arguments it
// received, one per line, into the file named by -o, after a short pause so that the runner
// has to wait for it.
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

int main(int argc, char** argv)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    std::string log;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a.rfind("-o", 0) == 0)
            log = a.substr(2);
    }
    if (log.empty())
        return 2;
    std::ofstream out(log);
    for (int i = 1; i < argc; ++i)
        out << argv[i] << "\n";
    return 0;
}
