#include "emulator/core/clock.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace pelmor::emulator {

namespace {

std::string format(std::int64_t ms, const char* pattern, bool local) {
    // Floor division, so that a time before 1970 does not land on the next second.
    const std::time_t seconds = static_cast<std::time_t>(ms / 1000 - (ms % 1000 < 0 ? 1 : 0));
    std::tm parts{};
    if (local) {
        localtime_r(&seconds, &parts);
    } else {
        gmtime_r(&seconds, &parts);
    }
    char text[64] = {};
    std::strftime(text, sizeof text, pattern, &parts);
    return text;
}

bool valid_date(int y, int m, int d) {
    static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (y < 1 || y > 9999 || m < 1 || m > 12 || d < 1) return false;
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return d <= kDays[m - 1] + (m == 2 && leap ? 1 : 0);
}

long long days_from_civil(int y, int m, int d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const long long yoe = y - era * 400;
    const long long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

}  // namespace

std::int64_t Clock::real_now_ms() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::string utc_text(std::int64_t ms, const char* pattern) {
    return format(ms, pattern, false);
}

std::string local_text(std::int64_t ms, const char* pattern) {
    return format(ms, pattern, true);
}

std::optional<long long> epoch_day(const std::string& date) {
    int y = 0, m = 0, d = 0, used = 0;
    if (std::sscanf(date.c_str(), "%4d-%2d-%2d%n", &y, &m, &d, &used) != 3 || used != 10 ||
        date.size() != 10 || !valid_date(y, m, d))
        return std::nullopt;
    return days_from_civil(y, m, d);
}

std::optional<std::int64_t> parse_utc_ms(const std::string& text) {
    std::string rest = text;
    if (!rest.empty() && rest.back() == 'Z') rest.pop_back();
    const auto day = epoch_day(rest.substr(0, 10));
    if (!day) return std::nullopt;
    long long seconds = *day * 86400;
    if (rest.size() > 10) {
        int h = 0, mi = 0, s = 0, used = 0;
        const char separator = rest[10];
        if ((separator != 'T' && separator != ' ') ||
            std::sscanf(rest.c_str() + 11, "%2d:%2d:%2d%n", &h, &mi, &s, &used) != 3 || used != 8 ||
            rest.size() != 19 || h > 23 || mi > 59 || s > 59 || h < 0 || mi < 0 || s < 0)
            return std::nullopt;
        seconds += h * 3600LL + mi * 60LL + s;
    }
    return seconds * 1000;
}

}  // namespace pelmor::emulator
