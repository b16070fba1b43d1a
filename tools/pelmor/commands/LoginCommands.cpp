// Standard edition log-in: by SMS code, by WeChat QR code, or again with a saved token; the heartbeat
// and the account changes that need an SMS code.
#include <pelmor/HalvexReply.h>
#include <pelmor/records/AccountRecords.h>

#include <iostream>
#include <optional>

#include "Command.h"
#include "HttpClient.h"
#include "Terminal.h"

namespace pelmor {

namespace {

// The key sent with log-ins and heartbeats: --key, else this installation's own.
XString Key(Session& s, const Args& a) {
    return Wide(a.Get("--key", s.state().key));
}

XString Serial(Session& s, const Args& a, const std::string& mobile) {
    if (a.Has("--serial")) return Wide(a.Get("--serial"));
    return Wide(mobile == s.state().mobile ? s.state().serial : std::string());
}

// Runs a log-in whose callback hands back a token, and keeps that token.
int LogIn(Session& s, const std::string& what,
          const std::function<ISocketReply*(std::function<void(const wchar_t*)>)>& call) {
    std::string token;
    const int status = s.Call(what, [&] { return call([&](const wchar_t* t) { token = Utf8(t); }); });
    if (status != kOk) return status;
    if (token.empty()) return s.Fail(what, "the service answered without a token", kFailed);
    s.KeepToken(token);
    s.Show(JsonObject{{"loggedIn", true}, {"token", token}});
    return kOk;
}

int SmsCode(Session& s, const Args& a) {
    std::string serial;
    const int status = s.Call("sms-code", [&] {
        return s.S().PhoneQueryVerify(Wide(a[0]).c_str(), [&](const wchar_t* no) { serial = Utf8(no); });
    });
    if (status != kOk) return status;
    s.state().mobile = a[0];
    s.state().serial = serial;
    s.SaveState();
    JsonObject out{{"mobile", a[0]}, {"serial", serial}};
    // The emulator sends no text message; say where its code can be read instead.
    if (EmulatorAnswers(ServiceHost()))
        out["emulatorShowsCodeAt"] = "http://" + ServiceHost() + "/_emulator/sms?mobile=" + a[0];
    s.Show(out);
    return kOk;
}

int Login(Session& s, const Args& a) {
    const XString mobile = Wide(a[0]), code = Wide(a[1]), serial = Serial(s, a, a[0]), key = Key(s, a);
    return LogIn(s, "login", [&](auto callback) {
        return s.S().PhoneLogin(mobile.c_str(), code.c_str(), serial.c_str(), key.c_str(), callback);
    });
}

JsonObject WecharProfile(ISocketInfoWechar* w) {
    return {{"openId", Utf8(w->GetID())},
            {"name", Utf8(w->GetName())},
            {"phone", Utf8(w->GetPhone())},
            {"headImage", Utf8(w->GetHeadImage())}};
}

int WecharStatus(Session& s, const Args& a) {
    return s.Exchange("wechat-status", [&](JsonObject& out) {
        return s.S().WecharQueryToken(Wide(a[0]).c_str(),
                                      [&](ISocketInfoWechar* w) { out = WecharProfile(w); });
    });
}

// Shows the QR code, waits until someone scans it, then logs in with the WeChat account found.
int Wechat(Session& s, const Args& a) {
    long long timeout = 0;
    if (const int bad = IntegerOption(s, a, "--timeout", 120, 1, 86400, timeout)) return bad;
    std::string key;
    QByteArray qr;
    int status = s.Call("wechat", [&] {
        return s.S().WecharReplyQRCode([&](const wchar_t* k, QByteArray code) {
            key = Utf8(k);
            qr = code;
        });
    });
    if (status != kOk) return status;
    if (key.empty()) return s.Fail("wechat", "the service answered without a QR key", kFailed);
    if (!s.options().json && !DrawQRCode(qr)) std::cout << "QR code: " << qr.toStdString() << '\n';
    // With --json, stdout carries JSON only; the instructions go to stderr.
    (s.options().json ? std::cerr : std::cout)
        << "Scan the code with WeChat (key " << key << ")." << std::endl;
    if (a.Has("--no-wait")) {
        s.Show(JsonObject{{"key", key}, {"qrPayload", qr.toStdString()}});
        return kOk;
    }
    JsonObject profile;
    std::string openId;
    const int waited =
        s.Wait("wechat", "waiting for the scan", static_cast<int>(timeout), 2,
               "nobody scanned the code within " + std::to_string(timeout) + " s",
               [&](std::string& note) -> std::optional<int> {
                   const Session::Answer answer = s.Ask([&] {
                       return s.S().WecharQueryToken(Wide(key).c_str(), [&](ISocketInfoWechar* w) {
                           profile = WecharProfile(w);
                           openId = Utf8(w->GetID());
                       });
                   });
                   // The service refuses the question until the code is scanned; only local failures end the
                   // wait.
                   if (!answer.offered || (!answer.success && answer.code <= HALVEX_REPLY_HTTP_ERROR))
                       return s.Report("wechat", answer);
                   if (answer.success && !openId.empty()) return kOk;
                   note = answer.message;
                   return std::nullopt;
               });
    if (waited != kOk) return waited;
    const XString wideId = Wide(openId), wideKey = Wide(key);
    std::string token;
    const Session::Answer answer = s.Ask([&] {
        return s.S().WecharLogin(wideId.c_str(), wideKey.c_str(), [&](const wchar_t* t) { token = Utf8(t); });
    });
    if (answer.success) {
        if (token.empty()) return s.Fail("wechat", "the service answered without a token", kFailed);
        s.KeepToken(token);
        s.Show(JsonObject{{"loggedIn", true}, {"token", token}, {"wechat", profile}});
        return kOk;
    }
    // Most often the WeChat account has no mobile number yet; say how to bind one.
    Session::Answer told = answer;
    if (answer.offered && answer.code > HALVEX_REPLY_HTTP_ERROR)
        told.message += " (to bind a mobile number: pelmor sms-code MOBILE; pelmor wechat-bind " + openId +
                        " MOBILE CODE)";
    return s.Report("wechat", told);
}

int WecharLogin(Session& s, const Args& a) {
    const XString openId = Wide(a[0]), key = Key(s, a);
    return LogIn(s, "wechat-login",
                 [&](auto callback) { return s.S().WecharLogin(openId.c_str(), key.c_str(), callback); });
}

int WecharBind(Session& s, const Args& a) {
    const XString openId = Wide(a[0]), mobile = Wide(a[1]), code = Wide(a[2]),
                  referral = Wide(a.Get("--referral")), serial = Serial(s, a, a[1]), key = Key(s, a);
    return LogIn(s, "wechat-bind", [&](auto callback) {
        return s.S().WecharBindPhone(openId.c_str(), mobile.c_str(), code.c_str(), referral.c_str(),
                                     serial.c_str(), key.c_str(), callback);
    });
}

int TokenLogin(Session& s, const Args& a) {
    const XString token = Wide(a.At(0, s.state().token)), key = Key(s, a);
    if (token.empty()) return s.Fail("token-login", "no saved token: log in first");
    return LogIn(s, "token-login",
                 [&](auto callback) { return s.S().TokenLogin(token.c_str(), key.c_str(), callback); });
}

int Heartbeat(Session& s, const Args& a) {
    return s.Exchange("heartbeat", [&](JsonObject& out) {
        return s.S().TokenHeartbeat(Key(s, a).c_str(), [&](bool online) { out["online"] = online; });
    });
}

int Referral(Session& s, const Args& a) {
    return s.Exchange("referral", [&](JsonObject&) { return s.S().TokenUpdateSpread(Wide(a[0]).c_str()); });
}

int ChangePhone(Session& s, const Args& a) {
    const XString mobile = Wide(a[0]), code = Wide(a[1]), serial = Serial(s, a, a[0]);
    return s.Exchange("change-phone", [&](JsonObject&) {
        return s.S().TokenModifyPhone(mobile.c_str(), code.c_str(), serial.c_str());
    });
}

int SmsRequest(Session& s, const Args& a) {
    return s.Exchange("sms-request", [&](JsonObject&) { return s.S().RequestVerifyCode(a[0].c_str()); });
}

}  // namespace

std::vector<Command> LoginCommands() {
    const auto e = PELMOR_SOCKET_EDITION_STANDARD;
    const char* g = kGroupLogin;
    return {
        {g, "sms-code", e, "MOBILE", "", 1, 1,
         "send an SMS code to MOBILE; its serial is kept for the log-in", SmsCode},
        {g, "login", e, "MOBILE CODE [--serial NO] [--key KEY]", "--serial= --key=", 2, 2,
         "log in with the SMS code; the token is kept for later commands", Login},
        {g, "wechat", e, "[--no-wait] [--timeout S]", "--no-wait --timeout=", 0, 0,
         "show the WeChat log-in QR code, wait for the scan and log in", Wechat},
        {g, "wechat-status", e, "KEY", "", 1, 1, "who has scanned the QR code of KEY", WecharStatus},
        {g, "wechat-login", e, "OPENID [--key KEY]", "--key=", 1, 1, "log in with a WeChat account",
         WecharLogin},
        {g, "wechat-bind", e, "OPENID MOBILE CODE [--referral CODE] [--serial NO] [--key KEY]",
         "--referral= --serial= --key=", 3, 3, "bind a mobile number to a WeChat account and log in",
         WecharBind},
        {g, "token-login", e, "[TOKEN] [--key KEY]", "--key=", 0, 1,
         "log in again with the saved (or given) token and keep the new one", TokenLogin},
        {g, "heartbeat", e, "[--key KEY]", "--key=", 0, 0,
         "keep the session alive; shows whether it is online", Heartbeat},
        {g, "referral", e, "CODE", "", 1, 1, "unlock privileges with a referral code", Referral},
        {g, "change-phone", e, "MOBILE CODE [--serial NO]", "--serial=", 2, 2,
         "change the account's mobile number (SMS code from sms-code)", ChangePhone},
        {g, "sms-request", e, "MOBILE", "", 1, 1, "ask for an SMS code with the plain request (no serial)",
         SmsRequest},
    };
}

}  // namespace pelmor
