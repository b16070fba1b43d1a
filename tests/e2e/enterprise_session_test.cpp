// The enterprise session end to end: the token a log-in stores and every later request carries, what
// refusals and failed exchanges do to it, the refresh that never calls back, and the emulator's accounts.
#include <QRegularExpression>
#include <chrono>

#include "enterprise_support.h"

namespace {

using namespace enterprise_test;

class EnterpriseSession : public EnterpriseTest {};

long long NowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

TEST_F(EnterpriseSession, LogInStoresTheTokenAndLaterRequestsCarryIt) {
    std::wstring received;
    unsigned long long expires = 0;
    Reply reply(
        service->TokenCreate(kDemo, kDemoPassword, [&](const wchar_t* token, unsigned long long when) {
            received = token;
            expires = when;
            EXPECT_EQ(service->GetToken(), XString(token)) << "stored before the callback runs";
        }));
    ASSERT_TRUE(reply->IsSuccess());
    EXPECT_FALSE(received.empty());
    EXPECT_EQ(service->GetToken(), XString(received));
    EXPECT_GT(expires, static_cast<unsigned long long>(NowMs()));

    Reply beat(service->Heartbeat([](ISocketInfoHeartbeat*) {}));
    EXPECT_TRUE(beat->IsSuccess());
    EXPECT_EQ(EmulatorControl::LastRequest()["document"].ToXString("token"), XString(received));
}

TEST_F(EnterpriseSession, FailedExchangeLeavesTheOldToken) {
    const std::string old = LogIn();
    for (const char* failure : {R"("status":502)", R"("drop":true)"}) {
        SCOPED_TRACE(failure);
        EmulatorControl::Script(std::string(R"({"match":"/login",)") + failure + "}");
        bool called = false;
        Reply reply(service->TokenCreate(kDemo, kDemoPassword,
                                         [&](const wchar_t*, unsigned long long) { called = true; }));
        EXPECT_GE(reply->Code(), HALVEX_REPLY_CONNECT_ERROR);
        EXPECT_LE(reply->Code(), HALVEX_REPLY_HTTP_ERROR);
        EXPECT_FALSE(called);
        EXPECT_EQ(Token(), old);
    }
}

// A refusal is a received reply: it reaches the callback, and the token it carries (none) is stored.
TEST_F(EnterpriseSession, RefusedLogInCallsBackWithWhatTheRefusalCarries) {
    LogIn();
    int calls = 0;
    std::wstring received = L"unset";
    Reply reply(
        service->TokenCreate(kDemo, "wrong-password", [&](const wchar_t* token, unsigned long long when) {
            ++calls;
            received = token;
            EXPECT_EQ(when, 0u);
        }));
    EXPECT_FALSE(reply->IsSuccess());
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(received, L"");
    EXPECT_EQ(Token(), "");
}

TEST_F(EnterpriseSession, RefreshNeverCallsBackNorChangesTheToken) {
    const std::string token = LogIn();
    bool called = false;
    auto callback = [&](const wchar_t*, unsigned long long) { called = true; };
    Reply refreshed(service->TokenRefresh(callback));
    EXPECT_TRUE(refreshed->IsSuccess());

    EmulatorControl::Script(
        R"({"match":"cms.token.refresh","reply":{"code":0,"token":"other","data":{"token":"other","expires":1}}})");
    Reply scripted(service->TokenRefresh(callback));
    EXPECT_TRUE(scripted->IsSuccess());
    EXPECT_EQ(scripted->Token(), QString("other"));
    EXPECT_FALSE(called);
    EXPECT_EQ(Token(), token);

    // No argument check: it is sent without a callback too, and the emulator refuses a token it never issued.
    service->SetToken(XString(L"forged"));
    Reply refused(service->TokenRefresh(nullptr));
    EXPECT_EQ(refused->Code(), 40101);
    EXPECT_EQ(EmulatorControl::LastRequest().ToString("target"), "/brisel-ent/apicms.token.refresh");
}

TEST_F(EnterpriseSession, RequestsWithoutALiveTokenAreRefused) {
    for (const wchar_t* token : {L"", L"ent-forged"}) {
        service->SetToken(XString(token));
        int calls = 0;
        Reply balance(service->QueryDetails([&](ISocketQueryDetails* details) {
            ++calls;
            EXPECT_EQ(details->GetBalance(), 0.0);
        }));
        EXPECT_EQ(balance->Code(), 40101);
        EXPECT_EQ(balance->Error(), QString("TOKEN_INVALID"));
        EXPECT_EQ(calls, 1);
    }
    LogIn();
    Reply balance(
        service->QueryDetails([](ISocketQueryDetails* details) { EXPECT_EQ(details->GetBalance(), 100.0); }));
    EXPECT_TRUE(balance->IsSuccess());
}

TEST_F(EnterpriseSession, HeartbeatAnswersServerTimeAndTheCallersAddress) {
    LogIn();
    std::string date, address;
    Reply beat(service->Heartbeat([&](ISocketInfoHeartbeat* info) {
        date = info->GetTime();
        address = info->GetAddress();
    }));
    EXPECT_TRUE(QRegularExpression("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d$")
                    .match(QString::fromStdString(date))
                    .hasMatch())
        << date;
    EXPECT_EQ(address, "127.0.0.1");

    // Unchecked: without a callback the request still goes out (a failed exchange then calls nothing).
    EmulatorControl::Script(R"({"match":"/user/heartbeat","status":504})");
    const unsigned before = EmulatorControl::Log().GetArraySize();
    Reply unanswered(service->Heartbeat(nullptr));
    EXPECT_EQ(unanswered->Code(), HALVEX_REPLY_CONNECT_ERROR);
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), before + 1);
}

TEST_F(EnterpriseSession, PasswordChangeNeedsTheOldPassword) {
    LogIn();
    Reply wrongOld(service->ChangePassword("not-it", "new-secret"));
    EXPECT_EQ(wrongOld->Code(), 40113);
    Reply tooShort(service->ChangePassword(kDemoPassword, "abc"));
    EXPECT_EQ(tooShort->Code(), 40004);
    Reply changed(service->ChangePassword(kDemoPassword, "new-secret"));
    EXPECT_TRUE(changed->IsSuccess());

    Reply oldRefused(service->TokenCreate(kDemo, kDemoPassword, [](const wchar_t*, unsigned long long) {}));
    EXPECT_EQ(oldRefused->Code(), 40111);
    EXPECT_FALSE(LogIn(kDemo, "new-secret").empty());
}

}  // namespace
