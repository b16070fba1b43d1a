// The live link: usbmuxd lists the handsets, lockdownd (with pairing) and the diagnostics relay read them,
// libirecovery finds one in recovery or DFU mode. Each call opens and closes its own connection, so a
// handset unplugged between calls only fails the call in hand.
#include <libimobiledevice/diagnostics_relay.h>
#include <libimobiledevice/libimobiledevice.h>
#include <libimobiledevice/lockdown.h>
#include <libirecovery.h>
#include <usbmuxd.h>

#include "CapturePlist.h"
#include "DeviceLink.h"

namespace pelmor::idevice {

namespace {

constexpr const char kClientName[] = "pelmor";

LinkStatus FromLockdown(lockdownd_error_t error) {
    switch (error) {
        case LOCKDOWN_E_SUCCESS:
            return LinkStatus::Ok;
        case LOCKDOWN_E_PASSWORD_PROTECTED:
            return LinkStatus::Locked;
        case LOCKDOWN_E_PAIRING_DIALOG_RESPONSE_PENDING:
            return LinkStatus::TrustPending;
        case LOCKDOWN_E_USER_DENIED_PAIRING:
        case LOCKDOWN_E_INVALID_HOST_ID:
        case LOCKDOWN_E_INVALID_PAIR_RECORD:
        case LOCKDOWN_E_PAIRING_FAILED:
            return LinkStatus::NotPaired;
        default:
            return LinkStatus::Failed;
    }
}

// A paired lockdownd session with one handset, closed when it goes out of scope.
class Session {
  public:
    LinkStatus Open(const std::string& udid, std::string& detail) {
        if (idevice_new_with_options(&device_, udid.c_str(), IDEVICE_LOOKUP_USBMUX) != IDEVICE_E_SUCCESS) {
            detail = "no longer connected";
            return LinkStatus::Failed;
        }
        const lockdownd_error_t error = lockdownd_client_new_with_handshake(device_, &client_, kClientName);
        if (error != LOCKDOWN_E_SUCCESS) detail = "lockdownd error " + std::to_string(error);
        return FromLockdown(error);
    }
    ~Session() {
        if (client_) lockdownd_client_free(client_);
        if (device_) idevice_free(device_);
    }
    idevice_t device() const { return device_; }
    lockdownd_client_t client() const { return client_; }

  private:
    idevice_t device_ = nullptr;
    lockdownd_client_t client_ = nullptr;
};

class SystemLink final : public IDeviceLink {
  public:
    LinkStatus ListUsb(std::vector<std::string>& udids, std::string& detail) override {
        usbmuxd_device_info_t* list = nullptr;
        const int count = usbmuxd_get_device_list(&list);
        if (count < 0) {
            detail = "usbmuxd error " + std::to_string(count);
            return LinkStatus::NoUsbmuxd;
        }
        for (int i = 0; i < count; ++i)
            if (list[i].conn_type == CONNECTION_TYPE_USB) udids.emplace_back(list[i].udid);
        usbmuxd_device_list_free(&list);
        return LinkStatus::Ok;
    }

    bool FindRecovery(RecoveryHandset& out) override {
        irecv_client_t client = nullptr;
        if (irecv_open_with_ecid(&client, 0) != IRECV_E_SUCCESS || !client) return false;
        const irecv_device_info* info = irecv_get_device_info(client);
        irecv_device_t device = nullptr;
        int mode = 0;
        irecv_devices_get_device_by_client(client, &device);
        irecv_get_mode(client, &mode);
        out.ecid = info ? info->ecid : 0;
        out.productType = device && device->product_type ? device->product_type : "";
        out.mode = mode == IRECV_K_DFU_MODE || mode == IRECV_K_WTF_MODE ? "DFU" : "recovery";
        irecv_close(client);
        return true;
    }

    LinkStatus ReadDomain(const std::string& udid, const std::string& domain, CaptureValue& out,
                          std::string& detail) override {
        Session session;
        const LinkStatus status = session.Open(udid, detail);
        if (status != LinkStatus::Ok) return status;
        plist_t node = nullptr;
        const lockdownd_error_t error =
            lockdownd_get_value(session.client(), domain.empty() ? nullptr : domain.c_str(), nullptr, &node);
        if (error != LOCKDOWN_E_SUCCESS || !node) {
            detail = "lockdownd error " + std::to_string(error);
            return FromLockdown(error) == LinkStatus::Ok ? LinkStatus::Failed : FromLockdown(error);
        }
        out = FromPlist(node);
        plist_free(node);
        return LinkStatus::Ok;
    }

    LinkStatus ReadIORegistry(const std::string& udid, const std::string& entry, CaptureValue& out,
                              std::string& detail) override {
        Session session;
        const LinkStatus status = session.Open(udid, detail);
        if (status != LinkStatus::Ok) return status;
        lockdownd_service_descriptor_t service = nullptr;
        lockdownd_error_t error =
            lockdownd_start_service(session.client(), DIAGNOSTICS_RELAY_SERVICE_NAME, &service);
        // Older systems offer the relay under its earlier name.
        if (error != LOCKDOWN_E_SUCCESS)
            error = lockdownd_start_service(session.client(), "com.apple.iosdiagnostics.relay", &service);
        if (error != LOCKDOWN_E_SUCCESS || !service) {
            detail = "the diagnostics relay did not start (lockdownd error " + std::to_string(error) + ")";
            return LinkStatus::Failed;
        }
        diagnostics_relay_client_t relay = nullptr;
        LinkStatus result = LinkStatus::Failed;
        if (diagnostics_relay_client_new(session.device(), service, &relay) == DIAGNOSTICS_RELAY_E_SUCCESS) {
            plist_t node = nullptr;
            if (diagnostics_relay_query_ioregistry_entry(relay, entry.c_str(), "", &node) ==
                    DIAGNOSTICS_RELAY_E_SUCCESS &&
                node) {
                const CaptureValue value = FromPlist(node);
                const CaptureValue* registry = value.Find("IORegistry");
                out = registry ? *registry : value;
                result = LinkStatus::Ok;
            } else {
                detail = "the diagnostics relay has no entry " + entry;
            }
            if (node) plist_free(node);
            diagnostics_relay_goodbye(relay);
            diagnostics_relay_client_free(relay);
        }
        lockdownd_service_descriptor_free(service);
        return result;
    }
};

}  // namespace

std::unique_ptr<IDeviceLink> SystemDeviceLink() {
    return std::make_unique<SystemLink>();
}
bool LiveDevicesBuiltIn() {
    return true;
}

}  // namespace pelmor::idevice
