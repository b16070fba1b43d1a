// The live layer against a fake of the calls it makes to libimobiledevice and libirecovery: what a shop
// meets at the counter, one situation per test.
#include <gtest/gtest.h>

#include <map>

#include "DeviceCheck.h"
#include "FieldMap.h"
#include "LiveDevices.h"

namespace {

using namespace pelmor::idevice;

class FakeLink : public IDeviceLink {
  public:
    LinkStatus listStatus = LinkStatus::Ok;
    std::vector<std::string> usb;
    std::map<std::string, LinkStatus> lockdown;  // per UDID; Ok when not set
    bool batteryReadable = true;
    bool inRecovery = false;
    std::vector<std::string> read;  // UDIDs whose lockdownd was asked

    LinkStatus ListUsb(std::vector<std::string>& udids, std::string&) override {
        udids = usb;
        return listStatus;
    }
    bool FindRecovery(RecoveryHandset& out) override {
        if (inRecovery) out = {0x001A2B3C4D5E6F70ULL, "iPhone10,6", "recovery"};
        return inRecovery;
    }
    LinkStatus ReadDomain(const std::string& udid, const std::string&, CaptureValue& out,
                          std::string&) override {
        read.push_back(udid);
        const auto status = lockdown.count(udid) ? lockdown[udid] : LinkStatus::Ok;
        if (status != LinkStatus::Ok) return status;
        out = CaptureValue::Dict();
        out.Set("UniqueDeviceID", CaptureValue::Text(udid));
        out.Set("UniqueChipID", CaptureValue::Integer(0x000E2D4C1B3A5968ULL));
        out.Set("SerialNumber", CaptureValue::Text("F2LZK3XYN72J"));
        out.Set("ProductType", CaptureValue::Text("iPhone12,1"));
        out.Set("ProductVersion", CaptureValue::Text("15.6.1"));
        return LinkStatus::Ok;
    }
    LinkStatus ReadIORegistry(const std::string&, const std::string& entry, CaptureValue& out,
                              std::string& detail) override {
        if (!batteryReadable || entry != "AppleSmartBattery") {
            detail = "no such entry";
            return LinkStatus::Failed;
        }
        out = CaptureValue::Dict();
        out.Set("CycleCount", CaptureValue::Integer(5));
        out.Set("DesignCapacity", CaptureValue::Integer(3000));
        out.Set("NominalChargeCapacity", CaptureValue::Integer(2970));
        return LinkStatus::Ok;
    }
};

std::string ReadError(FakeLink& link, const std::string& selector) {
    Capture capture;
    std::string error;
    EXPECT_FALSE(ReadHandset(link, selector, capture, error));
    EXPECT_EQ(error.find('\n'), std::string::npos);
    return error;
}

TEST(LiveHandset, APairedHandsetIsReadWithItsBattery) {
    FakeLink link;
    link.usb = {"00008030-000E2D4C1B3A5968"};
    Capture capture;
    std::string error;
    ASSERT_TRUE(ReadHandset(link, "usb", capture, error)) << error;
    CCapturedDevice device(RecordsFromCapture(capture));
    ASSERT_TRUE(device.GetDeviceRecord());
    EXPECT_EQ(device.GetDeviceRecord()->udid, L"00008030-000E2D4C1B3A5968");
    EXPECT_EQ(device.GetSystemVersion()->patch, 1);
    ASSERT_TRUE(device.GetBatteryRecord());
    EXPECT_DOUBLE_EQ(device.GetBatteryRecord()->health, 99.0);
    EXPECT_TRUE(CheckDevice(device).CompleteForVerification());

    // Without the battery entry the handset is still read; the check says what is missing.
    link.batteryReadable = false;
    Capture partial;
    ASSERT_TRUE(ReadHandset(link, "usb", partial, error)) << error;
    CCapturedDevice noBattery(RecordsFromCapture(partial));
    EXPECT_EQ(noBattery.GetBatteryRecord(), nullptr);
    EXPECT_FALSE(CheckDevice(noBattery).CompleteForVerification());
}

TEST(LiveHandset, PairingTrustAndPasscodeEachGetTheirOwnLine) {
    FakeLink link;
    link.usb = {"A"};
    link.lockdown["A"] = LinkStatus::NotPaired;
    EXPECT_NE(ReadError(link, "usb").find("not paired"), std::string::npos);
    link.lockdown["A"] = LinkStatus::TrustPending;
    EXPECT_NE(ReadError(link, "usb").find("tap Trust"), std::string::npos);
    link.lockdown["A"] = LinkStatus::Locked;
    EXPECT_NE(ReadError(link, "usb").find("passcode"), std::string::npos);
    link.lockdown["A"] = LinkStatus::Failed;
    EXPECT_NE(ReadError(link, "usb").find("cannot read"), std::string::npos);
}

TEST(LiveHandset, TwoHandsetsNeedAUdid) {
    FakeLink link;
    link.usb = {"A", "B"};
    EXPECT_NE(ReadError(link, "usb").find("2 handsets"), std::string::npos);
    EXPECT_TRUE(link.read.empty());
    Capture capture;
    std::string error;
    ASSERT_TRUE(ReadHandset(link, "usb:B", capture, error)) << error;
    EXPECT_EQ(link.read, std::vector<std::string>{"B"});
    EXPECT_NE(ReadError(link, "usb:C").find("no handset C"), std::string::npos);
}

TEST(LiveHandset, NothingConnectedOrNoUsbmuxdIsOneLine) {
    FakeLink link;
    EXPECT_EQ(ReadError(link, "usb"), "no handset connected");
    link.listStatus = LinkStatus::NoUsbmuxd;
    std::string note;
    EXPECT_TRUE(ListHandsets(link, note).empty());
    EXPECT_NE(note.find("usbmuxd is not running"), std::string::npos);
    EXPECT_EQ(ReadError(link, "usb"), note);
}

TEST(LiveHandset, RecoveryModeGivesTheLowLevelRecordOnly) {
    FakeLink link;
    link.listStatus = LinkStatus::NoUsbmuxd;  // a handset in recovery needs no usbmuxd
    link.inRecovery = true;
    std::string note;
    const auto handsets = ListHandsets(link, note);
    ASSERT_EQ(handsets.size(), 1u);
    EXPECT_EQ(handsets[0].id, "001A2B3C4D5E6F70");
    EXPECT_EQ(handsets[0].mode, "recovery");

    Capture capture;
    std::string error;
    ASSERT_TRUE(ReadHandset(link, "usb:001A2B3C4D5E6F70", capture, error)) << error;
    CCapturedDevice device(RecordsFromCapture(capture));
    EXPECT_EQ(device.GetDeviceRecord(), nullptr);
    EXPECT_EQ(device.GetFileRecord(), nullptr);
    ASSERT_TRUE(device.GetLowLevelRecord());
    EXPECT_EQ(device.GetLowLevelRecord()->ecid, 0x001A2B3C4D5E6F70ULL);
    EXPECT_EQ(device.GetLowLevelRecord()->productType, L"iPhone10,6");
    EXPECT_TRUE(link.read.empty());
}

}  // namespace
