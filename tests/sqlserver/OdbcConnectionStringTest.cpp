#include "OdbcConnectionString.h"

#include <cstdlib>

#include <gtest/gtest.h>

using namespace sqlserver;

namespace {
struct EnvGuard {
    explicit EnvGuard(const char* name) : m_name(name)
    {
        if (const char* v = std::getenv(name))
            m_old = v;
    }
    ~EnvGuard()
    {
        if (m_old)
            ::setenv(m_name, m_old->c_str(), 1);
        else
            ::unsetenv(m_name);
    }
    const char* m_name;
    std::optional<std::string> m_old;
};
} // namespace

TEST(OdbcConnectionString, FreeTdsTargetWithIntegratedLogin)
{
    EnvGuard g("LABFOLIO_ODBC_INTEGRATED");
    ::unsetenv("LABFOLIO_ODBC_INTEGRATED");
    OdbcTarget t;
    t.driver = "FreeTDS";
    t.endpoint = {"127.0.0.1", 40123};
    t.database = "LFDesktop10";
    EXPECT_EQ(buildOdbcConnectionString(t),
              "DRIVER={FreeTDS};SERVER=127.0.0.1;PORT=40123;TDS_Version=7.4;ClientCharset=UTF-8;"
              "DATABASE=LFDesktop10;Trusted_Connection=Yes;APP=Labfolio Setup;");
}

TEST(OdbcConnectionString, IntegratedAttributesComeFromTheEnvironmentWhenSet)
{
    EnvGuard g("LABFOLIO_ODBC_INTEGRATED");
    ::setenv("LABFOLIO_ODBC_INTEGRATED", "UID=wizard;PWD=secret", 1);
    OdbcTarget t;
    t.driver = "FreeTDS";
    t.endpoint = {"h", 1433};
    const std::string s = buildOdbcConnectionString(t);
    EXPECT_NE(s.find(";UID=wizard;PWD=secret;"), std::string::npos) << s;
    EXPECT_EQ(s.find("Trusted_Connection"), std::string::npos);
    EXPECT_EQ(s.find("DATABASE="), std::string::npos); // the login's default database
}

TEST(OdbcConnectionString, SqlLoginValuesAreBracedWhenNeeded)
{
    OdbcTarget t;
    t.driver = "FreeTDS";
    t.endpoint = {"h", 1433};
    t.integrated = false;
    t.user = "sa";
    t.password = "a;b}c";
    const std::string s = buildOdbcConnectionString(t);
    EXPECT_NE(s.find(";UID=sa;PWD={a;b}}c};"), std::string::npos) << s;
    t.password = "";
    EXPECT_NE(buildOdbcConnectionString(t).find(";UID=sa;PWD=;"), std::string::npos);
}

TEST(OdbcConnectionString, MicrosoftDriverGetsTcpServerAndOptionalEncryption)
{
    OdbcTarget t;
    t.driver = "ODBC Driver 18 for SQL Server";
    t.endpoint = {"labsrv", 1533};
    t.integrated = false;
    t.user = "u";
    const std::string s = buildOdbcConnectionString(t);
    EXPECT_EQ(s.rfind("DRIVER={ODBC Driver 18 for SQL Server};SERVER=tcp:labsrv,1533;Encrypt=Optional;", 0),
              0u)
        << s;
}

TEST(OdbcConnectionString, DriverComesFromTheEnvironmentWhenSet)
{
    EnvGuard g("LABFOLIO_ODBC_DRIVER");
    ::setenv("LABFOLIO_ODBC_DRIVER", "ODBC Driver 17 for SQL Server", 1);
    EXPECT_EQ(defaultOdbcDriver(), "ODBC Driver 17 for SQL Server");
    ::unsetenv("LABFOLIO_ODBC_DRIVER");
    EXPECT_EQ(defaultOdbcDriver(), "FreeTDS");
}

TEST(OdbcConnectionString, ValueQuoting)
{
    EXPECT_EQ(odbcValue("plain"), "plain");
    EXPECT_EQ(odbcValue(""), "");
    EXPECT_EQ(odbcValue(" lead"), "{ lead}");
    EXPECT_EQ(odbcValue("x=y"), "{x=y}");
    EXPECT_EQ(odbcValue("}"), "{}}}");
}
