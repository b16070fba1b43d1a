// Feedback to the service, and objections to a verification report. "feedback" has a row per edition.
#include <pelmor/ISocketFeedback.h>
#include <pelmor/records/VerifyFeedbackReply.h>
#include <sys/utsname.h>

#include "Command.h"
#include "DeviceFile.h"

namespace pelmor {

namespace {

// The feedback form, filled from the command line and, when one is named, the device.
class Form : public ISocketFeedback {
  public:
    Form(const Args& a, CDeviceFile* device) : contact_(a.Get("--contact")), message_(a[0]) {
        utsname system{};
        if (uname(&system) == 0) os_ = std::string(system.sysname) + " " + system.release;
        if (const XSocketDeviceInfo* info = device ? device->GetDeviceRecord() : nullptr) {
            name_ = Utf8(info->name);
            ecid_ = Utf8(info->ecid);
        }
    }
    const char* GetContactId() override { return contact_.c_str(); }
    const char* GetMessage() override { return message_.c_str(); }
    const char* GetOsVersion() override { return os_.c_str(); }
    const char* GetItunesVersion() override { return itunes_.c_str(); }
    const char* GetMobileName() override { return name_.c_str(); }
    const char* GetEcid() override { return ecid_.c_str(); }

  private:
    std::string contact_, message_, os_, itunes_, name_, ecid_;
};

int Feedback(Session& s, const Args& a) {
    std::unique_ptr<CDeviceFile> device;
    if (a.Has("--device") && !(device = s.Device("feedback", a.Get("--device")))) return kBadInput;
    Form form(a, device.get());
    // The callback hands on only the reply's message, which on success is the library's fallback text;
    // the service's answer is the feedback's id.
    Session::Answer answer;
    const int status = s.Call(
        "feedback", [&] { return s.S().Feedback(&form, [](QString) {}); }, &answer);
    if (status != kOk) return status;
    const Json* id = answer.data.is_object() ? answer.data.get_object().if_contains("id") : nullptr;
    s.Show(JsonObject{{"sent", true}, {"id", id && id->is_number() ? *id : Json(nullptr)}});
    return kOk;
}

int Objection(Session& s, const Args& a) {
    auto device = s.Device("objection", a[0]);
    if (!device) return kBadInput;
    return s.Exchange("objection",
                      [&](JsonObject&) { return s.S().VerifyFeedback(device.get(), Wide(a[1])); });
}

int ObjectionReply(Session& s, const Args& a) {
    auto device = s.Device("objection-reply", a[0]);
    if (!device) return kBadInput;
    return s.Exchange("objection-reply", [&](JsonObject& out) {
        return s.S().VerifyFeedbackReply(device.get(), [&](const XSocketInfoVerifyFeedbackReply& r) {
            out = {{"answered", r.GetResult()},
                   {"objection", Utf8(r.GetFeedbackMessage())},
                   {"date", ServiceTime(Utf8(r.GetFeedbackDate()))},
                   {"reply", Utf8(r.GetReplyMessage())}};
        });
    });
}

}  // namespace

std::vector<Command> FeedbackCommands() {
    const auto e = PELMOR_SOCKET_EDITION_STANDARD;
    const char* g = kGroupFeedback;
    return {
        {g, "feedback", e, "MESSAGE [--contact C] [--device DEVICE]", "--contact= --device=", 1, 1,
         "send feedback to the service", Feedback},
        {g, "objection", e, "DEVICE MESSAGE", "", 2, 2, "object to the verification report of a handset",
         Objection},
        {g, "objection-reply", e, "DEVICE", "", 1, 1, "the service's answer to an objection", ObjectionReply},
        {kGroupEnterprise, "feedback", PELMOR_SOCKET_EDITION_ENTERPRISE,
         "MESSAGE [--contact C] [--device DEVICE]", "--contact= --device=", 1, 1,
         "send feedback to the service", Feedback},
    };
}

}  // namespace pelmor
