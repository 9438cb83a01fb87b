#include "BackupFile.h"
#include "BackupSupport.h"
#include "EngineInstance.h"
#include "EngineSession.h"
#include "TypeMap.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <thread>
#include <unistd.h>

// BACKUP DATABASE: a consistent image of the database's SQLite file taken with
// sqlite3_serialize, written in steps so that "N percent processed." reaches the client while
// the statement runs and an attention can stop it between steps. Files appear under their
// final name only when complete.

namespace standin {
namespace fs = std::filesystem;

using namespace backup;

void EngineSession::backupDatabase(const Stmt& s, ResultSink& sink)
{
    const auto started = std::chrono::steady_clock::now();
    const std::string terminating = "BACKUP DATABASE is terminating abnormally.";
    auto fail = [&](int32_t number, uint8_t severity, const std::string& text) {
        ServerMessage m{number, 1, severity, text, "", s.line};
        sink.message(m);
        throw SqlError(3013, 16, terminating);
    };
    const std::string path = evaluateText(*s.option("DISK"));
    int stats = 0;
    bool report = false;
    for (const auto& [name, value] : s.options) {
        if (name == "STATS") {
            report = true;
            stats = value.empty() ? 10
                                  : static_cast<int>(std::get<int64_t>(
                                        normalizeValue(evaluate(value), columnInfoForType("int"))));
        } else if (name == "DIFFERENTIAL" || name == "COMPRESSION" || name == "ENCRYPTION") {
            throw unsupported("BACKUP ... WITH " + name);
        }
        // INIT, FORMAT, CHECKSUM, NAME, DESCRIPTION, SKIP, NOREWIND, NOUNLOAD, COPY_ONLY,
        // MEDIANAME: one backup set per file, always written whole and checksummed.
    }
    auto db = m_instance.catalog().database(s.name);
    if (!db)
        fail(911, 16,
             "Database '" + s.name + "' does not exist. Make sure that the name is entered correctly.");
    {
        auto user = databaseUserFor(m_instance, m_login, m_groups, *db);
        bool allowed = user && *user == 1;
        if (user && !allowed) {
            SqliteDb conn(db->files.front().physicalName, false);
            SqliteStmt q(conn.get(),
                         "SELECT 1 FROM lf_database_role_members WHERE member_principal_id = ? AND "
                         "role_principal_id IN (16384, 16389)");
            q.bind(1, int64_t(*user));
            allowed = q.step();
        }
        if (!allowed)
            fail(262, 14, "BACKUP DATABASE permission denied in database '" + db->name + "'.");
    }
    const bool append = !s.option("INIT") && !s.option("FORMAT");
    if (append && fs::exists(path))
        throw unsupported("appending a backup set to existing media (use WITH INIT)");

    PendingFile out(path);
    if (out.openError())
        fail(3201, 16,
             "Cannot open backup device '" + path + "'. Operating system error " +
                 osErrorText(out.openError(), false) + ".");

    // A consistent image of the data file: SQLite's online backup copies every page in one
    // read transaction into memory, while other sessions go on writing the file.
    std::vector<uint8_t> image;
    {
        SqliteDb source(db->files.front().physicalName, false);
        SqliteDb copy(":memory:");
        sqlite3_backup* backup = sqlite3_backup_init(copy.get(), "main", source.get(), "main");
        int rc = backup ? sqlite3_backup_step(backup, -1) : SQLITE_ERROR;
        if (backup)
            sqlite3_backup_finish(backup);
        sqlite3_int64 size = 0;
        unsigned char* bytes = rc == SQLITE_DONE ? sqlite3_serialize(copy.get(), "main", &size, 0) : nullptr;
        if (!bytes)
            fail(3201, 16,
                 "Cannot open backup device '" + db->files.front().physicalName +
                     "'. Operating system error " + osErrorText(EIO, true) + ".");
        image.assign(bytes, bytes + size);
        sqlite3_free(bytes);
    }

    BackupHeader header;
    auto optionText = [&](const char* name, const std::string& fallback) {
        const std::string* v = s.option(name);
        return v && !v->empty() ? evaluateText(*v) : fallback;
    };
    header.backupName = optionText("NAME", "");
    header.description = optionText("DESCRIPTION", "");
    header.databaseName = db->name;
    header.serverName = m_instance.serverName();
    header.machineName = m_instance.config().machineName;
    header.userName = m_login.name;
    header.databaseCreationDate = db->createDate;
    header.startDate = currentDateTime();
    header.productVersion = m_instance.config().productVersion;
    for (const auto& f : db->files) {
        std::error_code ec;
        const uint64_t size = f.type == 0 ? image.size() : fs::file_size(f.physicalName, ec);
        header.files.push_back({f, ec ? 0 : size});
    }

    EVP_MD_CTX* hash = EVP_MD_CTX_new();
    EVP_DigestInit_ex(hash, EVP_sha256(), nullptr);
    auto put = [&](const void* data, size_t size) {
        out.write(data, size);
        EVP_DigestUpdate(hash, data, size);
    };
    try {
        header.finishDate = header.startDate; // the header precedes the data, so it cannot carry the true end
        const std::string text = encodeHeader(header);
        put(kBackupMagic, sizeof kBackupMagic);
        uint8_t length[8];
        for (int i = 0; i < 4; ++i)
            length[i] = static_cast<uint8_t>(text.size() >> (8 * i));
        put(length, 4);
        put(text.data(), text.size());
        for (int i = 0; i < 8; ++i)
            length[i] = static_cast<uint8_t>(static_cast<uint64_t>(image.size()) >> (8 * i));
        put(length, 8);
        size_t written = 0;
        for (int mark : progressMarks(stats)) {
            if (sink.cancelRequested()) {
                out.abandon();
                fail(3204, 16, "The backup or restore was aborted.");
            }
            const size_t until = image.size() * static_cast<size_t>(mark) / 100;
            put(image.data() + written, until - written);
            written = until;
            std::this_thread::sleep_for(std::chrono::milliseconds(m_instance.config().progressStepMillis));
            if (report)
                info(sink, 3211, std::to_string(mark) + " percent processed.", s.line);
        }
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned int digestLength = 0;
        EVP_DigestFinal_ex(hash, digest, &digestLength);
        out.write(digest, digestLength);
        out.commit();
    } catch (const std::system_error& e) {
        EVP_MD_CTX_free(hash);
        out.abandon();
        fail(3201, 16,
             "Cannot open backup device '" + path + "'. Operating system error " +
                 osErrorText(e.code().value(), false) + ".");
    } catch (...) {
        EVP_MD_CTX_free(hash);
        throw;
    }
    EVP_MD_CTX_free(hash);

    uint64_t total = 0;
    for (const auto& f : header.files) {
        total += pages(f.sizeBytes);
        info(sink, 4035,
             "Processed " + std::to_string(pages(f.sizeBytes)) + " pages for database '" + db->name +
                 "', file '" + f.file.name + "' on file 1.",
             s.line);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    info(sink, 3014, "BACKUP DATABASE successfully processed " + rateText(total, seconds), s.line);
    done(sink, 0, false, 0);
}

} // namespace standin
