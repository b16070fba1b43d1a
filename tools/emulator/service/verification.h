#pragma once

#include "emulator/service/factory.h"

#include <nlohmann/json.hpp>

#include <string>

// The reports the service makes by comparing a submitted device description with the handset's
// factory record.
namespace pelmor::emulator {

// The free verification report: per-key lines in five classes ("base", "hardware", "screen",
// "fingerprint", "other"), their states, the topic objects ({"value","status"}), score and totals.
// A line differs when the handset reports a value other than the factory's; a value the handset did not
// report (empty) is "not read", shown but not counted.
nlohmann::ordered_json verification_report(const Factory& factory, const nlohmann::ordered_json& record,
                                           const nlohmann::ordered_json& info);

// The paid report: price, date, "listItem" (the compared identity values) and "variable" (the
// sales and service state on file).
nlohmann::ordered_json professional_report(const Factory& factory, const nlohmann::ordered_json& record,
                                           const nlohmann::ordered_json& info, const std::string& date);

// A description member as text: texts as they are, numbers in decimal, anything else "".
std::string description_text(const nlohmann::ordered_json& info, const char* key);

}  // namespace pelmor::emulator
