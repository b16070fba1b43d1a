#pragma once

#include <string>
#include <vector>

#include "Capture.h"
#include "DeviceLink.h"

namespace pelmor::idevice {

struct ConnectedHandset {
    std::string id;    // UDID, or the chip id as 16 hexadecimal digits for a handset in recovery or DFU
    std::string mode;  // "normal", "recovery" or "DFU"
    std::string productType;  // known only in recovery or DFU without reading the handset
};

// The handsets connected now. note says, on one line, why the list may be short or empty (usbmuxd not
// running, no live support in this build); empty when nothing needs saying.
std::vector<ConnectedHandset> ListHandsets(IDeviceLink& link, std::string& note);

// True for "usb" and "usb:<UDID>".
bool IsUsbSelector(const std::string& name);

// Reads the handset that selector names ("usb": the only one connected; "usb:<UDID>"; a handset in
// recovery by its chip id) into capture. False with one line a shop can act on.
bool ReadHandset(IDeviceLink& link, const std::string& selector, Capture& capture, std::string& error);

}  // namespace pelmor::idevice
