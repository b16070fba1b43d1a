#pragma once

#include <pelmor/ISocketDevice.h>

#include <optional>

namespace pelmor::idevice {

// The records of one handset, each absent until something fills it.
struct DeviceRecords {
    std::optional<XSocketDeviceInfo> info;
    std::optional<XSocketDeviceFile> file;
    std::optional<XSocketDeviceBattery> battery;
    std::optional<XSocketDeviceVersion> version;
    std::optional<XSocketDeviceStorage> storage;
    std::optional<XSocketDeviceWifi> wifi;
    std::optional<XSocketDeviceComponent> component;
    std::optional<XSocketDeviceBluetooth> bluetooth;
    std::optional<XSocketDeviceFingerprint> fingerprint;
    std::optional<XSocketDeviceLowLevel> lowLevel;
    std::optional<XSocketDeviceDisplay> display;
    std::optional<XSocketDeviceProcessor> processor;
    std::optional<bool> root, active, fiveCode;  // absent reads as false
};

// A handset whose records were read once (from a capture or a live device) and stay as they were read.
class CCapturedDevice final : public ISocketDevice {
  public:
    explicit CCapturedDevice(DeviceRecords records) : r_(std::move(records)) {}

    const DeviceRecords& Records() const { return r_; }

    const XSocketDeviceInfo* GetDeviceRecord() override { return Get(r_.info); }
    const XSocketDeviceFile* GetFileRecord() override { return Get(r_.file); }
    const XSocketDeviceBattery* GetBatteryRecord() override { return Get(r_.battery); }
    const XSocketDeviceVersion* GetSystemVersion() override { return Get(r_.version); }
    const XSocketDeviceStorage* GetStorageRecord() override { return Get(r_.storage); }
    const XSocketDeviceWifi* GetWifiRecord() override { return Get(r_.wifi); }
    const XSocketDeviceComponent* GetComponentRecord() override { return Get(r_.component); }
    const XSocketDeviceBluetooth* GetBluetoothRecord() override { return Get(r_.bluetooth); }
    const XSocketDeviceFingerprint* GetFingerprintRecord() override { return Get(r_.fingerprint); }
    const XSocketDeviceLowLevel* GetLowLevelRecord() override { return Get(r_.lowLevel); }
    const XSocketDeviceDisplay* GetDisplayRecord() override { return Get(r_.display); }
    const XSocketDeviceProcessor* GetProcessorRecord() override { return Get(r_.processor); }
    bool IsRoot() override { return r_.root.value_or(false); }
    bool IsActive() override { return r_.active.value_or(false); }
    bool IsFiveCode() override { return r_.fiveCode.value_or(false); }

  private:
    template <typename Record>
    static const Record* Get(const std::optional<Record>& record) {
        return record ? &*record : nullptr;
    }

    DeviceRecords r_;
};

}  // namespace pelmor::idevice
