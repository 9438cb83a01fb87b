#pragma once

// A desktop database with stored structures on the stand-in, for rebuilds of its index.

#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "TempDir.h"
#include "sqlserver_E2eSupport.h"

// The server name the wizard is given: the stand-in's named instance on the machine PC1.
inline constexpr const char* kStructureServer = "PC1\\VELDRIN";
inline constexpr const char* kStructureDatabase = "LFDesktop10";

// count structures drawn from the project's NCI sample, one CDXML document per line.
inline std::string structureLines(int count)
{
    std::ifstream in(std::string(LF_TEST_DATA) + "/structindex/nci30.txt", std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    std::string out;
    for (int i = 0; i < count; ++i)
        out += lines[static_cast<size_t>(i) % lines.size()] + "\n";
    return out;
}

// The MOL_ID of every stored structure, in primary-key order.
inline std::vector<int64_t> MolIdsInKeyOrder(sqlserver::OdbcConnection& connection)
{
    std::vector<int64_t> ids;
    for (const auto& row :
         connection.query("SELECT MOL_ID FROM ELN_chemical_structures ORDER BY primary_key"))
        ids.push_back(row.at(0).toInt());
    return ids;
}

class StructureDesktop {
public:
    // A desktop database seeded with count structures (none: an empty table).
    explicit StructureDesktop(int count) : machine({instance(files, count)}) {}

    // Rows added after the seeded ones: a NULL, an empty text, or the text given.
    void addRow(const std::string* cdxml)
    {
        std::string value = cdxml ? "N'" + *cdxml + "'" : std::string("NULL");
        sa()->Execute("INSERT INTO ELN_chemical_structures (CDXML, MOL_ID) VALUES (" + value + ", 0)");
    }

    // (primary_key, MOL_ID) of every row in key order.
    std::vector<std::pair<int64_t, int64_t>> molIds()
    {
        auto connection = sa();
        auto rs = connection->OpenForward(
            "SELECT primary_key, MOL_ID FROM ELN_chemical_structures ORDER BY primary_key");
        std::vector<std::pair<int64_t, int64_t>> out;
        for (; !rs->IsEOF(); rs->MoveNext())
            out.emplace_back(rs->Field(0).toInt(), rs->Field(1).toInt());
        return out;
    }

    std::unique_ptr<sqlserver::OdbcConnection> sa() { return machine.sa("VELDRIN", kStructureDatabase); }

    TempDir files; // the seed's structure file; the index folder is a test's own
    StandinMachine machine;

private:
    static StandinServer::Instance instance(const TempDir& files, int count)
    {
        auto i = StandinMachine::instance("VELDRIN");
        if (count > 0)
            i.seedArguments = {"--structures", files.write("structures.txt", structureLines(count)).string()};
        else
            i.seedArguments = {""};
        return i;
    }
};
