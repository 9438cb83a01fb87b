#pragma once

// time and datetimeoffset values as the stand-in carries them: text, "hh:mm:ss[.fffffff]" and
// "YYYY-MM-DD hh:mm:ss[.fffffff] +hh:mm", with as many fraction digits as the type's scale.
// Header-only: the engine converts with it and the TDS front end encodes with it.

#include <cstdint>
#include <cstdio>
#include <regex>
#include <string>

namespace standin::temporal {

constexpr int64_t kTicksPerSecond = 10000000; // the finest scale, 7, counts 100 ns
constexpr int64_t kTicksPerDay = 86400 * kTicksPerSecond;

// A moment as read from text; days count from 0001-01-01 (1900-01-01 when no date was given).
struct Moment {
    int64_t days = 0;
    int64_t ticks = 0;     // since midnight, local to the offset
    int offsetMinutes = 0; // east of UTC; 0 when the text gives none
};

inline int64_t daysFromCivil(int64_t y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

inline void civilFromDays(int64_t z, int64_t& y, unsigned& m, unsigned& d)
{
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const auto doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    y = static_cast<int64_t>(yoe) + era * 400;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = doy - (153 * mp + 2) / 5 + 1;
    m = mp < 10 ? mp + 3 : mp - 9;
    y += m <= 2;
}

// Days from 0001-01-01, the origin of the date-based wire types.
inline int64_t daysSince0001(int64_t y, unsigned m, unsigned d)
{
    return daysFromCivil(y, m, d) - daysFromCivil(1, 1, 1);
}

inline int64_t unitsPerTick(int scale)
{
    int64_t div = 1;
    for (int i = scale; i < 7; ++i)
        div *= 10;
    return div;
}

// Rounds ticks to the scale, as SQL Server does when a value enters a coarser type.
inline int64_t roundToScale(int64_t ticks, int scale)
{
    const int64_t div = unitsPerTick(scale);
    return (ticks + div / 2) / div * div;
}

// Accepts a time ("hh:mm[:ss[.fffffff]]"), a date ("YYYY-MM-DD"), or both (with ' ' or 'T'
// between), then an optional offset ("+hh:mm", "-hh:mm", "Z"). False for anything else.
inline bool parseMoment(const std::string& text, Moment& out)
{
    static const std::regex re(R"(^\s*(?:(\d{4})-(\d{2})-(\d{2}))?(?:(?:^\s*|[ T])(\d{1,2}):(\d{2}))"
                               R"((?::(\d{2})(?:\.(\d{1,7}))?)?)?\s*(?:(Z)|([+-])(\d{2}):(\d{2}))?\s*$)");
    std::smatch m;
    if (!std::regex_match(text, m, re) || (!m[1].matched && !m[4].matched))
        return false;
    Moment r;
    if (m[1].matched) {
        const int y = std::stoi(m[1]);
        const int mo = std::stoi(m[2]);
        const int d = std::stoi(m[3]);
        if (y < 1 || mo < 1 || mo > 12 || d < 1 || d > 31)
            return false;
        r.days = daysSince0001(y, static_cast<unsigned>(mo), static_cast<unsigned>(d));
    } else {
        r.days = daysSince0001(1900, 1, 1);
    }
    if (m[4].matched) {
        const int h = std::stoi(m[4]);
        const int mi = std::stoi(m[5]);
        const int s = m[6].matched ? std::stoi(m[6]) : 0;
        if (h > 23 || mi > 59 || s > 59)
            return false;
        int64_t fraction = 0;
        if (m[7].matched) {
            std::string f = m[7];
            f.resize(7, '0');
            fraction = std::stoll(f);
        }
        r.ticks = ((h * 60LL + mi) * 60 + s) * kTicksPerSecond + fraction;
    }
    if (m[9].matched) {
        const int oh = std::stoi(m[10]);
        const int om = std::stoi(m[11]);
        if (oh > 14 || om > 59 || oh * 60 + om > 14 * 60)
            return false;
        r.offsetMinutes = (m[9] == "-" ? -1 : 1) * (oh * 60 + om);
    }
    out = r;
    return true;
}

// "hh:mm:ss" and, for a scale above 0, that many fraction digits. ticks must be of one day.
inline std::string formatTime(int64_t ticks, int scale)
{
    const int64_t seconds = ticks / kTicksPerSecond;
    char buf[32];
    int n = std::snprintf(buf, sizeof buf, "%02lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                          static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
    if (scale > 0) {
        char fraction[16];
        std::snprintf(fraction, sizeof fraction, "%07lld", static_cast<long long>(ticks % kTicksPerSecond));
        std::snprintf(buf + n, sizeof buf - static_cast<size_t>(n), ".%.*s", scale, fraction);
    }
    return buf;
}

inline std::string formatDate(int64_t daysFrom0001)
{
    int64_t y;
    unsigned m, d;
    civilFromDays(daysFrom0001 + daysFromCivil(1, 1, 1), y, m, d);
    char buf[32];
    std::snprintf(buf, sizeof buf, "%04lld-%02u-%02u", static_cast<long long>(y), m, d);
    return buf;
}

// Moves days and ticks so that ticks fall within one day.
inline void normalizeDay(int64_t& days, int64_t& ticks)
{
    const int64_t carry = ticks >= 0 ? ticks / kTicksPerDay : -((kTicksPerDay - 1 - ticks) / kTicksPerDay);
    days += carry;
    ticks -= carry * kTicksPerDay;
}

// The time of a moment at the scale; a value rounded up to midnight wraps, as on SQL Server.
inline std::string timeText(const Moment& moment, int scale)
{
    return formatTime(roundToScale(moment.ticks, scale) % kTicksPerDay, scale);
}

// "YYYY-MM-DD hh:mm:ss[.fffffff] +hh:mm"; a moment without offset is taken as UTC.
inline std::string dateTimeOffsetText(const Moment& moment, int scale)
{
    int64_t days = moment.days;
    int64_t ticks = roundToScale(moment.ticks, scale);
    normalizeDay(days, ticks);
    const int offset = moment.offsetMinutes < 0 ? -moment.offsetMinutes : moment.offsetMinutes;
    char zone[16];
    std::snprintf(zone, sizeof zone, " %c%02d:%02d", moment.offsetMinutes < 0 ? '-' : '+', offset / 60,
                  offset % 60);
    return formatDate(days) + " " + formatTime(ticks, scale) + zone;
}

} // namespace standin::temporal
