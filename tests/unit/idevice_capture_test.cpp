// Captures of real handsets (hand-written from the public key names) through the field map, the device
// file they import as, and the description the library builds from it.
#include <gtest/gtest.h>

#ifdef PELMOR_HAVE_CAPTURES
#include "CapturePlist.h"
#endif
#include "DeviceCheck.h"
#include "DeviceFile.h"
#include "DeviceFileWriter.h"
#include "FieldMap.h"
#include "SampleDevices.h"
#include "TestData.h"
#include "frame/PelmorSocketHelper.h"

namespace {

using namespace pelmor::idevice;

#ifdef PELMOR_HAVE_CAPTURES

std::string Fixture(const std::string& name) {
    return ReadTestData("captures/" + name);
}

Capture Load(const std::vector<std::string>& files) {
    Capture capture;
    for (const std::string& file : files) {
        const auto eq = file.find('=');
        std::string error;
        EXPECT_TRUE(AddCaptureFile(capture, Fixture(file.substr(eq + 1)),
                                   eq == std::string::npos ? "" : file.substr(0, eq), error))
            << file << ": " << error;
    }
    return capture;
}

// The capture as `device import` hands it on: written as a device file and read back by CDeviceFile.
std::unique_ptr<CDeviceFile> Imported(const Capture& capture) {
    CCapturedDevice captured(RecordsFromCapture(capture));
    std::string error;
    auto device = CDeviceFile::FromText(ToDeviceFile(captured, "test"), "imported", error);
    EXPECT_TRUE(device) << error;
    return device;
}

std::string ExpectedDescription(const std::string& name) {
    XJson expected;
    EXPECT_TRUE(expected.Parse(Fixture(name + ".expected.json")));
    return expected.ToJson();
}

TEST(CompleteCapture, GivesTheHandComputedDescriptionAndIsVerifiable) {
    const Capture capture = Load({"complete-lockdownd.plist", "complete-battery.plist",
                                  "com.apple.disk_usage=complete-disk-usage.plist"});
    auto device = Imported(capture);
    ASSERT_TRUE(device);
    EXPECT_EQ(PelmorSocketHelper::DeviceToJson(device.get()).ToJson(), ExpectedDescription("complete"));
    EXPECT_EQ(PelmorSocketHelper::DeviceToECID(device.get()), L"000E2D4C1B3A5968");
    EXPECT_EQ(device->GetLowLevelRecord()->ecid, 0x000E2D4C1B3A5968ULL);

    // The file record carries the capture itself, every domain, and reads back as the same capture.
    const XSocketDeviceFile* file = device->GetFileRecord();
    ASSERT_TRUE(file);
    Capture again;
    std::string error;
    ASSERT_TRUE(AddCaptureFile(again, file->data.toStdString(), "", error)) << error;
    EXPECT_TRUE(again.Has("com.apple.disk_usage"));
    auto reimported = Imported(again);
    ASSERT_TRUE(reimported);
    EXPECT_EQ(PelmorSocketHelper::DeviceToJson(reimported.get()).ToJson(), ExpectedDescription("complete"));

    const DeviceCheck check = CheckDevice(*device);
    EXPECT_TRUE(check.CompleteForVerification());
    for (const RecordCheck& record : check.records) {
        SCOPED_TRACE(record.record);
        EXPECT_TRUE(record.present);
        EXPECT_TRUE(record.empty.empty());
    }
}

TEST(OldCapture, MissingKeysStayEmptyAndHealthFallsBackToRawCapacity) {
    auto device = Imported(Load({"old-lockdownd.plist", "old-battery.plist"}));
    ASSERT_TRUE(device);
    EXPECT_EQ(PelmorSocketHelper::DeviceToJson(device.get()).ToJson(), ExpectedDescription("old"));

    // Keys the old system lacks are empty, not unobtainable: a newer handset would have them.
    const DeviceCheck check = CheckDevice(*device);
    EXPECT_TRUE(check.CompleteForVerification());
    const RecordCheck& info = check.records.front();
    ASSERT_EQ(info.record, "device");
    EXPECT_EQ(info.empty, (std::vector<std::string>{"phoneNumber", "iccid", "ethernetMac", "enclosureColour",
                                                    "imei2", "simStatus"}));
    EXPECT_EQ(info.unobtainable, (std::vector<std::string>{"hardwareVersion", "esn", "rmd"}));
}

TEST(CaptureWithoutBatteryEntry, KeepsIdentifiersButCannotBeVerified) {
    auto device = Imported(Load({"no-battery-lockdownd.plist"}));
    ASSERT_TRUE(device);
    EXPECT_EQ(device->GetBatteryRecord(), nullptr);
    EXPECT_TRUE(PelmorSocketHelper::DeviceToJson(device.get()).IsEmpty());
    EXPECT_EQ(PelmorSocketHelper::DeviceToSerial(device.get()), L"G0NZR4HKP3XY");
    EXPECT_EQ(PelmorSocketHelper::DeviceToECID(device.get()), L"000B1C2D3E4F5A6B");

    const DeviceCheck check = CheckDevice(*device);
    EXPECT_FALSE(check.CompleteForVerification());
    ASSERT_EQ(check.gaps.size(), 1u);
    EXPECT_NE(check.gaps[0].find("battery"), std::string::npos);
}

TEST(CaptureFiles, AreRecognisedOrRefusedWithAReason) {
    Capture capture;
    std::string error;
    // Domain output does not say which domain it is: it must be named.
    EXPECT_FALSE(AddCaptureFile(capture, Fixture("complete-disk-usage.plist"), "", error));
    EXPECT_NE(error.find("DOMAIN=FILE"), std::string::npos);
    EXPECT_FALSE(AddCaptureFile(capture, "{\"not\": \"a plist\"", "", error));
    EXPECT_FALSE(AddCaptureFile(capture, "", "", error));
    const std::string otherEntry =
        "<plist><dict><key>IORegistry</key><dict><key>Model</key><string>x</string></dict></dict></plist>";
    EXPECT_FALSE(AddCaptureFile(capture, otherEntry, "", error));
    EXPECT_TRUE(capture.Empty());

    // A value of the wrong kind leaves its member empty instead of failing the capture.
    const std::string odd =
        "<plist><dict><key>UniqueChipID</key><string>12</string><key>ProductVersion</key><integer>15</"
        "integer>"
        "<key>ProductType</key><string>iPhone12,1</string></dict></plist>";
    ASSERT_TRUE(AddCaptureFile(capture, odd, "", error)) << error;
    const DeviceRecords records = RecordsFromCapture(capture);
    EXPECT_EQ(records.info->ecid, L"");
    EXPECT_EQ(records.version->major, 0);
    EXPECT_EQ(records.info->productType, L"iPhone12,1");
    EXPECT_FALSE(records.battery.has_value());
}

#endif  // PELMOR_HAVE_CAPTURES

TEST(FieldMap, TheDocsShowTheMapTheCodeUses) {
    const std::string docs = ReadTestData("../../docs/device-capture.md");
    const std::string table = FieldMapTable();
    EXPECT_NE(docs.find(table), std::string::npos) << "docs/device-capture.md should hold this table:\n"
                                                   << table;
}

}  // namespace

namespace {

std::unique_ptr<CDeviceFile> RoundTrip(CDeviceFile& device) {
    std::string error;
    auto again = CDeviceFile::FromText(pelmor::idevice::ToDeviceFile(device, "again"), "written", error);
    EXPECT_TRUE(again) << error;
    return again;
}

// Every live handset reaches the library through the device file it is written as: nothing may be lost
// on the way, whichever records a device has.
TEST(DeviceFileWriter, SampleDevicesSurviveBeingWrittenAndReadBack) {
    for (const char* name : {"normal-complete", "replaced-screen-battery", "recovery", "no-battery"}) {
        SCOPED_TRACE(name);
        auto device = LoadDevice(name);
        ASSERT_TRUE(device);
        auto again = RoundTrip(*device);
        ASSERT_TRUE(again);
        EXPECT_EQ(PelmorSocketHelper::DeviceToJson(again.get()).ToJson(),
                  PelmorSocketHelper::DeviceToJson(device.get()).ToJson());
        EXPECT_EQ(PelmorSocketHelper::DeviceToECID(again.get()),
                  PelmorSocketHelper::DeviceToECID(device.get()));
        EXPECT_EQ(PelmorSocketHelper::DeviceToProductType(again.get()),
                  PelmorSocketHelper::DeviceToProductType(device.get()));
        EXPECT_EQ(again->GetFileRecord() != nullptr, device->GetFileRecord() != nullptr);
        if (device->GetFileRecord()) {
            EXPECT_EQ(again->GetFileRecord()->data, device->GetFileRecord()->data);
        }
    }
}

TEST(DeviceFileWriter, BinaryFileDataAndLargeChipIdsKeepEveryBit) {
    std::string error;
    auto device = CDeviceFile::FromText(
        R"({"file": {"dataBase64": "QUIAQ0T/"}, "lowLevel": {"ecid": "0xFFFFFFFFFFFFFFFF"}})", "binary",
        error);
    ASSERT_TRUE(device) << error;
    auto again = RoundTrip(*device);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->GetFileRecord()->data, QByteArray("AB\0CD\xff", 6));
    EXPECT_EQ(again->GetLowLevelRecord()->ecid, 0xFFFFFFFFFFFFFFFFULL);
    EXPECT_EQ(again->GetDeviceRecord(), nullptr);
}

}  // namespace
