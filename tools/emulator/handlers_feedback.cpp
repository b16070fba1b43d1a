#include "emulator/envelope.h"
#include "emulator/handlers.h"

#include <ctime>
#include <optional>

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;

constexpr int kParamMissing = 40003;  // the code the other areas use for a missing parameter

// A text parameter; nothing when absent or not a text.
const std::string* text_of(const Call& call, const char* key) {
    const json& params = call.params();
    if (!params.is_object()) return nullptr;
    const auto it = params.find(key);
    return it != params.end() && it->is_string() ? it->get_ptr<const std::string*>() : nullptr;
}

std::optional<Reply> missing(const Call& call, std::initializer_list<const char*> required) {
    for (const char* key : required) {
        const std::string* value = text_of(call, key);
        if (!value || value->empty())
            return refuse(kParamMissing, "PARAM_MISSING", std::string("缺少参数: ") + key);
    }
    return std::nullopt;
}

std::string text(const Call& call, const char* key) {
    const std::string* value = text_of(call, key);
    return value ? *value : std::string();
}

std::string local_time_text() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char out[32];
    std::strftime(out, sizeof out, "%Y-%m-%d %H:%M:%S", &parts);
    return out;
}

// General feedback from the client's form; kept in the state so that it can be inspected.
Reply user_feedback(const Call& call) {
    if (auto refused = missing(call, {"message"})) return *refused;
    const long long id = call.state.update([&](json& values) {
        json& list = values["feedback"]["messages"];
        if (!list.is_array()) list = json::array();
        list.push_back(json{{"contactId", text(call, "contactId")},
                            {"message", text(call, "message")},
                            {"osVer", text(call, "osVer")},
                            {"itunesVer", text(call, "itunesVer")},
                            {"mobName", text(call, "mobName")},
                            {"ecid", text(call, "ecid")},
                            {"date", local_time_text()}});
        return static_cast<long long>(list.size());
    });
    return success(json{{"id", id}}, "感谢您的反馈，我们会尽快处理！");
}

// An objection to a device's report; one per device, a new one replaces the old and its answer.
Reply check_feedback(const Call& call) {
    if (auto refused = missing(call, {"ecid", "message"})) return *refused;
    const std::string date = local_time_text();
    call.state.update([&](json& values) {
        values["feedback"]["objections"][text(call, "ecid")] = json{{"name", text(call, "name")},
                                                                    {"message", text(call, "message")},
                                                                    {"osVer", text(call, "osVer")},
                                                                    {"itunesVer", text(call, "itunesVer")},
                                                                    {"date", date},
                                                                    {"reply", ""}};
    });
    return success(json{{"feedbackDate", date}}, "提交成功，我们将在1-3个工作日内回复");
}

// The service's answer to a device's objection: result tells whether it has answered yet.
Reply check_feedback_reply(const Call& call) {
    if (auto refused = missing(call, {"ecid"})) return *refused;
    const json objection = call.state.update([&](json& values) {
        const json& objections = values["feedback"]["objections"];
        const auto it = objections.is_object() ? objections.find(text(call, "ecid")) : objections.end();
        return it == objections.end() ? json() : *it;
    });
    if (objection.is_null()) {
        return success(
            json{{"result", false}, {"feedbackMessage", ""}, {"feedbackDate", ""}, {"message", ""}},
            "暂无反馈记录");
    }
    const std::string reply = objection.value("reply", "");
    return success(json{{"result", !reply.empty()},
                        {"feedbackMessage", objection.value("message", "")},
                        {"feedbackDate", objection.value("date", "")},
                        {"message", reply}},
                   reply.empty() ? "您的反馈正在处理中" : "success");
}

// POST /_emulator/feedback/reply {"ecid","message"}: the service answers a device's objection.
ControlAnswer answer_objection(bool post, const json& input, ServiceState& state) {
    if (!post) return {405, json{{"error", "use POST"}}};
    const std::string ecid = input.value("ecid", "");
    const std::string message = input.value("message", "");
    if (ecid.empty() || message.empty()) return {400, json{{"error", "needs \"ecid\" and \"message\""}}};
    const bool known = state.update([&](json& values) {
        json& objections = values["feedback"]["objections"];
        if (!objections.is_object() || !objections.contains(ecid)) return false;
        objections[ecid]["reply"] = message;
        return true;
    });
    if (!known) return {404, json{{"error", "no objection for this ecid"}}};
    return {200, json{{"ok", true}}};
}

}  // namespace

void register_feedback_handlers(Router& router) {
    router.add_method("user.feedback", user_feedback);
    router.add_method("device.check.feedback", check_feedback);
    router.add_method("device.check.feedbackReply", check_feedback_reply);
    router.add_control("feedback/reply", answer_objection);
}

}  // namespace pelmor::emulator
