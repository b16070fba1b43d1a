#pragma once

#include <cstdint>
#include <string>

// One warranty per handset, read by the service's warranty answers and by the coverage site alike.
namespace pelmor::emulator {

struct Warranty {
    std::string purchase;      // "YYYY-MM-DD"
    std::string coverage_end;  // last day covered, "YYYY-MM-DD"
};

// Telephone support runs this many days from the purchase.
inline constexpr long long kSupportDays = 90;

// The factory record's warranty for a handset on file. Any other serial gets one made up from the
// serial alone (the same serial, the same warranty), since the coverage site answers every serial.
Warranty warranty_of(const std::string& serial);

// Whole days from the day of now_ms (UTC) to the last day covered; 0 once it has passed.
long long days_left(const Warranty& warranty, std::int64_t now_ms);
bool support_active(const Warranty& warranty, std::int64_t now_ms);

}  // namespace pelmor::emulator
