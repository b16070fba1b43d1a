#include "emulator/service/accounts_state.h"

#include "emulator/core/envelope.h"
#include "emulator/service/params.h"

#include <cstdio>
#include <random>

namespace pelmor::emulator::accounts {

namespace {

std::string six_digits() {
    static thread_local std::mt19937 engine{std::random_device{}()};
    return std::to_string(std::uniform_int_distribution<int>(100000, 999999)(engine));
}

long long next_number(json& counters, const char* name, long long first) {
    json& counter = counters[name];
    const long long value = counter.is_number_integer() ? counter.get<long long>() : first;
    counter = value + 1;
    return value;
}

[[noreturn]] void sms_expired() {
    refuse_with(refusal::kSmsCodeExpired, "SMS_CODE_EXPIRED", "验证码已失效，请重新获取");
}

}  // namespace

// Every member a handler may hold a reference to exists from the start: an ordered_json object is a
// vector, and adding a member to it copies its other members, which would leave such references dangling.
json& area(json& values) {
    json& a = values["accounts"];
    if (a.is_null()) {
        a = json::object();
        for (const char* member : {"counters", "sms", "latestSms", "users", "tokens", "wx", "wxUsers"})
            a[member] = json::object();
    }
    return a;
}

std::string issue_sms_code(json& values, const std::string& mobile, const char* method, std::int64_t now) {
    json& a = area(values);
    const std::string no = std::to_string(next_number(a["counters"], "sms", 100001));
    const std::string code = six_digits();
    a["sms"][no] = json{{"mobile", mobile}, {"no", no},      {"code", code},   {"method", method},
                        {"issuedAt", now},  {"used", false}, {"wrongTries", 0}};
    a["latestSms"][mobile] = no;
    std::fprintf(stderr, "pelmor-emulator: SMS to %s: code %s (no %s, %s)\n", mobile.c_str(), code.c_str(),
                 no.c_str(), method);
    return no;
}

void use_sms_code(json& values, const std::string& mobile, const std::string& code, const std::string& no,
                  std::int64_t now) {
    json& sms = area(values)["sms"];
    const auto it = sms.find(no);
    if (it == sms.end() || (*it)["mobile"] != mobile || (*it)["used"].get<bool>()) sms_expired();
    json& entry = *it;
    if (now - entry["issuedAt"].get<long long>() > kSmsLifetimeMs) {
        entry["used"] = true;
        sms_expired();
    }
    if (entry["code"] != code) {
        const int tries = entry["wrongTries"].get<int>() + 1;
        entry["wrongTries"] = tries;
        if (tries >= kSmsTries) entry["used"] = true;
        refuse_with(refusal::kSmsCodeWrong, "SMS_CODE_WRONG", "验证码错误");
    }
    entry["used"] = true;
}

json latest_sms(json& values, const std::string& mobile) {
    json& a = area(values);
    const auto latest = a["latestSms"].find(mobile);
    if (latest == a["latestSms"].end()) return nullptr;
    return a["sms"][latest->get<std::string>()];
}

json all_sms(json& values) {
    json list = json::array();
    for (const auto& [no, entry] : area(values)["sms"].items())
        list.push_back(entry);
    return list;
}

json* user_by_mobile(json& values, const std::string& mobile) {
    for (auto& [uid, user] : area(values)["users"].items())
        if (user["mobile"] == mobile) return &user;
    return nullptr;
}

json* user_by_uid(json& values, long long uid) {
    json& users = area(values)["users"];
    const auto it = users.find(std::to_string(uid));
    return it == users.end() ? nullptr : &*it;
}

json& create_user(json& values, const std::string& mobile) {
    json& a = area(values);
    const long long uid = next_number(a["counters"], "uid", 10001);
    const std::string tail = mobile.size() > 4 ? mobile.substr(mobile.size() - 4) : mobile;
    json& user = a["users"][std::to_string(uid)];
    user = json{{"uid", uid},
                {"nickname", "用户" + tail},
                {"avatar", service_base_url() + "/avatar/" + std::to_string(uid) + ".png"},
                {"mobile", mobile},
                {"openId", ""},
                {"referralCode", "PM" + std::to_string(uid)},
                {"unlocked", false}};
    return user;
}

std::string issue_token(json& values, long long uid) {
    const std::string token = "tk" + random_hex(30);
    area(values)["tokens"][token] = uid;
    return token;
}

bool revoke_token(json& values, const std::string& token) {
    return area(values)["tokens"].erase(token) > 0;
}

json& require_user(json& values, const Call& call, json refusal_data) {
    json& tokens = area(values)["tokens"];
    const auto it = tokens.find(call.token());
    json* user = it == tokens.end() ? nullptr : user_by_uid(values, it->get<long long>());
    if (!user) {
        refuse_with(refusal::kTokenInvalid, "TOKEN_INVALID", "登录已失效，请重新登录",
                    std::move(refusal_data));
    }
    return *user;
}

void unlock_with_referral(json& values, json& user, const std::string& referral_code) {
    bool valid = referral_code == kHouseReferralCode;
    for (auto& [uid, other] : area(values)["users"].items())
        if (other["referralCode"] == referral_code && other["uid"] != user["uid"]) valid = true;
    if (!valid) refuse_with(refusal::kReferralInvalid, "REFERRAL_INVALID", "邀请码无效");
    user["unlocked"] = true;
    user["referredBy"] = referral_code;
}

}  // namespace pelmor::emulator::accounts
