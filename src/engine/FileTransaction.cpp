#include "FileTransaction.h"

#include "AtomicFile.h"
#include "LfError.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace engine {
namespace {

std::optional<std::string> ReadIfPresent(const std::string& path, const std::string& source)
{
    std::error_code ec;
    if (!std::filesystem::exists(path, ec))
        return std::nullopt;
    return ReadFileBytes(path, source);
}

} // namespace

std::string ReadFileBytes(const std::string& path, const std::string& source)
{
    std::ifstream in(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in && !in.eof())
        throw LfError(LfError::kObjectError513, source, "the file \"" + path + "\" cannot be read");
    return bytes;
}

FileTransaction::FileTransaction(std::string source) : m_source(std::move(source)) {}

void FileTransaction::stage(const std::string& path, std::string bytes)
{
    m_writes.push_back({path, std::move(bytes), std::nullopt});
}

void FileTransaction::commit()
{
    // Every old content is read before anything is written.
    for (Write& write : m_writes)
        write.previous = ReadIfPresent(write.path, m_source);
    for (std::size_t i = 0; i < m_writes.size(); ++i) {
        try {
            WriteFileAtomically(m_writes[i].path, m_writes[i].bytes, m_source);
        } catch (...) {
            restore(i);
            throw;
        }
    }
}

void FileTransaction::restore(std::size_t count) const
{
    // Undoing is best effort: the failure that caused it is what the user is told about.
    for (auto it = std::make_reverse_iterator(m_writes.begin() + count); it != m_writes.rend(); ++it) {
        try {
            if (it->previous) {
                WriteFileAtomically(it->path, *it->previous, m_source);
            } else {
                std::error_code ec;
                std::filesystem::remove(it->path, ec);
            }
        } catch (const LfError&) {
        }
    }
}

} // namespace engine
