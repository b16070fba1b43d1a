#include <gtest/gtest.h>
#include <pelmor/ISocketDevice.h>
#include <pelmor/ISocketFeedback.h>

#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

#include "SlotCheck.h"
#include "XJsonValue.h"
#include "frame/PelmorSocketHelper.h"

namespace {

template <typename Record>
const Record* Ptr(const std::optional<Record>& record) {
    return record ? &*record : nullptr;
}

// A device holding whatever records a test gives it; an empty optional is a record the device lacks.
struct FakeDevice : ISocketDevice {
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
    bool root = false, active = false, fiveCode = false;

    const XSocketDeviceInfo* GetDeviceRecord() override { return Ptr(info); }
    const XSocketDeviceFile* GetFileRecord() override { return Ptr(file); }
    const XSocketDeviceBattery* GetBatteryRecord() override { return Ptr(battery); }
    const XSocketDeviceVersion* GetSystemVersion() override { return Ptr(version); }
    const XSocketDeviceStorage* GetStorageRecord() override { return Ptr(storage); }
    const XSocketDeviceWifi* GetWifiRecord() override { return Ptr(wifi); }
    const XSocketDeviceComponent* GetComponentRecord() override { return Ptr(component); }
    const XSocketDeviceBluetooth* GetBluetoothRecord() override { return Ptr(bluetooth); }
    const XSocketDeviceFingerprint* GetFingerprintRecord() override { return Ptr(fingerprint); }
    const XSocketDeviceLowLevel* GetLowLevelRecord() override { return Ptr(lowLevel); }
    const XSocketDeviceDisplay* GetDisplayRecord() override { return Ptr(display); }
    const XSocketDeviceProcessor* GetProcessorRecord() override { return Ptr(processor); }
    bool IsRoot() override { return root; }
    bool IsActive() override { return active; }
    bool IsFiveCode() override { return fiveCode; }
};

// Every text differs from every other, so a member read from the wrong field shows.
FakeDevice CompleteDevice() {
    FakeDevice d;
    // In the order of the record's fields; the marker texts name the field they stand for.
    d.info = XSocketDeviceInfo{L"ECID",       L"Zo\u00eb's phone",
                               L"iPhone11,8", L"SRNM",
                               L"UDID",       L"HWVER",
                               L"MOD",        L"CH/A",
                               L"16E227",     L"FWVER",
                               L"N841AP",     L"TEL",
                               L"MLB",        L"ICCID",
                               L"EMAC",       L"TZ",
                               L"BBVER",      L"ESN",
                               L"COLOUR",     L"ENCLOSURE",
                               L"RMD",        L"MEID",
                               L"IMEI1",      L"IMEI2",
                               L"SIM"};
    d.info->basebandCertId = -5;
    d.info->basebandChipId = std::numeric_limits<long long>::max();
    d.info->boardId = std::numeric_limits<long long>::min();
    d.battery = XSocketDeviceBattery{512, 87.9, L"BATT"};
    d.version = XSocketDeviceVersion{12, 4, 1};
    d.storage = XSocketDeviceStorage{-2, L"DISKMAKER", L"DISKSERIAL", 3221225471ull, -1};
    d.wifi = XSocketDeviceWifi{7, L"WIFIMAKER", L"WIFIID", L"WMAC"};
    d.component = XSocketDeviceComponent{L"FCMS", L"BCMS", L"FRONTCAM", L"BACKCAM", L"IRS"};
    d.bluetooth = XSocketDeviceBluetooth{L"BMAC"};
    d.fingerprint = XSocketDeviceFingerprint{1, L"NSRN", L"NVSN"};
    d.display = XSocketDeviceDisplay{L"LCD", L"LCM"};
    d.processor = XSocketDeviceProcessor{L"CPUTYPE", L"CPUFRAME", 6, 2490, 8101};
    d.active = true;
    return d;
}

TEST(DeviceInterfaces, SlotsStayInPlace) {
    EXPECT_EQ(SlotOf(&ISocketDevice::GetDeviceRecord), 0);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetFileRecord), 1);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetBatteryRecord), 2);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetSystemVersion), 3);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetStorageRecord), 4);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetWifiRecord), 5);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetComponentRecord), 6);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetBluetoothRecord), 7);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetFingerprintRecord), 8);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetLowLevelRecord), 9);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetDisplayRecord), 10);
    EXPECT_EQ(SlotOf(&ISocketDevice::GetProcessorRecord), 11);
    EXPECT_EQ(SlotOf(&ISocketDevice::IsRoot), 12);
    EXPECT_EQ(SlotOf(&ISocketDevice::IsActive), 13);
    EXPECT_EQ(SlotOf(&ISocketDevice::IsFiveCode), 14);

    EXPECT_EQ(SlotOf(&ISocketFeedback::GetContactId), 0);
    EXPECT_EQ(SlotOf(&ISocketFeedback::GetMessage), 1);
    EXPECT_EQ(SlotOf(&ISocketFeedback::GetOsVersion), 2);
    EXPECT_EQ(SlotOf(&ISocketFeedback::GetItunesVersion), 3);
    EXPECT_EQ(SlotOf(&ISocketFeedback::GetMobileName), 4);
    EXPECT_EQ(SlotOf(&ISocketFeedback::GetEcid), 5);
}

TEST(DeviceIdentifiers, EcidAndProductTypeFallThroughNormalFileAndLowLevelRecords) {
    struct Case {
        const char* what;
        std::optional<XString> normal, file;  // ECID and product type texts of records 0 and 1
        std::optional<unsigned long long> lowLevel;
        const wchar_t* ecid;
        const wchar_t* type;
    };
    const Case cases[] = {
        {"normal mode wins", XString(L"N"), XString(L"F"), 1, L"N", L"N"},
        {"empty normal text", XString(L""), XString(L"F"), 1, L"F", L"F"},
        {"empty normal and file texts", XString(L""), XString(L""), 0x1A2B, L"0000000000001A2B", L"L"},
        {"only the low-level record", std::nullopt, std::nullopt, 6699, L"0000000000001A2B", L"L"},
        {"all 64 bits, upper case", std::nullopt, std::nullopt, 0xFEDCBA9876543210ull, L"FEDCBA9876543210",
         L"L"},
        {"file record in recovery", std::nullopt, XString(L"F"), 1, L"F", L"F"},
        {"no record at all", std::nullopt, std::nullopt, std::nullopt, L"", L""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FakeDevice d;
        if (c.normal) {
            d.info.emplace();
            d.info->ecid = d.info->productType = *c.normal;
        }
        if (c.file) d.file = XSocketDeviceFile{*c.file, L"name", QByteArray("bytes"), *c.file};
        if (c.lowLevel) d.lowLevel = XSocketDeviceLowLevel{*c.lowLevel, L"L"};
        EXPECT_EQ(PelmorSocketHelper::DeviceToECID(&d), c.ecid);
        EXPECT_EQ(PelmorSocketHelper::DeviceToProductType(&d), c.type);
    }
    EXPECT_EQ(PelmorSocketHelper::DeviceToECID(nullptr), L"");
    EXPECT_EQ(PelmorSocketHelper::DeviceToProductType(nullptr), L"");
}

TEST(DeviceIdentifiers, SerialComesOnlyFromTheNormalModeRecord) {
    FakeDevice d = CompleteDevice();
    d.file = XSocketDeviceFile{L"F", L"name", QByteArray(), L"F"};
    d.lowLevel = XSocketDeviceLowLevel{1, L"L"};
    EXPECT_EQ(PelmorSocketHelper::DeviceToSerial(&d), L"SRNM");

    d.info.reset();
    EXPECT_EQ(PelmorSocketHelper::DeviceToSerial(&d), L"");
    EXPECT_EQ(PelmorSocketHelper::DeviceToSerial(nullptr), L"");
}

TEST(DeviceDescription, CompleteDeviceGivesAll59MembersInOrder) {
    FakeDevice d = CompleteDevice();
    const XJson json = PelmorSocketHelper::DeviceToJson(&d);

    // Order, key spellings and JSON types all matter to the service: compare the rendered text.
    const std::string expected = std::string(
        R"j({"mobName":"Zoë's phone","mod":"MOD","regn":"CH/A","rmd":"RMD","meid":"MEID","srnm":"SRNM",)j"
        R"j("imei":"IMEI1","imei2":"IMEI2","udid":"UDID","batt":"BATT","mlb":"MLB","bmac":"BMAC","emac":"EMAC",)j"
        R"j("esn":"ESN","iccid":"ICCID","telNo":"TEL","mobType":"iPhone11,8","sysVersion":"IOS 12.4.1(16E227)",)j"
        R"j("timeZone":"TZ","mobColour":"COLOUR","mobEnclosureColour":"ENCLOSURE","basebandCertId":"-5",)j"
        R"j("basebandChipId":"9223372036854775807","basebandVersion":"BBVER","boardId":"-9223372036854775808",)j"
        R"j("hardwareModel":"N841AP","hardwareVersion":"HWVER","firmwareVersion":"FWVER","batteryHealth":87,)j"
        R"j("batteryCycleNumber":512,"simStatus":"SIM","wmac":"WMAC","wifiId":"WIFIID","wifiProducer":"WIFIMAKER",)j"
        R"j("wifiType":"7","fcms":"FCMS","bcms":"BCMS","backCameraSerial":"BACKCAM","frontCameraSerial":"FRONTCAM",)j"
        R"j("irs":"IRS","mobRealName":"Zoë's phone","ram":"2GB","hardDiskType":"-2","hardDiskSerial":"DISKSERIAL",)j"
        R"j("hardDiskManufacture":"DISKMAKER","ramUsed":-1,"fingerprint":1,"nsrn":"NSRN","nvsn":"NVSN","lcd":"LCD",)j"
        R"j("lcm":"LCM","cpuType":"CPUTYPE","cpuCore":6,"cpuHz":2490,"cpuHandler":"M8101","cpuFrame":"CPUFRAME",)j"
        R"j("root":0,"active":1,"fiveCode":0})j");
    EXPECT_EQ(json.ToJson(), expected);
    ASSERT_TRUE(json.IsObject());
    EXPECT_EQ(JsonValue(json).get_object().size(), 59u);
}

// Requests send the description written straight as text; it must be the built description's text to
// the byte, for texts that need escaping or mending too, and {} where there is no description.
TEST(DeviceDescription, TextWrittenStraightIsTheBuiltDescriptionsText) {
    const auto expectSame = [](FakeDevice& d) {
        EXPECT_EQ(PelmorSocketHelper::DeviceDescriptionJson(&d),
                  PelmorSocketHelper::DeviceToJson(&d).ToJson());
    };
    FakeDevice d = CompleteDevice();
    expectSame(d);
    d.info->name = XString(L"quote\" back\\slash\ttab\x01\x1f del\x7f");
    d.info->udid = XString(L"lone \xD800 surrogate, \U0001F600 outside the plane, \u8BBE\u5907");
    d.info->buildVersion = XString(300, L'\u00E9');  // longer than the encoder's room on the stack
    d.wifi->producer = XString();
    d.processor->coreCount = std::numeric_limits<int>::min();
    expectSame(d);
    d.bluetooth.reset();
    expectSame(d);
    EXPECT_EQ(PelmorSocketHelper::DeviceDescriptionJson(nullptr), "{}");
}

TEST(DeviceDescription, NumbersAreConvertedAsTheServiceReadsThem) {
    FakeDevice d = CompleteDevice();

    const std::pair<unsigned long long, const char*> memory[] = {
        {0, "0GB"},
        {(1ull << 30) - 1, "0GB"},
        {1ull << 30, "1GB"},
        {3221225471ull, "2GB"},
        {std::numeric_limits<unsigned long long>::max(), "17179869183GB"},  // no signed division
    };
    for (const auto& [bytes, ram] : memory) {
        d.storage->memorySize = bytes;
        EXPECT_EQ(PelmorSocketHelper::DeviceToJson(&d).ToString("ram"), ram) << bytes;
    }

    const std::pair<double, int> health[] = {
        {87.9, 87}, {99.999, 99}, {100.0, 100}, {-3.7, -3}, {std::nan(""), 0}, {1e300, 2147483647},
    };
    for (const auto& [value, cut] : health) {
        d.battery->health = value;
        const XJson json = PelmorSocketHelper::DeviceToJson(&d);
        EXPECT_EQ(json.ToInt64("batteryHealth"), cut) << value;
        EXPECT_TRUE(JsonValue(json).get_object().at("batteryHealth").is_int64());
    }
}

TEST(DeviceDescription, FlagsAreZeroOrOneIntegersEachFromItsOwnOperation) {
    FakeDevice d = CompleteDevice();
    d.root = d.fiveCode = true;
    d.active = false;
    const std::string json = PelmorSocketHelper::DeviceToJson(&d).ToJson();
    EXPECT_NE(json.find(R"("root":1,"active":0,"fiveCode":1})"), std::string::npos) << json;
}

TEST(DeviceDescription, IsAllOrNothingOverTheTenRecords) {
    using Drop = void (*)(FakeDevice&);
    const std::pair<const char*, Drop> drops[] = {
        {"device", [](FakeDevice& d) { d.info.reset(); }},
        {"battery", [](FakeDevice& d) { d.battery.reset(); }},
        {"version", [](FakeDevice& d) { d.version.reset(); }},
        {"storage", [](FakeDevice& d) { d.storage.reset(); }},
        {"wifi", [](FakeDevice& d) { d.wifi.reset(); }},
        {"component", [](FakeDevice& d) { d.component.reset(); }},
        {"bluetooth", [](FakeDevice& d) { d.bluetooth.reset(); }},
        {"fingerprint", [](FakeDevice& d) { d.fingerprint.reset(); }},
        {"display", [](FakeDevice& d) { d.display.reset(); }},
        {"processor", [](FakeDevice& d) { d.processor.reset(); }},
    };
    for (const auto& [name, drop] : drops) {
        FakeDevice d = CompleteDevice();
        d.root = d.active = d.fiveCode = true;
        drop(d);
        const XJson json = PelmorSocketHelper::DeviceToJson(&d);
        EXPECT_TRUE(json.IsEmpty()) << "without " << name << ": " << json.ToJson();
    }

    // The file and low-level records are not part of the description.
    FakeDevice d = CompleteDevice();
    EXPECT_EQ(JsonValue(PelmorSocketHelper::DeviceToJson(&d)).get_object().size(), 59u);
    EXPECT_TRUE(PelmorSocketHelper::DeviceToJson(nullptr).IsEmpty());
}

TEST(DeviceDescription, ADeviceThatThrowsGivesEmptyResults) {
    struct ThrowingDevice : FakeDevice {
        const XSocketDeviceInfo* GetDeviceRecord() override { throw std::runtime_error("device unplugged"); }
        const XSocketDeviceProcessor* GetProcessorRecord() override { throw 42; }
    };
    ThrowingDevice d;
    static_cast<FakeDevice&>(d) = CompleteDevice();
    EXPECT_EQ(PelmorSocketHelper::DeviceToECID(&d), L"");
    EXPECT_EQ(PelmorSocketHelper::DeviceToProductType(&d), L"");
    EXPECT_EQ(PelmorSocketHelper::DeviceToSerial(&d), L"");
    EXPECT_TRUE(PelmorSocketHelper::DeviceToJson(&d).IsEmpty());
}

}  // namespace
