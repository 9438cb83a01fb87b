#include "IndexSnapshot.h"

#include "IndexError.h"
#include "PositionalFile.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>
#include <system_error>

namespace fs = std::filesystem;
using namespace indexlayout;

namespace {

size_t slot(FileKind kind)
{
    return static_cast<size_t>(kind);
}

} // namespace

IndexSnapshot::IndexSnapshot(const fs::path& mst) : m_path(mst)
{
    // The commit record is read before the companions' sizes: the companions only grow after
    // it, so whatever it counts they hold, even while a rebuild appends.
    openFile(FileKind::Mst);
    std::array<uint8_t, kParametersSize> parameters{};
    if (!m_files[slot(FileKind::Mst)]->readAt(kHeaderSize, parameters.data(), parameters.size()) ||
        !checkParameters(parameters.data()))
        damaged("its parameters are damaged or of another kind");
    for (FileKind k : kKinds)
        if (k != FileKind::Mst)
            openFile(k);
    chooseCommit();
}

IndexSnapshot::~IndexSnapshot() = default;

std::string IndexSnapshot::fileName(FileKind kind) const
{
    return companionPath(m_path, kind).filename().string();
}

std::string IndexSnapshot::recordName(uint64_t position, const char* item, FileKind kind) const
{
    return "structure " + std::to_string(position + 1) + "'s " + item + " in \"" + fileName(kind) + "\"";
}

void IndexSnapshot::damaged(const std::string& detail) const
{
    throw IndexError(IndexError::Kind::Damaged,
                     "the structure index \"" + m_path.string() + "\" is damaged: " + detail);
}

void IndexSnapshot::openFile(FileKind kind)
{
    const bool companion = kind != FileKind::Mst;
    const fs::path p = companionPath(m_path, kind);
    const std::string quoted = "\"" + (companion ? p.filename().string() : p.string()) + "\"";
    std::error_code ec;
    if (fs::is_directory(p, ec))
        throw IndexError(IndexError::Kind::Unusable, quoted + " is a folder, not a structure index file");
    auto file = std::make_unique<PositionalFile>(p);
    if (!file->isOpen()) {
        if (file->errorNumber() == ENOENT) {
            if (companion)
                damaged("its companion file " + quoted + " is missing");
            throw IndexError(IndexError::Kind::Unusable, "the structure index " + quoted + " does not exist");
        }
        throw IndexError(IndexError::Kind::Unusable,
                         "cannot read " + quoted + ": " +
                             std::generic_category().message(file->errorNumber()));
    }

    std::array<uint8_t, kHeaderSize> header{};
    const bool whole = file->readAt(0, header.data(), header.size());
    const HeaderCheck check =
        whole ? checkHeader(kind, header.data()) : HeaderCheck{HeaderProblem::Foreign, 0};
    if (check.problem == HeaderProblem::NewerVersion || (!companion && check.problem != HeaderProblem::None))
        throw IndexError(IndexError::Kind::Unusable, quoted + " " + describe(check.problem));
    if (check.problem != HeaderProblem::None)
        damaged("its companion file " + quoted + " " + describe(check.problem));
    if (!companion) {
        m_uid = check.uid;
        m_version = check.version;
    } else if (check.uid != m_uid) {
        damaged("its companion file " + quoted + " belongs to another structure index");
    } else if (check.version != m_version) {
        damaged("its companion file " + quoted + " is of format version " + std::to_string(check.version) +
                ", the index of " + std::to_string(m_version));
    }
    m_files[slot(kind)] = std::move(file);
}

void IndexSnapshot::chooseCommit()
{
    // The newer of the two whole commit records is in force. A record being written right now
    // is not whole (its checksum fails), and the one before it counts.
    std::optional<CommitRecord> newest;
    for (uint32_t s = 0; s < 2; ++s) {
        std::array<uint8_t, kCommitSize> raw{};
        if (!m_files[slot(FileKind::Mst)]->readAt(commitOffset(s), raw.data(), raw.size()))
            continue;
        auto record = decodeCommit(raw.data());
        if (record && (!newest || record->sequence > newest->sequence))
            newest = record;
    }
    if (!newest)
        damaged("it has no complete commit record");
    m_commit = *newest;
    for (FileKind k : kKinds)
        m_sizes[slot(k)] = m_files[slot(k)]->size();

    // The rebuild would fall back to the commit before; a reader reports the loss instead.
    for (FileKind k : kKinds) {
        if (k == FileKind::Mst)
            continue;
        const uint64_t need =
            k == FileKind::Mss ? kHeaderSize + m_commit.dataBytes : entryOffset(k, m_commit.count, m_version);
        if (m_sizes[slot(k)] < need)
            damaged("\"" + fileName(k) + "\" ends before the " + std::to_string(m_commit.count) +
                    " structures its last commit counts (" + std::to_string(m_sizes[slot(k)]) + " of " +
                    std::to_string(need) + " bytes)");
    }
    if (m_commit.count > 0) {
        std::vector<uint8_t> raw;
        readRecords(FileKind::Msx, m_commit.count - 1, 1, raw);
        const Entry e = decodeEntry(raw.data());
        if (e.offset + e.length != m_commit.dataBytes)
            damaged(recordName(m_commit.count - 1, "entry", FileKind::Msx) +
                    " does not end where the last commit says");
    }
}

uint64_t IndexSnapshot::uncommittedBytes() const
{
    uint64_t beyond = 0;
    for (FileKind k : kKinds) {
        if (k == FileKind::Mst)
            continue;
        const uint64_t kept =
            k == FileKind::Mss ? kHeaderSize + m_commit.dataBytes : entryOffset(k, m_commit.count, m_version);
        beyond += m_sizes[slot(k)] > kept ? m_sizes[slot(k)] - kept : 0;
    }
    return beyond;
}

void IndexSnapshot::readRecords(FileKind kind, uint64_t first, size_t size, std::vector<uint8_t>& out) const
{
    out.resize(size * recordSize(kind, m_version));
    if (!m_files[slot(kind)]->readAt(entryOffset(kind, first, m_version), out.data(), out.size()))
        damaged("\"" + fileName(kind) + "\" could not be read at structure " + std::to_string(first + 1));
}

void IndexSnapshot::readPage(uint64_t first, size_t size, Page& page) const
{
    readEntries(first, size, page);
    readKeys(page);
    readFacts(page);
}

void IndexSnapshot::readKeys(Page& page) const
{
    readRecords(FileKind::Msk, page.first, page.size(), page.keys);
}

void IndexSnapshot::readFacts(Page& page) const
{
    readRecords(FileKind::Msf, page.first, page.size(), page.facts);
}

void IndexSnapshot::readEntries(uint64_t first, size_t size, Page& page) const
{
    if (first >= count())
        size = 0;
    else if (size > count() - first)
        size = static_cast<size_t>(count() - first);
    page.first = first;
    page.version = m_version;
    // The entry before the page tells where the page's first molecule must begin.
    const uint64_t from = first > 0 ? first - 1 : 0;
    readRecords(FileKind::Msx, from, size + (first - from), page.raw);
    uint64_t end = 0;
    page.entries.clear();
    for (size_t i = 0; i < page.raw.size() / kEntryBytes; ++i) {
        const Entry e = decodeEntry(page.raw.data() + i * kEntryBytes);
        const uint64_t position = from + i;
        if (position < first) {
            end = e.offset + e.length;
            continue;
        }
        const bool none = e.flags == kFlagNoStructure;
        if (e.identifier != position + 1 || e.offset != end || e.length > m_commit.dataBytes - e.offset ||
            (e.flags != 0 && !none) || none != (e.length == 0))
            damaged(recordName(position, "entry", FileKind::Msx) + " is wrong");
        end = e.offset + e.length;
        page.entries.push_back(e);
    }
}

std::string_view IndexSnapshot::moleculeAt(uint64_t position, const Entry& entry, ReadAhead& ahead) const
{
    if (entry.offset < ahead.start || entry.offset + entry.length > ahead.start + ahead.used) {
        // Entries were checked to lie within the committed molecule data.
        const uint64_t wanted = std::min({kReadAheadBytes, m_commit.dataBytes - entry.offset,
                                          ahead.until > entry.offset ? ahead.until - entry.offset : 0});
        ahead.start = entry.offset;
        ahead.used = static_cast<size_t>(std::max<uint64_t>(entry.length, wanted));
        if (ahead.buffer.size() < ahead.used)
            ahead.buffer.resize(ahead.used);
        if (!m_files[slot(FileKind::Mss)]->readAt(kHeaderSize + ahead.start, ahead.buffer.data(), ahead.used)) {
            ahead.used = 0;
            damaged(recordName(position, "molecule", FileKind::Mss) + " could not be read");
        }
    }
    const std::string_view bytes(ahead.buffer.data() + (entry.offset - ahead.start), entry.length);
    if (crc32(bytes.data(), bytes.size()) != entry.crc)
        damaged(recordName(position, "molecule", FileKind::Mss) + " does not match its checksum");
    return bytes;
}

void IndexSnapshot::readMolecule(uint64_t position, const Entry& entry, std::string& out,
                                 ReadAhead* ahead) const
{
    ReadAhead once;
    once.until = 0;
    out.assign(moleculeAt(position, entry, ahead ? *ahead : once));
}

// Keys are stored little-endian; the screen reads them as words as they are.
static_assert(std::endian::native == std::endian::little);

bool IndexSnapshot::Page::keyHolds(size_t i, const std::vector<std::pair<size_t, uint64_t>>& words) const
{
    const uint8_t* key = keys.data() + i * kKeyBytes;
    for (const auto& [w, bits] : words) {
        uint64_t word;
        std::memcpy(&word, key + 8 * w, 8);
        if ((bits & ~word) != 0)
            return false;
    }
    return true;
}

const uint8_t* IndexSnapshot::Page::atomTypes(size_t i) const
{
    return version >= 2 ? facts.data() + i * recordSize(FileKind::Msf, version) + kFactsBytes : nullptr;
}

uint32_t IndexSnapshot::Page::heavyAtoms(size_t i) const
{
    uint32_t n;
    std::memcpy(&n, facts.data() + i * recordSize(FileKind::Msf, version), 4);
    return n;
}

uint32_t IndexSnapshot::Page::bonds(size_t i) const
{
    uint32_t n;
    std::memcpy(&n, facts.data() + i * recordSize(FileKind::Msf, version) + 4, 4);
    return n;
}

MoleculeRecord IndexSnapshot::Page::record(size_t i) const
{
    MoleculeRecord r;
    decodeFingerprint(keys.data() + i * kKeyBytes, r.fingerprint);
    if (const uint8_t* types = atomTypes(i))
        decodeFingerprint(types, r.atomTypes);
    decodeFacts(facts.data() + i * recordSize(FileKind::Msf, version), r);
    return r;
}
