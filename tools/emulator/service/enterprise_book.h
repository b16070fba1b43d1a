#pragma once

#include "emulator/core/router.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

// What the enterprise service keeps between requests: accounts with passwords and balances, issued
// tokens, each account's bill lines by day, and the feedback received. It lives in ServiceState under
// "enterprise" and is seeded with the demo accounts whenever it is missing, so a reset brings them back.
// Refusals are thrown as Refused (params.h); handlers are registered through guarded().
namespace pelmor::emulator::enterprise {

using json = nlohmann::ordered_json;

inline constexpr const char kDemoAccount[] = "demo";
inline constexpr const char kDemoPassword[] = "demo1234";
inline constexpr const char kTrialAccount[] = "trial";
inline constexpr const char kTrialPassword[] = "trial1234";
inline constexpr std::int64_t kTokenLifetimeMs = 2LL * 60 * 60 * 1000;

// Refusals of this service beside the shared ones of params.h.
namespace code {
inline constexpr int kLoginFailed = 40111;     // LOGIN_FAILED: unknown account or wrong password
inline constexpr int kTokenExpired = 40112;    // TOKEN_EXPIRED
inline constexpr int kPasswordWrong = 40113;   // PASSWORD_WRONG: the old password does not match
inline constexpr int kBalanceTooLow = 40211;   // BALANCE_NOT_ENOUGH
inline constexpr int kAccountUnknown = 40440;  // ACCOUNT_NOT_FOUND
}  // namespace code

// The book inside the state's values, seeded on first use. Call only inside ServiceState::update.
json& book(json& values);

// The account the request's token belongs to; refuses a missing, unknown or expired token.
std::string session_account(const Call& call);

// Money is kept in cents so that bills add up exactly.
double yuan(std::int64_t cents);

// Debits a paid check and writes its bill line; refuses when the balance is short.
void charge(ServiceState& state, const std::string& account, const std::string& serial, const char* what,
            std::int64_t cents);

// "YYYY-MM-DD" and "YYYY-MM-DD HH:MM:SS" in UTC.
std::string utc_day(std::int64_t ms);
std::string utc_time(std::int64_t ms);

// The device queries' paths (enterprise_devices.cpp); the session's are in enterprise.cpp.
void register_device_paths(Router& router);

}  // namespace pelmor::emulator::enterprise
