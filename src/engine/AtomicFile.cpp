#include "AtomicFile.h"

#include "FileReplace.h"
#include "LfError.h"

#include <system_error>

namespace engine {

void WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes,
                         const std::string& source)
{
    try {
        sys::ReplaceFileContents(target, bytes);
    } catch (const std::system_error& e) {
        throw LfError(LfError::kObjectError513, source,
                      "while writing the file \"" + target.string() + "\": " + e.code().message());
    }
}

} // namespace engine
