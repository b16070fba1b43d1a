#include <pelmor/HalvexReply.h>
#include <pelmor/ISocketDevice.h>
#include <pelmor/ISocketFeedback.h>
#include <pelmor/platform/PlatformString.h>

#include <cstring>
#include <string>

#include "PelmorSocketEnterprise.h"
#include "frame/ServiceCall.h"
#include "frame/VerifyReportHandOver.h"
#include "records/CSocketRecords.h"

namespace {

// The service names a device by its chip id and, for the paid checks, its serial; no description.
XJson ByEcid(ISocketDevice* device) {
    XJson params;
    params.Append("ecid", PelmorSocketHelper::DeviceToECID(device));
    return params;
}

XJson ByEcidAndSerial(ISocketDevice* device) {
    XJson params = ByEcid(device);
    params.Append("srnm", PelmorSocketHelper::DeviceToSerial(device));
    return params;
}

// The activation-lock, refurbishment and SIM-lock checks differ only in path and record.
template <typename Record, typename Callback>
ISocketReply* CheckLine(const wchar_t* path, ISocketDevice* device, const Callback& callback) {
    return ServiceCall::Enterprise(
        path, device && callback, [&] { return ByEcidAndSerial(device); },
        ServiceCall::FilledRecord<Record>(callback));
}

}  // namespace

ISocketReply* PelmorSocketEnterprise::VerifyDevice(ISocketDevice* device, const QByteArray& file,
                                                   std::function<void(ISocketInfoVerify*)> callback) {
    // The file record is only asked for: without one the device cannot be checked.
    return ServiceCall::Enterprise(
        L"/device/check", device && callback && device->GetFileRecord(),
        [&] {
            ServiceCall::DeviceParams built(device);
            // The bytes travel as text, so they end at the first zero byte.
            built.params.Add("file", ServiceCall::Text(file));
            built.params.Append("ecid", DeviceToECID(device));
            return built;
        },
        ServiceCall::VerifyReport(callback));
}

ISocketReply* PelmorSocketEnterprise::DeviceIpsw(ISocketDevice* device,
                                                 std::function<void(ISocketInfoIpsw*)> callback) {
    return ServiceCall::Enterprise(
        L"/ipsw/brush", device && callback,
        [&] {
            XJson params;
            params.Append("type", DeviceToProductType(device));
            return params;
        },
        ServiceCall::FilledRecord<CSocketInfoIpsw>(callback));
}

// The same form as the standard edition's, but this service calls the contact "contactWay" and the
// device's name "deviceName".
ISocketReply* PelmorSocketEnterprise::Feedback(ISocketFeedback* feedback,
                                               std::function<void(QString)> callback) {
    return ServiceCall::Enterprise(
        L"/user/feedback", feedback && callback,
        [&] {
            XJson params;
            params.Add("contactWay", ServiceCall::Text(feedback->GetContactId()));
            params.Add("message", ServiceCall::Text(feedback->GetMessage()));
            params.Add("osVer", ServiceCall::Text(feedback->GetOsVersion()));
            params.Add("itunesVer", ServiceCall::Text(feedback->GetItunesVersion()));
            params.Add("deviceName", ServiceCall::Text(feedback->GetMobileName()));
            params.Add("ecid", ServiceCall::Text(feedback->GetEcid()));
            return params;
        },
        // The service's answer sentence, also when it refused.
        [&](HalvexReply& reply) { ServiceCall::Deliver(callback, reply.Message()); });
}

ISocketReply* PelmorSocketEnterprise::DeviceKey(std::function<void(ISocketInfoKey*)> callback) {
    return ServiceCall::Enterprise(
        L"/device/fields", static_cast<bool>(callback), [] { return XJson(); },
        ServiceCall::FilledRecord<CSocketInfoKey>(callback));
}

ISocketReply* PelmorSocketEnterprise::QueryBasic(ISocketDevice* device,
                                                 std::function<void(ISocketQueryBasic*)> callback) {
    return ServiceCall::Enterprise(
        L"/device/details", device && callback, [&] { return ByEcid(device); },
        ServiceCall::FilledRecord<CSocketQueryBasic>(callback));
}

ISocketReply* PelmorSocketEnterprise::QueryDetails(std::function<void(ISocketQueryDetails*)> callback) {
    return ServiceCall::Enterprise(
        L"/ckcheck/details", static_cast<bool>(callback), [] { return XJson(); },
        ServiceCall::FilledRecord<CSocketQueryDetails>(callback));
}

ISocketReply* PelmorSocketEnterprise::QueryIdlock(ISocketDevice* device,
                                                  std::function<void(ISocketQueryIdlock*)> callback) {
    return CheckLine<CSocketQueryIdlock>(L"/ckcheck/idlock", device, callback);
}

ISocketReply* PelmorSocketEnterprise::QueryRefurbish(ISocketDevice* device,
                                                     std::function<void(ISocketQueryRefurbish*)> callback) {
    return CheckLine<CSocketQueryRefurbish>(L"/ckcheck/refurbish", device, callback);
}

ISocketReply* PelmorSocketEnterprise::QuerySimlock(ISocketDevice* device,
                                                   std::function<void(ISocketQuerySimlock*)> callback) {
    return CheckLine<CSocketQuerySimlock>(L"/ckcheck/simlock", device, callback);
}

// The warranty record reads its data in its constructor (and picks its key by the library's edition).
ISocketReply* PelmorSocketEnterprise::QueryWarranty(
    ISocketDevice* device, std::function<void(const ISocketQueryWarranty*)> callback) {
    return ServiceCall::Enterprise(
        L"/ckcheck/warranty", device && callback, [&] { return ByEcidAndSerial(device); },
        [&](HalvexReply& reply) {
            ServiceCall::HandRecord([&] { return new (std::nothrow) CSocketQueryWarranty(reply.Data()); },
                                    callback);
        });
}

ISocketReply* PelmorSocketEnterprise::QueryInvoice(const char* date,
                                                   std::function<void(ISocketQueryInvoice*)> callback) {
    return ServiceCall::Enterprise(
        L"/ckcheck/bill/daily", date && callback,
        [&] {
            XJson params;
            params.Add("date", std::string(date));
            return params;
        },
        // The data is the array of the day's lines.
        ServiceCall::FilledRecord<CSocketQueryInvoice>(callback));
}
