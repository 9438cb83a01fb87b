#pragma once

// The byte layout of the structure index files (README.md in this folder describes it for
// readers of the files). Everything is little-endian.

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "MoleculeRecord.h"

namespace indexlayout {

enum class FileKind { Mst, Msx, Mss, Msk, Msf };
inline constexpr size_t kFileCount = 5;
inline constexpr std::array<FileKind, kFileCount> kKinds = {FileKind::Mst, FileKind::Msx, FileKind::Mss,
                                                            FileKind::Msk, FileKind::Msf};
// Companions first, the .mst last.
inline constexpr std::array<FileKind, kFileCount> kCreationOrder = {
    FileKind::Msx, FileKind::Mss, FileKind::Msk, FileKind::Msf, FileKind::Mst};

inline constexpr size_t kHeaderSize = 32;
inline constexpr size_t kParametersSize = 32;
inline constexpr size_t kCommitSize = 32;
// Format versions: 1 keeps counts alone in .msf; 2, what a new index gets, follows them with the
// atom-type key. A rebuild appends to an index in the version it has.
inline constexpr uint32_t kOldestVersion = 1;
inline constexpr uint32_t kNewestVersion = 2;
inline constexpr size_t kEntryBytes = 24;                                // .msx
inline constexpr size_t kKeyBytes = MoleculeRecord::kFingerprintBits / 8; // one key
inline constexpr size_t kFactsBytes = 16;                                // the counts of .msf
// Size of one structure's record in each file; 0 where records vary.
constexpr size_t recordSize(FileKind kind, uint32_t version)
{
    switch (kind) {
    case FileKind::Msx:
        return kEntryBytes;
    case FileKind::Msk:
        return kKeyBytes;
    case FileKind::Msf:
        return version >= 2 ? kFactsBytes + kKeyBytes : kFactsBytes;
    case FileKind::Mst:
    case FileKind::Mss:
        break;
    }
    return 0;
}
inline constexpr uint32_t kFlagNoStructure = 1;
// Identifiers are 32-bit (a row's MOL_ID), numbered from 1.
inline constexpr uint64_t kMostStructures = 0x7fffffff;

std::filesystem::path companionPath(const std::filesystem::path& mst, FileKind kind);

std::vector<uint8_t> encodeHeader(FileKind kind, uint64_t uid, uint32_t version = kNewestVersion);
enum class HeaderProblem { None, Foreign, NewerVersion };
struct HeaderCheck {
    HeaderProblem problem = HeaderProblem::None;
    uint64_t uid = 0;
    uint32_t version = 0;
};
HeaderCheck checkHeader(FileKind kind, const uint8_t* header);
std::string describe(HeaderProblem problem);

std::vector<uint8_t> encodeParameters();
bool checkParameters(const uint8_t* parameters);

struct CommitRecord {
    uint32_t sequence = 0;
    uint64_t count = 0;     // structures
    uint64_t dataBytes = 0; // molecule bytes in .mss after its header
    uint32_t flags = 0;     // kCommitBuildEnded; 0 in records that older writers made
};
// The build that wrote the record ended there (Flush), rather than being stopped or killed.
inline constexpr uint32_t kCommitBuildEnded = 1;
std::array<uint8_t, kCommitSize> encodeCommit(const CommitRecord& record);
std::optional<CommitRecord> decodeCommit(const uint8_t* raw);
uint64_t commitOffset(uint32_t slot);
// Whether files of these sizes (in the order of kKinds) hold everything the record covers; a
// record that claims more structures than identifiers can number never fits.
bool fits(const CommitRecord& record, const std::array<uint64_t, kFileCount>& sizes, uint32_t version);

inline uint64_t entryOffset(FileKind kind, uint64_t position, uint32_t version)
{
    return kHeaderSize + position * recordSize(kind, version);
}

struct Entry {
    uint64_t offset = 0; // into .mss, after its header
    uint32_t length = 0;
    uint32_t flags = 0;
    uint32_t identifier = 0;
    uint32_t crc = 0; // of the molecule bytes
};
void appendEntry(std::vector<uint8_t>& out, const Entry& entry);
Entry decodeEntry(const uint8_t* raw);

void appendFingerprint(std::vector<uint8_t>& out, const MoleculeRecord::Fingerprint& fingerprint);
void decodeFingerprint(const uint8_t* raw, MoleculeRecord::Fingerprint& fingerprint);
void appendFacts(std::vector<uint8_t>& out, const MoleculeRecord& record);
void decodeFacts(const uint8_t* raw, MoleculeRecord& record);

uint32_t crc32(const void* data, size_t size);

} // namespace indexlayout
