#include "Sqlite.h"

#include "SqlError.h"

#include <cstdlib>
#include <regex>

namespace standin {

SqliteDb::SqliteDb(const std::string& path, bool create)
{
    const int flags = SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0) | SQLITE_OPEN_FULLMUTEX;
    const int rc = sqlite3_open_v2(path.c_str(), &m_db, flags, nullptr);
    if (rc != SQLITE_OK) {
        const std::string message = m_db ? sqlite3_errmsg(m_db) : "out of memory";
        sqlite3_close(m_db);
        m_db = nullptr;
        throw SqlError(5120, 16,
                       "Unable to open the physical file \"" + path + "\". Operating system error 2(" +
                           message + ").");
    }
    sqlite3_busy_timeout(m_db, 30000);
    sqlite3_extended_result_codes(m_db, 1);
}

SqliteDb::~SqliteDb()
{
    close();
}

SqliteDb& SqliteDb::operator=(SqliteDb&& other) noexcept
{
    if (this != &other) {
        close();
        m_db = other.m_db;
        other.m_db = nullptr;
    }
    return *this;
}

void SqliteDb::close()
{
    if (m_db) {
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }
}

void SqliteDb::exec(const std::string& sql) const
{
    char* error = nullptr;
    const int rc = sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, &error);
    sqlite3_free(error);
    if (rc != SQLITE_OK)
        throwSqliteError(m_db, rc);
}

SqliteStmt::SqliteStmt(sqlite3* db, const std::string& sql) : m_db(db)
{
    const int rc = sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &m_stmt, nullptr);
    if (rc != SQLITE_OK)
        throwSqliteError(db, rc);
}

SqliteStmt& SqliteStmt::bind(int index, const Value& v)
{
    bindValue(m_stmt, index, v);
    return *this;
}

SqliteStmt& SqliteStmt::bind(int index, const std::string& text)
{
    sqlite3_bind_text(m_stmt, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    return *this;
}

SqliteStmt& SqliteStmt::bind(int index, int64_t n)
{
    sqlite3_bind_int64(m_stmt, index, n);
    return *this;
}

bool SqliteStmt::step()
{
    const int rc = sqlite3_step(m_stmt);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    throwSqliteError(m_db, rc);
}

Value SqliteStmt::column(int index) const
{
    return columnValue(m_stmt, index);
}

std::string SqliteStmt::text(int index) const
{
    const auto* p = sqlite3_column_text(m_stmt, index);
    return p ? std::string(reinterpret_cast<const char*>(p), sqlite3_column_bytes(m_stmt, index))
             : std::string();
}

Value columnValue(sqlite3_stmt* stmt, int index)
{
    switch (sqlite3_column_type(stmt, index)) {
    case SQLITE_INTEGER:
        return static_cast<int64_t>(sqlite3_column_int64(stmt, index));
    case SQLITE_FLOAT:
        return sqlite3_column_double(stmt, index);
    case SQLITE_TEXT: {
        const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(stmt, index));
        return std::string(p, sqlite3_column_bytes(stmt, index));
    }
    case SQLITE_BLOB: {
        const auto* p = static_cast<const uint8_t*>(sqlite3_column_blob(stmt, index));
        return std::vector<uint8_t>(p, p + sqlite3_column_bytes(stmt, index));
    }
    default:
        return std::monostate{};
    }
}

void bindValue(sqlite3_stmt* stmt, int index, const Value& v)
{
    if (auto i = std::get_if<int64_t>(&v))
        sqlite3_bind_int64(stmt, index, *i);
    else if (auto d = std::get_if<double>(&v))
        sqlite3_bind_double(stmt, index, *d);
    else if (auto s = std::get_if<std::string>(&v))
        sqlite3_bind_text(stmt, index, s->data(), static_cast<int>(s->size()), SQLITE_TRANSIENT);
    else if (auto b = std::get_if<std::vector<uint8_t>>(&v))
        sqlite3_bind_blob(stmt, index, b->data(), static_cast<int>(b->size()), SQLITE_TRANSIENT);
    else
        sqlite3_bind_null(stmt, index);
}

void throwSqliteError(sqlite3* db, int rc)
{
    const std::string message = sqlite3_errmsg(db);
    // Errors raised by the stand-in's own SQL functions carry SQL Server's number:
    // "lfsql:<number>:<severity>:<text>".
    if (message.rfind("lfsql:", 0) == 0) {
        const auto a = message.find(':', 6);
        const auto b = message.find(':', a + 1);
        throw SqlError(std::atoi(message.substr(6, a - 6).c_str()),
                       static_cast<uint8_t>(std::atoi(message.substr(a + 1, b - a - 1).c_str())),
                       message.substr(b + 1));
    }
    std::smatch m;
    auto clean = [](std::string s) {
        // Names from SQLite carry the schema the stand-in attached ("main.", "db_3.").
        if (auto dot = s.rfind('.'); dot != std::string::npos)
            s = s.substr(dot + 1);
        return s;
    };
    if (std::regex_search(message, m, std::regex("^no such table: (.*)$")))
        throw SqlError(208, 16, "Invalid object name '" + clean(m[1]) + "'.");
    if (std::regex_search(message, m, std::regex("^no such column: (.*)$")))
        throw SqlError(207, 16, "Invalid column name '" + clean(m[1]) + "'.");
    if (std::regex_search(message, m, std::regex("^no such function: (lf_fn_)?(.*)$")))
        throw SqlError(195, 15, "'" + std::string(m[2]) + "' is not a recognized built-in function name.");
    if (std::regex_search(message, m, std::regex("^(table|view|index) \"?([^\" ]*)\"? already exists$")))
        throw SqlError(2714, 16,
                       "There is already an object named '" + std::string(m[2]) + "' in the database.");
    if (std::regex_search(message, m, std::regex("^NOT NULL constraint failed: ([^.]*)\\.(.*)$")))
        throw SqlError(515, 16,
                       "Cannot insert the value NULL into column '" + std::string(m[2]) + "', table '" +
                           std::string(m[1]) + "'; column does not allow nulls. INSERT fails.");
    if (std::regex_search(message, m, std::regex("^UNIQUE constraint failed: ([^.]*)\\.")))
        throw SqlError(2627, 14,
                       "Violation of PRIMARY KEY or UNIQUE KEY constraint. Cannot insert duplicate key in "
                       "object 'dbo." +
                           std::string(m[1]) + "'.");
    if (std::regex_search(message, m, std::regex("^no such index: (.*)$")))
        throw SqlError(3701, 11,
                       "Cannot drop the index '" + std::string(m[1]) +
                           "', because it does not exist or you do not have permission.");
    if (std::regex_search(message, m, std::regex("^(\\d+) values for (\\d+) columns$")) ||
        message.find("values for") != std::string::npos)
        throw SqlError(110, 15,
                       "There are fewer columns in the INSERT statement than values specified in the "
                       "VALUES clause. The number of values in the VALUES clause must match the number of "
                       "columns specified in the INSERT statement.");
    if (std::regex_search(message, m, std::regex("has no column named (.*)$")))
        throw SqlError(207, 16, "Invalid column name '" + std::string(m[1]) + "'.");
    if ((rc & 0xFF) == SQLITE_BUSY || (rc & 0xFF) == SQLITE_LOCKED)
        throw SqlError(1222, 16, "Lock request time out period exceeded.");
    if (message.rfind("CHECK constraint failed: length(", 0) == 0)
        throw SqlError(8152, 16, "String or binary data would be truncated.");
    if ((rc & 0xFF) == SQLITE_CONSTRAINT)
        throw SqlError(547, 16, "The statement conflicted with a constraint: " + message + ".");
    if (message.find("syntax error") != std::string::npos)
        throw SqlError(102, 15, "Incorrect syntax: " + message + ".");
    throw SqlError(50001, 16, "The SQL Server stand-in could not run the statement: " + message + ".");
}

} // namespace standin
