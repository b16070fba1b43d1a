#pragma once

#include "emulator/core/envelope.h"
#include "emulator/core/router.h"

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

// What the service areas share: reading a request's parameters, refusing it, and random identifiers.
namespace pelmor::emulator {

// Refusals of the service areas, beside the envelope's own. All clear of 1..5, the client's local codes.
namespace refusal {
inline constexpr int kParamMissing = 40003;
inline constexpr int kParamInvalid = 40004;
inline constexpr int kDeviceInfoIncomplete = 40005;
inline constexpr int kTokenInvalid = 40101;
inline constexpr int kSmsCodeWrong = 40102;
inline constexpr int kSmsCodeExpired = 40103;
inline constexpr int kWxNotScanned = 40104;
inline constexpr int kWxKeyInvalid = 40105;
inline constexpr int kWxUnknown = 40106;
inline constexpr int kWxNotBound = 40107;
inline constexpr int kMobileTaken = 40108;
inline constexpr int kReferralInvalid = 40109;
inline constexpr int kNotPaid = 40201;
inline constexpr int kNoProfessionalReport = 40202;
inline constexpr int kMessageNotFound = 40410;
inline constexpr int kDeviceNotFound = 40420;
inline constexpr int kOrderNotFound = 40430;
inline constexpr int kFactoryData = 50002;
}  // namespace refusal

// Thrown by a handler to answer with a refusal; guarded() turns it into the reply.
class Refused : public std::runtime_error {
  public:
    explicit Refused(Reply reply) : std::runtime_error(reply.msg), reply_(std::move(reply)) {}
    const Reply& reply() const { return reply_; }

  private:
    Reply reply_;
};

// A refusal whose data is null, or the given data (a refusal may still carry what the client reads).
[[noreturn]] void refuse_with(int code, const std::string& error, const std::string& msg,
                              nlohmann::ordered_json data = nullptr);

// Wraps a handler so that a thrown Refused becomes its reply.
Handler guarded(Reply (*handler)(const Call&));

// Required parameters. Missing gives PARAM_MISSING, the wrong JSON type PARAM_INVALID; a text that
// must not be empty counts as missing when it is.
std::string text_param(const Call& call, const char* key, bool may_be_empty = false);
long long integer_param(const Call& call, const char* key);
const nlohmann::ordered_json& object_param(const Call& call, const char* key);

// Random lower-case hexadecimal text of the given length.
std::string random_hex(std::size_t length);

// "http://<compiled service host>"; where the emulator says its pictures and help pages live.
std::string service_base_url();

}  // namespace pelmor::emulator
