#include <gtest/gtest.h>

#include <string>

#include "DeviceFile.h"
#include "TestData.h"
#include "frame/PelmorSocketHelper.h"

namespace {

const std::string kDevices = std::string(PELMOR_TEST_DATA_DIR) + "/devices/";

std::unique_ptr<CDeviceFile> LoadSample(const std::string& name) {
    std::string error;
    auto device = CDeviceFile::Load(kDevices + name + ".json", error);
    EXPECT_TRUE(device) << error;
    EXPECT_EQ(error, "");
    return device;
}

TEST(DeviceFileSamples, DescriptionsMatchTheExpectedDocuments) {
    for (const char* name : {"normal-complete", "replaced-screen-battery", "recovery", "no-battery"}) {
        SCOPED_TRACE(name);
        auto device = LoadSample(name);
        ASSERT_TRUE(device);
        XJson expected;
        ASSERT_TRUE(expected.Parse(ReadTestData(std::string("devices/") + name + ".expected.json")));
        // Rendered text, so that member order and number-versus-text count as well as the values.
        EXPECT_EQ(PelmorSocketHelper::DeviceToJson(device.get()).ToJson(), expected.ToJson());
    }
}

TEST(DeviceFileSamples, IdentifiersFollowTheDevicesMode) {
    auto normal = LoadSample("normal-complete");
    auto replaced = LoadSample("replaced-screen-battery");
    auto recovery = LoadSample("recovery");
    auto noBattery = LoadSample("no-battery");
    ASSERT_TRUE(normal && replaced && recovery && noBattery);

    // The replaced-parts handset is another unit of the same model, not a copy of the first.
    EXPECT_EQ(PelmorSocketHelper::DeviceToECID(normal.get()), L"000E2D4C1B3A5968");
    EXPECT_EQ(PelmorSocketHelper::DeviceToECID(replaced.get()), L"0013A5B7C9D1E3F5");
    EXPECT_NE(PelmorSocketHelper::DeviceToSerial(normal.get()),
              PelmorSocketHelper::DeviceToSerial(replaced.get()));

    // In recovery only the low-level record speaks: the hexadecimal chip id, and no serial.
    EXPECT_EQ(PelmorSocketHelper::DeviceToECID(recovery.get()), L"001A2B3C4D5E6F70");
    EXPECT_EQ(PelmorSocketHelper::DeviceToProductType(recovery.get()), L"iPhone10,6");
    EXPECT_EQ(PelmorSocketHelper::DeviceToSerial(recovery.get()), L"");
    EXPECT_EQ(recovery->GetFileRecord(), nullptr);

    // A missing battery empties the description but not the identifiers.
    EXPECT_EQ(noBattery->GetBatteryRecord(), nullptr);
    EXPECT_EQ(PelmorSocketHelper::DeviceToSerial(noBattery.get()), L"G0NZR4HKP3XY");
}

TEST(DeviceFileLoader, ReadsValuesAndAbsentRecords) {
    const std::string text = R"({
        "device": {"ecid": "00AB", "name": "K\u00e4the"},
        "file": {"dataBase64": "QUIAQ0Q="},
        "battery": null,
        "storage": {"memorySize": "0xFFFFFFFFFFFFFFFF"},
        "lowLevel": {"ecid": 18446744073709551615},
        "systemVersion": {},
        "active": true
    })";
    std::string error = "stale";
    auto device = CDeviceFile::FromText(text, "inline.json", error);
    ASSERT_TRUE(device) << error;
    EXPECT_EQ(error, "");

    EXPECT_EQ(device->GetDeviceRecord()->name, L"K\u00e4the");
    EXPECT_EQ(device->GetDeviceRecord()->serialNumber, L"");  // a member left out stays empty
    EXPECT_EQ(device->GetFileRecord()->data, QByteArray("AB\0CD", 5));
    EXPECT_EQ(device->GetStorageRecord()->memorySize, 0xFFFFFFFFFFFFFFFFull);
    EXPECT_EQ(device->GetLowLevelRecord()->ecid, 0xFFFFFFFFFFFFFFFFull);
    ASSERT_NE(device->GetSystemVersion(), nullptr);  // an empty object is a record of zeros
    EXPECT_EQ(device->GetSystemVersion()->major, 0);

    EXPECT_EQ(device->GetBatteryRecord(), nullptr);  // null
    EXPECT_EQ(device->GetWifiRecord(), nullptr);     // missing
    EXPECT_EQ(device->GetDisplayRecord(), nullptr);
    EXPECT_FALSE(device->IsRoot());
    EXPECT_TRUE(device->IsActive());
    EXPECT_FALSE(device->IsFiveCode());
}

TEST(DeviceFileLoader, MalformedFilesAreRejectedWithTheFileAndTheProblem) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "the file is empty"},
        {"{\"device\": {\"name\": \"x\",}", "not JSON"},
        {"{\n  \"root\": tru\n}", "line 2"},
        {"[1, 2]", "expected a JSON object at the top, found an array"},
        {"{\"device\": \"iPhone\"}", "device: expected an object or null, found a text"},
        {"{\"device\": {\"name\": 5}}", "device.name: expected a text, found an integer"},
        {"{\"device\": {\"boardId\": 18446744073709551615}}",
         "device.boardId: 18446744073709551615 is out of range"},
        {"{\"device\": {\"serial\": \"F2LZ\"}}", "device.serial: unknown member"},
        {"{\"batery\": {}}", "batery: unknown member"},
        {"{\"battery\": {\"cycleCount\": 4294967296}}", "battery.cycleCount: 4294967296 is out of range"},
        {"{\"battery\": {\"cycleCount\": 1.5}}",
         "battery.cycleCount: expected an integer, found a fractional"},
        {"{\"lowLevel\": {\"ecid\": -1}}", "lowLevel.ecid: must not be negative"},
        {"{\"lowLevel\": {\"ecid\": \"1A2B\"}}",
         "lowLevel.ecid: expected a non-negative integer or a text 0x"},
        {"{\"file\": {\"dataBase64\": \"not base64!\"}}", "file.dataBase64: not valid Base64"},
        {"{\"file\": {\"data\": \"a\", \"dataBase64\": \"YQ==\"}}", "give either data or dataBase64"},
        {"{\"root\": 1}", "root: expected true or false, found an integer"},
        {"{\"description\": \"bad \xff byte\"}", "not JSON"},
    };
    for (const auto& [text, problem] : cases) {
        SCOPED_TRACE(text);
        std::string error;
        auto device = CDeviceFile::FromText(text, "dir/bad.json", error);
        EXPECT_FALSE(device);
        EXPECT_EQ(error.rfind("dir/bad.json: ", 0), 0u) << error;
        EXPECT_NE(error.find(problem), std::string::npos) << error;
    }
}

TEST(DeviceFileLoader, UnreadableFilesNameThePathAndTheReason) {
    std::string error;
    const std::string missing = kDevices + "no-such-device.json";
    EXPECT_FALSE(CDeviceFile::Load(missing, error));
    EXPECT_EQ(error, missing + ": cannot open (No such file or directory)");

    EXPECT_FALSE(CDeviceFile::Load(kDevices, error));  // a directory
    EXPECT_EQ(error.rfind(kDevices + ": ", 0), 0u) << error;
}

}  // namespace
