// Built when libimobiledevice, libusbmuxd or libirecovery were not found: no live handsets, said once.
#include "DeviceLink.h"

namespace pelmor::idevice {

namespace {

class MissingLink final : public IDeviceLink {
  public:
    LinkStatus ListUsb(std::vector<std::string>&, std::string& detail) override {
        detail = "this build has no live handsets (libimobiledevice was not found when it was built)";
        return LinkStatus::Failed;
    }
    bool FindRecovery(RecoveryHandset&) override { return false; }
    LinkStatus ReadDomain(const std::string&, const std::string&, CaptureValue&,
                          std::string& detail) override {
        detail = "no live support in this build";
        return LinkStatus::Failed;
    }
    LinkStatus ReadIORegistry(const std::string&, const std::string&, CaptureValue&,
                              std::string& detail) override {
        detail = "no live support in this build";
        return LinkStatus::Failed;
    }
};

}  // namespace

std::unique_ptr<IDeviceLink> SystemDeviceLink() {
    return std::make_unique<MissingLink>();
}
bool LiveDevicesBuiltIn() {
    return false;
}

}  // namespace pelmor::idevice
