// Configuration, the saved session, usage counting and the device files themselves.
#include <boost/json/parse.hpp>
#include <cstdlib>

#include "Command.h"
#include "DeviceFile.h"
#include "Devices.h"
#include "HandsetCommands.h"
#include "commands/Flows.h"

namespace pelmor {

namespace {

int Config(Session& s, const Args&) {
    Json data;
    const int status = s.Call("config", [&] {
        return s.library().fetchConfig([&](const QByteArray& text) {
            boost::system::error_code ec;
            data = boost::json::parse(text.toStdString(), ec);
            if (ec) data = text.toStdString();
        });
    });
    // Passed on as the service sends it, under one key of ours.
    if (status == kOk) s.Show(JsonObject{{"config", data}});
    return status;
}

int Token(Session& s, const Args& a) {
    State& state = s.state();
    const std::string action = a.At(0, "show");
    const bool valid = (action == "show" && a.Count() <= 1) || (action == "clear" && a.Count() == 1) ||
                       (action == "set" && a.Count() == 2);
    if (!valid) return s.Fail("token", "usage: pelmor token [show | set TOKEN | clear]");
    if (action == "clear") {
        state.ForgetStandard();
        state.ForgetEnterprise();
    } else if (action == "set") {
        state.token = a[1];
    }
    if (action != "show" && !s.SaveState())
        return s.Fail("token", "the state file could not be written", kFailed);
    JsonObject out{{"token", state.token},
                   {"mobile", state.mobile},
                   {"smsSerial", state.serial},
                   {"enterpriseToken", state.enterpriseToken},
                   {"enterpriseAccount", state.enterpriseAccount}};
    PutTime(out, "enterpriseExpires", static_cast<long long>(state.enterpriseExpires));
    out["clientKey"] = state.key;
    out["stateFile"] = s.options().statePath;
    out["library"] = s.library().Path();
    s.Show(out);
    return kOk;
}

// The library's version is the one its file carries (libPelmorSocket.so.1.0.0), as it was installed.
int Version(Session& s, const Args&) {
    std::string path = s.library().Path();
    if (char* real = realpath(path.c_str(), nullptr)) {
        path = real;
        std::free(real);
    }
    const std::string marker = ".so.";
    const auto at = path.rfind(marker);
    Json library = nullptr;
    if (at != std::string::npos) library = path.substr(at + marker.size());
    s.Show(JsonObject{{"tool", PELMOR_TOOL_VERSION}, {"library", library}, {"libraryPath", path}});
    return kOk;
}

int Census(Session& s, const Args& a) {
    const bool sent = s.S().CensusOperation(Wide(a[0]), Wide(a.At(1)), !a.Has("--failed"));
    if (!sent) return s.Fail("census", "the usage count was not delivered", kFailed);
    s.Show(JsonObject{{"counted", true}});
    return kOk;
}

int Devices(Session& s, const Args&) {
    JsonArray rows;
    for (const SampleDevice& sample : SampleDevices())
        rows.push_back(
            JsonObject{{"name", sample.name}, {"description", sample.description}, {"path", sample.path}});
    ConnectedRows(s, rows);
    s.Show(JsonObject{{"devices", std::move(rows)}});
    return kOk;
}

int Device(Session& s, const Args& a) {
    if (a[0] == "import" || a[0] == "check") return DeviceSubcommand(s, a);
    if (a.Count() > 1) return s.Fail("device", "too many arguments; usage: pelmor device DEVICE");
    auto device = s.Device("device", a[0]);
    if (!device) return kBadInput;
    JsonObject out;
    out["description"] = device->Description();
    if (const XSocketDeviceInfo* info = device->GetDeviceRecord()) {
        out["mode"] = "normal";
        out["name"] = Utf8(info->name);
        out["productType"] = Utf8(info->productType);
        out["serialNumber"] = Utf8(info->serialNumber);
        out["ecid"] = Utf8(info->ecid);
        out["region"] = Utf8(info->region);
        out["imei"] = Utf8(info->imei);
    } else if (const XSocketDeviceLowLevel* low = device->GetLowLevelRecord()) {
        char ecid[32];
        std::snprintf(ecid, sizeof ecid, "%016llX", low->ecid);
        out["mode"] = "recovery";
        out["productType"] = Utf8(low->productType);
        out["ecid"] = ecid;
    }
    if (const XSocketDeviceBattery* battery = device->GetBatteryRecord()) {
        out["batteryHealth"] = battery->health;
        out["batteryCycles"] = battery->cycleCount;
    }
    if (const XSocketDeviceDisplay* display = device->GetDisplayRecord()) {
        out["lcd"] = Utf8(display->lcd);
        out["lcm"] = Utf8(display->lcm);
    }
    out["fileRecord"] = device->GetFileRecord() != nullptr;
    s.Show(out);
    return kOk;
}

}  // namespace

// The library keeps no session of its own beyond the token it is handed: logging out is forgetting it.
int Logout(Session& s, const Args&) {
    State& state = s.state();
    const bool enterprise = s.Command().rfind("ent ", 0) == 0;
    const bool wasLoggedIn = !(enterprise ? state.enterpriseToken : state.token).empty();
    if (enterprise)
        state.ForgetEnterprise();
    else
        state.ForgetStandard();
    if (!s.SaveState()) return s.Fail(s.Command(), "the state file could not be written", kFailed);
    s.Show(JsonObject{{"loggedOut", true}, {"wasLoggedIn", wasLoggedIn}});
    return kOk;
}

std::vector<Command> ConfigCommands() {
    const auto standard = PELMOR_SOCKET_EDITION_STANDARD;
    return {
        {kGroupConfig, "config", standard, "", "", 0, 0,
         "fetch the service's client configuration (latest version, notices, switches)", Config},
        {kGroupConfig, "token", standard, "[show | set TOKEN | clear]", "", 0, 2,
         "show, set or forget the saved session tokens", Token},
        {kGroupConfig, "logout", standard, "", "", 0, 0, "forget the standard session (see also ent logout)",
         Logout},
        {kGroupConfig, "version", standard, "", "", 0, 0,
         "the versions of pelmor and of the library (--version)", Version},
        {kGroupConfig, "census", standard, "FUNCTION [EVENT] [--failed]", "--failed", 1, 2,
         "count one use of a client function (EVENT defaults to start)", Census},
        {kGroupDevices, "devices", standard, "", "", 0, 0,
         "list the sample devices that can be named instead of a file", Devices},
        {kGroupDevices, "device", standard, "DEVICE | import CAPTURE... | check DEVICE", "", 1, 64,
         "show a device (no request); import captures as a device file; check what a device holds", Device},
    };
}

}  // namespace pelmor
