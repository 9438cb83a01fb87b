#include "../FileReplace.h"

#include <algorithm>
#include <system_error>
#include <windows.h>

namespace sys {
namespace {

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

} // namespace

void ReplaceFileContents(const std::filesystem::path& target, std::string_view bytes)
{
    const std::filesystem::path temp = TemporaryNameBeside(target);
    HANDLE h =
        CreateFileW(temp.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        fail("create");
    bool ok = true;
    const char* stage = "write";
    while (ok && !bytes.empty()) {
        DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size(), 1u << 30));
        DWORD written = 0;
        ok = WriteFile(h, bytes.data(), chunk, &written, nullptr) && written == chunk;
        bytes.remove_prefix(written);
    }
    if (ok) {
        stage = "flush";
        ok = FlushFileBuffers(h);
    }
    DWORD error = GetLastError();
    CloseHandle(h);
    if (ok) {
        stage = "rename";
        ok = MoveFileExW(temp.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
        error = GetLastError();
    }
    if (!ok) {
        DeleteFileW(temp.c_str());
        SetLastError(error);
        fail(stage);
    }
}

} // namespace sys
