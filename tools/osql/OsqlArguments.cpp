#include "OsqlArguments.h"

namespace osql {

std::optional<Arguments> parseArguments(const std::vector<std::string>& args, std::string& error)
{
    Arguments a;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg.size() < 2 || (arg[0] != '-' && arg[0] != '/')) {
            error = "unexpected argument \"" + arg + "\"";
            return std::nullopt;
        }
        const char sw = arg[1];
        auto value = [&]() -> std::string {
            if (arg.size() > 2)
                return arg.substr(2);
            if (i + 1 < args.size() && !(args[i + 1].size() > 1 && args[i + 1][0] == '-')) {
                ++i;
                return args[i];
            }
            return {};
        };
        switch (sw) {
        case 'n':
            a.noNumbering = true;
            break;
        case 'E':
            a.trusted = true;
            break;
        case 'U':
            a.user = value();
            break;
        case 'P':
            a.password = value();
            a.passwordGiven = true;
            break;
        case 'S':
            a.server = value();
            break;
        case 'd':
            a.database = value();
            break;
        case 'i':
            a.inputFile = value();
            break;
        case 'o':
            a.outputFile = value();
            break;
        case 'Q':
        case 'q':
            a.query = value();
            break;
        case '?':
            error = usage();
            return std::nullopt;
        default:
            error = "unknown option \"" + arg + "\"";
            return std::nullopt;
        }
    }
    if (!a.trusted && a.user.empty()) {
        error = "either -E or -U is required";
        return std::nullopt;
    }
    if (a.inputFile.empty() && a.query.empty()) {
        error = "an input file (-i) or a query (-Q) is required";
        return std::nullopt;
    }
    return a;
}

std::string usage()
{
    return "usage: osql [-n] {-E | -U login_id [-P password]} [-S server] [-d database]\n"
           "            {-i input_file | -Q \"query\"} [-o output_file]\n";
}

} // namespace osql
