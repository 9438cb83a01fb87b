#include "BackupFile.h"

#include <openssl/evp.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace standin {
namespace {

std::string escape(const std::string& s)
{
    std::string out;
    for (char c : s) {
        if (c == '\\')
            out += "\\\\";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else
            out += c;
    }
    return out;
}

std::string unescape(const std::string& s)
{
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 1 < s.size()) {
            ++i;
            out += s[i] == 'n' ? '\n' : s[i] == 'r' ? '\r' : s[i];
        } else {
            out += s[i];
        }
    }
    return out;
}

uint64_t readLittle(std::istream& in, int bytes)
{
    uint64_t v = 0;
    for (int i = 0; i < bytes; ++i) {
        const int c = in.get();
        if (c == EOF)
            throw std::runtime_error("truncated backup");
        v |= static_cast<uint64_t>(static_cast<uint8_t>(c)) << (8 * i);
    }
    return v;
}

std::ifstream openForReading(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::system_error(errno ? errno : ENOENT, std::generic_category(), path);
    return in;
}

} // namespace

std::string encodeHeader(const BackupHeader& h)
{
    std::ostringstream out;
    auto put = [&](const std::string& k, const std::string& v) { out << k << '=' << escape(v) << '\n'; };
    put("BackupName", h.backupName);
    put("BackupDescription", h.description);
    put("DatabaseName", h.databaseName);
    put("ServerName", h.serverName);
    put("MachineName", h.machineName);
    put("UserName", h.userName);
    put("DatabaseCreationDate", h.databaseCreationDate);
    put("BackupStartDate", h.startDate);
    put("BackupFinishDate", h.finishDate);
    put("ProductVersion", h.productVersion);
    put("FileCount", std::to_string(h.files.size()));
    for (size_t i = 0; i < h.files.size(); ++i) {
        const std::string p = "File" + std::to_string(i) + ".";
        put(p + "Id", std::to_string(h.files[i].file.fileId));
        put(p + "Type", std::to_string(h.files[i].file.type));
        put(p + "LogicalName", h.files[i].file.name);
        put(p + "PhysicalName", h.files[i].file.physicalName);
        put(p + "Size", std::to_string(h.files[i].sizeBytes));
    }
    return out.str();
}

BackupHeader decodeHeader(const std::string& text)
{
    std::map<std::string, std::string> kv;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        const auto eq = line.find('=');
        if (eq == std::string::npos)
            throw std::runtime_error("malformed backup header");
        kv[line.substr(0, eq)] = unescape(line.substr(eq + 1));
    }
    auto get = [&](const std::string& k) {
        auto it = kv.find(k);
        if (it == kv.end())
            throw std::runtime_error("backup header lacks " + k);
        return it->second;
    };
    BackupHeader h;
    h.backupName = get("BackupName");
    h.description = get("BackupDescription");
    h.databaseName = get("DatabaseName");
    h.serverName = get("ServerName");
    h.machineName = get("MachineName");
    h.userName = get("UserName");
    h.databaseCreationDate = get("DatabaseCreationDate");
    h.startDate = get("BackupStartDate");
    h.finishDate = get("BackupFinishDate");
    h.productVersion = get("ProductVersion");
    const size_t count = std::stoul(get("FileCount"));
    for (size_t i = 0; i < count; ++i) {
        const std::string p = "File" + std::to_string(i) + ".";
        BackupFileEntry e;
        e.file.fileId = std::stoi(get(p + "Id"));
        e.file.type = std::stoi(get(p + "Type"));
        e.file.name = get(p + "LogicalName");
        e.file.physicalName = get(p + "PhysicalName");
        e.sizeBytes = std::stoull(get(p + "Size"));
        h.files.push_back(e);
    }
    return h;
}

BackupHeader readBackupHeader(const std::string& path)
{
    std::ifstream in = openForReading(path);
    char magic[8];
    if (!in.read(magic, 8) || std::memcmp(magic, kBackupMagic, 8) != 0)
        throw std::runtime_error("not a backup");
    const uint64_t length = readLittle(in, 4);
    if (length > (16u << 20))
        throw std::runtime_error("implausible header");
    std::string text(length, '\0');
    if (!in.read(text.data(), static_cast<std::streamsize>(length)))
        throw std::runtime_error("truncated backup");
    return decodeHeader(text);
}

BackupHeader readBackup(const std::string& path, std::vector<uint8_t>& data)
{
    std::ifstream in = openForReading(path);
    std::vector<uint8_t> all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (all.size() < 8 + 4 + 8 + 32 || std::memcmp(all.data(), kBackupMagic, 8) != 0)
        throw std::runtime_error("not a backup");
    const size_t body = all.size() - 32;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digestLength = 0;
    EVP_Digest(all.data(), body, digest, &digestLength, EVP_sha256(), nullptr);
    if (digestLength != 32 || std::memcmp(digest, all.data() + body, 32) != 0)
        throw std::runtime_error("checksum mismatch");
    std::string rest(reinterpret_cast<const char*>(all.data()) + 8, body - 8);
    std::istringstream s(rest);
    const uint64_t headerLength = readLittle(s, 4);
    if (12 + headerLength + 8 > body)
        throw std::runtime_error("truncated backup");
    std::string text = rest.substr(4, headerLength);
    std::istringstream sizes(rest.substr(4 + headerLength, 8));
    const uint64_t dataLength = readLittle(sizes, 8);
    if (12 + headerLength + 8 + dataLength != body)
        throw std::runtime_error("truncated backup");
    const auto* start = all.data() + 12 + headerLength + 8;
    data.assign(start, start + dataLength);
    return decodeHeader(text);
}

} // namespace standin
