#include "LoginProvisioner.h"

#include "CapturingSink.h"

#include <cstdlib>
#include <stdexcept>

namespace standin::tds {

namespace {

constexpr int32_t kLoginExists = 15025;

std::string quoted(const std::string& s, char close)
{
    std::string out;
    for (char c : s) {
        out += c;
        if (c == close)
            out += c;
    }
    return out;
}

// The first error of a batch, or "" when it had none.
std::string firstError(const CapturingSink& sink)
{
    for (const ServerMessage& m : sink.messages)
        if (m.severity > 10)
            return m.text;
    return {};
}

} // namespace

void provisionLogin(Instance& instance, const SqlLogin& login)
{
    LoginRequest sa;
    sa.userName = "sa";
    const char* password = std::getenv("LABFOLIO_STANDIN_SA_PASSWORD");
    sa.password = password ? password : "Labfolio-sa1";
    sa.appName = "lf-standin";
    sa.hostName = instance.config().machineName;
    ServerMessage refused;
    std::unique_ptr<Session> session = instance.login(sa, refused);
    if (!session)
        throw std::runtime_error("cannot log in as sa to create login " + login.name + ": " + refused.text);

    CapturingSink create;
    session->executeBatch("CREATE LOGIN [" + quoted(login.name, ']') + "] WITH PASSWORD = N'" +
                              quoted(login.password, '\'') + "'",
                          create);
    for (const ServerMessage& e : create.messages)
        if (e.severity > 10 && e.number != kLoginExists)
            throw std::runtime_error("cannot create login " + login.name + ": " + e.text);
    if (login.sysadmin) {
        CapturingSink grant;
        session->executeBatch("EXEC sp_addsrvrolemember N'" + quoted(login.name, '\'') + "', N'sysadmin'",
                              grant);
        if (const std::string error = firstError(grant); !error.empty())
            throw std::runtime_error("cannot make " + login.name + " a sysadmin: " + error);
    }
}

} // namespace standin::tds
