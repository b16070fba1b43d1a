// The standard edition's professional report and its payment against the running emulator.
#include <gtest/gtest.h>

#include <memory>

#include "DeviceFile.h"
#include "EmulatorControl.h"
#include "OperationTable.h"
#include "TestData.h"

namespace {

using Seen = std::string&;

std::function<void(QString, QByteArray)> Payment(Seen seen) {
    return [&seen](QString tradeNo, QByteArray qrcode) {
        seen += Narrow(tradeNo) + "|" + qrcode.toStdString() + "|" + std::to_string(qrcode.size());
    };
}

std::vector<OperationCase> Table(ISocketDevice* device) {
    const std::string description = XJson(ReadTestData("devices/normal-complete.expected.json")).ToJson();
    return {
        {"ProfessionalCheck", "device.checkPro.exist", R"({"srnm":"F2LZK3XYN72J"})",
         R"({"exist":true,"price":19.9})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.ProfessionalCheck(device, [&seen](bool exist, double price) {
                 seen += std::to_string(exist) + "@" + QString::number(price).toStdString();
             });
         },
         "1@19.9"},
        // The QR text is handed over as bytes up to its first zero byte.
        {"PaymentPicture by the first channel", "device.checkPro.qrcode",
         R"({"srnm":"F2LZK3XYN72J","way":1})",
         R"({"tradeNo":"T-1","qrcode":"weixin://wxpay/bizpayurl?pr=abc\u0000tail"})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.PaymentPicture(device, true, Payment(seen));
         },
         "T-1|weixin://wxpay/bizpayurl?pr=abc|31"},
        {"PaymentPicture by the other channel", "device.checkPro.qrcode",
         R"({"srnm":"F2LZK3XYN72J","way":0})", R"({"tradeNo":"T-2","qrcode":""})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.PaymentPicture(device, false, Payment(seen));
         },
         "T-2||0"},
        {"PaymentResult", "device.checkPro.order", R"({"tradeNo":"T-1"})", R"({"status":true})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.PaymentResult("T-1", [&seen](bool paid) { seen += paid ? "paid" : "unpaid"; });
         },
         "paid"},
        {"ProfessionalVerify", "device.checkPro",
         R"({"info":)" + description + R"(,"file":"AB","ecid":"000E2D4C1B3A5968"})",
         R"({"price":19.9,"reportDate":"2026-11-23","listItem":[{"key":"IMEI","name":"IMEI","nowValue":"1","originalValue":"2"}]})",
         [device](PelmorSocketInterface& s, Seen seen) {
             return s.ProfessionalVerify(
                 device, QByteArray("AB\0CD", 5), [&seen](ISocketInfoProverify* report) {
                     seen += QString::number(report->Reprice()).toStdString() + "," + Narrow(report->Date());
                     report->TraverseItem([&seen](ISocketInfoProverifyItem* item) {
                         seen += "," + Narrow(item->GetSource()) + ">" + Narrow(item->GetCurrent());
                     });
                 });
         },
         "19.9,2026-11-23,2>1"},
    };
}

class StandardProfessional : public StandardServiceTest {};

// A refused payment poll still calls back: the host must look at the reply, not only at the flag.
TEST_F(StandardProfessional, EachRequestIsSentAndItsAnswerOrRefusalHandedOverButNotAFailure) {
    ExpectEveryExchange(Service(), Table(Device()));
}

TEST_F(StandardProfessional, MissingArgumentsSendNothing) {
    PelmorSocketInterface& s = Service();
    ISocketDevice* device = Device();
    const auto report = [](ISocketInfoProverify*) {};
    ExpectNothingSent({
        {"ProfessionalCheck device", [&] { return s.ProfessionalCheck(nullptr, [](bool, double) {}); }},
        {"ProfessionalCheck callback", [&] { return s.ProfessionalCheck(device, nullptr); }},
        {"PaymentPicture device",
         [&] { return s.PaymentPicture(nullptr, true, [](QString, QByteArray) {}); }},
        {"PaymentPicture callback", [&] { return s.PaymentPicture(device, true, nullptr); }},
        {"PaymentResult trade number", [&] { return s.PaymentResult(QString(""), [](bool) {}); }},
        {"PaymentResult callback", [&] { return s.PaymentResult("T-1", nullptr); }},
        {"ProfessionalVerify device", [&] { return s.ProfessionalVerify(nullptr, "f", report); }},
        {"ProfessionalVerify file", [&] { return s.ProfessionalVerify(device, QByteArray(), report); }},
        {"ProfessionalVerify callback", [&] { return s.ProfessionalVerify(device, "f", nullptr); }},
    });
}

}  // namespace
