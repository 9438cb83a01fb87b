#pragma once

#include "StandinEngine.h"

#include <sqlite3.h>

#include <string>

namespace standin {

// Owns one SQLite connection. Opened in serialized mode with a busy timeout, so that
// several sessions on one database file wait for each other instead of failing.
class SqliteDb {
public:
    SqliteDb() = default;
    explicit SqliteDb(const std::string& path, bool create = true);
    ~SqliteDb();
    SqliteDb(SqliteDb&& other) noexcept : m_db(other.m_db) { other.m_db = nullptr; }
    SqliteDb& operator=(SqliteDb&& other) noexcept;
    SqliteDb(const SqliteDb&) = delete;
    SqliteDb& operator=(const SqliteDb&) = delete;

    sqlite3* get() const { return m_db; }
    explicit operator bool() const { return m_db != nullptr; }
    // Runs statements without results; throws SqlError on failure.
    void exec(const std::string& sql) const;
    void close();

private:
    sqlite3* m_db = nullptr;
};

// Owns one prepared statement.
class SqliteStmt {
public:
    SqliteStmt(sqlite3* db, const std::string& sql);
    ~SqliteStmt() { sqlite3_finalize(m_stmt); }
    SqliteStmt(const SqliteStmt&) = delete;
    SqliteStmt& operator=(const SqliteStmt&) = delete;

    sqlite3_stmt* get() const { return m_stmt; }
    SqliteStmt& bind(int index, const Value& v);
    SqliteStmt& bind(int index, const std::string& text);
    SqliteStmt& bind(int index, int64_t n);
    // Steps once; true while a row is available. Throws SqlError on failure.
    bool step();
    Value column(int index) const;
    std::string text(int index) const;
    int64_t integer(int index) const { return sqlite3_column_int64(m_stmt, index); }
    bool isNull(int index) const { return sqlite3_column_type(m_stmt, index) == SQLITE_NULL; }

private:
    sqlite3_stmt* m_stmt = nullptr;
    sqlite3* m_db;
};

// Turns an SQLite failure into the SQL Server error a client expects for it.
[[noreturn]] void throwSqliteError(sqlite3* db, int rc);

Value columnValue(sqlite3_stmt* stmt, int index);
void bindValue(sqlite3_stmt* stmt, int index, const Value& v);

} // namespace standin
