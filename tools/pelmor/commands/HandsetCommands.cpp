// Devices from real handsets: importing captures, checking what a device holds, listing what is connected.
#include "HandsetCommands.h"

#include <boost/json/parse.hpp>
#include <iostream>

#include "DeviceCheck.h"
#include "DeviceFile.h"
#include "Handsets.h"

namespace pelmor {

namespace {

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

int Import(Session& s, const Args& a) {
    if (a.Count() < 2)
        return s.Fail("device import", "which captures? usage: pelmor device import CAPTURE...");
    std::vector<std::string> files;
    for (std::size_t i = 1; i < a.Count(); ++i)
        files.push_back(a[i]);
    std::string text, error;
    if (!LoadCaptures(files, text, error)) return s.Fail("device import", error);
    // The device file itself, meant for a file; with --json it is the document's result.
    if (!s.options().json) {
        std::cout << text;
        return kOk;
    }
    boost::system::error_code ec;
    const Json device = boost::json::parse(text, ec);
    if (ec || !device.is_object())
        return s.Fail("device import", "the device file made is not JSON", kFailed);
    s.Show(JsonObject{{"device", device}});
    return kOk;
}

int Check(Session& s, const Args& a) {
    if (a.Count() != 2) return s.Fail("device check", "usage: pelmor device check DEVICE");
    auto device = s.Device("device check", a[1]);
    if (!device) return kBadInput;
    const idevice::DeviceCheck check = idevice::CheckDevice(*device);
    const bool json = s.options().json;
    auto list = [&](const std::vector<std::string>& names) -> Json {
        if (!json) return Json(Joined(names));
        JsonArray items;
        for (const std::string& name : names)
            items.push_back(Json(name));
        return items;
    };
    JsonArray records;
    for (const idevice::RecordCheck& r : check.records)
        records.push_back(JsonObject{{"record", r.record},
                                     {"state", r.present ? "present" : "missing"},
                                     {"filled", list(r.filled)},
                                     {"empty", list(r.empty)},
                                     {"notObtainable", list(r.unobtainable)}});
    JsonObject out{{"device", a[1]}, {"completeForVerification", check.CompleteForVerification()}};
    if (json) {
        out["gaps"] = list(check.gaps);
        out["records"] = std::move(records);
        if (check.CompleteForVerification()) {
            s.Show(out);
            return kOk;
        }
        return s.FailWith(
            "device check", kFailed,
            JsonObject{{"kind", "failed"},
                       {"code", nullptr},
                       {"name", ""},
                       {"message", "not complete enough for verification: " + Joined(check.gaps)}},
            std::move(out));
    } else {
        s.Show(records);
        std::cout << '\n'
                  << (check.CompleteForVerification()
                          ? "complete enough for verification"
                          : "not complete enough for verification: " + Joined(check.gaps))
                  << '\n';
    }
    return check.CompleteForVerification() ? kOk : kFailed;
}

}  // namespace

int DeviceSubcommand(Session& s, const Args& a) {
    s.SetCommand("device " + a[0]);
    return a[0] == "import" ? Import(s, a) : Check(s, a);
}

void ConnectedRows(Session& s, JsonArray& rows) {
    std::string note;
    for (const Handset& handset : ConnectedHandsets(note))
        rows.push_back(
            JsonObject{{"name", handset.name}, {"description", handset.description}, {"path", ""}});
    if (!note.empty()) s.Warn("devices", note);
}

void WarnIfIncomplete(Session& s, const std::string& what, ISocketDevice& device) {
    const idevice::DeviceCheck check = idevice::CheckDevice(device);
    if (!check.CompleteForVerification())
        s.Warn(what, "warning: the service will not be able to verify this device: " + Joined(check.gaps) +
                         " (see `pelmor device check`)");
}

}  // namespace pelmor
