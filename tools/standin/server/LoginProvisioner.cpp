#include "LoginProvisioner.h"

#include <cstdlib>
#include <stdexcept>

namespace standin::tds {

namespace {

constexpr int32_t kLoginExists = 15025;

// Keeps only the errors of a batch run on the server's own behalf.
class ErrorCollector : public ResultSink {
public:
    void columns(const std::vector<ColumnInfo>&) override {}
    void row(const std::vector<Value>&) override {}
    void statementDone(const DoneInfo&) override {}
    void message(const ServerMessage& m) override
    {
        if (m.severity > 10)
            errors.push_back(m);
    }
    void databaseChanged(const std::string&, const std::string&) override {}
    void returnStatus(int32_t) override {}
    void returnValue(const std::string&, const ColumnInfo&, const Value&) override {}
    bool cancelRequested() override { return false; }

    std::vector<ServerMessage> errors;
};

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

std::string firstError(const std::vector<ServerMessage>& errors)
{
    return errors.empty() ? "" : errors.front().text;
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

    ErrorCollector create;
    session->executeBatch("CREATE LOGIN [" + quoted(login.name, ']') + "] WITH PASSWORD = N'" +
                              quoted(login.password, '\'') + "'",
                          create);
    for (const ServerMessage& e : create.errors)
        if (e.number != kLoginExists)
            throw std::runtime_error("cannot create login " + login.name + ": " + e.text);
    if (login.sysadmin) {
        ErrorCollector grant;
        session->executeBatch("EXEC sp_addsrvrolemember N'" + quoted(login.name, '\'') + "', N'sysadmin'",
                              grant);
        if (!grant.errors.empty())
            throw std::runtime_error("cannot make " + login.name +
                                     " a sysadmin: " + firstError(grant.errors));
    }
}

} // namespace standin::tds
