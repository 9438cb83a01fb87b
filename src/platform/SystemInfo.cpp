#include "SystemInfo.h"

#include <algorithm>
#include <utility>

namespace sys {

std::shared_ptr<SystemInfo> createMachineSystemInfo();   // win32/ or posix/

ServiceSlot<SystemInfo>& systemSlot()
{
    static ServiceSlot<SystemInfo> slot(createMachineSystemInfo);
    return slot;
}

SystemInfo& machine()
{
    return systemSlot().get();
}

uint32_t lcidFromLocaleName(const std::string& localeName)
{
    // language_TERRITORY, without codeset or modifier.
    std::string name = localeName.substr(0, localeName.find_first_of(".@"));
    std::replace(name.begin(), name.end(), '-', '_');
    static const std::pair<const char*, uint32_t> table[] = {
        {"en_US", 1033},  {"en_GB", 2057},  {"en_AU", 3081},  {"en_CA", 4105},  {"en_NZ", 5129},
        {"en_IE", 6153},  {"en_ZA", 7177},  {"en_JM", 8201},  {"en_029", 9225}, {"en_BZ", 10249},
        {"en_TT", 11273}, {"en_ZW", 12297}, {"en_PH", 13321}, {"en_IN", 16393}, {"en_MY", 17417},
        {"en_SG", 18441}, {"fr_FR", 1036},  {"fr_BE", 2060},  {"fr_CA", 3084},  {"fr_CH", 4108},
        {"de_DE", 1031},  {"de_CH", 2055},  {"de_AT", 3079},  {"ja_JP", 1041},  {"ko_KR", 1042},
        {"zh_TW", 1028},  {"zh_CN", 2052},  {"zh_HK", 3076},  {"zh_SG", 4100},  {"it_IT", 1040},
        {"es_ES", 3082},  {"nl_NL", 1043},  {"pt_BR", 1046},  {"pt_PT", 2070},  {"sv_SE", 1053},
        {"ru_RU", 1049},  {"pl_PL", 1045},  {"da_DK", 1030},  {"fi_FI", 1035},  {"nb_NO", 1044},
    };
    for (const auto& [n, lcid] : table)
        if (name == n)
            return lcid;
    // A bare language takes its primary country.
    static const std::pair<const char*, uint32_t> languages[] = {
        {"en", 1033}, {"fr", 1036}, {"de", 1031}, {"ja", 1041}, {"ko", 1042}, {"zh", 2052},
        {"it", 1040}, {"es", 3082}, {"nl", 1043}, {"pt", 2070}, {"sv", 1053}, {"ru", 1049},
    };
    const std::string language = name.substr(0, name.find('_'));
    for (const auto& [n, lcid] : languages)
        if (language == n)
            return lcid;
    return 1033;
}

}  // namespace sys
