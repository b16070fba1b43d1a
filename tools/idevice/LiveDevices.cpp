#include "LiveDevices.h"

#include <cstdio>

namespace pelmor::idevice {

namespace {

constexpr const char kNoUsbmuxd[] = "usbmuxd is not running (start it, e.g. `sudo systemctl start usbmuxd`)";

std::string Hex16(unsigned long long value) {
    char text[24];
    std::snprintf(text, sizeof text, "%016llX", value);
    return text;
}

std::string Explain(LinkStatus status, const std::string& udid, const std::string& detail) {
    switch (status) {
        case LinkStatus::Ok:
            return "";
        case LinkStatus::NoUsbmuxd:
            return kNoUsbmuxd;
        case LinkStatus::NotPaired:
            return udid + " is not paired with this computer: unlock it, reconnect and tap Trust";
        case LinkStatus::TrustPending:
            return udid + " shows the trust dialog: tap Trust on the handset, then try again";
        case LinkStatus::Locked:
            return udid + " is locked with a passcode: unlock it, then try again";
        case LinkStatus::Failed:
            break;
    }
    return udid + ": cannot read the handset" + (detail.empty() ? "" : " (" + detail + ")");
}

}  // namespace

std::vector<ConnectedHandset> ListHandsets(IDeviceLink& link, std::string& note) {
    note.clear();
    std::vector<ConnectedHandset> handsets;
    std::vector<std::string> udids;
    std::string detail;
    const LinkStatus status = link.ListUsb(udids, detail);
    if (status == LinkStatus::NoUsbmuxd)
        note = kNoUsbmuxd;
    else if (status != LinkStatus::Ok)
        note = detail.empty() ? "cannot list the handsets on USB" : detail;
    for (const std::string& udid : udids)
        handsets.push_back({udid, "normal", ""});
    RecoveryHandset recovery;
    if (link.FindRecovery(recovery))
        handsets.push_back({Hex16(recovery.ecid), recovery.mode, recovery.productType});
    if (handsets.empty()) note = "no handset connected" + (note.empty() ? "" : ": " + note);
    return handsets;
}

bool IsUsbSelector(const std::string& name) {
    return name == "usb" || name.rfind("usb:", 0) == 0;
}

bool ReadHandset(IDeviceLink& link, const std::string& selector, Capture& capture, std::string& error) {
    const std::string wanted = selector.size() > 4 ? selector.substr(4) : "";
    std::string note;
    const std::vector<ConnectedHandset> handsets = ListHandsets(link, note);
    const ConnectedHandset* chosen = nullptr;
    if (!wanted.empty()) {
        for (const ConnectedHandset& handset : handsets)
            if (handset.id == wanted) chosen = &handset;
        if (!chosen) {
            error = handsets.empty() ? note : "no handset " + wanted + " is connected (see `pelmor devices`)";
            return false;
        }
    } else if (handsets.empty()) {
        error = note;
        return false;
    } else if (handsets.size() > 1) {
        error = std::to_string(handsets.size()) +
                " handsets are connected; name one as usb:<UDID> (see `pelmor devices`)";
        return false;
    } else {
        chosen = &handsets.front();
    }

    if (chosen->mode != "normal") {
        RecoveryHandset recovery;
        if (!link.FindRecovery(recovery)) {
            error = chosen->id + " left " + chosen->mode + " mode while being read";
            return false;
        }
        CaptureValue dict = CaptureValue::Dict();
        dict.Set("ECID", CaptureValue::Integer(recovery.ecid));
        dict.Set("ProductType", CaptureValue::Text(recovery.productType));
        dict.Set("Mode", CaptureValue::Text(recovery.mode));
        capture.Add(kRecoveryDomain, dict);
        return true;
    }

    CaptureValue values;
    std::string detail;
    const LinkStatus status = link.ReadDomain(chosen->id, "", values, detail);
    if (status != LinkStatus::Ok) {
        error = Explain(status, chosen->id, detail);
        return false;
    }
    capture.Add(kLockdownDomain, values);
    // Without the battery entry the handset is still worth reading: `device check` tells what is missing.
    CaptureValue battery;
    const std::string entry = std::string(kBatteryEntry).substr(std::string(kBatteryEntry).find(':') + 1);
    if (link.ReadIORegistry(chosen->id, entry, battery, detail) == LinkStatus::Ok &&
        battery.kind == CaptureValue::Kind::Dict)
        capture.Add(kBatteryEntry, battery);
    return true;
}

}  // namespace pelmor::idevice
