#pragma once

#include <pelmor/ISocketDevice.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

// A handset described by a device file (JSON; the format is in docs/device-file.md), for hosts and tests
// that have no real device layer. Records the file leaves out or sets to null are absent, exactly as a
// device that could not read them would report them.
class CDeviceFile final : public ISocketDevice {
  public:
    // Reads and checks a device file. On any failure (unreadable, not JSON, a member of the wrong type or
    // out of range, an unknown member) returns null and sets error to "<path>: <problem>". Never throws.
    static std::unique_ptr<CDeviceFile> Load(const std::string& path, std::string& error) noexcept;
    // The same for a file's text already in memory; name stands for the file in error texts.
    static std::unique_ptr<CDeviceFile> FromText(const std::string& text, const std::string& name,
                                                 std::string& error) noexcept;

    // The file's own "description" text, for listings; empty when it has none.
    const std::string& Description() const { return description_; }
    // Capture files the device file names ("capture": a path or a list of paths, as written); their
    // records are for the host to read, this class only carries the names.
    const std::vector<std::string>& Captures() const { return captures_; }

    const XSocketDeviceInfo* GetDeviceRecord() override { return Get(info_); }
    const XSocketDeviceFile* GetFileRecord() override { return Get(file_); }
    const XSocketDeviceBattery* GetBatteryRecord() override { return Get(battery_); }
    const XSocketDeviceVersion* GetSystemVersion() override { return Get(version_); }
    const XSocketDeviceStorage* GetStorageRecord() override { return Get(storage_); }
    const XSocketDeviceWifi* GetWifiRecord() override { return Get(wifi_); }
    const XSocketDeviceComponent* GetComponentRecord() override { return Get(component_); }
    const XSocketDeviceBluetooth* GetBluetoothRecord() override { return Get(bluetooth_); }
    const XSocketDeviceFingerprint* GetFingerprintRecord() override { return Get(fingerprint_); }
    const XSocketDeviceLowLevel* GetLowLevelRecord() override { return Get(lowLevel_); }
    const XSocketDeviceDisplay* GetDisplayRecord() override { return Get(display_); }
    const XSocketDeviceProcessor* GetProcessorRecord() override { return Get(processor_); }
    bool IsRoot() override { return root_; }
    bool IsActive() override { return active_; }
    bool IsFiveCode() override { return fiveCode_; }

  private:
    friend class DeviceFileReader;

    template <typename Record>
    static const Record* Get(const std::optional<Record>& record) {
        return record ? &*record : nullptr;
    }

    std::string description_;
    std::vector<std::string> captures_;
    std::optional<XSocketDeviceInfo> info_;
    std::optional<XSocketDeviceFile> file_;
    std::optional<XSocketDeviceBattery> battery_;
    std::optional<XSocketDeviceVersion> version_;
    std::optional<XSocketDeviceStorage> storage_;
    std::optional<XSocketDeviceWifi> wifi_;
    std::optional<XSocketDeviceComponent> component_;
    std::optional<XSocketDeviceBluetooth> bluetooth_;
    std::optional<XSocketDeviceFingerprint> fingerprint_;
    std::optional<XSocketDeviceLowLevel> lowLevel_;
    std::optional<XSocketDeviceDisplay> display_;
    std::optional<XSocketDeviceProcessor> processor_;
    bool root_ = false;
    bool active_ = false;
    bool fiveCode_ = false;
};
