#include "ServerConfig.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>

namespace standin::tds {

namespace {

std::string trim(const std::string& s)
{
    const auto begin = s.find_first_not_of(" \t\r");
    if (begin == std::string::npos)
        return {};
    const auto end = s.find_last_not_of(" \t\r");
    return s.substr(begin, end - begin + 1);
}

std::string upper(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::toupper(c); });
    return s;
}

uint16_t parsePort(const std::string& value, const std::string& where)
{
    char* end = nullptr;
    const long n = std::strtol(value.c_str(), &end, 10);
    if (value.empty() || *end != '\0' || n < 0 || n > 65535)
        throw ConfigError(where + ": \"" + value + "\" is not a port number (0 to 65535)");
    return static_cast<uint16_t>(n);
}

int parseMillis(const std::string& value, const std::string& where)
{
    char* end = nullptr;
    const long n = std::strtol(value.c_str(), &end, 10);
    if (value.empty() || *end != '\0' || n < 0 || n > 600000)
        throw ConfigError(where + ": \"" + value + "\" is not a number of milliseconds");
    return static_cast<int>(n);
}

SqlLogin parseLogin(const std::string& value, const std::string& where)
{
    std::istringstream in(value);
    SqlLogin login;
    std::string role;
    in >> login.name >> login.password >> role;
    if (login.name.empty() || login.password.empty())
        throw ConfigError(where + ": a login needs a name and a password (login = NAME PASSWORD [sysadmin])");
    if (!role.empty() && role != "sysadmin")
        throw ConfigError(where + ": the only role a login line can give is sysadmin, not \"" + role + "\"");
    login.sysadmin = role == "sysadmin";
    return login;
}

bool validInstanceName(const std::string& name)
{
    // The resolution protocol carries instance names of up to 32 bytes; ';' would break its
    // answer apart.
    return !name.empty() && name.size() <= 32 && std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return std::isalnum(c) || c == '_' || c == '$';
    });
}

void check(ServerSettings& settings)
{
    if (settings.instances.empty())
        throw ConfigError("no instance to serve");
    for (const InstanceSettings& i : settings.instances)
        if (i.config.dataFolder.empty())
            throw ConfigError("instance " + i.config.instanceName + " has no data folder");
    std::set<std::string> names;
    for (InstanceSettings& i : settings.instances) {
        // A single instance from the command line may leave its name to the data folder.
        if (i.config.instanceName.empty() && settings.instances.size() == 1)
            continue;
        if (!validInstanceName(i.config.instanceName))
            throw ConfigError("\"" + i.config.instanceName +
                              "\" is not an instance name (letters, digits, _ and $; 32 at most)");
        if (!names.insert(upper(i.config.instanceName)).second)
            throw ConfigError("instance " + i.config.instanceName + " is configured twice");
        if (i.config.dataFolder.empty())
            throw ConfigError("instance " + i.config.instanceName + " has no data folder");
    }
}

} // namespace

ServerSettings readConfigFile(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw ConfigError("cannot read the configuration file " + path);
    const std::filesystem::path base = std::filesystem::absolute(path).parent_path();
    ServerSettings settings;
    enum class Section { None, Server, Instance } section = Section::None;
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        const std::string where = path + ":" + std::to_string(number);
        line = trim(line.substr(0, line.find('#')));
        if (line.empty())
            continue;
        if (line.front() == '[') {
            if (line.back() != ']')
                throw ConfigError(where + ": a section header must end with ']'");
            const std::string header = trim(line.substr(1, line.size() - 2));
            if (header == "server") {
                section = Section::Server;
            } else if (header.rfind("instance", 0) == 0) {
                InstanceSettings instance;
                instance.config.instanceName = trim(header.substr(8));
                if (instance.config.instanceName.empty())
                    throw ConfigError(where + ": write the instance's name in its header: [instance NAME]");
                settings.instances.push_back(std::move(instance));
                section = Section::Instance;
            } else {
                throw ConfigError(where + ": unknown section [" + header + "]");
            }
            continue;
        }
        const auto eq = line.find('=');
        if (eq == std::string::npos)
            throw ConfigError(where + ": expected key = value");
        const std::string key = trim(line.substr(0, eq));
        const std::string value = trim(line.substr(eq + 1));
        if (section == Section::Server) {
            if (key == "address")
                settings.address = value;
            else if (key == "ssrp-port") {
                if (value == "off")
                    settings.resolutionProtocol = false;
                else
                    settings.resolutionPort = parsePort(value, where);
            } else
                throw ConfigError(where + ": unknown setting \"" + key + "\" in [server]");
        } else if (section == Section::Instance) {
            InstanceSettings& i = settings.instances.back();
            if (key == "port")
                i.port = parsePort(value, where);
            else if (key == "data") {
                std::filesystem::path p(value);
                i.config.dataFolder = (p.is_absolute() ? p : base / p).lexically_normal().string();
            } else if (key == "machine")
                i.config.machineName = value;
            else if (key == "version")
                i.config.productVersion = value;
            else if (key == "progress-step-ms")
                i.config.progressStepMillis = parseMillis(value, where);
            else if (key == "login-timeout-ms")
                i.loginTimeoutMillis = parseMillis(value, where);
            else if (key == "login")
                i.logins.push_back(parseLogin(value, where));
            else
                throw ConfigError(where + ": unknown setting \"" + key + "\" in an instance");
        } else {
            throw ConfigError(where + ": settings must follow a [server] or [instance NAME] header");
        }
    }
    check(settings);
    return settings;
}

std::string usage()
{
    return "usage: lf-standin --config FILE [--ssrp-port PORT | --no-ssrp]\n"
           "       lf-standin --data FOLDER [--instance NAME] [--port PORT] [--machine NAME]\n"
           "                  [--version X.YY.ZZZZ.WW] [--progress-step-ms N] [--login-timeout-ms N]\n"
           "                  [--login NAME:PASSWORD[:sysadmin]]...\n"
           "                  [--ssrp-port PORT | --no-ssrp]\n"
           "PORT 0 (the default) picks a free port; the chosen ports are printed once listening.\n";
}

ServerSettings parseCommandLine(const std::vector<std::string>& args)
{
    std::string configFile;
    InstanceSettings single;
    bool singleGiven = false;
    std::optional<uint16_t> ssrpPort;
    bool noSsrp = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= args.size())
                throw ConfigError(a + " needs a value\n" + usage());
            return args[++i];
        };
        if (a == "--config")
            configFile = value();
        else if (a == "--ssrp-port")
            ssrpPort = parsePort(value(), a);
        else if (a == "--no-ssrp")
            noSsrp = true;
        else if (a == "--instance")
            single.config.instanceName = value(), singleGiven = true;
        else if (a == "--port")
            single.port = parsePort(value(), a), singleGiven = true;
        else if (a == "--data")
            single.config.dataFolder = std::filesystem::absolute(value()).lexically_normal().string(),
            singleGiven = true;
        else if (a == "--machine")
            single.config.machineName = value(), singleGiven = true;
        else if (a == "--version")
            single.config.productVersion = value(), singleGiven = true;
        else if (a == "--progress-step-ms")
            single.config.progressStepMillis = parseMillis(value(), a), singleGiven = true;
        else if (a == "--login-timeout-ms")
            single.loginTimeoutMillis = parseMillis(value(), a), singleGiven = true;
        else if (a == "--login") {
            // NAME:PASSWORD[:sysadmin]; the password may itself contain ':'.
            std::string v = value();
            const auto colon = v.find(':');
            if (colon == std::string::npos)
                throw ConfigError("--login takes NAME:PASSWORD[:sysadmin]");
            SqlLogin login;
            login.name = v.substr(0, colon);
            login.password = v.substr(colon + 1);
            const std::string role = ":sysadmin";
            if (login.password.size() > role.size() &&
                login.password.compare(login.password.size() - role.size(), role.size(), role) == 0) {
                login.password.resize(login.password.size() - role.size());
                login.sysadmin = true;
            }
            if (login.name.empty() || login.password.empty())
                throw ConfigError("--login takes NAME:PASSWORD[:sysadmin]");
            single.logins.push_back(login);
            singleGiven = true;
        } else if (a == "--help" || a == "-h")
            throw ConfigError(usage());
        else
            throw ConfigError("unknown option " + a + "\n" + usage());
    }
    ServerSettings settings;
    if (!configFile.empty()) {
        if (singleGiven)
            throw ConfigError("give either --config or the single-instance options, not both\n" + usage());
        settings = readConfigFile(configFile);
    } else {
        if (single.config.dataFolder.empty())
            throw ConfigError("no --data folder and no --config file\n" + usage());
        settings.instances.push_back(single);
        check(settings);
    }
    if (ssrpPort)
        settings.resolutionPort = *ssrpPort;
    if (noSsrp)
        settings.resolutionProtocol = false;
    return settings;
}

} // namespace standin::tds
