// Every enterprise operation against the emulator: the address it posts to and the request document
// exactly as it arrives, the callback on a received reply (a refusal included) but not on a failed
// exchange, and the argument checks that send nothing.
#include <functional>
#include <vector>

#include "TestData.h"
#include "enterprise_support.h"

namespace {

using namespace enterprise_test;

const std::string kEcidSerial = R"({"ecid":"000E2D4C1B3A5968","srnm":"F2LZK3XYN72J"})";

class EnterpriseRequests : public EnterpriseTest {
  protected:
    void SetUp() override {
        EnterpriseTest::SetUp();
        device = LoadDevice("normal-complete");
        ASSERT_TRUE(device);
    }

    struct Operation {
        const char* suffix;  // as appended to the enterprise address
        std::string params;  // exactly as sent
        int callbacks;       // on a received reply
        std::function<ISocketReply*(int& calls)> run;
    };

    std::vector<Operation> Operations() {
        PelmorSocketInterface* s = service;
        ISocketDevice* d = device.get();
        const std::string description = XJson(ReadTestData("devices/normal-complete.expected.json")).ToJson();
        return {
            {"/login", R"({"account":"demo","password":"demo1234"})", 1,
             [s](int& n) {
                 return s->TokenCreate("demo", "demo1234", [&n](const wchar_t*, unsigned long long) { ++n; });
             }},
            {"cms.token.refresh", R"({"accessToken":"$TOKEN"})", 0,
             [s](int& n) { return s->TokenRefresh([&n](const wchar_t*, unsigned long long) { ++n; }); }},
            {"/user/heartbeat", "{}", 1,
             [s](int& n) { return s->Heartbeat([&n](ISocketInfoHeartbeat*) { ++n; }); }},
            {"/user/info", R"({"account":"demo"})", 1,
             [s](int& n) { return s->UserImage("demo", [&n](ISocketInfoAccount*) { ++n; }); }},
            {"/passwd/change", R"({"passwordOld":"demo1234","passwordNew":"demo1234"})", 0,
             [s](int&) { return s->ChangePassword("demo1234", "demo1234"); }},
            {"/device/check", R"({"info":)" + description + R"(,"file":"AB","ecid":"000E2D4C1B3A5968"})", 1,
             [s, d](int& n) {
                 return s->VerifyDevice(d, QByteArray("AB\0C", 4), [&n](ISocketInfoVerify*) { ++n; });
             }},
            {"/ipsw/brush", R"({"type":"iPhone12,1"})", 1,
             [s, d](int& n) { return s->DeviceIpsw(d, [&n](ISocketInfoIpsw*) { ++n; }); }},
            {"/user/feedback",
             R"({"contactWay":"qq 800012345","message":"报告里的电池一项不对","osVer":"macOS 14.1",)"
             R"("itunesVer":"12.13.1","deviceName":"Zoë's iPhone","ecid":"000E2D4C1B3A5968"})",
             1,
             [s](int& n) {
                 static Form form;
                 return s->Feedback(&form, [&n](QString) { ++n; });
             }},
            {"/device/fields", "{}", 1, [s](int& n) { return s->DeviceKey([&n](ISocketInfoKey*) { ++n; }); }},
            {"/device/details", R"({"ecid":"000E2D4C1B3A5968"})", 1,
             [s, d](int& n) { return s->QueryBasic(d, [&n](ISocketQueryBasic*) { ++n; }); }},
            {"/ckcheck/details", "{}", 1,
             [s](int& n) { return s->QueryDetails([&n](ISocketQueryDetails*) { ++n; }); }},
            {"/ckcheck/idlock", kEcidSerial, 1,
             [s, d](int& n) { return s->QueryIdlock(d, [&n](ISocketQueryIdlock*) { ++n; }); }},
            {"/ckcheck/warranty", kEcidSerial, 1,
             [s, d](int& n) { return s->QueryWarranty(d, [&n](const ISocketQueryWarranty*) { ++n; }); }},
            {"/ckcheck/refurbish", kEcidSerial, 1,
             [s, d](int& n) { return s->QueryRefurbish(d, [&n](ISocketQueryRefurbish*) { ++n; }); }},
            {"/ckcheck/simlock", kEcidSerial, 1,
             [s, d](int& n) { return s->QuerySimlock(d, [&n](ISocketQuerySimlock*) { ++n; }); }},
            {"/ckcheck/bill/daily", R"({"date":"2026-11-01"})", 1,
             [s](int& n) { return s->QueryInvoice("2026-11-01", [&n](ISocketQueryInvoice*) { ++n; }); }},
        };
    }

    std::unique_ptr<CDeviceFile> device;
};

TEST_F(EnterpriseRequests, EachOperationPostsItsPathAndDocumentAndCallsBackOnce) {
    LogIn();
    for (const Operation& op : Operations()) {
        SCOPED_TRACE(op.suffix);
        std::string params = op.params;
        if (const auto at = params.find("$TOKEN"); at != std::string::npos) params.replace(at, 6, Token());
        const std::string expected = Document(params, Token());
        const unsigned before = EmulatorControl::Log().GetArraySize();

        int calls = 0;
        Reply reply(op.run(calls));
        ASSERT_TRUE(reply);
        EXPECT_TRUE(reply->IsSuccess()) << reply->Code() << " " << reply->Message().toStdString();
        EXPECT_EQ(calls, op.callbacks);

        const XJson log = EmulatorControl::Log();
        ASSERT_EQ(log.GetArraySize(), before + 1) << "exactly one request";
        const XJson sent = log[before];
        EXPECT_EQ(sent.ToString("target"), std::string("/brisel-ent/api") + op.suffix);
        EXPECT_EQ(sent["document"].ToJson(), expected);
    }
}

// A refusal is a received reply and reaches the callback; a failed exchange reaches nothing.
TEST_F(EnterpriseRequests, RefusalsCallBackAndFailedExchangesDoNot) {
    for (const Operation& op : Operations()) {
        SCOPED_TRACE(op.suffix);
        const std::string match = std::string(R"({"match":")") + op.suffix + "\",";
        EmulatorControl::Script(match +
                                R"("reply":{"code":40999,"error":"BUSY","msg":"稍后再试","data":null}})");
        int calls = 0;
        Reply refused(op.run(calls));
        EXPECT_EQ(refused->Code(), 40999);
        EXPECT_EQ(refused->Message(), QString::fromUtf8("稍后再试"));
        EXPECT_EQ(calls, op.callbacks);

        EmulatorControl::Script(match + R"("status":502})");
        calls = 0;
        Reply failed(op.run(calls));
        EXPECT_EQ(failed->Code(), HALVEX_REPLY_CONNECT_ERROR);
        EXPECT_EQ(calls, 0);
    }
}

TEST_F(EnterpriseRequests, MissingArgumentsSendNothing) {
    PelmorSocketInterface& s = *service;
    ISocketDevice* d = device.get();
    const auto noFile = LoadDevice("recovery");  // no file record: it cannot be verified
    ASSERT_TRUE(noFile && !noFile->GetFileRecord());
    Form form;
    bool called = false;
    auto token = [&](const wchar_t*, unsigned long long) { called = true; };
    const QByteArray file("AB");

    const std::vector<std::function<ISocketReply*()>> calls = {
        [&] { return s.TokenCreate(nullptr, "demo1234", token); },
        [&] { return s.TokenCreate("demo", nullptr, token); },
        [&] { return s.TokenCreate("demo", "demo1234", nullptr); },
        [&] { return s.UserImage(nullptr, [&](ISocketInfoAccount*) { called = true; }); },
        [&] { return s.UserImage("demo", nullptr); },
        [&] { return s.ChangePassword(nullptr, "new-password"); },
        [&] { return s.ChangePassword("demo1234", nullptr); },
        [&] { return s.VerifyDevice(nullptr, file, [&](ISocketInfoVerify*) { called = true; }); },
        [&] { return s.VerifyDevice(d, file, nullptr); },
        [&] { return s.VerifyDevice(noFile.get(), file, [&](ISocketInfoVerify*) { called = true; }); },
        [&] { return s.DeviceIpsw(nullptr, [&](ISocketInfoIpsw*) { called = true; }); },
        [&] { return s.DeviceIpsw(d, nullptr); },
        [&] { return s.Feedback(nullptr, [&](QString) { called = true; }); },
        [&] { return s.Feedback(&form, nullptr); },
        [&] { return s.DeviceKey(nullptr); },
        [&] { return s.QueryBasic(nullptr, [&](ISocketQueryBasic*) { called = true; }); },
        [&] { return s.QueryBasic(d, nullptr); },
        [&] { return s.QueryDetails(nullptr); },
        [&] { return s.QueryIdlock(nullptr, [&](ISocketQueryIdlock*) { called = true; }); },
        [&] { return s.QueryIdlock(d, nullptr); },
        [&] { return s.QueryWarranty(nullptr, [&](const ISocketQueryWarranty*) { called = true; }); },
        [&] { return s.QueryWarranty(d, nullptr); },
        [&] { return s.QueryRefurbish(nullptr, [&](ISocketQueryRefurbish*) { called = true; }); },
        [&] { return s.QueryRefurbish(d, nullptr); },
        [&] { return s.QuerySimlock(nullptr, [&](ISocketQuerySimlock*) { called = true; }); },
        [&] { return s.QuerySimlock(d, nullptr); },
        [&] { return s.QueryInvoice(nullptr, [&](ISocketQueryInvoice*) { called = true; }); },
        [&] { return s.QueryInvoice("2026-11-01", nullptr); },
    };
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(i);
        Reply reply(calls[i]());
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->Code(), HALVEX_REPLY_INVALID_ARG);
        EXPECT_EQ(reply->Error(), QString("HALVEX_REPLY_INVALID_ARG"));
    }
    EXPECT_FALSE(called);
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), 0u);
}

}  // namespace
