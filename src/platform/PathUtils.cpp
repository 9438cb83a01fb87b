#include "PathUtils.h"

namespace paths {

char Separator()
{
#ifdef _WIN32
    return '\\';
#else
    return '/';
#endif
}

std::string Join(const std::string& folder, const std::string& name)
{
    if (folder.empty())
        return name;
    const char last = folder.back();
    if (last == '\\' || last == '/')
        return folder + name;
    return folder + Separator() + name;
}

}  // namespace paths
