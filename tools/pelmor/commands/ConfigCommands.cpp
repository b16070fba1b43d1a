// Configuration, the saved session, usage counting and the device files themselves.
#include <boost/json/parse.hpp>

#include "Command.h"
#include "DeviceFile.h"
#include "Devices.h"
#include "HandsetCommands.h"

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
    if (status == kOk) s.Show(data);
    return status;
}

int Token(Session& s, const Args& a) {
    State& state = s.state();
    const std::string action = a.At(0, "show");
    const bool valid = (action == "show" && a.Count() <= 1) || (action == "clear" && a.Count() == 1) ||
                       (action == "set" && a.Count() == 2);
    if (!valid) return s.Fail("token", "usage: pelmor token [show | set TOKEN | clear]");
    if (action == "clear") {
        state.token.clear();
        state.enterpriseToken.clear();
        state.serial.clear();
    } else if (action == "set") {
        state.token = a[1];
    }
    if (action != "show" && !s.SaveState()) return kFailed;
    s.Show(JsonObject{{"token", state.token},
                      {"mobile", state.mobile},
                      {"sms serial", state.serial},
                      {"enterprise token", state.enterpriseToken},
                      {"enterprise account", state.enterpriseAccount},
                      {"enterprise expires", state.enterpriseExpires},
                      {"client key", state.key},
                      {"state file", s.options().statePath},
                      {"library", s.library().Path()}});
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
    s.Show(rows);
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
        out["product type"] = Utf8(info->productType);
        out["serial number"] = Utf8(info->serialNumber);
        out["ecid"] = Utf8(info->ecid);
        out["region"] = Utf8(info->region);
        out["imei"] = Utf8(info->imei);
    } else if (const XSocketDeviceLowLevel* low = device->GetLowLevelRecord()) {
        char ecid[32];
        std::snprintf(ecid, sizeof ecid, "%016llX", low->ecid);
        out["mode"] = "recovery";
        out["product type"] = Utf8(low->productType);
        out["ecid"] = ecid;
    }
    if (const XSocketDeviceBattery* battery = device->GetBatteryRecord()) {
        out["battery health"] = battery->health;
        out["battery cycles"] = battery->cycleCount;
    }
    if (const XSocketDeviceDisplay* display = device->GetDisplayRecord()) {
        out["lcd"] = Utf8(display->lcd);
        out["lcm"] = Utf8(display->lcm);
    }
    out["file record"] = device->GetFileRecord() != nullptr;
    s.Show(out);
    return kOk;
}

}  // namespace

std::vector<Command> ConfigCommands() {
    const auto standard = PELMOR_SOCKET_EDITION_STANDARD;
    return {
        {kGroupConfig, "config", standard, "", "", 0, 0,
         "fetch the service's client configuration (latest version, notices, switches)", Config},
        {kGroupConfig, "token", standard, "[show | set TOKEN | clear]", "", 0, 2,
         "show, set or forget the saved session tokens", Token},
        {kGroupConfig, "census", standard, "FUNCTION [EVENT] [--failed]", "--failed", 1, 2,
         "count one use of a client function (EVENT defaults to start)", Census},
        {kGroupDevices, "devices", standard, "", "", 0, 0,
         "list the sample devices that can be named instead of a file", Devices},
        {kGroupDevices, "device", standard, "DEVICE | import CAPTURE... | check DEVICE", "", 1, 64,
         "show a device (no request); import captures as a device file; check what a device holds", Device},
    };
}

}  // namespace pelmor
