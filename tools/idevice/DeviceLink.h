#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Capture.h"

namespace pelmor::idevice {

enum class LinkStatus {
    Ok,
    NoUsbmuxd,     // usbmuxd cannot be reached
    NotPaired,     // no pairing, or the handset refused it
    TrustPending,  // the trust dialog is showing and has not been answered
    Locked,        // a passcode locks the handset
    Failed,        // anything else; detail says what
};

// A handset in recovery or DFU mode.
struct RecoveryHandset {
    unsigned long long ecid = 0;
    std::string productType;
    std::string mode;  // "recovery" or "DFU"
};

// The few calls the live layer makes to libimobiledevice and libirecovery, so that tests can drive it with
// a fake: a continuous-integration machine has no phone.
class IDeviceLink {
  public:
    virtual ~IDeviceLink() = default;
    // UDIDs of the handsets usbmuxd sees on USB; detail says why listing failed.
    virtual LinkStatus ListUsb(std::vector<std::string>& udids, std::string& detail) = 0;
    // The handset in recovery or DFU mode, if one is connected.
    virtual bool FindRecovery(RecoveryHandset& out) = 0;
    // A lockdownd domain as a dictionary, after the pairing handshake; "" is the default domain.
    virtual LinkStatus ReadDomain(const std::string& udid, const std::string& domain, CaptureValue& out,
                                  std::string& detail) = 0;
    // An IORegistry entry through the diagnostics relay, as the dictionary of its keys.
    virtual LinkStatus ReadIORegistry(const std::string& udid, const std::string& entry, CaptureValue& out,
                                      std::string& detail) = 0;
};

// The link to the real libraries; when the build has no live support, one that finds nothing and says so.
std::unique_ptr<IDeviceLink> SystemDeviceLink();
// False when the build left live devices out (libimobiledevice and friends were not found).
bool LiveDevicesBuiltIn();

}  // namespace pelmor::idevice
