#include <pelmor/HalvexReply.h>

#include <string>

#include "PelmorSocketEnterprise.h"
#include "frame/ServiceCall.h"
#include "records/CSocketAccountRecords.h"

ISocketReply* PelmorSocketEnterprise::TokenCreate(
    const char* account, const char* password,
    std::function<void(const wchar_t*, unsigned long long)> callback) {
    return ServiceCall::Enterprise(
        L"/login", account && password && callback,
        [&] {
            XJson params;
            params.Add("account", std::string(account));
            params.Add("password", std::string(password));
            return params;
        },
        [&](HalvexReply& reply) {
            // Stored before the callback runs, so that a host calling from inside it is already logged in.
            const XString token = reply.Data().ToXString("token");
            SetToken(token);
            const auto expires = static_cast<unsigned long long>(reply.Data().ToInt64("expires"));
            ServiceCall::Deliver(callback, token.c_str(), expires);
        });
}

// The path has no leading slash and runs into the address: that is the address this service answers on.
// The callback is never called and the stored token never changes; the outcome is only in the reply.
ISocketReply* PelmorSocketEnterprise::TokenRefresh(std::function<void(const wchar_t*, unsigned long long)>) {
    return ServiceCall::Enterprise(
        L"cms.token.refresh", true,
        [&] {
            XJson params;
            params.Append("accessToken", GetToken());
            return params;
        },
        ServiceCall::NoReply);
}

// Unchecked on purpose: the request goes out even without a callback.
ISocketReply* PelmorSocketEnterprise::Heartbeat(std::function<void(ISocketInfoHeartbeat*)> callback) {
    return ServiceCall::Enterprise(
        L"/user/heartbeat", true, [] { return XJson(); },
        ServiceCall::FilledRecord<CSocketInfoHeartbeat>(callback));
}

ISocketReply* PelmorSocketEnterprise::UserImage(const char* account,
                                                std::function<void(ISocketInfoAccount*)> callback) {
    return ServiceCall::Enterprise(
        L"/user/info", account && callback,
        [&] {
            XJson params;
            params.Add("account", std::string(account));
            return params;
        },
        ServiceCall::FilledRecord<CSocketInfoAccount>(callback));
}

ISocketReply* PelmorSocketEnterprise::ChangePassword(const char* oldPassword, const char* newPassword) {
    return ServiceCall::Enterprise(
        L"/passwd/change", oldPassword && newPassword,
        [&] {
            XJson params;
            params.Add("passwordOld", std::string(oldPassword));
            params.Add("passwordNew", std::string(newPassword));
            return params;
        },
        ServiceCall::NoReply);
}
