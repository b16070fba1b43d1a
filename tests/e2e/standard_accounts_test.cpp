// The standard edition's account, log-in and notification operations against the running emulator.
#include <gtest/gtest.h>

#include "EmulatorControl.h"
#include "OperationTable.h"

namespace {

using Seen = std::string&;

// Callbacks that write down what they were given.
std::function<void(const wchar_t*)> Text(Seen seen) {
    return [&seen](const wchar_t* text) { seen += Narrow(text) + ";"; };
}

std::vector<OperationCase> Table() {
    return {
        {"PhoneQueryVerify", "sms.code", R"({"mobile":"13800138000"})", R"({"no":"n-42"})",
         [](PelmorSocketInterface& s, Seen seen) { return s.PhoneQueryVerify(L"13800138000", Text(seen)); },
         "n-42;"},
        // An empty text is still an argument.
        {"PhoneLogin", "login.mobile", R"({"mobile":"13800138000","code":"4321","no":"n-42","key":""})",
         R"({"token":"tk-1"})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.PhoneLogin(L"13800138000", L"4321", L"n-42", L"", Text(seen));
         },
         "tk-1;"},
        // The QR text is handed over as bytes up to its first zero byte.
        {"WecharReplyQRCode", "login.wx.qr", R"({"way":1})",
         R"({"qr":"https://wx.example/q?k=9\u0000tail","key":"k-9"})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.WecharReplyQRCode([&seen](const wchar_t* key, QByteArray qr) {
                 seen += Narrow(key) + "|" + qr.toStdString();
             });
         },
         "k-9|https://wx.example/q?k=9"},
        {"WecharQueryToken", "login.wx.user", R"({"key":"k-9"})",
         R"({"openId":"o-1","nickname":"Zoë","avatar":"a.png","mobile":"138"})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.WecharQueryToken(L"k-9", [&seen](ISocketInfoWechar* user) {
                 seen += Narrow(user->GetID()) + "," + Narrow(user->GetName());
             });
         },
         "o-1,Zoë"},
        {"WecharBindPhone", "login.bind.mobile",
         R"({"openId":"o-1","mobile":"13800138000","code":"4321","referralCode":"R7","no":"n-42","key":"k-9"})",
         R"({"token":"tk-2"})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.WecharBindPhone(L"o-1", L"13800138000", L"4321", L"R7", L"n-42", L"k-9", Text(seen));
         },
         "tk-2;"},
        {"WecharLogin", "login.wx", R"({"openId":"o-1","key":"k-9"})", R"({"token":"tk-3"})",
         [](PelmorSocketInterface& s, Seen seen) { return s.WecharLogin(L"o-1", L"k-9", Text(seen)); },
         "tk-3;"},
        // The old token goes as a parameter; the data's token is what the callback gets.
        {"TokenLogin", "token.refresh", R"({"token":"tk-3","key":"k-9"})", R"({"token":"tk-4"})",
         [](PelmorSocketInterface& s, Seen seen) { return s.TokenLogin(L"tk-3", L"k-9", Text(seen)); },
         "tk-4;"},
        {"TokenHeartbeat", "user.beat", R"({"key":"clé"})", R"({"online":true})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.TokenHeartbeat(L"cl\u00e9",
                                     [&seen](bool online) { seen += online ? "online" : "offline"; });
         },
         "online"},
        {"TokenUpdateSpread", "user.privilege.unlock", R"({"referralCode":"R7"})", R"({})",
         [](PelmorSocketInterface& s, Seen) { return s.TokenUpdateSpread(L"R7"); }, ""},
        {"TokenQueryUser", "user.info", R"({})",
         R"({"uid":9007199254740993,"nickname":"Zoë","avatar":"a.png","mobile":"138"})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.TokenQueryUser([&seen](ISocketInfoUser* user) {
                 seen += std::to_string(user->GetID()) + "," + Narrow(user->GetName());
             });
         },
         "9007199254740993,Zoë"},
        {"TokenQueryPower", "user.privilege", R"({})", R"({"deviceCheck":{"IMEID":true,"HARDDISK":false}})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.TokenQueryPower([&seen](ISocketQueryPower* power) {
                 seen += std::to_string(power->GetVerifyNetwork()) + std::to_string(power->GetOverGreen());
             });
         },
         "10"},
        // One call per element, in array order.
        {"TokenQueryNotifyList", "msg.lists", R"({})",
         R"({"ids":[{"id":3,"updateTime":1700000000300},{"id":1,"updateTime":10},{"id":2,"updateTime":20}]})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.TokenQueryNotifyList([&seen](long long id, long long updated) {
                 seen += std::to_string(id) + "@" + std::to_string(updated) + ";";
             });
         },
         "3@1700000000300;1@10;2@20;"},
        {"TokenQueryNotifyList without ids", "msg.lists", R"({})", R"({"count":0})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.TokenQueryNotifyList([&seen](long long, long long) { seen += "called;"; });
         },
         ""},
        {"TokenQueryNotify", "msg.details", R"({"id":5000000000})",
         R"({"id":5000000000,"title":"Hi","system":false})",
         [](PelmorSocketInterface& s, Seen seen) {
             return s.TokenQueryNotify(5000000000LL, [&seen](ISocketInfoNotify* notice) {
                 seen += std::to_string(notice->GetID()) + "," + Narrow(notice->GetTitle());
             });
         },
         "5000000000,Hi"},
        {"TokenModifyPhone", "user.mobile.change", R"({"mobile":"13900139000","code":"1111","no":"n-43"})",
         R"({})",
         [](PelmorSocketInterface& s, Seen) { return s.TokenModifyPhone(L"13900139000", L"1111", L"n-43"); },
         ""},
        {"RequestVerifyCode", "smscode", R"({"mobile":"13800138000"})", R"({})",
         [](PelmorSocketInterface& s, Seen) { return s.RequestVerifyCode("13800138000"); }, ""},
    };
}

class StandardAccounts : public StandardServiceTest {};

TEST_F(StandardAccounts, EachRequestIsSentAndItsAnswerOrRefusalHandedOverButNotAFailure) {
    ExpectEveryExchange(Service(), Table());
}

TEST_F(StandardAccounts, MissingArgumentsSendNothing) {
    PelmorSocketInterface& s = Service();
    const auto text = [](const wchar_t*) {};
    ExpectNothingSent({
        {"PhoneQueryVerify mobile", [&] { return s.PhoneQueryVerify(nullptr, text); }},
        {"PhoneQueryVerify callback", [&] { return s.PhoneQueryVerify(L"1", nullptr); }},
        {"PhoneLogin no", [&] { return s.PhoneLogin(L"1", L"2", nullptr, L"4", text); }},
        {"PhoneLogin callback", [&] { return s.PhoneLogin(L"1", L"2", L"3", L"4", nullptr); }},
        {"WecharReplyQRCode callback", [&] { return s.WecharReplyQRCode(nullptr); }},
        {"WecharQueryToken key", [&] { return s.WecharQueryToken(nullptr, [](ISocketInfoWechar*) {}); }},
        {"WecharQueryToken callback", [&] { return s.WecharQueryToken(L"k", nullptr); }},
        {"WecharBindPhone referral code",
         [&] { return s.WecharBindPhone(L"1", L"2", L"3", nullptr, L"5", L"6", text); }},
        {"WecharBindPhone callback",
         [&] { return s.WecharBindPhone(L"1", L"2", L"3", L"4", L"5", L"6", nullptr); }},
        {"WecharLogin open id", [&] { return s.WecharLogin(nullptr, L"2", text); }},
        {"WecharLogin callback", [&] { return s.WecharLogin(L"1", L"2", nullptr); }},
        {"TokenLogin key", [&] { return s.TokenLogin(L"1", nullptr, text); }},
        {"TokenLogin callback", [&] { return s.TokenLogin(L"1", L"2", nullptr); }},
        {"TokenHeartbeat key", [&] { return s.TokenHeartbeat(nullptr, [](bool) {}); }},
        {"TokenHeartbeat callback", [&] { return s.TokenHeartbeat(L"k", nullptr); }},
        {"TokenUpdateSpread", [&] { return s.TokenUpdateSpread(nullptr); }},
        {"TokenQueryUser", [&] { return s.TokenQueryUser(nullptr); }},
        {"TokenQueryPower", [&] { return s.TokenQueryPower(nullptr); }},
        {"TokenQueryNotifyList", [&] { return s.TokenQueryNotifyList(nullptr); }},
        {"TokenQueryNotify", [&] { return s.TokenQueryNotify(1, nullptr); }},
        {"TokenModifyPhone mobile", [&] { return s.TokenModifyPhone(nullptr, L"2", L"3"); }},
        {"RequestVerifyCode", [&] { return s.RequestVerifyCode(nullptr); }},
    });
}

TEST_F(StandardAccounts, CensusOperationTellsOnlyWhetherAnAnswerCame) {
    PelmorSocketInterface& s = Service();
    EXPECT_TRUE(s.CensusOperation(XString(L"verify"), XString(), true));
    EXPECT_EQ(EmulatorControl::LastRequest()["document"]["params"].ToJson(),
              R"({"function":"verify","event":"start","result":1})")
        << "an empty event is sent as the start";

    EmulatorControl::Script(
        R"({"match":"count.clientFunction","reply":{"code":40107,"error":"NO","msg":"","data":null}})");
    EXPECT_TRUE(s.CensusOperation(XString(L"report"), XString(L"click"), false)) << "a refusal is an answer";
    EXPECT_EQ(EmulatorControl::LastRequest()["document"]["params"].ToJson(),
              R"({"function":"report","event":"click","result":0})");

    EmulatorControl::Script(R"({"match":"count.clientFunction","status":502})");
    EXPECT_FALSE(s.CensusOperation(XString(L"report"), XString(L"click"), false));
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), 3u);
}

TEST_F(StandardAccounts, ALogInLeavesTheSessionTokenToTheHost) {
    PelmorSocketInterface& s = Service();
    EmulatorControl::Script(
        R"({"match":"login.mobile","reply":{"code":0,"token":"envelope-token","data":{"token":"tk-new"}}})");
    std::wstring received;
    ISocketReply* reply =
        s.PhoneLogin(L"13800138000", L"4321", L"n-42", L"k", [&](const wchar_t* token) { received = token; });
    reply->Release();
    EXPECT_EQ(received, L"tk-new");
    EXPECT_EQ(s.GetToken(), XString(L"session-7")) << "nothing stores the token by itself";
}

}  // namespace
