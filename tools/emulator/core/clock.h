#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace pelmor::emulator {

// The emulator's idea of "now": the real time plus an offset that tests set or advance, so that token
// expiry, bills and payment orders can be tested without waiting. It keeps running after a set.
class Clock {
  public:
    std::int64_t now_ms() const { return real_now_ms() + offset_ms_.load(); }
    std::int64_t offset_ms() const { return offset_ms_.load(); }

    void set(std::int64_t ms) { offset_ms_.store(ms - real_now_ms()); }
    void advance(std::int64_t ms) { offset_ms_.fetch_add(ms); }
    void back_to_real_time() { offset_ms_.store(0); }

    static std::int64_t real_now_ms();

  private:
    std::atomic<std::int64_t> offset_ms_{0};
};

// strftime of a time in ms since the epoch, in UTC or in the machine's local time.
std::string utc_text(std::int64_t ms, const char* format);
std::string local_text(std::int64_t ms, const char* format);

// "YYYY-MM-DD" as days since 1970-01-01 (proleptic Gregorian); nothing when it is not such a date.
std::optional<long long> epoch_day(const std::string& date);
// Time in ms from "YYYY-MM-DD", "YYYY-MM-DDThh:mm:ss" or "YYYY-MM-DD hh:mm:ss" (UTC; a trailing "Z" is
// allowed); nothing when the text is none of these.
std::optional<std::int64_t> parse_utc_ms(const std::string& text);

}  // namespace pelmor::emulator
