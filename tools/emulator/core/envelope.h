#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace pelmor::emulator {

// What a handler decides; the envelope adds the time stamp when it is rendered.
struct Reply {
    int code = 0;
    std::string token;
    std::string error;
    std::string msg = "success";
    nlohmann::ordered_json data = nlohmann::ordered_json::object();
};

// Refusal codes. They stay clear of 1..5, which the client uses for its own local failures.
namespace refusal {
inline constexpr int kBadRequestBody = 40001;
inline constexpr int kInvalidDocument = 40002;
inline constexpr int kMethodNotFound = 40401;
inline constexpr int kPathNotFound = 40402;
inline constexpr int kAddressNotFound = 40403;
inline constexpr int kInternalError = 50001;
}  // namespace refusal

Reply success(nlohmann::ordered_json data, std::string msg = "success");
Reply refuse(int code, std::string error, std::string msg);

// {"code","token","error","msg","timestamp","data"} in this order.
nlohmann::ordered_json render_envelope(const Reply& reply, std::int64_t timestamp_ms);

}  // namespace pelmor::emulator
