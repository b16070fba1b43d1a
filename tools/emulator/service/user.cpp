// What a logged-in user asks about: heartbeat, profile, rights, notifications, change of mobile; and the
// anonymous usage counter.
#include "emulator/service/accounts_state.h"
#include "emulator/service/handlers.h"
#include "emulator/service/params.h"

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;
using namespace accounts;

// The notifications every user sees. Ids are larger than 32 bits on purpose.
const json& notifications() {
    static const json list = [] {
        const std::string base = service_base_url() + "/notice/";
        json n = json::array();
        n.push_back(json{{"id", 7340032000001LL},
                         {"system", true},
                         {"title", "系统维护通知：11月30日凌晨2点至4点暂停服务"},
                         {"dateTime", 1763856000000LL},
                         {"url", base + "7340032000001"},
                         {"popup", true},
                         {"updateTime", 1763859600000LL}});
        n.push_back(json{{"id", 7340032000002LL},
                         {"system", false},
                         {"title", "专业验机报告限时八折"},
                         {"dateTime", 1763683200000LL},
                         {"url", base + "7340032000002"},
                         {"popup", false},
                         {"updateTime", 1763683200000LL}});
        n.push_back(json{{"id", 7340032000003LL},
                         {"system", true},
                         {"title", "隐私政策更新"},
                         {"dateTime", 1761955200000LL},
                         {"url", base + "7340032000003"},
                         {"popup", false},
                         {"updateTime", 1762041600000LL}});
        return n;
    }();
    return list;
}

Reply user_beat(const Call& call) {
    text_param(call, "key", true);
    const std::int64_t now = call.state.now_ms();
    call.state.update([&](json& v) { require_user(v, call, json{{"online", false}})["lastBeat"] = now; });
    return success(json{{"online", true}});
}

Reply user_privilege_unlock(const Call& call) {
    const std::string referral = text_param(call, "referralCode");
    call.state.update([&](json& v) { unlock_with_referral(v, require_user(v, call), referral); });
    return success(json::object(), "解锁成功");
}

Reply user_info(const Call& call) {
    json data = call.state.update([&](json& v) {
        const json& user = require_user(v, call);
        return json{{"uid", user["uid"]},       {"nickname", user["nickname"]},
                    {"avatar", user["avatar"]}, {"mobile", user["mobile"]},
                    {"openId", user["openId"]}, {"referralCode", user["referralCode"]}};
    });
    return success(std::move(data));
}

// Every user may check the network lock; the second right comes with a referral code.
Reply user_privilege(const Call& call) {
    const bool unlocked =
        call.state.update([&](json& v) { return require_user(v, call)["unlocked"].get<bool>(); });
    return success(json{{"deviceCheck", json{{"IMEID", true}, {"HARDDISK", unlocked}}}});
}

Reply msg_lists(const Call& call) {
    call.state.update([&](json& v) { require_user(v, call); });
    json ids = json::array();
    for (const json& n : notifications())
        ids.push_back(json{{"id", n["id"]}, {"updateTime", n["updateTime"]}});
    return success(json{{"ids", std::move(ids)}});
}

Reply msg_details(const Call& call) {
    const long long id = integer_param(call, "id");
    call.state.update([&](json& v) { require_user(v, call); });
    for (const json& n : notifications())
        if (n["id"] == id) return success(n);
    refuse_with(refusal::kMessageNotFound, "MESSAGE_NOT_FOUND", "消息不存在");
}

Reply user_mobile_change(const Call& call) {
    const std::string mobile = text_param(call, "mobile");
    const std::string code = text_param(call, "code");
    const std::string no = text_param(call, "no");
    call.state.update([&](json& v) {
        json& user = require_user(v, call);
        if (user["mobile"] == mobile)
            refuse_with(refusal::kParamInvalid, "PARAM_INVALID", "新手机号与原手机号相同");
        if (user_by_mobile(v, mobile))
            refuse_with(refusal::kMobileTaken, "MOBILE_TAKEN", "该手机号已被其他账号使用");
        use_sms_code(v, mobile, code, no, call.state.now_ms());
        user["mobile"] = mobile;
    });
    return success(json::object(), "手机号修改成功");
}

Reply count_client_function(const Call& call) {
    const std::string function = text_param(call, "function");
    const std::string event = text_param(call, "event");
    const long long result = integer_param(call, "result");
    if (result != 0 && result != 1)
        refuse_with(refusal::kParamInvalid, "PARAM_INVALID", "参数格式错误: result");
    call.state.update([&](json& v) {
        json& count = v["census"][function][event][result ? "succeeded" : "failed"];
        count = (count.is_number_integer() ? count.get<long long>() : 0) + 1;
    });
    return success(json::object());
}

// GET /_emulator/census: the usage counts, {function: {event: {"succeeded": n, "failed": n}}}.
ControlAnswer control_census(bool post, const json&, ServiceState& state) {
    if (post) return {405, json{{"error", "use GET"}}};
    return {200, state.update([](json& v) {
                json& census = v["census"];
                return census.is_null() ? json::object() : census;
            })};
}

}  // namespace

void register_user_handlers(Router& router) {
    router.add_method("user.beat", guarded(user_beat));
    router.add_method("user.privilege.unlock", guarded(user_privilege_unlock));
    router.add_method("user.info", guarded(user_info));
    router.add_method("user.privilege", guarded(user_privilege));
    router.add_method("msg.lists", guarded(msg_lists));
    router.add_method("msg.details", guarded(msg_details));
    router.add_method("user.mobile.change", guarded(user_mobile_change));
    router.add_method("count.clientFunction", guarded(count_client_function));
    router.add_control("census", control_census);
}

}  // namespace pelmor::emulator
