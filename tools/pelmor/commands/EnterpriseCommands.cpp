// The enterprise edition: its session, the account, and its per-device checks and bill.
#include <pelmor/Records.h>
#include <pelmor/platform/XJson.h>

#include <boost/json/serialize.hpp>
#include <ctime>

#include "Command.h"
#include "DeviceFile.h"
#include "Terminal.h"
#include "commands/Flows.h"

namespace pelmor {

namespace {

int Login(Session& s, const Args& a) {
    std::string password = a.At(1);
    if (a.Count() < 2 && (!Prompt("password: ", password, true) || password.empty()))
        return s.Fail("ent login", "no password given");
    std::string token;
    unsigned long long expires = 0;
    const int status = s.Call("ent login", [&] {
        return s.S().TokenCreate(a[0].c_str(), password.c_str(), [&](const wchar_t* t, unsigned long long e) {
            token = Utf8(t);
            expires = e;
        });
    });
    if (status != kOk) return status;
    s.state().enterpriseAccount = a[0];
    s.state().enterpriseExpires = expires;
    s.KeepToken(token);
    JsonObject out{{"loggedIn", true}, {"account", a[0]}, {"token", token}};
    PutTime(out, "expires", static_cast<long long>(expires));
    s.Show(out);
    return kOk;
}

int Refresh(Session& s, const Args&) {
    // The library keeps its token and never calls back: the new expiry (and a token, should the service
    // hand out a new one) is read from the reply's data.
    Session::Answer answer;
    const int status = s.Call(
        "ent refresh", [&] { return s.S().TokenRefresh([](const wchar_t*, unsigned long long) {}); },
        &answer);
    if (status != kOk) return status;
    const XJson data(boost::json::serialize(answer.data));
    const unsigned long long expires = data.Contains("expires") ? data.ToInt64("expires") : 0;
    if (!data.ToString("token").empty() && data.ToString("token") != s.state().enterpriseToken)
        s.KeepToken(data.ToString("token"));
    if (expires) s.state().enterpriseExpires = expires;
    if (!s.SaveState()) return s.Fail("ent refresh", "the state file could not be written", kFailed);
    JsonObject out{{"refreshed", true}, {"token", s.state().enterpriseToken}};
    PutTime(out, "expires", static_cast<long long>(s.state().enterpriseExpires));
    s.Show(out);
    return kOk;
}

int Heartbeat(Session& s, const Args&) {
    return s.Exchange("ent heartbeat", [&](JsonObject& out) {
        return s.S().Heartbeat([&](ISocketInfoHeartbeat* h) {
            out = {{"serverTime", ServiceTime(Utf8(h->GetTime()))}, {"seenFrom", Utf8(h->GetAddress())}};
        });
    });
}

int Account(Session& s, const Args& a) {
    const std::string account = a.At(0, s.state().enterpriseAccount);
    if (account.empty()) return s.Fail("ent account", "which account? (log in first or name it)");
    return s.Exchange("ent account", [&](JsonObject& out) {
        return s.S().UserImage(account.c_str(), [&](ISocketInfoAccount* p) {
            out = {{"nickname", Utf8(p->GetNickName())},   {"merchant", Utf8(p->GetMerchantName())},
                   {"avatar", Utf8(p->GetAvatar())},       {"avatarSmall", Utf8(p->GetAvatarSmall())},
                   {"avatarBig", Utf8(p->GetAvatarBig())}, {"merchantLogo", Utf8(p->GetMerchantLogo())}};
        });
    });
}

int Password(Session& s, const Args& a) {
    return s.Exchange("ent password",
                      [&](JsonObject&) { return s.S().ChangePassword(a[0].c_str(), a[1].c_str()); });
}

int Balance(Session& s, const Args&) {
    return s.Exchange("ent balance", [&](JsonObject& out) {
        return s.S().QueryDetails([&](ISocketQueryDetails* d) { out["balance"] = d->GetBalance(); });
    });
}

int Basic(Session& s, const Args& a) {
    auto device = s.Device("ent basic", a[0]);
    if (!device) return kBadInput;
    return s.Exchange("ent basic", [&](JsonObject& out) {
        return s.S().QueryBasic(device.get(), [&](ISocketQueryBasic* b) {
            out = {{"frontColour", Utf8(b->GetColorFront())}, {"backColour", Utf8(b->GetColorBack())}};
        });
    });
}

// The three checks hand one line each, alike in all but their type.
template <typename Record>
JsonObject CheckLine(Record* r) {
    return {{"key", Utf8(r->GetKey())},
            {"name", Utf8(r->GetName())},
            {"result", Utf8(r->GetResult())},
            {"shown", r->GetShow()}};
}

int Check(Session& s, const Args& a, const std::string& which) {
    const std::string what = "ent " + which;
    auto device = s.Device(what, a[0]);
    if (!device) return kBadInput;
    return s.Exchange(what, [&](JsonObject& out) {
        if (which == "idlock")
            return s.S().QueryIdlock(device.get(), [&](ISocketQueryIdlock* r) { out = CheckLine(r); });
        if (which == "refurbish")
            return s.S().QueryRefurbish(device.get(), [&](ISocketQueryRefurbish* r) { out = CheckLine(r); });
        return s.S().QuerySimlock(device.get(), [&](ISocketQuerySimlock* r) { out = CheckLine(r); });
    });
}

int Idlock(Session& s, const Args& a) {
    return Check(s, a, "idlock");
}
int Refurbish(Session& s, const Args& a) {
    return Check(s, a, "refurbish");
}
int Simlock(Session& s, const Args& a) {
    return Check(s, a, "simlock");
}

// Today in the service's form of a day, YYYY-MM-DD (UTC).
std::string Today() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[16] = {};
    std::strftime(text, sizeof text, "%Y-%m-%d", &utc);
    return text;
}

int Bill(Session& s, const Args& a) {
    const std::string date = a.At(0, Today());
    if (!IsDay(date)) return s.Fail("ent bill", "DATE is a day as YYYY-MM-DD, not '" + date + "'");
    return s.Exchange("ent bill", [&](JsonObject& out) {
        return s.S().QueryInvoice(date.c_str(), [&](ISocketQueryInvoice* bill) {
            JsonArray lines;
            bill->Traverse([&](ISocketQueryInvoiceItem* item) {
                lines.push_back(JsonObject{{"date", ServiceTime(Utf8(item->GetDate()))},
                                           {"serial", Utf8(item->GetSerial())},
                                           {"for", Utf8(item->GetTarget())},
                                           {"amount", item->GetAmount()},
                                           {"balance", item->GetBalance()}});
                return true;
            });
            out["date"] = date;
            out["lines"] = std::move(lines);
        });
    });
}

}  // namespace

std::vector<Command> EnterpriseCommands() {
    const auto e = PELMOR_SOCKET_EDITION_ENTERPRISE;
    const char* g = kGroupEnterprise;
    return {
        {g, "login", e, "ACCOUNT [PASSWORD]", "", 1, 2, "log in (asks for the password when not given)",
         Login},
        {g, "logout", e, "", "", 0, 0, "forget the enterprise session and its account", Logout},
        {g, "refresh", e, "", "", 0, 0, "refresh the session token", Refresh},
        {g, "heartbeat", e, "", "", 0, 0, "keep the session alive; shows the server's time", Heartbeat},
        {g, "account", e, "[ACCOUNT]", "", 0, 1, "the account's profile and merchant", Account},
        {g, "password", e, "OLD NEW", "", 2, 2, "change the account's password", Password},
        {g, "balance", e, "", "", 0, 0, "the account's balance", Balance},
        {g, "basic", e, "DEVICE", "", 1, 1, "the handset's colours", Basic},
        {g, "idlock", e, "DEVICE", "", 1, 1, "activation-lock check", Idlock},
        {g, "refurbish", e, "DEVICE", "", 1, 1, "refurbishment check", Refurbish},
        {g, "simlock", e, "DEVICE", "", 1, 1, "SIM-lock check", Simlock},
        {g, "bill", e, "[DATE]", "", 0, 1, "the daily bill of DATE (YYYY-MM-DD, default today)", Bill},
    };
}

}  // namespace pelmor
