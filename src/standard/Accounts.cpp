#include <pelmor/HalvexHTTP.h>

#include <algorithm>

#include "PelmorSocketStandard.h"
#include "StandardCall.h"
#include "frame/ServiceCall.h"
#include "records/CSocketRecords.h"
#include "records/RecordList.h"

using ServiceCall::FilledRecord;
using StandardCall::AllPresent;
using StandardCall::WideParam;
using StandardCall::WideParams;
using StandardCall::WideText;

// None of these stores a token: the host keeps what a log-in hands back and sets it with SetToken.

bool PelmorSocketStandard::CensusOperation(const XString& function, const XString& event, bool result) {
    // Fire and forget: the answer is dropped, only whether one came back is told.
    bool received = false;
    HalvexReply* reply = ServiceCall::Standard(
        "count.clientFunction", true,
        [&] {
            XJson params;
            params.Append("function", function);
            params.Append("event", event.empty() ? XString(L"start") : event);
            params.Add("result", result ? 1 : 0);
            return params;
        },
        [&](HalvexReply&) { received = true; });
    if (reply) reply->Release();
    return received;
}

ISocketReply* PelmorSocketStandard::PhoneQueryVerify(const wchar_t* mobile,
                                                     std::function<void(const wchar_t*)> callback) {
    const std::initializer_list<WideParam> params = {{"mobile", mobile}};
    return ServiceCall::Standard(
        "sms.code", AllPresent(params) && callback, [&] { return WideParams(params); },
        WideText("no", callback));
}

ISocketReply* PelmorSocketStandard::PhoneLogin(const wchar_t* mobile, const wchar_t* code, const wchar_t* no,
                                               const wchar_t* key,
                                               std::function<void(const wchar_t*)> callback) {
    const std::initializer_list<WideParam> params = {
        {"mobile", mobile}, {"code", code}, {"no", no}, {"key", key}};
    return ServiceCall::Standard(
        "login.mobile", AllPresent(params) && callback, [&] { return WideParams(params); },
        WideText("token", callback));
}

ISocketReply* PelmorSocketStandard::WecharReplyQRCode(
    std::function<void(const wchar_t*, QByteArray)> callback) {
    return ServiceCall::Standard(
        "login.wx.qr", bool(callback),
        [] {
            XJson params;
            params.Add("way", 1);
            return params;
        },
        [&](HalvexReply& reply) {
            const XJson& data = reply.Data();
            const XString key = data.ToXString("key");
            const QByteArray qr(data.ToString("qr").c_str());
            ServiceCall::Deliver(callback, key.c_str(), qr);
        });
}

ISocketReply* PelmorSocketStandard::WecharQueryToken(const wchar_t* key,
                                                     std::function<void(ISocketInfoWechar*)> callback) {
    const std::initializer_list<WideParam> params = {{"key", key}};
    return ServiceCall::Standard(
        "login.wx.user", AllPresent(params) && callback, [&] { return WideParams(params); },
        FilledRecord<CSocketInfoWechar>(callback));
}

ISocketReply* PelmorSocketStandard::WecharBindPhone(const wchar_t* openId, const wchar_t* mobile,
                                                    const wchar_t* code, const wchar_t* referralCode,
                                                    const wchar_t* no, const wchar_t* key,
                                                    std::function<void(const wchar_t*)> callback) {
    const std::initializer_list<WideParam> params = {{"openId", openId}, {"mobile", mobile},
                                                     {"code", code},     {"referralCode", referralCode},
                                                     {"no", no},         {"key", key}};
    return ServiceCall::Standard(
        "login.bind.mobile", AllPresent(params) && callback, [&] { return WideParams(params); },
        WideText("token", callback));
}

ISocketReply* PelmorSocketStandard::WecharLogin(const wchar_t* openId, const wchar_t* key,
                                                std::function<void(const wchar_t*)> callback) {
    const std::initializer_list<WideParam> params = {{"openId", openId}, {"key", key}};
    return ServiceCall::Standard(
        "login.wx", AllPresent(params) && callback, [&] { return WideParams(params); },
        WideText("token", callback));
}

ISocketReply* PelmorSocketStandard::TokenLogin(const wchar_t* token, const wchar_t* key,
                                               std::function<void(const wchar_t*)> callback) {
    const std::initializer_list<WideParam> params = {{"token", token}, {"key", key}};
    return ServiceCall::Standard(
        "token.refresh", AllPresent(params) && callback, [&] { return WideParams(params); },
        WideText("token", callback));
}

ISocketReply* PelmorSocketStandard::TokenHeartbeat(const wchar_t* key, std::function<void(bool)> callback) {
    const std::initializer_list<WideParam> params = {{"key", key}};
    return ServiceCall::Standard(
        "user.beat", AllPresent(params) && callback, [&] { return WideParams(params); },
        [&](HalvexReply& reply) { ServiceCall::Deliver(callback, reply.Data().ToBool("online")); });
}

ISocketReply* PelmorSocketStandard::TokenUpdateSpread(const wchar_t* referralCode) {
    const std::initializer_list<WideParam> params = {{"referralCode", referralCode}};
    return ServiceCall::Standard(
        "user.privilege.unlock", AllPresent(params), [&] { return WideParams(params); },
        ServiceCall::NoReply);
}

ISocketReply* PelmorSocketStandard::TokenQueryUser(std::function<void(ISocketInfoUser*)> callback) {
    return ServiceCall::Standard(
        "user.info", bool(callback), [] { return XJson(); }, FilledRecord<CSocketInfoUser>(callback));
}

ISocketReply* PelmorSocketStandard::TokenQueryPower(std::function<void(ISocketQueryPower*)> callback) {
    return ServiceCall::Standard(
        "user.privilege", bool(callback), [] { return XJson(); }, FilledRecord<CSocketQueryPower>(callback));
}

ISocketReply* PelmorSocketStandard::TokenQueryNotifyList(std::function<void(long long, long long)> callback) {
    return ServiceCall::Standard(
        "msg.lists", bool(callback), [] { return XJson(); },
        [&](HalvexReply& reply) {
            const XJson ids = reply.Data()["ids"];
            const unsigned count = std::min(ids.GetArraySize(), RecordList::kMaxItems);
            for (unsigned i = 0; i < count; ++i) {
                const XJson notice = ids[i];
                ServiceCall::Deliver(callback, notice.ToInt64("id"), notice.ToInt64("updateTime"));
            }
        });
}

ISocketReply* PelmorSocketStandard::TokenQueryNotify(long long id,
                                                     std::function<void(ISocketInfoNotify*)> callback) {
    return ServiceCall::Standard(
        "msg.details", bool(callback),
        [&] {
            XJson params;
            params.Add("id", id);
            return params;
        },
        FilledRecord<CSocketInfoNotify>(callback));
}

ISocketReply* PelmorSocketStandard::TokenModifyPhone(const wchar_t* mobile, const wchar_t* code,
                                                     const wchar_t* no) {
    const std::initializer_list<WideParam> params = {{"mobile", mobile}, {"code", code}, {"no", no}};
    return ServiceCall::Standard(
        "user.mobile.change", AllPresent(params), [&] { return WideParams(params); }, ServiceCall::NoReply);
}

ISocketReply* PelmorSocketStandard::RequestVerifyCode(const char* mobile) {
    // Asks for a code only; unlike "sms.code" it hands back no serial.
    return ServiceCall::Standard(
        "smscode", mobile != nullptr,
        [&] {
            XJson params;
            params.Add("mobile", std::string(mobile));
            return params;
        },
        ServiceCall::NoReply);
}
