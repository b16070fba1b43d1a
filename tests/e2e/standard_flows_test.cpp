// Whole flows of the standard edition, as a host walks them against the emulator's own (unscripted)
// answers: log-in by SMS and by WeChat QR code, the verification of a handset with replaced parts, and the
// purchase of a professional report.
#include <gtest/gtest.h>
#include <pelmor/ISocketReply.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/Records.h>

#include <memory>
#include <set>
#include <string>

#include "DeviceFile.h"
#include "EmulatorControl.h"
#include "OperationTable.h"
#include "SampleDevices.h"

namespace {

XString Wide(const std::string& text) {
    return XString::FromUtf8(text);
}

// The code of a reply, which is released.
struct Outcome {
    int code = -1;
    std::string message;
};

Outcome Finish(ISocketReply* reply) {
    Outcome outcome;
    if (!reply) return outcome;
    outcome.code = reply->Code();
    outcome.message = reply->Message().toStdString();
    reply->Release();
    return outcome;
}

XJson ControlPost(const std::string& path, const std::string& payload) {
    std::string body;
    EXPECT_EQ(EmulatorControl::Post(path, payload, &body), 200) << path << " -> " << body;
    return XJson(body);
}

QByteArray FileBytes(ISocketDevice& device) {
    const XSocketDeviceFile* file = device.GetFileRecord();
    return file ? file->data : QByteArray();
}

// The same service object as the per-operation tests, but starting with no session: the flows log in.
class StandardFlows : public StandardServiceTest {
  protected:
    void SetUp() override {
        StandardServiceTest::SetUp();
        Service().SetToken(XString());
    }

    // Asks for an SMS code and reads it from the emulator's control surface; returns {no, code}.
    std::pair<std::string, std::string> SmsCode(const std::string& mobile) {
        std::string no;
        EXPECT_EQ(Finish(Service().PhoneQueryVerify(Wide(mobile).c_str(),
                                                    [&](const wchar_t* serial) { no = Narrow(serial); }))
                      .code,
                  0);
        const XJson sent = EmulatorControl::GetJson("/_emulator/sms?mobile=" + mobile);
        EXPECT_EQ(sent.ToString("no"), no) << "the serial handed to the host is the one texted";
        return {no, sent.ToString("code")};
    }

    // Logs in by SMS and makes the token the session's.
    std::string LogIn(const std::string& mobile) {
        const auto [no, code] = SmsCode(mobile);
        std::string token;
        Finish(Service().PhoneLogin(Wide(mobile).c_str(), Wide(code).c_str(), Wide(no).c_str(), L"flow-key",
                                    [&](const wchar_t* t) { token = Narrow(t); }));
        Service().SetToken(Wide(token));
        return token;
    }

    std::string UserPhone(Outcome* outcome = nullptr) {
        std::string phone = "<no callback>";
        const Outcome o = Finish(
            Service().TokenQueryUser([&](ISocketInfoUser* user) { phone = Narrow(user->GetPhone()); }));
        if (outcome) *outcome = o;
        return phone;
    }
};

TEST_F(StandardFlows, SmsLogInGivesATokenThatTheNextRequestsCarry) {
    const std::string mobile = "13800138000";
    const auto [no, code] = SmsCode(mobile);
    ASSERT_FALSE(no.empty());
    ASSERT_EQ(code.size(), 6u);

    // A wrong code is refused, and the refusal still reaches the callback (with no token).
    std::string token = "<no callback>";
    const std::string wrong = code == "000000" ? "111111" : "000000";
    Outcome refused = Finish(Service().PhoneLogin(Wide(mobile).c_str(), Wide(wrong).c_str(), Wide(no).c_str(),
                                                  L"k1", [&](const wchar_t* t) { token = Narrow(t); }));
    EXPECT_EQ(refused.code, 40102);
    EXPECT_EQ(token, "");

    const Outcome accepted =
        Finish(Service().PhoneLogin(Wide(mobile).c_str(), Wide(code).c_str(), Wide(no).c_str(), L"k1",
                                    [&](const wchar_t* t) { token = Narrow(t); }));
    ASSERT_EQ(accepted.code, 0) << accepted.message;
    ASSERT_FALSE(token.empty());
    // The code is used up.
    EXPECT_EQ(Finish(Service().PhoneLogin(Wide(mobile).c_str(), Wide(code).c_str(), Wide(no).c_str(), L"k1",
                                          [](const wchar_t*) {}))
                  .code,
              40103);

    // Nothing is stored by the log-in itself: until the host sets the token, the user is unknown.
    Outcome outcome;
    EXPECT_EQ(UserPhone(&outcome), "");
    EXPECT_EQ(outcome.code, 40101);

    Service().SetToken(Wide(token));
    EXPECT_EQ(UserPhone(&outcome), mobile);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(EmulatorControl::LastRequest()["document"].ToString("token"), token);

    bool online = false;
    EXPECT_EQ(Finish(Service().TokenHeartbeat(L"k1", [&](bool o) { online = o; })).code, 0);
    EXPECT_TRUE(online);

    // A refreshed token replaces the old one, which then stops working.
    std::string renewed;
    EXPECT_EQ(Finish(Service().TokenLogin(Wide(token).c_str(), L"k1",
                                          [&](const wchar_t* t) { renewed = Narrow(t); }))
                  .code,
              0);
    ASSERT_FALSE(renewed.empty());
    EXPECT_NE(renewed, token);
    EXPECT_EQ(Finish(Service().TokenHeartbeat(L"k1", [&](bool o) { online = o; })).code, 40101);
    EXPECT_FALSE(online);
    Service().SetToken(Wide(renewed));
    EXPECT_EQ(UserPhone(), mobile);
}

TEST_F(StandardFlows, WeChatQrLogInThroughASimulatedScan) {
    std::string key;
    QByteArray qr;
    ASSERT_EQ(Finish(Service().WecharReplyQRCode([&](const wchar_t* k, QByteArray q) {
                  key = Narrow(k);
                  qr = q;
              })).code,
              0);
    ASSERT_FALSE(key.empty());
    EXPECT_TRUE(qr.contains(key.c_str())) << qr.toStdString();

    auto query = [&](Outcome* outcome) {
        std::string seen = "<no callback>";
        *outcome = Finish(Service().WecharQueryToken(Wide(key).c_str(), [&](ISocketInfoWechar* wx) {
            seen = Narrow(wx->GetID()) + "|" + Narrow(wx->GetName()) + "|" + Narrow(wx->GetPhone());
        }));
        return seen;
    };
    Outcome outcome;
    EXPECT_EQ(query(&outcome), "||") << "not scanned yet: refused, with an empty profile";
    EXPECT_EQ(outcome.code, 40104);

    const XJson scan = ControlPost("/_emulator/wx/scan", R"({"key":")" + key + R"(","nickname":"扫码用户"})");
    const std::string openId = scan.ToString("openId");
    ASSERT_FALSE(openId.empty());
    EXPECT_EQ(query(&outcome), openId + "|扫码用户|");
    EXPECT_EQ(outcome.code, 0);

    // A WeChat account without a mobile cannot log in until it is bound to one.
    EXPECT_EQ(Finish(Service().WecharLogin(Wide(openId).c_str(), L"k2", [](const wchar_t*) {})).code, 40107);

    const std::string mobile = "13900001111";
    const auto [no, code] = SmsCode(mobile);
    std::string token;
    ASSERT_EQ(Finish(Service().WecharBindPhone(Wide(openId).c_str(), Wide(mobile).c_str(), Wide(code).c_str(),
                                               L"PELMOR", Wide(no).c_str(), L"k2",
                                               [&](const wchar_t* t) { token = Narrow(t); }))
                  .code,
              0);
    ASSERT_FALSE(token.empty());
    Service().SetToken(Wide(token));
    EXPECT_EQ(UserPhone(), mobile);

    // The referral code given at binding unlocked the second right; the pairing of keys is the service's.
    bool network = false, overGreen = false;
    EXPECT_EQ(Finish(Service().TokenQueryPower([&](ISocketQueryPower* power) {
                  network = power->GetVerifyNetwork();
                  overGreen = power->GetOverGreen();
              })).code,
              0);
    EXPECT_TRUE(network);
    EXPECT_TRUE(overGreen);

    std::string again;
    EXPECT_EQ(Finish(Service().WecharLogin(Wide(openId).c_str(), L"k2",
                                           [&](const wchar_t* t) { again = Narrow(t); }))
                  .code,
              0);
    EXPECT_FALSE(again.empty());
    EXPECT_EQ(query(&outcome), openId + "|扫码用户|" + mobile) << "the scan now shows the bound mobile";
}

struct FlaggedLine {
    EDeviceVerifyKey key;
    std::string original, now;
    bool operator<(const FlaggedLine& o) const { return key < o.key; }
    bool operator==(const FlaggedLine& o) const {
        return key == o.key && original == o.original && now == o.now;
    }
};

TEST_F(StandardFlows, VerificationReportsExactlyTheReplacedParts) {
    auto verify = [&](const std::string& sample, std::set<FlaggedLine>& flagged, std::string& open) {
        auto device = LoadDevice(sample);
        ASSERT_TRUE(device);
        int lines = 0, error = 0;
        std::string message;
        const Outcome outcome =
            Finish(Service().VerifyDevice(device.get(), FileBytes(*device), [&](ISocketInfoVerify* r) {
                error = r->GetError();
                message = Narrow(r->GetRequestMessage());
                open = Narrow(r->GetOpenState());
                r->TraverseItem([&](const ISocketInfoVerifyItem* item) {
                    ++lines;
                    if (item->GetShow())
                        flagged.insert({item->GetKey(), Narrow(item->GetOriginal()), Narrow(item->GetNow())});
                });
            }));
        EXPECT_EQ(outcome.code, 0) << outcome.message;
        EXPECT_EQ(error, 1);
        EXPECT_EQ(message, outcome.message);
        EXPECT_GT(lines, 20);
    };

    std::set<FlaggedLine> flagged;
    std::string open;
    verify("replaced-screen-battery", flagged, open);
    const std::set<FlaggedLine> expected = {
        {DEVICE_VERIFY_KEY_BATT, "F5D9318ZKXLN3P7QC", "HX4120G7TQ2M9K3PA"},
        {DEVICE_VERIFY_KEY_LCM, "C3F9LCM0987654321", "DKHLCM7702134455"},
    };
    EXPECT_TRUE(flagged == expected);
    EXPECT_EQ(open, "abnormal") << "replaced parts mean the case was opened";

    flagged.clear();
    verify("normal-complete", flagged, open);
    EXPECT_TRUE(flagged.empty()) << flagged.size() << " lines flagged on an original handset";
    EXPECT_EQ(open, "normal");
}

TEST_F(StandardFlows, ProfessionalReportFromPriceToReport) {
    LogIn("13700007777");
    auto device = LoadDevice("replaced-screen-battery");
    ASSERT_TRUE(device);
    const QByteArray file = FileBytes(*device);

    bool exist = false;
    double price = 0;
    ASSERT_EQ(Finish(Service().ProfessionalCheck(device.get(),
                                                 [&](bool e, double p) {
                                                     exist = e;
                                                     price = p;
                                                 }))
                  .code,
              0);
    EXPECT_TRUE(exist);
    const double offered = EmulatorControl::LastRequest()["response"]["reply"]["data"].ToDouble("price");
    EXPECT_GT(offered, 0);
    EXPECT_DOUBLE_EQ(price, offered);

    int reports = 0;
    auto report = [&](ISocketInfoProverify*) { ++reports; };
    EXPECT_EQ(Finish(Service().ProfessionalVerify(device.get(), file, report)).code, 40201) << "not paid yet";
    EXPECT_EQ(reports, 1) << "the refusal still reaches the callback";

    ControlPost("/_emulator/pay/auto", R"({"polls":0})");
    QString tradeNo;
    QByteArray qrcode;
    ASSERT_EQ(Finish(Service().PaymentPicture(device.get(), true,
                                              [&](QString t, QByteArray q) {
                                                  tradeNo = t;
                                                  qrcode = q;
                                              }))
                  .code,
              0);
    ASSERT_FALSE(tradeNo.isEmpty());
    EXPECT_TRUE(qrcode.contains(tradeNo.toUtf8()));

    auto paid = [&] {
        bool status = true;
        EXPECT_EQ(Finish(Service().PaymentResult(tradeNo, [&](bool s) { status = s; })).code, 0);
        return status;
    };
    EXPECT_FALSE(paid());
    EXPECT_FALSE(paid());
    ControlPost("/_emulator/pay", R"({"tradeNo":")" + tradeNo.toStdString() + R"("})");
    EXPECT_TRUE(paid());

    double reprice = 0;
    int variables = 0;
    std::string carrier, refurbished;
    const Outcome outcome =
        Finish(Service().ProfessionalVerify(device.get(), file, [&](ISocketInfoProverify* r) {
            reprice = r->Reprice();
            r->TraverseVariable([&](ISocketInfoProverifyVar*) { ++variables; });
            r->SearchVariable(SOCKET_PROVERIFY_VARIABLE_CARRIER,
                              [&](ISocketInfoProverifyVar* v) { carrier = v->GetValue().toStdString(); });
            r->TraverseItem([&](ISocketInfoProverifyItem* item) {
                if (item->GetKey() == SOCKET_PROVERIFY_ITEM_REFURBISHED)
                    refurbished = (item->GetSource() + " -> " + item->GetCurrent()).toStdString();
            });
        }));
    EXPECT_EQ(outcome.code, 0) << outcome.message;
    EXPECT_DOUBLE_EQ(reprice, offered) << "the report's price is the one on offer";
    EXPECT_EQ(variables, 19);
    EXPECT_FALSE(carrier.empty());
    EXPECT_EQ(refurbished, "否 -> 存在更换部件");

    // Left alone, an order pays itself on the configured poll.
    ControlPost("/_emulator/pay/auto", R"({"polls":2})");
    ASSERT_EQ(
        Finish(Service().PaymentPicture(device.get(), false, [&](QString t, QByteArray) { tradeNo = t; }))
            .code,
        0);
    EXPECT_FALSE(paid());
    EXPECT_TRUE(paid());
}

}  // namespace
