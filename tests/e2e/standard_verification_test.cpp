// The standard edition's device verification, lock-state and look-up operations against the running
// emulator, with handsets from the device files under tests/data/devices.
#include <gtest/gtest.h>

#include <memory>

#include "DeviceFile.h"
#include "EmulatorControl.h"
#include "OperationTable.h"
#include "SampleDevices.h"
#include "TestData.h"

namespace {

using Seen = std::string&;

const char kEcid[] = R"("000E2D4C1B3A5968")";

// The device description the sample handset must be sent with.
std::string Description() {
    return XJson(ReadTestData("devices/normal-complete.expected.json")).ToJson();
}

// A file whose third byte is zero: only "AB" goes out.
const QByteArray kFile("AB\0CD", 5);

std::vector<OperationCase> Table(ISocketDevice* device) {
    const std::string ecidAndSerial = std::string(R"({"ecid":)") + kEcid + R"(,"srnm":"F2LZK3XYN72J"})";
    return {
        {"UploadIdlock", "idLock.status", std::string(R"({"ecid":)") + kEcid + R"(,"status":2})", "{}",
         [device](PelmorSocketInterface& s, Seen) { return s.UploadIdlock(device, 2); }, ""},
        {"UploadIcloud", "iCloud.status", std::string(R"({"ecid":)") + kEcid + R"(,"status":-1})", "{}",
         [device](PelmorSocketInterface& s, Seen) { return s.UploadIcloud(device, -1); }, ""},
        // The file record supplies the bytes and the name.
        {"DeviceBackup", "equipment.backupHD",
         std::string(R"({"file":"device file of F2LZK3XYN72J","ecid":)") + kEcid +
             R"(,"mobName":"Zoë's iPhone","mobType":"iPhone12,1"})",
         R"({"srnm":"F2LZK3XYN72J","backColor":"#1f2020","backup":"b64"})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.DeviceBackup(device, [&seen](ISocketInfoBackup* backup) {
                 seen += std::string(backup->GetSerial()) + "," + backup->GetBackup();
             });
         },
         "F2LZK3XYN72J,b64"},
        {"VerifyAirPods", "airpods.check", R"({"instance":"inst-1","id":"id-2"})",
         R"({"name":"AirPods Pro","srnm":"GX7","apple":true})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.VerifyAirPods("inst-1", "id-2", [&seen](ISocketInfoAirPods* pods) {
                 seen += Narrow(pods->GetModel()) + "," + std::to_string(pods->IsApple());
             });
         },
         "AirPods Pro,1"},
        {"VerifyDevice", "equipment.check",
         R"({"info":)" + Description() + R"(,"file":"AB","ecid":)" + kEcid + "}",
         R"({"totalResult":"replaced","score":"71","resultList":[{"tag":"screen","key":"lcm","name":"Screen"}]})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.VerifyDevice(device, kFile, [&seen](ISocketInfoVerify* report) {
                 seen += std::to_string(report->GetError()) + "," + Narrow(report->GetTotalResult()) + "," +
                         Narrow(report->GetScore());
                 report->TraverseItem(
                     [&seen](const ISocketInfoVerifyItem* item) { seen += "," + Narrow(item->GetName()); });
             });
         },
         "1,replaced,71,Screen"},
        {"VerifyImage", "equipment.reportImg",
         R"({"info":)" + Description() + R"(,"ecid":)" + kEcid + R"(,"img":{"level":3,"levelMsg":"msg"}})",
         R"({"imgName":"report.png","imgStr":"iVBOR"})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.VerifyImage(device, 3, "msg", [&seen](ISocketInfoImage* image) {
                 seen += std::string(image->GetName()) + "," + image->GetImage();
             });
         },
         "report.png,iVBOR"},
        // The data is the firmware list itself.
        {"DeviceIpsw", "equipment.firmware", R"({"type":"iPhone12,1"})",
         R"([{"version":"15.6","buildId":"19G71"},{"version":"15.5","buildId":"19F77"}])",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.DeviceIpsw(device, [&seen](ISocketInfoIpsw* list) {
                 for (unsigned i = 0; i < list->GetCount(); ++i)
                     seen += Narrow(list->GetItem(i)->GetBuildId()) + ";";
             });
         },
         "19G71;19F77;"},
        {"DeviceKey", "device.fields", "{}",
         R"({"lcd":"L1","lcm":"M1","verifyDevice13Class":"C","verifyDevice13Key":"K"})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.DeviceKey([&seen](ISocketInfoKey* key) {
                 seen += std::string(key->GetScreenLCD()) + key->GetScreenLCM() + key->GetBackupClass() +
                         key->GetBackupKey();
             });
         },
         "L1M1CK"},
        {"QueryColor", "device.color", ecidAndSerial, R"({"frontColor":"black","backColor":"white"})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.QueryColor(device, [&seen](const ISocketInfoColor* color) {
                 seen += Narrow(color->GetFrontColor()) + "," + Narrow(color->GetBackColor());
             });
         },
         "black,white"},
        {"QueryScreen", "device.lcm", ecidAndSerial, R"({"manufacturers":"LG","manufactureData":"2020-01"})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.QueryScreen(device, [&seen](const ISocketInfoScreen* screen) {
                 seen += Narrow(screen->GetFactory()) + "," + Narrow(screen->GetDate());
             });
         },
         "LG,2020-01"},
        // The serial alone names the handset here.
        {"QueryWarranty", "device.warranty", R"({"srnm":"F2LZK3XYN72J"})",
         R"({"purchase":"2020-05-01","warranty":"expired","leftDays":12})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.QueryWarranty(device, [&seen](const ISocketQueryWarranty* warranty) {
                 seen += Narrow(warranty->GetPurchase()) + "," + Narrow(warranty->GetWarranty()) + "," +
                         std::to_string(warranty->GetDaysleft());
             });
         },
         "2020-05-01,expired,12"},
    };
}

class StandardVerification : public StandardServiceTest {};

TEST_F(StandardVerification, EachRequestIsSentAndItsAnswerOrRefusalHandedOverButNotAFailure) {
    ExpectEveryExchange(Service(), Table(Device()));
}

TEST_F(StandardVerification, MissingArgumentsSendNothing) {
    PelmorSocketInterface& s = Service();
    ISocketDevice* device = Device();
    // In recovery a handset has no file record, which the report, image and backup requests need.
    const std::unique_ptr<CDeviceFile> recovery = LoadDevice("recovery");
    ASSERT_TRUE(recovery);
    const auto backup = [](ISocketInfoBackup*) {};
    const auto verify = [](ISocketInfoVerify*) {};
    const auto ipsw = [](ISocketInfoIpsw*) {};
    const auto color = [](const ISocketInfoColor*) {};
    const auto screen = [](const ISocketInfoScreen*) {};
    const auto warranty = [](const ISocketQueryWarranty*) {};
    ExpectNothingSent({
        {"UploadIdlock device", [&] { return s.UploadIdlock(nullptr, 1); }},
        {"UploadIcloud device", [&] { return s.UploadIcloud(nullptr, 1); }},
        {"DeviceBackup device", [&] { return s.DeviceBackup(nullptr, backup); }},
        {"DeviceBackup callback", [&] { return s.DeviceBackup(device, nullptr); }},
        {"DeviceBackup file record", [&] { return s.DeviceBackup(recovery.get(), backup); }},
        {"VerifyAirPods instance", [&] { return s.VerifyAirPods("", "id", [](ISocketInfoAirPods*) {}); }},
        {"VerifyAirPods id", [&] { return s.VerifyAirPods("inst", QString(), [](ISocketInfoAirPods*) {}); }},
        {"VerifyDevice device", [&] { return s.VerifyDevice(nullptr, kFile, verify); }},
        {"VerifyDevice callback", [&] { return s.VerifyDevice(device, kFile, nullptr); }},
        {"VerifyDevice file record", [&] { return s.VerifyDevice(recovery.get(), kFile, verify); }},
        {"VerifyImage file record", [&] { return s.VerifyImage(recovery.get(), 1, "x", nullptr); }},
        {"VerifyImage device", [&] { return s.VerifyImage(nullptr, 1, "x", nullptr); }},
        {"DeviceIpsw device", [&] { return s.DeviceIpsw(nullptr, ipsw); }},
        {"DeviceIpsw callback", [&] { return s.DeviceIpsw(device, nullptr); }},
        {"DeviceKey callback", [&] { return s.DeviceKey(nullptr); }},
        {"QueryColor device", [&] { return s.QueryColor(nullptr, color); }},
        {"QueryColor callback", [&] { return s.QueryColor(device, nullptr); }},
        {"QueryScreen device", [&] { return s.QueryScreen(nullptr, screen); }},
        {"QueryScreen callback", [&] { return s.QueryScreen(device, nullptr); }},
        {"QueryWarranty device", [&] { return s.QueryWarranty(nullptr, warranty); }},
        {"QueryWarranty callback", [&] { return s.QueryWarranty(device, nullptr); }},
    });
}

// The image report and the AirPods check go out without looking at their callback (and the image
// report without looking at its text); a failed exchange keeps the missing callback from being called.
TEST_F(StandardVerification, ImageReportAndAirPodsCheckSendWithoutACallback) {
    PelmorSocketInterface& s = Service();
    EmulatorControl::Script(R"({"match":"*","times":2,"status":502})");
    ISocketReply* reply = s.VerifyImage(Device(), 0, nullptr, nullptr);
    EXPECT_EQ(reply->Code(), 3);
    reply->Release();
    EXPECT_EQ(EmulatorControl::LastRequest()["document"]["params"]["img"].ToJson(),
              R"({"level":0,"levelMsg":""})");
    reply = s.VerifyAirPods("inst-1", "id-2", nullptr);
    EXPECT_EQ(reply->Code(), 3);
    reply->Release();
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), 2u);
}

TEST_F(StandardVerification, AReportCarriesTheReplysMessage) {
    PelmorSocketInterface& s = Service();
    std::string message;
    const auto keep = [&](ISocketInfoVerify* report) { message = Narrow(report->GetRequestMessage()); };
    EmulatorControl::Script(
        R"({"match":"equipment.check","reply":{"code":40107,"error":"NO","msg":"busy","data":null}})");
    s.VerifyDevice(Device(), kFile, keep)->Release();
    EXPECT_EQ(message, "busy");
    // A success has no error name, so its message is the fallback text.
    EmulatorControl::Script(
        R"({"match":"equipment.check","reply":{"code":0,"error":"","msg":"done","data":{}}})");
    s.VerifyDevice(Device(), kFile, keep)->Release();
    EXPECT_EQ(message, "未知错误，请稍候重试");
}

TEST_F(StandardVerification, AnIncompleteHandsetIsSentAsAnEmptyDescription) {
    const std::unique_ptr<CDeviceFile> noBattery = LoadDevice("no-battery");
    ASSERT_TRUE(noBattery);
    EmulatorControl::Script(R"({"match":"equipment.check","reply":{"code":0,"data":{}}})");
    int calls = 0;
    Service().VerifyDevice(noBattery.get(), QByteArray("f"), [&](ISocketInfoVerify*) { ++calls; })->Release();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(EmulatorControl::LastRequest()["document"]["params"].ToJson(),
              R"({"info":{},"file":"f","ecid":"000B1C2D3E4F5A6B"})");
}

}  // namespace
