#include <pelmor/HalvexHTTP.h>
#include <pelmor/ISocketDevice.h>
#include <pelmor/ISocketFeedback.h>
#include <pelmor/platform/MemoryShortage.h>
#include <pelmor/platform/PlatformString.h>
#include <pelmor/platform/XSystem.h>
#include <pelmor/records/VerifyFeedbackReply.h>

#include <chrono>
#include <cstdio>

#include "PelmorSocketStandard.h"
#include "frame/ServiceCall.h"
#include "transport/ServiceHosts.h"

namespace {

// The normal-mode record's texts. Hosts are expected to pass a device in normal mode; one without the
// record reads as empty texts instead of crashing the host.
XString DeviceName(ISocketDevice* device) {
    const XSocketDeviceInfo* info = device->GetDeviceRecord();
    return info ? info->name : XString();
}

XString DeviceRegion(ISocketDevice* device) {
    const XSocketDeviceInfo* info = device->GetDeviceRecord();
    return info ? info->region : XString();
}

long long MillisecondsSinceEpoch() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace

ISocketReply* PelmorSocketStandard::Feedback(ISocketFeedback* feedback,
                                             std::function<void(QString)> callback) {
    return ServiceCall::Standard(
        "user.feedback", feedback && callback,
        [&] {
            XJson params;
            params.Add("contactId", ServiceCall::Text(feedback->GetContactId()));
            params.Add("message", ServiceCall::Text(feedback->GetMessage()));
            params.Add("osVer", ServiceCall::Text(feedback->GetOsVersion()));
            params.Add("itunesVer", ServiceCall::Text(feedback->GetItunesVersion()));
            params.Add("mobName", ServiceCall::Text(feedback->GetMobileName()));
            params.Add("ecid", ServiceCall::Text(feedback->GetEcid()));
            return params;
        },
        // The service's answer sentence, also when it refused.
        [&](HalvexReply& reply) { ServiceCall::Deliver(callback, reply.Message()); });
}

ISocketReply* PelmorSocketStandard::VerifyFeedback(ISocketDevice* device, const XString& message) {
    return ServiceCall::Standard(
        "device.check.feedback", device != nullptr,
        [&] {
            XJson params;
            params.Append("ecid", DeviceToECID(device));
            params.Append("name", DeviceName(device));
            params.Append("message", message);
            params.Append("osVer", XSystem::NativeString());
            params.Append("itunesVer", XApple::ITunesVersionString());
            return params;
        },
        ServiceCall::NoReply);
}

ISocketReply* PelmorSocketStandard::VerifyFeedbackReply(
    ISocketDevice* device, std::function<void(const XSocketInfoVerifyFeedbackReply&)> callback) {
    return ServiceCall::Standard(
        "device.check.feedbackReply", device && callback,
        [&] {
            XJson params;
            params.Append("ecid", DeviceToECID(device));
            return params;
        },
        [&](HalvexReply& reply) {
            const XSocketInfoVerifyFeedbackReply answer(reply.Data());
            ServiceCall::Deliver(callback, answer);
        });
}

bool PelmorSocketStandard::WarrantyVerify(ISocketDevice* device,
                                          std::function<void(const char*, const char*)> callback) {
    if (!device || !callback) return false;
    char url[1024] = {};
    std::snprintf(url, sizeof url, "https://%s/gc?t=image&timestamp=%lld", ServiceHosts::Coverage().c_str(),
                  MillisecondsSinceEpoch());
    try {
        return HalvexHTTP::GETWarranty(url, callback);  // the copy of the callback may fail to allocate
    } catch (...) {
        return false;
    }
}

bool PelmorSocketStandard::WarrantySelect(ISocketDevice* device, const char* cookie, const char* answer,
                                          std::function<void(const char*)> callback) {
    if (!device || !cookie || !answer || !callback) return false;
    try {
        const unsigned long long shortagesBefore = Pelmor::MemoryShortages();
        const std::string serial = DeviceToSerial(device).ToUtf8();
        // The page follows the region text alone; the referrer stays the "/cn/zh/" one either way.
        const bool mainland = DeviceRegion(device).find(L"CH/") != XString::npos;
        // A serial or region lost to a shortage would post another device's question: post nothing.
        if (Pelmor::MemoryShortages() != shortagesBefore) return false;
        char url[1024] = {};
        const int length =
            std::snprintf(url, sizeof url, mainland ? "https://%s/cn/zh/?sn=%s" : "https://%s/us/eh/?sn=%s",
                          ServiceHosts::Coverage().c_str(), serial.c_str());
        // A serial too long for the address would ask for another device's page: refuse it.
        if (length < 0 || static_cast<size_t>(length) >= sizeof url) return false;
        return HalvexHTTP::POSTWarranty(url, cookie, serial.c_str(), answer, callback);
    } catch (...) {
        return false;
    }
}
