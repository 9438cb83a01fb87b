#include "StructureIndexLayout.h"

#include <cstring>
#include <zlib.h>

namespace indexlayout {

namespace {

constexpr const char* kMagic[kFileCount] = {"LFIDXMST", "LFIDXMSX", "LFIDXMSS", "LFIDXMSK", "LFIDXMSF"};
constexpr const char* kExtension[kFileCount] = {".mst", ".msx", ".mss", ".msk", ".msf"};
constexpr uint32_t kCommitTag = 0x5243464Cu; // "LFCR"
constexpr uint32_t kFirstIdentifier = 1;
// The fingerprint the .msk file holds; a search must compute its query's the same way.
constexpr const char kFingerprintKind[] = "RDKit Pattern 1.0.0";

void put(std::vector<uint8_t>& out, uint64_t v, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

uint64_t get(const uint8_t* p, int bytes)
{
    uint64_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v |= uint64_t{p[i]} << (8 * i);
    return v;
}

size_t index(FileKind k)
{
    return static_cast<size_t>(k);
}

} // namespace

std::filesystem::path companionPath(const std::filesystem::path& mst, FileKind kind)
{
    if (kind == FileKind::Mst)
        return mst;
    auto p = mst;
    return p.replace_extension(kExtension[index(kind)]);
}

std::vector<uint8_t> encodeHeader(FileKind kind, uint64_t uid, uint32_t version)
{
    std::vector<uint8_t> out(kMagic[index(kind)], kMagic[index(kind)] + 8);
    put(out, version, 4);
    put(out, recordSize(kind, version), 4);
    put(out, uid, 8);
    put(out, 0, 8);
    return out;
}

HeaderCheck checkHeader(FileKind kind, const uint8_t* header)
{
    const auto version = static_cast<uint32_t>(get(header + 8, 4));
    if (std::memcmp(header, kMagic[index(kind)], 8) != 0 || version < kOldestVersion)
        return {HeaderProblem::Foreign, 0, 0};
    if (version > kNewestVersion)
        return {HeaderProblem::NewerVersion, 0, 0};
    if (get(header + 12, 4) != recordSize(kind, version))
        return {HeaderProblem::Foreign, 0, 0};
    return {HeaderProblem::None, get(header + 16, 8), version};
}

std::string describe(HeaderProblem problem)
{
    switch (problem) {
    case HeaderProblem::Foreign:
        return "is not a structure index file";
    case HeaderProblem::NewerVersion:
        return "was written by a later version of the structure index";
    case HeaderProblem::None:
        break;
    }
    return {};
}

std::vector<uint8_t> encodeParameters()
{
    std::vector<uint8_t> out;
    put(out, kFirstIdentifier, 4);
    put(out, MoleculeRecord::kFingerprintBits, 4);
    out.insert(out.end(), kFingerprintKind, kFingerprintKind + sizeof kFingerprintKind);
    out.resize(kParametersSize, 0);
    return out;
}

bool checkParameters(const uint8_t* parameters)
{
    auto expected = encodeParameters();
    return std::memcmp(parameters, expected.data(), kParametersSize) == 0;
}

std::array<uint8_t, kCommitSize> encodeCommit(const CommitRecord& record)
{
    std::vector<uint8_t> out;
    put(out, kCommitTag, 4);
    put(out, record.sequence, 4);
    put(out, record.count, 8);
    put(out, record.dataBytes, 8);
    put(out, record.flags, 4);
    put(out, crc32(out.data(), out.size()), 4);
    std::array<uint8_t, kCommitSize> raw{};
    std::memcpy(raw.data(), out.data(), kCommitSize);
    return raw;
}

std::optional<CommitRecord> decodeCommit(const uint8_t* raw)
{
    if (get(raw, 4) != kCommitTag || get(raw + 28, 4) != crc32(raw, 28))
        return std::nullopt;
    return CommitRecord{static_cast<uint32_t>(get(raw + 4, 4)), get(raw + 8, 8), get(raw + 16, 8),
                        static_cast<uint32_t>(get(raw + 24, 4))};
}

uint64_t commitOffset(uint32_t slot)
{
    return kHeaderSize + kParametersSize + uint64_t{slot} * kCommitSize;
}

bool fits(const CommitRecord& record, const std::array<uint64_t, kFileCount>& sizes, uint32_t version)
{
    // A damaged count or length must not wrap the offsets computed from it.
    if (record.count > kMostStructures || record.dataBytes > sizes[index(FileKind::Mss)] ||
        sizes[index(FileKind::Mss)] - record.dataBytes < kHeaderSize)
        return false;
    for (FileKind k : {FileKind::Msx, FileKind::Msk, FileKind::Msf})
        if (sizes[index(k)] < entryOffset(k, record.count, version))
            return false;
    return sizes[index(FileKind::Mst)] >= commitOffset(2);
}

void appendEntry(std::vector<uint8_t>& out, const Entry& e)
{
    put(out, e.offset, 8);
    put(out, e.length, 4);
    put(out, e.flags, 4);
    put(out, e.identifier, 4);
    put(out, e.crc, 4);
}

Entry decodeEntry(const uint8_t* raw)
{
    return {get(raw, 8), static_cast<uint32_t>(get(raw + 8, 4)), static_cast<uint32_t>(get(raw + 12, 4)),
            static_cast<uint32_t>(get(raw + 16, 4)), static_cast<uint32_t>(get(raw + 20, 4))};
}

void appendFingerprint(std::vector<uint8_t>& out, const MoleculeRecord::Fingerprint& fingerprint)
{
    for (uint64_t word : fingerprint)
        put(out, word, 8);
}

void decodeFingerprint(const uint8_t* raw, MoleculeRecord::Fingerprint& fingerprint)
{
    for (size_t i = 0; i < fingerprint.size(); ++i)
        fingerprint[i] = get(raw + 8 * i, 8);
}

void appendFacts(std::vector<uint8_t>& out, const MoleculeRecord& record)
{
    put(out, record.heavyAtoms, 4);
    put(out, record.bonds, 4);
    put(out, record.rings, 4);
    put(out, 0, 4);
}

void decodeFacts(const uint8_t* raw, MoleculeRecord& record)
{
    record.heavyAtoms = static_cast<uint32_t>(get(raw, 4));
    record.bonds = static_cast<uint32_t>(get(raw + 4, 4));
    record.rings = static_cast<uint32_t>(get(raw + 8, 4));
}

uint32_t crc32(const void* data, size_t size)
{
    // zlib's CRC-32 (the common one, as in zip and PNG) runs several bytes a step: a search
    // checks every molecule it reads.
    return static_cast<uint32_t>(::crc32_z(0, static_cast<const Bytef*>(data), size));
}

} // namespace indexlayout
