#pragma once

#include <pelmor/platform/XJson.h>
#include <pelmor/records/BackupRecords.h>

#include <string>

// The factory data on file for a handset (DeviceBackup).
class CSocketInfoBackup : public ISocketInfoBackup {
  public:
    CSocketInfoBackup() = default;

    const char* GetType() noexcept override { return type_.c_str(); }
    const char* GetSerial() noexcept override { return serial_.c_str(); }
    const char* GetDate() noexcept override { return date_.c_str(); }
    const char* GetRam() noexcept override { return ram_.c_str(); }
    const char* GetModel() noexcept override { return model_.c_str(); }
    const char* GetArea() noexcept override { return area_.c_str(); }
    const char* GetColor() noexcept override { return color_.c_str(); }
    const char* GetMLB() noexcept override { return mlb_.c_str(); }
    const char* GetBMAC() noexcept override { return bmac_.c_str(); }
    const char* GetWMAC() noexcept override { return wmac_.c_str(); }
    const char* GetBatt() noexcept override { return batt_.c_str(); }
    const char* GetLCM() noexcept override { return lcm_.c_str(); }
    const char* GetBCMS() noexcept override { return bcms_.c_str(); }
    const char* GetFCMS() noexcept override { return fcms_.c_str(); }
    const char* GetMtSN() noexcept override { return mtsn_.c_str(); }
    const char* GetNvSN() noexcept override { return nvsn_.c_str(); }
    const char* GetNSrN() noexcept override { return nsrn_.c_str(); }
    const char* GetPscl() noexcept override { return pscl_.c_str(); }
    const char* GetBackup() noexcept override { return backup_.c_str(); }

    ~CSocketInfoBackup() override = default;

    virtual void SetJson(XJson& data) noexcept;

  private:
    std::string type_;
    std::string serial_;
    std::string date_;
    // Reserved: nothing fills or returns it, but it keeps its place among the fields.
    [[maybe_unused]] std::string spare_;
    std::string ram_;
    std::string model_;
    std::string area_;
    std::string color_;
    std::string mlb_;
    std::string bmac_;
    std::string wmac_;
    std::string batt_;
    std::string lcm_;
    std::string bcms_;
    std::string fcms_;
    std::string mtsn_;
    std::string nvsn_;
    std::string nsrn_;
    std::string pscl_;
    std::string backup_;
};

// The screen identifiers and the backup class and key (DeviceKey).
class CSocketInfoKey : public ISocketInfoKey {
  public:
    CSocketInfoKey() = default;

    const char* GetScreenLCD() noexcept override { return screenLcd_.c_str(); }
    const char* GetScreenLCM() noexcept override { return screenLcm_.c_str(); }
    const char* GetBackupClass() noexcept override { return backupClass_.c_str(); }
    const char* GetBackupKey() noexcept override { return backupKey_.c_str(); }

    ~CSocketInfoKey() override = default;

    virtual void SetJson(XJson data) noexcept;

  private:
    std::string screenLcd_;
    std::string screenLcm_;
    std::string backupClass_;
    std::string backupKey_;
};
