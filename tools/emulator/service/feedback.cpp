#include "emulator/core/envelope.h"
#include "emulator/service/handlers.h"
#include "emulator/service/params.h"

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;

std::string local_time_text(const Call& call) {
    return local_text(call.state.now_ms(), "%Y-%m-%d %H:%M:%S");
}

// General feedback from the client's form; kept in the state so that it can be inspected.
Reply user_feedback(const Call& call) {
    // Read (and refuse) before touching the state.
    json entry{{"contactId", text_param(call, "contactId", true)},
               {"message", text_param(call, "message")},
               {"osVer", text_param(call, "osVer", true)},
               {"itunesVer", text_param(call, "itunesVer", true)},
               {"mobName", text_param(call, "mobName", true)},
               {"ecid", text_param(call, "ecid", true)},
               {"date", local_time_text(call)}};
    const long long id = call.state.update([&](json& values) {
        json& list = values["feedback"]["messages"];
        if (!list.is_array()) list = json::array();
        list.push_back(std::move(entry));
        return static_cast<long long>(list.size());
    });
    return success(json{{"id", id}}, "感谢您的反馈，我们会尽快处理！");
}

// An objection to a device's report; one per device, a new one replaces the old and its answer.
Reply check_feedback(const Call& call) {
    const std::string ecid = text_param(call, "ecid");
    json objection{{"name", text_param(call, "name", true)},
                   {"message", text_param(call, "message")},
                   {"osVer", text_param(call, "osVer", true)},
                   {"itunesVer", text_param(call, "itunesVer", true)},
                   {"date", local_time_text(call)},
                   {"reply", ""}};
    const std::string date = objection["date"];
    call.state.update([&](json& values) { values["feedback"]["objections"][ecid] = std::move(objection); });
    return success(json{{"feedbackDate", date}}, "提交成功，我们将在1-3个工作日内回复");
}

// The service's answer to a device's objection: result tells whether it has answered yet.
Reply check_feedback_reply(const Call& call) {
    const std::string ecid = text_param(call, "ecid");
    const json objection = call.state.update([&](json& values) {
        const json& objections = values["feedback"]["objections"];
        const auto it = objections.is_object() ? objections.find(ecid) : objections.end();
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
    router.add_method("user.feedback", guarded(user_feedback));
    router.add_method("device.check.feedback", guarded(check_feedback));
    router.add_method("device.check.feedbackReply", guarded(check_feedback_reply));
    router.add_control("feedback/reply", answer_objection);
}

}  // namespace pelmor::emulator
