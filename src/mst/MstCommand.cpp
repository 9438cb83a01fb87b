#include "MstCommand.h"

#include "IndexError.h"
#include "IndexSnapshot.h"
#include "IndexVerifier.h"
#include "StructureQuery.h"
#include "SubstructureSearch.h"
#include "Version.h"

#include <charconv>
#include <iomanip>
#include <optional>
#include <ostream>
#include <thread>

using namespace mststatus;

namespace {

constexpr const char* kProgram = "labfolio-mst";

constexpr const char* kOverview = R"(Usage: labfolio-mst COMMAND FILE.mst [ARGUMENTS]

Shows what a Labfolio structure index holds, checks it, and searches it. The index (FILE.mst
and its companions .msx, .mss, .msk and .msf) is only read: a rebuild may go on adding to it
meanwhile, and the command sees the structures of the rebuild's last completed slice.

Commands:
  info FILE.mst            format version, structures, last identifier, the sizes of the five
                           files, and whether the last build completed
  verify FILE.mst          reads every structure and checks the companion files against the
                           index; names the first damage found
  search FILE.mst QUERY    prints the identifiers (MOL_ID) of the structures that hold QUERY
                           (SMILES or SMARTS), one a line, in identifier order
  help [COMMAND]           this text, or a command's

"labfolio-mst COMMAND --help" shows a command's options; --version the program's version.

Exit status:
  0  done; for search, at least one structure matches
  1  the index is damaged (the message names the first damage found)
  2  the command line is wrong
  3  the file cannot be used: missing, unreadable, not a structure index, or written by a
     later version
  4  the query cannot be read, or an exact search was given a SMARTS pattern
  5  no structure matches the query
)";

constexpr const char* kInfoHelp = R"(Usage: labfolio-mst info FILE.mst

Shows the index's format version, how many structures it holds, the identifier (MOL_ID) of its
last structure, the sizes of its five files, and whether the build that wrote its last
structures ran to its end. A build that was stopped, or is still running, leaves an index that
holds the structures of its last completed slice; what it wrote after that is shown and is
dropped by the next rebuild.

Exit status: 0 done, 1 the index is damaged, 2 the command line is wrong, 3 the file cannot be
used.
)";

constexpr const char* kVerifyHelp = R"(Usage: labfolio-mst verify FILE.mst

Reads every structure of the index and checks it: its entry in the offset table (.msx), its
molecule against its checksum (.mss), that RDKit reads the molecule, and that its screening key
(.msk) and atom, bond and ring counts (.msf) are those of the molecule. Also checks that the
five files belong to one index and that the companions hold everything the last commit counts.

Exit status: 0 the index is whole, 1 the index is damaged (the message names the first damage
found), 2 the command line is wrong, 3 the file cannot be used.
)";

constexpr const char* kSearchHelp =
    R"(Usage: labfolio-mst search FILE.mst QUERY [--exact] [--limit N] [--threads N] [--stats]

Prints the identifiers (MOL_ID) of the structures that hold QUERY, one a line, in identifier
order. QUERY is read as SMILES; when it is not valid SMILES, or names an element by number
("[#6]"), as a SMARTS pattern. Quote it for the shell, e.g.
  labfolio-mst search Labfolio.mst '[CX3](=O)[OX2H1]'

Each structure's pattern fingerprint and atom and bond counts screen first; RDKit's substructure
match confirms the structures that remain. Stereochemistry is not compared, except by --exact.
A damaged structure met on the way ends the search with exit status 1; "verify" checks every
structure.

Options:
  --exact      only the structure itself: same atoms, bonds, charges and stereochemistry
               (QUERY must be SMILES)
  --limit N    stop after the first N identifiers
  --threads N  match on N threads (default: one per processor)
  --stats      also write to standard error how many structures the fingerprints screened out
               and how many RDKit compared
  --help       this text

Exit status: 0 at least one structure matches, 1 the index is damaged, 2 the command line is
wrong, 3 the file cannot be used, 4 the query cannot be read, 5 no structure matches.
)";

struct UsageError {
    std::string message;
};

struct Arguments {
    std::vector<std::string> operands;
    bool help = false;
    bool exact = false;
    bool stats = false;
    uint64_t limit = 0;
    unsigned threads = 0;
};

uint64_t positiveNumber(const std::string& option, const std::string& text, uint64_t most)
{
    uint64_t n = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), n);
    if (error != std::errc() || end != text.data() + text.size() || n == 0 || n > most)
        throw UsageError{option + " needs a whole number from 1 to " + std::to_string(most) + ", not \"" +
                         text + "\""};
    return n;
}

Arguments parseArguments(const std::string& command, const std::vector<std::string>& raw)
{
    const bool search = command == "search";
    Arguments a;
    bool operandsOnly = false;
    for (size_t i = 1; i < raw.size(); ++i) {
        std::string arg = raw[i];
        if (operandsOnly || arg.size() < 2 || arg[0] != '-') {
            a.operands.push_back(arg);
            continue;
        }
        std::optional<std::string> value;
        if (auto eq = arg.find('='); eq != std::string::npos && arg.rfind("--", 0) == 0) {
            value = arg.substr(eq + 1);
            arg.resize(eq);
        }
        auto takeValue = [&]() -> std::string {
            if (value)
                return *value;
            if (i + 1 >= raw.size())
                throw UsageError{arg + " needs a value"};
            return raw[++i];
        };
        if (arg == "--")
            operandsOnly = true;
        else if (arg == "--help" || arg == "-h")
            a.help = true;
        else if (search && arg == "--exact")
            a.exact = true;
        else if (search && arg == "--stats")
            a.stats = true;
        else if (search && arg == "--limit")
            a.limit = positiveNumber(arg, takeValue(), UINT32_MAX);
        else if (search && arg == "--threads")
            a.threads = static_cast<unsigned>(positiveNumber(arg, takeValue(), 256));
        else
            throw UsageError{"\"" + command + "\" has no option " + arg};
        if (value && (arg == "--exact" || arg == "--stats" || arg == "--help"))
            throw UsageError{arg + " takes no value"};
    }
    const size_t wanted = search ? 2 : 1;
    if (!a.help && a.operands.size() != wanted)
        throw UsageError{a.operands.size() < wanted ? std::string(search ? "search needs FILE.mst and QUERY"
                                                                         : command + " needs FILE.mst")
                                                    : "too many arguments for " + command};
    return a;
}

int info(const IndexSnapshot& index, std::ostream& out)
{
    const auto& sizes = index.fileSizes();
    out << "Structure index   " << index.path().string() << "\n"
        << "Format version    " << index.formatVersion() << "\n"
        << "Structures        " << index.count() << "\n"
        << "Last identifier   ";
    if (index.count() == 0)
        out << "none\n";
    else
        out << index.count() << "\n";
    out << "Last build        ";
    if (index.buildEnded())
        out << "completed\n";
    else
        out << "not completed: stopped, or still running (the index holds the structures of its last "
               "completed slice)\n";
    if (const uint64_t beyond = index.uncommittedBytes())
        out << "Not committed     " << beyond << " bytes after the last completed slice (dropped by the next "
            << "rebuild)\n";
    out << "Files\n";
    for (size_t k = 0; k < indexlayout::kFileCount; ++k)
        out << "  " << std::left << std::setw(28) << index.fileName(indexlayout::kKinds[k]) << std::right
            << std::setw(14) << sizes[k] << " bytes\n";
    return kDone;
}

int verify(const IndexSnapshot& index, std::ostream& out)
{
    const auto counts = IndexVerifier(index).run();
    out << index.path().string() << ": whole; " << counts.structures << " structures checked";
    if (counts.empty > 0)
        out << " (entries without a structure: " << counts.empty << ")";
    out << "\n";
    return kDone;
}

int search(const IndexSnapshot& index, const Arguments& a, std::ostream& out, std::ostream& err)
{
    const std::string& text = a.operands[1];
    std::optional<StructureQuery> query;
    try {
        query.emplace(text, a.exact);
    } catch (const LfError& e) {
        err << kProgram << ": " << e.description() << "\n";
        return kBadQuery;
    }
    SubstructureSearch::Options options;
    options.limit = a.limit;
    options.threads = a.threads ? a.threads : std::max(1u, std::thread::hardware_concurrency());
    const auto counts =
        SubstructureSearch(index, *query).run(options, [&](uint32_t id) { out << id << '\n'; });
    out.flush();
    if (a.stats) {
        const uint64_t withStructure = counts.structures - counts.empty;
        err << counts.structures << " structures searched";
        if (counts.empty)
            err << " (" << counts.empty << " without a structure)";
        err << "; " << counts.screenedOut << " screened out by fingerprint and counts";
        if (withStructure > 0)
            err << " (" << std::fixed << std::setprecision(1)
                << 100.0 * static_cast<double>(counts.screenedOut) / static_cast<double>(withStructure)
                << "%)";
        err << ", " << counts.matched << " compared by RDKit, " << counts.hits << " matching\n";
    }
    if (counts.hits == 0) {
        err << kProgram << ": no structure " << (a.exact ? "is" : "holds") << " \"" << text << "\"\n";
        return kNoMatch;
    }
    return kDone;
}

} // namespace

int RunMstCommand(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err)
{
    if (arguments.empty()) {
        err << kOverview;
        return kUsage;
    }
    const std::string& command = arguments[0];
    if (command == "--help" || command == "-h" || (command == "help" && arguments.size() == 1)) {
        out << kOverview;
        return kDone;
    }
    if (command == "--version") {
        out << kProgram << " " << version::kMajor << "." << version::kMinor << "." << version::kRevision
            << "\n";
        return kDone;
    }
    const char* help = command == "info"     ? kInfoHelp
                       : command == "verify" ? kVerifyHelp
                       : command == "search" ? kSearchHelp
                                             : nullptr;
    if (command == "help") {
        const std::string& topic = arguments[1];
        const char* text = topic == "info"     ? kInfoHelp
                           : topic == "verify" ? kVerifyHelp
                           : topic == "search" ? kSearchHelp
                                               : nullptr;
        if (!text || arguments.size() > 2) {
            err << kProgram << ": no help on \"" << topic << "\"; the commands are info, verify and search\n";
            return kUsage;
        }
        out << text;
        return kDone;
    }
    if (!help) {
        err << kProgram << ": unknown command \"" << command
            << "\"; the commands are info, verify and search "
            << "(labfolio-mst --help)\n";
        return kUsage;
    }

    Arguments a;
    try {
        a = parseArguments(command, arguments);
    } catch (const UsageError& e) {
        err << kProgram << " " << command << ": " << e.message << " (labfolio-mst " << command
            << " --help)\n";
        return kUsage;
    }
    if (a.help) {
        out << help;
        return kDone;
    }
    try {
        IndexSnapshot index(a.operands[0]);
        if (command == "info")
            return info(index, out);
        if (command == "verify")
            return verify(index, out);
        return search(index, a, out, err);
    } catch (const IndexError& e) {
        out.flush();
        err << kProgram << ": " << e.description() << "\n";
        return e.kind() == IndexError::Kind::Damaged ? kDamaged : kUnusable;
    }
}
