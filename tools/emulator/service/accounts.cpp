// Log-in: SMS codes, log-in by mobile, the WeChat QR log-in with its phone binding, token refresh.
#include "emulator/service/accounts_state.h"
#include "emulator/service/handlers.h"
#include "emulator/service/params.h"

namespace pelmor::emulator {

void register_user_handlers(Router& router);  // user.cpp

namespace {

using json = nlohmann::ordered_json;
using namespace accounts;

constexpr long long kQrLifetimeMs = 5 * 60 * 1000;

std::string mobile_param(const Call& call) {
    std::string mobile = text_param(call, "mobile");
    const std::size_t first = mobile[0] == '+' ? 1 : 0;
    const bool digits = mobile.find_first_not_of("0123456789", first) == std::string::npos;
    if (!digits || mobile.size() - first < 5 || mobile.size() > 20)
        refuse_with(refusal::kParamInvalid, "PARAM_INVALID", "手机号格式错误");
    return mobile;
}

Reply logged_in(const std::string& token, const char* msg) {
    Reply reply = success(json{{"token", token}}, msg);
    reply.token = token;
    return reply;
}

Reply sms_code(const Call& call) {
    const std::string mobile = mobile_param(call);
    const std::string no = call.state.update(
        [&](json& v) { return issue_sms_code(v, mobile, "sms.code", call.state.now_ms()); });
    return success(json{{"no", no}}, "验证码已发送");
}

// The plain variant: the number is texted, nothing comes back.
Reply smscode(const Call& call) {
    const std::string mobile = mobile_param(call);
    call.state.update([&](json& v) { return issue_sms_code(v, mobile, "smscode", call.state.now_ms()); });
    return success(json::object(), "验证码已发送");
}

Reply login_mobile(const Call& call) {
    const std::string mobile = mobile_param(call);
    const std::string code = text_param(call, "code");
    const std::string no = text_param(call, "no");
    text_param(call, "key", true);  // the host's own text, passed through
    const std::string token = call.state.update([&](json& v) {
        use_sms_code(v, mobile, code, no, call.state.now_ms());
        json* user = user_by_mobile(v, mobile);
        if (!user) user = &create_user(v, mobile);
        return issue_token(v, (*user)["uid"].get<long long>());
    });
    return logged_in(token, "登录成功");
}

Reply login_wx_qr(const Call& call) {
    if (integer_param(call, "way") != 1)
        refuse_with(refusal::kParamInvalid, "PARAM_INVALID", "参数格式错误: way");
    const std::string key = "wx" + random_hex(24);
    const std::int64_t now = call.state.now_ms();
    call.state.update([&](json& v) {
        area(v)["wx"][key] = json{{"key", key}, {"createdAt", now}, {"scanned", false}, {"openId", ""}};
    });
    const std::string qr = service_base_url() + "/wx/connect?key=" + key;
    return success(json{{"qr", qr}, {"key", key}}, "获取成功");
}

// The WeChat session of a QR key; refuses an unknown or expired key.
json& wx_session(json& values, const std::string& key, std::int64_t now) {
    json& sessions = area(values)["wx"];
    const auto it = sessions.find(key);
    if (it == sessions.end() || now - (*it)["createdAt"].get<long long>() > kQrLifetimeMs)
        refuse_with(refusal::kWxKeyInvalid, "WX_KEY_INVALID", "二维码已过期，请刷新");
    return *it;
}

json& wx_user(json& values, const std::string& open_id) {
    json& users = area(values)["wxUsers"];
    const auto it = users.find(open_id);
    if (it == users.end()) refuse_with(refusal::kWxUnknown, "WX_UNKNOWN", "微信用户不存在，请重新扫码");
    return *it;
}

std::string bound_mobile(json& values, const json& wx) {
    const json* user = user_by_uid(values, wx["uid"].get<long long>());
    return user ? (*user)["mobile"].get<std::string>() : std::string();
}

Reply login_wx_user(const Call& call) {
    const std::string key = text_param(call, "key");
    return call.state.update([&](json& v) {
        json& session = wx_session(v, key, call.state.now_ms());
        if (!session["scanned"].get<bool>())
            refuse_with(refusal::kWxNotScanned, "WX_NOT_SCANNED", "等待微信扫码", json::object());
        json& wx = wx_user(v, session["openId"].get<std::string>());
        return success(json{{"openId", wx["openId"]},
                            {"nickname", wx["nickname"]},
                            {"avatar", wx["avatar"]},
                            {"mobile", bound_mobile(v, wx)}},
                       "扫码成功");
    });
}

Reply login_bind_mobile(const Call& call) {
    const std::string open_id = text_param(call, "openId");
    const std::string mobile = mobile_param(call);
    const std::string code = text_param(call, "code");
    const std::string referral = text_param(call, "referralCode", true);
    const std::string no = text_param(call, "no");
    text_param(call, "key", true);
    const std::string token = call.state.update([&](json& v) {
        json& wx = wx_user(v, open_id);
        json* user = user_by_mobile(v, mobile);
        if (user && !(*user)["openId"].get<std::string>().empty() && (*user)["openId"] != open_id)
            refuse_with(refusal::kMobileTaken, "MOBILE_TAKEN", "该手机号已绑定其他微信");
        use_sms_code(v, mobile, code, no, call.state.now_ms());
        if (!user) user = &create_user(v, mobile);
        if (!referral.empty()) unlock_with_referral(v, *user, referral);
        // A WeChat account is bound to one mobile at a time: binding it anew frees the old one.
        if (json* previous = user_by_uid(v, wx["uid"].get<long long>()); previous && previous != user)
            (*previous)["openId"] = "";
        (*user)["openId"] = open_id;
        (*user)["nickname"] = wx["nickname"];
        (*user)["avatar"] = wx["avatar"];
        wx["uid"] = (*user)["uid"];
        return issue_token(v, (*user)["uid"].get<long long>());
    });
    return logged_in(token, "绑定成功");
}

Reply login_wx(const Call& call) {
    const std::string open_id = text_param(call, "openId");
    text_param(call, "key", true);
    const std::string token = call.state.update([&](json& v) {
        json& wx = wx_user(v, open_id);
        if (!user_by_uid(v, wx["uid"].get<long long>()))
            refuse_with(refusal::kWxNotBound, "WX_NOT_BOUND", "该微信未绑定手机号");
        return issue_token(v, wx["uid"].get<long long>());
    });
    return logged_in(token, "登录成功");
}

// The old token stops working once the new one is issued.
Reply token_refresh(const Call& call) {
    const std::string old_token = text_param(call, "token");
    text_param(call, "key", true);
    const std::string token = call.state.update([&](json& v) {
        const json& tokens = area(v)["tokens"];
        const auto it = tokens.find(old_token);
        if (it == tokens.end())
            refuse_with(refusal::kTokenInvalid, "TOKEN_INVALID", "登录已失效，请重新登录");
        const long long uid = it->get<long long>();
        revoke_token(v, old_token);
        return issue_token(v, uid);
    });
    return logged_in(token, "刷新成功");
}

ControlAnswer not_found(const std::string& what) {
    return {404, json{{"error", what}}};
}

// GET /_emulator/sms[?mobile=M]: the latest code sent to M, or every code sent since the reset.
ControlAnswer control_sms(bool post, const json& input, ServiceState& state) {
    if (post) return {405, json{{"error", "use GET"}}};
    return state.update([&](json& v) -> ControlAnswer {
        if (!input.contains("mobile")) return {200, all_sms(v)};
        json entry = latest_sms(v, input["mobile"].get<std::string>());
        if (entry.is_null()) return not_found("no code was sent to this mobile");
        return {200, entry};
    });
}

std::string input_text(const json& input, const char* key, std::string fallback) {
    const auto it = input.find(key);
    return it != input.end() && it->is_string() ? it->get<std::string>() : fallback;
}

// POST /_emulator/wx/scan {"key"?, "openId"?, "nickname"?, "avatar"?}: a user scans the QR code of key
// (default: the newest one not yet scanned) and confirms the log-in on the phone.
ControlAnswer control_wx_scan(bool post, const json& input, ServiceState& state) {
    if (!post) return {405, json{{"error", "use POST"}}};
    return state.update([&](json& v) -> ControlAnswer {
        json& sessions = area(v)["wx"];
        std::string key = input_text(input, "key", "");
        if (key.empty()) {
            for (auto& [k, session] : sessions.items())
                if (!session["scanned"].get<bool>()) key = k;
        }
        const auto it = sessions.find(key);
        if (it == sessions.end()) return not_found("no such QR key (ask for a QR code first)");
        const std::string open_id = input_text(input, "openId", "o" + random_hex(27));
        json& users = area(v)["wxUsers"];
        if (!users.contains(open_id)) {
            users[open_id] =
                json{{"openId", open_id},
                     {"nickname", input_text(input, "nickname", "微信用户")},
                     {"avatar", input_text(input, "avatar", service_base_url() + "/avatar/wx.png")},
                     {"uid", 0}};
        }
        (*it)["scanned"] = true;
        (*it)["openId"] = open_id;
        json& wx = users[open_id];
        return {200, json{{"key", key},
                          {"openId", open_id},
                          {"nickname", wx["nickname"]},
                          {"mobile", bound_mobile(v, wx)}}};
    });
}

}  // namespace

void register_account_handlers(Router& router) {
    router.add_method("sms.code", guarded(sms_code));
    router.add_method("smscode", guarded(smscode));
    router.add_method("login.mobile", guarded(login_mobile));
    router.add_method("login.wx.qr", guarded(login_wx_qr));
    router.add_method("login.wx.user", guarded(login_wx_user));
    router.add_method("login.bind.mobile", guarded(login_bind_mobile));
    router.add_method("login.wx", guarded(login_wx));
    router.add_method("token.refresh", guarded(token_refresh));
    router.add_control("sms", control_sms);
    router.add_control("wx/scan", control_wx_scan);
    register_user_handlers(router);
}

}  // namespace pelmor::emulator
