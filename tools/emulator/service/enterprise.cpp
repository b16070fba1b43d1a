// The enterprise service's session: log-in by account and password, token refresh, heartbeat, the
// account's profile and the password change. Every path but the log-in and the refresh needs a live token
// in the request document; the refresh names its token in its parameters.
#include "emulator/service/enterprise_book.h"
#include "emulator/service/handlers.h"
#include "emulator/service/params.h"

namespace pelmor::emulator {

namespace {

using enterprise::json;
namespace code = enterprise::code;

Reply login(const Call& call) {
    const std::string account = text_param(call, "account");
    const std::string password = text_param(call, "password");
    const std::string token = "ent" + random_hex(32);
    const std::int64_t expires = call.state.now_ms() + enterprise::kTokenLifetimeMs;
    const bool accepted = call.state.update([&](json& values) {
        json& book = enterprise::book(values);
        const json& accounts = book["accounts"];
        const auto it = accounts.find(account);
        // One answer for an unknown account and a wrong password, so that accounts cannot be probed.
        if (it == accounts.end() || (*it)["password"] != password) return false;
        book["tokens"][token] = json{{"account", account}, {"expires", expires}};
        return true;
    });
    if (!accepted) refuse_with(code::kLoginFailed, "LOGIN_FAILED", "账号或密码错误");

    Reply reply = success(json{{"token", token}, {"expires", expires}, {"account", account}}, "登录成功");
    reply.token = token;
    return reply;
}

// Extends the life of the token named in the parameters and answers it with its new expiry.
Reply refresh(const Call& call) {
    const std::string token = text_param(call, "accessToken");
    const std::int64_t now = call.state.now_ms();
    const std::int64_t expires = call.state.update([&](json& values) -> std::int64_t {
        json& tokens = enterprise::book(values)["tokens"];
        const auto it = tokens.find(token);
        if (it == tokens.end()) return -1;
        if ((*it)["expires"].get<std::int64_t>() <= now) return 0;
        const std::int64_t renewed = now + enterprise::kTokenLifetimeMs;
        (*it)["expires"] = renewed;
        return renewed;
    });
    if (expires < 0) refuse_with(refusal::kTokenInvalid, "TOKEN_INVALID", "未登录或登录已失效，请重新登录");
    if (expires == 0) refuse_with(code::kTokenExpired, "TOKEN_EXPIRED", "登录已过期，请重新登录");
    Reply reply = success(json{{"token", token}, {"expires", expires}}, "刷新成功");
    reply.token = token;
    return reply;
}

Reply heartbeat(const Call& call) {
    enterprise::session_account(call);
    return success(
        json{{"date", enterprise::utc_time(call.state.now_ms())}, {"address", call.client_address}});
}

Reply profile(const Call& call) {
    enterprise::session_account(call);
    const std::string account = text_param(call, "account");
    json data = call.state.update([&](json& values) {
        const json& accounts = enterprise::book(values)["accounts"];
        const auto it = accounts.find(account);
        if (it == accounts.end()) return json();
        json profile;
        for (const char* key :
             {"nickname", "avatar", "avatarSmall", "avatarBig", "merchantName", "merchantLogo"})
            profile[key] = (*it)[key];
        return profile;
    });
    if (data.is_null()) refuse_with(code::kAccountUnknown, "ACCOUNT_NOT_FOUND", "账号不存在");
    return success(std::move(data));
}

// The old password must match; the sessions already open stay valid.
Reply change_password(const Call& call) {
    const std::string account = enterprise::session_account(call);
    const std::string old_password = text_param(call, "passwordOld");
    const std::string new_password = text_param(call, "passwordNew");
    if (new_password.size() < 6)
        refuse_with(refusal::kParamInvalid, "PARAM_INVALID", "新密码长度不能少于6位");
    const bool changed = call.state.update([&](json& values) {
        json& holder = enterprise::book(values)["accounts"][account];
        if (holder["password"] != old_password) return false;
        holder["password"] = new_password;
        return true;
    });
    if (!changed) refuse_with(code::kPasswordWrong, "PASSWORD_WRONG", "原密码错误");
    return success(json::object(), "密码修改成功");
}

}  // namespace

void register_enterprise_handlers(Router& router) {
    router.add_path("/login", guarded(login));
    router.add_path("cms.token.refresh", guarded(refresh));
    router.add_path("/user/heartbeat", guarded(heartbeat));
    router.add_path("/user/info", guarded(profile));
    router.add_path("/passwd/change", guarded(change_password));
    enterprise::register_device_paths(router);
}

}  // namespace pelmor::emulator
