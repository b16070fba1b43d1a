#pragma once

#include "emulator/core/router.h"

#include <nlohmann/json.hpp>

#include <string>

// The accounts the emulator keeps in its ServiceState, under "accounts": SMS codes, users, tokens and
// WeChat log-ins. Every function here takes the state's values and must be called inside
// ServiceState::update(), which holds the lock.
namespace pelmor::emulator::accounts {

using json = nlohmann::ordered_json;

// How long an SMS code may be used, and how many wrong tries end it early.
inline constexpr long long kSmsLifetimeMs = 5 * 60 * 1000;
inline constexpr int kSmsTries = 5;

// The referral code that unlocks anyone; users' own codes ("PM" + uid) unlock everyone but themselves.
inline constexpr const char kHouseReferralCode[] = "PELMOR";

// Issues a six-digit code for mobile and returns its serial "no". The code goes to stderr (the SMS a
// real service would send) and stays readable through the control surface.
std::string issue_sms_code(json& values, const std::string& mobile, const char* method, std::int64_t now);

// Checks code and serial for mobile and uses the code up; refuses a wrong, used, expired or foreign one.
void use_sms_code(json& values, const std::string& mobile, const std::string& code, const std::string& no,
                  std::int64_t now);

// The accounts area itself, with all its members present (see the .cpp for why).
json& area(json& values);

// The latest code per mobile ({"mobile","no","code","method","issuedAt","used"}), null when none.
json latest_sms(json& values, const std::string& mobile);
json all_sms(json& values);

json* user_by_mobile(json& values, const std::string& mobile);
json* user_by_uid(json& values, long long uid);
json& create_user(json& values, const std::string& mobile);

// A new token for the user; the token is what every later request carries.
std::string issue_token(json& values, long long uid);
bool revoke_token(json& values, const std::string& token);

// The user behind the request's token; refuses TOKEN_INVALID (with refusal_data) when there is none.
json& require_user(json& values, const Call& call, json refusal_data = nullptr);

// Unlocks the user's extra right with a referral code, or refuses REFERRAL_INVALID.
void unlock_with_referral(json& values, json& user, const std::string& referral_code);

}  // namespace pelmor::emulator::accounts
