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

// RESTORE FILELISTONLY / HEADERONLY / VERIFYONLY / DATABASE from the stand-in's backup files:
// the database's image is written in steps beside its target files, with progress messages and
// cancellation like BACKUP, and renamed into place only when complete.

namespace standin {
namespace fs = std::filesystem;

using namespace backup;

void EngineSession::restore(const Stmt& s, ResultSink& sink)
{
    const auto started = std::chrono::steady_clock::now();
    const std::string form = s.name2;
    const std::string terminating = form == "DATABASE"     ? "RESTORE DATABASE is terminating abnormally."
                                    : form == "VERIFYONLY" ? "VERIFY DATABASE is terminating abnormally."
                                    : form == "FILELISTONLY"
                                        ? "RESTORE FILELIST is terminating abnormally."
                                        : "RESTORE HEADERONLY is terminating abnormally.";
    auto fail = [&](int32_t number, uint8_t severity, const std::string& text) {
        ServerMessage m{number, 1, severity, text, "", s.line};
        sink.message(m);
        throw SqlError(3013, 16, terminating);
    };
    const std::string path = evaluateText(*s.option("DISK"));
    int stats = 0;
    bool report = false;
    bool replace = false;
    for (const auto& [name, value] : s.options) {
        if (name == "STATS") {
            report = true;
            stats = value.empty() ? 10
                                  : static_cast<int>(std::get<int64_t>(
                                        normalizeValue(evaluate(value), columnInfoForType("int"))));
        } else if (name == "REPLACE") {
            replace = true;
        } else if (name == "FILE") {
            const Value v = normalizeValue(evaluate(value), columnInfoForType("int"));
            if (std::get<int64_t>(v) != 1)
                fail(3206, 16,
                     "No entry in sulist for backup set " + std::to_string(std::get<int64_t>(v)) + ".");
        } else if (name == "NORECOVERY" || name == "STANDBY" || name == "STOPAT" || name == "PARTIAL") {
            throw unsupported("RESTORE ... WITH " + name);
        }
        // RECOVERY, CHECKSUM, NOUNLOAD, NOREWIND: the stand-in's restores always recover and
        // always verify the checksum.
    }
    auto mediaError = [&](const std::exception& e) {
        if (auto se = dynamic_cast<const std::system_error*>(&e))
            fail(3201, 16,
                 "Cannot open backup device '" + path + "'. Operating system error " +
                     osErrorText(se->code().value(), true) + ".");
        fail(3241, 16,
             "The media family on device '" + path +
                 "' is incorrectly formed. SQL Server cannot process this media family.");
    };

    if (form == "FILELISTONLY" || form == "HEADERONLY") {
        BackupHeader header;
        try {
            header = readBackupHeader(path);
        } catch (const std::exception& e) {
            mediaError(e);
        }
        auto col = [](const char* name, const char* type) {
            ColumnInfo c = columnInfoForType(type);
            c.name = name;
            return c;
        };
        if (form == "FILELISTONLY") {
            sink.columns({col("LogicalName", "nvarchar(128)"),
                          col("PhysicalName", "nvarchar(260)"),
                          col("Type", "char(1)"),
                          col("FileGroupName", "nvarchar(128)"),
                          col("Size", "bigint"),
                          col("MaxSize", "bigint"),
                          col("FileId", "bigint"),
                          col("CreateLSN", "bigint"),
                          col("DropLSN", "bigint"),
                          col("UniqueId", "uniqueidentifier"),
                          col("ReadOnlyLSN", "bigint"),
                          col("ReadWriteLSN", "bigint"),
                          col("BackupSizeInBytes", "bigint"),
                          col("SourceBlockSize", "int"),
                          col("FileGroupId", "int"),
                          col("LogGroupGUID", "uniqueidentifier"),
                          col("DifferentialBaseLSN", "bigint"),
                          col("DifferentialBaseGUID", "uniqueidentifier"),
                          col("IsReadOnly", "bit"),
                          col("IsPresent", "bit")});
            for (const auto& f : header.files) {
                const bool data = f.file.type == 0;
                sink.row(
                    {f.file.name,
                     f.file.physicalName,
                     std::string(data ? "D" : "L"),
                     data ? Value(std::string("PRIMARY")) : Value(),
                     static_cast<int64_t>(f.sizeBytes),
                     int64_t(35184372080640),
                     int64_t(f.file.fileId),
                     int64_t(0),
                     int64_t(0),
                     std::string("00000000-0000-0000-0000-00000000000") + std::to_string(f.file.fileId % 10),
                     int64_t(0),
                     int64_t(0),
                     static_cast<int64_t>(f.sizeBytes),
                     int64_t(512),
                     int64_t(data ? 1 : 0),
                     Value(),
                     int64_t(0),
                     Value(),
                     int64_t(0),
                     int64_t(1)});
            }
            done(sink, 0xC1, true, header.files.size());
        } else {
            uint64_t size = 0;
            for (const auto& f : header.files)
                size += f.sizeBytes;
            sink.columns({col("BackupName", "nvarchar(128)"),
                          col("BackupDescription", "nvarchar(255)"),
                          col("BackupType", "smallint"),
                          col("ExpirationDate", "datetime"),
                          col("Compressed", "tinyint"),
                          col("Position", "smallint"),
                          col("DeviceType", "tinyint"),
                          col("UserName", "nvarchar(128)"),
                          col("ServerName", "nvarchar(128)"),
                          col("DatabaseName", "nvarchar(128)"),
                          col("DatabaseVersion", "int"),
                          col("DatabaseCreationDate", "datetime"),
                          col("BackupSize", "bigint"),
                          col("FirstLSN", "bigint"),
                          col("LastLSN", "bigint"),
                          col("CheckpointLSN", "bigint"),
                          col("DatabaseBackupLSN", "bigint"),
                          col("BackupStartDate", "datetime"),
                          col("BackupFinishDate", "datetime"),
                          col("SortOrder", "smallint"),
                          col("CodePage", "smallint"),
                          col("UnicodeLocaleId", "int"),
                          col("UnicodeComparisonStyle", "int"),
                          col("CompatibilityLevel", "tinyint"),
                          col("SoftwareVendorId", "int"),
                          col("SoftwareVersionMajor", "int"),
                          col("SoftwareVersionMinor", "int"),
                          col("SoftwareVersionBuild", "int"),
                          col("MachineName", "nvarchar(128)"),
                          col("Flags", "int"),
                          col("Collation", "nvarchar(128)")});
            auto part = [&](int index) {
                int parts[3] = {9, 0, 0};
                std::sscanf(header.productVersion.c_str(), "%d.%d.%d", &parts[0], &parts[1], &parts[2]);
                return int64_t(parts[index]);
            };
            auto optional = [](const std::string& t) { return t.empty() ? Value() : Value(t); };
            sink.row({optional(header.backupName),
                      optional(header.description),
                      int64_t(1),
                      Value(),
                      int64_t(0),
                      int64_t(1),
                      int64_t(2),
                      header.userName,
                      header.serverName,
                      header.databaseName,
                      int64_t(611),
                      header.databaseCreationDate,
                      static_cast<int64_t>(size),
                      int64_t(0),
                      int64_t(0),
                      int64_t(0),
                      int64_t(0),
                      header.startDate,
                      header.finishDate,
                      int64_t(52),
                      int64_t(0),
                      int64_t(1033),
                      int64_t(196609),
                      int64_t(90),
                      int64_t(4608),
                      part(0),
                      part(1),
                      part(2),
                      header.machineName,
                      int64_t(512),
                      std::string("SQL_Latin1_General_CP1_CI_AS")});
            done(sink, 0xC1, true, 1);
        }
        return;
    }

    std::vector<uint8_t> image;
    BackupHeader header;
    try {
        header = readBackup(path, image);
    } catch (const std::system_error& e) {
        mediaError(e);
    } catch (const std::exception&) {
        if (!fs::exists(path))
            fail(3201, 16,
                 "Cannot open backup device '" + path + "'. Operating system error " +
                     osErrorText(ENOENT, true) + ".");
        fail(3189, 16, "Damage to the backup set was detected.");
    }
    if (form == "VERIFYONLY") {
        info(sink, 3262, "The backup set on file 1 is valid.", s.line);
        done(sink, 0, false, 0);
        return;
    }

    // RESTORE DATABASE
    if (!hasServerRole("dbcreator"))
        fail(3110, 14, "User does not have permission to RESTORE database '" + s.name + "'.");
    std::lock_guard lock(m_instance.fileOperations());
    auto& catalog = m_instance.catalog();
    auto existing = catalog.database(s.name);
    if (existing && !replace) {
        if (upper(header.databaseName) == upper(existing->name))
            fail(3159, 16,
                 "The tail of the log for the database \"" + existing->name +
                     "\" has not been backed up. Use BACKUP LOG WITH NORECOVERY to backup the log if it "
                     "contains work you do not want to lose. Use the WITH REPLACE or WITH STOPAT clause of "
                     "the RESTORE statement to just overwrite the contents of the log.");
        fail(3154, 16,
             "The backup set holds a backup of a database other than the existing '" + existing->name +
                 "' database.");
    }
    if (existing && existing->id == 1)
        fail(3108, 16, "To restore the master database, the server must be running in single-user mode.");
    if (existing && m_instance.sessionsIn(existing->id) > 0)
        fail(3101, 16, "Exclusive access could not be obtained because the database is in use.");

    // Where each file goes: its MOVE target, else where it was when it was backed up.
    std::vector<FileRecord> targets;
    for (const auto& [fromExpr, toExpr] : s.moves) {
        const std::string from = evaluateText(fromExpr);
        if (std::none_of(header.files.begin(), header.files.end(),
                         [&](const BackupFileEntry& f) { return upper(f.file.name) == upper(from); }))
            fail(3234, 16,
                 "Logical file '" + from + "' is not part of database '" + s.name +
                     "'. Use RESTORE FILELISTONLY to list the logical file names.");
    }
    for (const auto& f : header.files) {
        FileRecord t = f.file;
        for (const auto& [fromExpr, toExpr] : s.moves)
            if (upper(evaluateText(fromExpr)) == upper(f.file.name))
                t.physicalName = evaluateText(toExpr);
        t.physicalName = fs::absolute(t.physicalName).lexically_normal().string();
        const std::string cannotRestore = "File '" + f.file.name + "' cannot be restored to '" +
                                          t.physicalName +
                                          "'. Use WITH MOVE to identify a valid location for the file.";
        if (!fs::is_directory(fs::path(t.physicalName).parent_path())) {
            sink.message(
                ServerMessage{5133, 1, 16,
                              "Directory lookup for the file \"" + t.physicalName +
                                  "\" failed with the operating system error 3(The system cannot find the "
                                  "path specified.).",
                              "", s.line});
            fail(3156, 16, cannotRestore);
        }
        bool ownFile = false;
        for (const auto& other : catalog.databases()) {
            for (const auto& of : other.files) {
                if (fs::absolute(of.physicalName).lexically_normal() != fs::path(t.physicalName))
                    continue;
                if (existing && other.id == existing->id) {
                    ownFile = true;
                    continue;
                }
                sink.message(ServerMessage{1834, 1, 16,
                                           "The file '" + t.physicalName +
                                               "' cannot be overwritten.  It is being used by database '" +
                                               other.name + "'.",
                                           "", s.line});
                fail(3156, 16, cannotRestore);
            }
        }
        if (!ownFile && !replace && fs::exists(t.physicalName))
            fail(3142, 16,
                 "File \"" + f.file.name + "\" cannot be restored over the existing \"" + t.physicalName +
                     "\". Reissue the RESTORE statement using WITH REPLACE to overwrite pre-existing files, "
                     "or WITH MOVE to identify an alternate location.");
        targets.push_back(t);
    }

    std::vector<std::unique_ptr<PendingFile>> files;
    for (const auto& t : targets) {
        files.push_back(std::make_unique<PendingFile>(t.physicalName));
        if (files.back()->openError())
            fail(3201, 16,
                 "Cannot open backup device '" + t.physicalName + "'. Operating system error " +
                     osErrorText(files.back()->openError(), false) + ".");
    }
    try {
        size_t dataIndex = 0;
        for (size_t i = 0; i < targets.size(); ++i)
            if (targets[i].type == 0) {
                dataIndex = i;
                break;
            }
        size_t written = 0;
        for (int mark : progressMarks(stats)) {
            if (sink.cancelRequested())
                fail(3204, 16, "The backup or restore was aborted.");
            const size_t until = image.size() * static_cast<size_t>(mark) / 100;
            files[dataIndex]->write(image.data() + written, until - written);
            written = until;
            std::this_thread::sleep_for(std::chrono::milliseconds(m_instance.config().progressStepMillis));
            if (report)
                info(sink, 3211, std::to_string(mark) + " percent processed.", s.line);
        }
        // Let go of any attached copy of the old database before its files are replaced.
        m_instance.bumpGeneration();
        resolve(databasePlaceholder(""));
        for (auto& f : files)
            f->commit();
    } catch (const std::system_error& e) {
        fail(3201, 16,
             "Cannot open backup device '" + std::string(e.what()) + "'. Operating system error " +
                 osErrorText(e.code().value(), false) + ".");
    }
    if (existing) {
        for (const auto& old : existing->files) {
            const bool kept = std::any_of(targets.begin(), targets.end(), [&](const FileRecord& t) {
                return fs::absolute(old.physicalName).lexically_normal() == fs::path(t.physicalName);
            });
            std::error_code ec;
            if (!kept)
                fs::remove(old.physicalName, ec);
        }
        catalog.replaceDatabaseFiles(existing->id, targets);
    } else {
        catalog.addDatabase(s.name, targets, m_login.sid);
    }
    m_instance.bumpGeneration();

    uint64_t total = 0;
    for (const auto& f : header.files) {
        total += pages(f.sizeBytes);
        info(sink, 4035,
             "Processed " + std::to_string(pages(f.sizeBytes)) + " pages for database '" + s.name +
                 "', file '" + f.file.name + "' on file 1.",
             s.line);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    info(sink, 3014, "RESTORE DATABASE successfully processed " + rateText(total, seconds), s.line);
    done(sink, 0, false, 0);
}

} // namespace standin
