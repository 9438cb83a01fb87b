#include "OdbcRecordSets.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "ConnectionError.h"
#include "LfError.h"

namespace sqlserver {
namespace {

bool equalsNoCase(const std::string& a, const std::string& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

// A snapshot of all rows, changed in memory and written back by key.
class StaticRecordSet : public RecordSet {
public:
    StaticRecordSet(OdbcConnection& c, std::vector<std::string> names, std::vector<std::vector<Value>> rows,
                    UpdateTarget target)
        : m_c(c), m_names(std::move(names)), m_rows(std::move(rows)), m_dirty(m_rows.size()),
          m_target(std::move(target))
    {
    }

    const std::vector<std::string>& ColumnNames() const override { return m_names; }
    bool IsEOF() const override { return m_pos >= m_rows.size(); }
    void MoveNext() override
    {
        if (IsEOF())
            throw LfError(kClientFailure, "",
                          "either BOF or EOF is True, or the current record has been deleted");
        ++m_pos;
    }
    const Value& Field(int index) const override
    {
        requireRow();
        if (index < 0 || static_cast<size_t>(index) >= m_names.size())
            throw LfError(
                kClientFailure, "",
                "item cannot be found in the collection corresponding to the requested name or ordinal");
        return m_rows[m_pos][static_cast<size_t>(index)];
    }
    const Value& Field(const std::string& name) const override { return Field(indexOf(name)); }

    void SetField(const std::string& name, const Value& value) override
    {
        if (m_target.table.empty())
            throw LfError(kClientFailure, "", "the record set cannot be updated");
        requireRow();
        m_rows[m_pos][static_cast<size_t>(indexOf(name))] = value;
        m_dirty[m_pos].push_back(indexOf(name));
    }

    int UpdateBatch() override
    {
        if (m_target.table.empty())
            return 0;
        const int key = indexOf(m_target.keyColumn);
        std::string batch;
        int written = 0, inBatch = 0;
        for (size_t r = 0; r < m_rows.size(); ++r) {
            if (m_dirty[r].empty())
                continue;
            std::vector<int> cols = m_dirty[r];
            std::sort(cols.begin(), cols.end());
            cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
            std::string set;
            for (int c : cols)
                set += (set.empty() ? "" : ", ") + quoteIdentifier(m_names[static_cast<size_t>(c)]) + " = " +
                       sqlLiteral(m_rows[r][static_cast<size_t>(c)]);
            batch += "UPDATE " + quoteIdentifier(m_target.table) + " SET " + set + " WHERE " +
                     quoteIdentifier(m_target.keyColumn) + " = " +
                     sqlLiteral(m_rows[r][static_cast<size_t>(key)]) + ";\n";
            ++written;
            // A few hundred statements per round trip keep batches small for the server.
            if (++inBatch == 200) {
                m_c.Execute(batch);
                batch.clear();
                inBatch = 0;
            }
            m_dirty[r].clear();
        }
        if (!batch.empty())
            m_c.Execute(batch);
        return written;
    }

    long RecordCount() const override { return static_cast<long>(m_rows.size()); }
    void Close() override
    {
        m_rows.clear();
        m_dirty.clear();
        m_pos = 0;
    }

private:
    void requireRow() const
    {
        if (IsEOF())
            throw LfError(kClientFailure, "",
                          "either BOF or EOF is True, or the current record has been deleted");
    }
    int indexOf(const std::string& name) const
    {
        for (size_t i = 0; i < m_names.size(); ++i)
            if (equalsNoCase(m_names[i], name))
                return static_cast<int>(i);
        throw LfError(
            kClientFailure, "",
            "item cannot be found in the collection corresponding to the requested name or ordinal (\"" +
                name + "\")");
    }

    OdbcConnection& m_c;
    std::vector<std::string> m_names;
    std::vector<std::vector<Value>> m_rows;
    std::vector<std::vector<int>> m_dirty;
    UpdateTarget m_target;
    size_t m_pos = 0;
};

// Rows read from the server one fetch at a time; holds the connection's statement.
class ForwardRecordSet : public RecordSet {
public:
    ForwardRecordSet(OdbcConnection& c, const std::string& sql)
        : m_c(c), m_running(std::make_unique<OdbcConnection::Running>(c))
    {
        SQLHSTMT s = m_running->get();
        SQLRETURN rc = SQLExecDirectA(s, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())), SQL_NTS);
        for (;;) {
            if (rc == SQL_ERROR)
                throw errorFromDiagnostics(m_c.drainDiagnostics(s, nullptr));
            const auto errors = m_c.drainDiagnostics(s, nullptr);
            if (!errors.empty())
                throw errorFromDiagnostics(errors);
            // The rows are those of the first result that has columns; statements before it
            // (an UPDATE that touched nothing reports "no data") are passed over.
            if (rc != SQL_NO_DATA) {
                SQLSMALLINT cols = 0;
                SQLNumResultCols(s, &cols);
                if (cols > 0) {
                    describeColumns(s, m_names, m_types);
                    fetch();
                    return;
                }
            }
            rc = SQLMoreResults(s);
            if (rc == SQL_NO_DATA)
                break;
        }
        m_eof = true;
    }

    const std::vector<std::string>& ColumnNames() const override { return m_names; }
    bool IsEOF() const override { return m_eof; }
    void MoveNext() override
    {
        if (m_eof)
            throw LfError(kClientFailure, "",
                          "either BOF or EOF is True, or the current record has been deleted");
        fetch();
    }
    const Value& Field(int index) const override
    {
        if (m_eof || index < 0 || static_cast<size_t>(index) >= m_row.size())
            throw LfError(
                kClientFailure, "",
                "item cannot be found in the collection corresponding to the requested name or ordinal");
        return m_row[static_cast<size_t>(index)];
    }
    const Value& Field(const std::string& name) const override
    {
        for (size_t i = 0; i < m_names.size(); ++i)
            if (equalsNoCase(m_names[i], name))
                return Field(static_cast<int>(i));
        throw LfError(
            kClientFailure, "",
            "item cannot be found in the collection corresponding to the requested name or ordinal (\"" +
                name + "\")");
    }
    void SetField(const std::string&, const Value&) override
    {
        throw LfError(kClientFailure, "", "the record set cannot be updated");
    }
    int UpdateBatch() override { return 0; }
    long RecordCount() const override { return -1; }
    void Close() override
    {
        m_running.reset();
        m_eof = true;
    }

private:
    void fetch()
    {
        if (!m_running) {
            m_eof = true;
            return;
        }
        SQLHSTMT s = m_running->get();
        const SQLRETURN rc = SQLFetch(s);
        if (rc == SQL_NO_DATA) {
            m_eof = true;
            m_row.clear();
            return;
        }
        if (rc == SQL_ERROR)
            throw errorFromDiagnostics(m_c.drainDiagnostics(s, nullptr));
        m_row = readRow(s, m_types);
    }

    OdbcConnection& m_c;
    std::unique_ptr<OdbcConnection::Running> m_running;
    std::vector<std::string> m_names;
    std::vector<SQLSMALLINT> m_types;
    std::vector<Value> m_row;
    bool m_eof = false;
};

} // namespace

std::unique_ptr<RecordSet> OpenForwardRecordSet(OdbcConnection& c, const std::string& sql)
{
    return std::make_unique<ForwardRecordSet>(c, sql);
}

std::unique_ptr<RecordSet> MakeStaticRecordSet(OdbcConnection& c, std::vector<std::string> names,
                                               std::vector<std::vector<Value>> rows, UpdateTarget target)
{
    return std::make_unique<StaticRecordSet>(c, std::move(names), std::move(rows), std::move(target));
}

} // namespace sqlserver
