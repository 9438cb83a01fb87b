#include "StructureIndex.h"

#include "LfError.h"
#include "Molecule.h"
#include "StructureIndexLayout.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <system_error>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace fs = std::filesystem;
using namespace indexlayout;

namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

uint64_t fileSize(const fs::path& p)
{
    std::error_code ec;
    auto n = fs::file_size(p, ec);
    return ec ? 0 : n;
}

// The molecule data passes 2 GB in a large index, and long (fseek's offset) has 32 bits on
// Windows: seeks take the full 64-bit offset.
bool seekTo(std::FILE* f, uint64_t offset)
{
    if (offset > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
        return false;
#ifdef _WIN32
    return _fseeki64(f, static_cast<__int64>(offset), SEEK_SET) == 0;
#else
    static_assert(sizeof(off_t) >= sizeof(int64_t), "large files need a 64-bit off_t");
    return ::fseeko(f, static_cast<off_t>(offset), SEEK_SET) == 0;
#endif
}

bool writeAt(std::FILE* f, uint64_t offset, const void* data, size_t size)
{
    return seekTo(f, offset) && std::fwrite(data, 1, size, f) == size;
}

bool readAt(std::FILE* f, uint64_t offset, void* data, size_t size)
{
    return seekTo(f, offset) && std::fread(data, 1, size, f) == size;
}

bool syncFile(std::FILE* f)
{
    if (std::fflush(f) != 0)
        return false;
#ifdef _WIN32
    return _commit(_fileno(f)) == 0;
#else
    return ::fsync(fileno(f)) == 0;
#endif
}

} // namespace

struct StructureIndex::Files {
    std::array<FilePtr, kFileCount> f; // in the order of kKinds
    std::FILE* operator[](FileKind k) const { return f[static_cast<size_t>(k)].get(); }
};

StructureIndex::StructureIndex() : m_creationVersion(kNewestVersion) {}

void StructureIndex::SetCreationVersion(uint32_t version)
{
    // Asked before any index is open: the message names the version, there is no file yet.
    if (version < kOldestVersion || version > kNewestVersion)
        throw LfError(LfError::kObjectError513, "StructureIndex.SetCreationVersion",
                      "the structure index has no format version " + std::to_string(version) + " (only " +
                          std::to_string(kOldestVersion) + " to " + std::to_string(kNewestVersion) + ")");
    m_creationVersion = version;
}

StructureIndex::~StructureIndex()
{
    if (m_files && !m_broken && !m_pending.empty()) {
        try {
            Commit();
        } catch (const LfError&) {
            // The structures since the last commit are lost; the index still opens.
        }
    }
}

void StructureIndex::fail(const std::string& what, const std::string& detail) const
{
    throw LfError(LfError::kObjectError513, "StructureIndex." + what,
                  "while " + (what == "OpenOrCreate" ? std::string("opening") : std::string("writing")) +
                      " the structure index \"" + m_path.string() + "\": " + detail);
}

void StructureIndex::requireOpen() const
{
    if (!m_files)
        throw LfError(LfError::kObjectError513, "StructureIndex", "the structure index is not open");
    if (m_broken)
        fail("AddMolecule", "an earlier write failed");
}

void StructureIndex::OpenOrCreate(const std::string& path, int16_t mode)
{
    m_path = path;
    if (mode != 0)
        fail("OpenOrCreate", "open mode " + std::to_string(mode) + " is not supported");
    m_files.reset();
    m_pending.clear();
    m_broken = false;
    std::error_code ec;
    if (fs::exists(m_path, ec))
        open();
    else
        create();
}

void StructureIndex::create()
{
    // Companions first, the .mst last: a creation cut short leaves no .mst, so the next open
    // creates the index again over whatever companions it left.
    std::random_device rd;
    m_uid = (uint64_t{rd()} << 32) | rd();
    m_committed = 0;
    m_committedBytes = 0;
    m_sequence = 0;
    std::error_code ec;
    for (FileKind k : kCreationOrder) {
        fs::path target = companionPath(m_path, k);
        fs::path temp = target;
        temp += ".new";
        {
            FilePtr f(std::fopen(temp.string().c_str(), "wb"));
            auto bytes = encodeHeader(k, m_uid, m_creationVersion);
            if (k == FileKind::Mst) {
                auto params = encodeParameters();
                bytes.insert(bytes.end(), params.begin(), params.end());
                for (uint32_t slot = 0; slot < 2; ++slot) {
                    auto rec = encodeCommit({0, 0, 0});
                    bytes.insert(bytes.end(), rec.begin(), rec.end());
                }
            }
            if (!f || std::fwrite(bytes.data(), 1, bytes.size(), f.get()) != bytes.size() ||
                !syncFile(f.get())) {
                int err = errno;
                f.reset();
                fs::remove(temp, ec);
                fail("OpenOrCreate", std::strerror(err));
            }
        }
        fs::rename(temp, target, ec);
        if (ec) {
            fs::remove(temp, ec);
            fail("OpenOrCreate", ec.message());
        }
    }
    open();
}

void StructureIndex::open()
{
    auto files = std::make_unique<Files>();
    std::array<uint64_t, kFileCount> sizes{};
    for (FileKind k : kKinds) {
        fs::path p = companionPath(m_path, k);
        std::error_code ec;
        if (!fs::exists(p, ec))
            fail("OpenOrCreate", "its companion file \"" + p.filename().string() + "\" is missing");
        FilePtr f(std::fopen(p.string().c_str(), "r+b"));
        if (!f)
            fail("OpenOrCreate", std::strerror(errno));
        std::array<uint8_t, kHeaderSize> header{};
        sizes[static_cast<size_t>(k)] = fileSize(p);
        if (!readAt(f.get(), 0, header.data(), header.size()))
            fail("OpenOrCreate", "\"" + p.filename().string() + "\" is not a structure index file");
        HeaderCheck check = checkHeader(k, header.data());
        if (check.problem != HeaderProblem::None)
            fail("OpenOrCreate", "\"" + p.filename().string() + "\" " + describe(check.problem));
        if (k == FileKind::Mst) {
            m_uid = check.uid;
            m_version = check.version;
        } else if (check.uid != m_uid) {
            fail("OpenOrCreate", "\"" + p.filename().string() + "\" belongs to another structure index");
        } else if (check.version != m_version) {
            fail("OpenOrCreate", "\"" + p.filename().string() + "\" is of another format version than its index");
        }
        files->f[static_cast<size_t>(k)] = std::move(f);
    }

    std::array<uint8_t, kParametersSize> params{};
    if (!readAt((*files)[FileKind::Mst], kHeaderSize, params.data(), params.size()) ||
        !checkParameters(params.data()))
        fail("OpenOrCreate", "its parameters are damaged or of another kind");

    // The newest commit record that is whole and whose data the companions hold.
    std::optional<CommitRecord> best;
    for (uint32_t slot = 0; slot < 2; ++slot) {
        std::array<uint8_t, kCommitSize> raw{};
        if (!readAt((*files)[FileKind::Mst], commitOffset(slot), raw.data(), raw.size()))
            continue;
        auto rec = decodeCommit(raw.data());
        if (!rec || !fits(*rec, sizes, m_version))
            continue;
        if (rec->count > 0) {
            std::array<uint8_t, kEntryBytes> last{};
            if (!readAt((*files)[FileKind::Msx], entryOffset(FileKind::Msx, rec->count - 1, m_version), last.data(),
                        last.size()))
                continue;
            auto e = decodeEntry(last.data());
            if (e.offset > rec->dataBytes || rec->dataBytes - e.offset != e.length)
                continue;
        }
        if (!best || rec->sequence > best->sequence)
            best = rec;
    }
    if (!best)
        fail("OpenOrCreate", "the file is damaged (no complete commit record)");

    m_committed = static_cast<int64_t>(best->count);
    m_committedBytes = best->dataBytes;
    m_sequence = best->sequence;
    // Drop what a build that was stopped wrote after its last commit.
    for (FileKind k : kKinds) {
        if (k == FileKind::Mst)
            continue;
        uint64_t keep =
            k == FileKind::Mss ? kHeaderSize + m_committedBytes : entryOffset(k, best->count, m_version);
        if (sizes[static_cast<size_t>(k)] > keep) {
            std::error_code ec;
            fs::resize_file(companionPath(m_path, k), keep, ec);
        }
    }
    m_files = std::move(files);
}

void StructureIndex::AddMolecule(const Molecule* molecule, int32_t /*options: none defined*/)
{
    requireOpen();
    if (static_cast<uint64_t>(Count()) >= kMostStructures)
        fail("AddMolecule", "it holds the most structures its identifiers can number");
    m_pending.push_back(molecule ? molecule->record() : MoleculeRecord{});
    // Keeps memory bounded for a caller that never commits.
    if (m_pending.size() >= 1000)
        Commit();
}

int32_t StructureIndex::LastIdentifier() const
{
    int64_t n = Count();
    return n == 0 ? 0 : static_cast<int32_t>(kFirstIdentifier + n - 1);
}

int64_t StructureIndex::Count() const
{
    return m_committed + static_cast<int64_t>(m_pending.size());
}

void StructureIndex::Commit()
{
    requireOpen();
    if (m_pending.empty())
        return;
    std::vector<uint8_t> msx, msk, msf;
    std::string mss;
    uint64_t bytes = m_committedBytes;
    int32_t id = kFirstIdentifier + static_cast<int32_t>(m_committed);
    for (const MoleculeRecord& r : m_pending) {
        appendEntry(msx, {bytes, static_cast<uint32_t>(r.binary.size()), r.empty() ? kFlagNoStructure : 0u,
                          static_cast<uint32_t>(id++), crc32(r.binary.data(), r.binary.size())});
        appendFingerprint(msk, r.fingerprint);
        appendFacts(msf, r);
        if (m_version >= 2)
            appendFingerprint(msf, r.atomTypes);
        mss += r.binary;
        bytes += r.binary.size();
    }
    const uint64_t n = m_committed;
    bool ok = writeAt((*m_files)[FileKind::Mss], kHeaderSize + m_committedBytes, mss.data(), mss.size()) &&
              writeAt((*m_files)[FileKind::Msx], entryOffset(FileKind::Msx, n, m_version), msx.data(), msx.size()) &&
              writeAt((*m_files)[FileKind::Msk], entryOffset(FileKind::Msk, n, m_version), msk.data(), msk.size()) &&
              writeAt((*m_files)[FileKind::Msf], entryOffset(FileKind::Msf, n, m_version), msf.data(), msf.size());
    for (FileKind k : {FileKind::Mss, FileKind::Msx, FileKind::Msk, FileKind::Msf})
        ok = ok && std::fflush((*m_files)[k]) == 0;
    // The commit record goes last, into the slot that does not hold the current one, so a record
    // torn by a crash leaves the previous one in force.
    CommitRecord rec{m_sequence + 1, n + m_pending.size(), bytes};
    auto raw = encodeCommit(rec);
    ok = ok && writeAt((*m_files)[FileKind::Mst], commitOffset(rec.sequence % 2), raw.data(), raw.size()) &&
         std::fflush((*m_files)[FileKind::Mst]) == 0;
    if (!ok) {
        int err = errno;
        m_broken = true;
        fail("Commit", std::strerror(err ? err : EIO));
    }
    m_sequence = rec.sequence;
    m_committed = static_cast<int64_t>(rec.count);
    m_committedBytes = bytes;
    m_pending.clear();
}

void StructureIndex::Flush()
{
    Commit();
    auto syncAll = [this] {
        for (FileKind k : kKinds)
            if (!syncFile((*m_files)[k])) {
                m_broken = true;
                fail("Commit", std::strerror(errno));
            }
    };
    syncAll();
    // Then one more record, over the same structures, saying that the build ended here: a reader
    // can tell a finished index from one whose build was stopped; the next commit clears it. It
    // goes into the other slot only now that the commit before it is on the disk.
    const CommitRecord ended{m_sequence + 1, static_cast<uint64_t>(m_committed), m_committedBytes,
                             kCommitBuildEnded};
    const auto raw = encodeCommit(ended);
    if (!writeAt((*m_files)[FileKind::Mst], commitOffset(ended.sequence % 2), raw.data(), raw.size())) {
        m_broken = true;
        fail("Commit", std::strerror(errno));
    }
    m_sequence = ended.sequence;
    syncAll();
}

MoleculeRecord StructureIndex::Record(int64_t position) const
{
    if (!m_files || position < 0 || position >= Count())
        throw LfError(LfError::kObjectError513, "StructureIndex.Record",
                      "no structure at " + std::to_string(position));
    if (position >= m_committed)
        return m_pending[static_cast<size_t>(position - m_committed)];
    const auto n = static_cast<uint64_t>(position);
    std::array<uint8_t, kEntryBytes> rawEntry{};
    std::array<uint8_t, kKeyBytes> rawKey{};
    std::vector<uint8_t> rawFacts(recordSize(FileKind::Msf, m_version));
    MoleculeRecord r;
    bool ok = readAt((*m_files)[FileKind::Msx], entryOffset(FileKind::Msx, n, m_version), rawEntry.data(),
                     rawEntry.size()) &&
              readAt((*m_files)[FileKind::Msk], entryOffset(FileKind::Msk, n, m_version), rawKey.data(),
                     rawKey.size()) &&
              readAt((*m_files)[FileKind::Msf], entryOffset(FileKind::Msf, n, m_version), rawFacts.data(),
                     rawFacts.size());
    Entry e = ok ? decodeEntry(rawEntry.data()) : Entry{};
    // A damaged entry may claim up to 4 GB: only committed molecule data is ever read.
    ok = ok && e.offset <= m_committedBytes && e.length <= m_committedBytes - e.offset;
    if (ok)
        r.binary.resize(e.length);
    ok = ok && (e.length == 0 ||
                readAt((*m_files)[FileKind::Mss], kHeaderSize + e.offset, r.binary.data(), e.length));
    if (!ok || crc32(r.binary.data(), r.binary.size()) != e.crc)
        throw LfError(LfError::kObjectError513, "StructureIndex.Record",
                      "while reading the structure index \"" + m_path.string() + "\": structure " +
                          std::to_string(position + 1) + " is damaged");
    decodeFingerprint(rawKey.data(), r.fingerprint);
    decodeFacts(rawFacts.data(), r);
    if (m_version >= 2)
        decodeFingerprint(rawFacts.data() + kFactsBytes, r.atomTypes);
    return r;
}
