#include <pelmor/HalvexHTTP.h>
#include <pelmor/platform/PlatformString.h>

#include "PelmorSocketStandard.h"
#include "StandardCall.h"
#include "frame/ServiceCall.h"
#include "records/CSocketRecords.h"

using ServiceCall::ConstructedRecord;

// The paid report: price, payment QR code, payment poll, report. The service alone knows what was paid;
// each call stands on its own.

ISocketReply* PelmorSocketStandard::ProfessionalCheck(ISocketDevice* device,
                                                      std::function<void(bool, double)> callback) {
    return ServiceCall::Standard(
        "device.checkPro.exist", device && callback,
        [&] {
            XJson params;
            params.Append("srnm", DeviceToSerial(device));
            return params;
        },
        [&](HalvexReply& reply) {
            const XJson& data = reply.Data();
            ServiceCall::Deliver(callback, data.ToBool("exist"), data.ToDouble("price"));
        });
}

ISocketReply* PelmorSocketStandard::PaymentPicture(ISocketDevice* device, bool way,
                                                   std::function<void(QString, QByteArray)> callback) {
    return ServiceCall::Standard(
        "device.checkPro.qrcode", device && callback,
        [&] {
            XJson params;
            params.Append("srnm", DeviceToSerial(device));
            params.Add("way", way ? 1 : 0);
            return params;
        },
        [&](HalvexReply& reply) {
            const XJson& data = reply.Data();
            ServiceCall::Deliver(callback, Platform::String::WQ(data.ToXString("tradeNo")),
                                 QByteArray(data.ToString("qrcode").c_str()));
        });
}

ISocketReply* PelmorSocketStandard::PaymentResult(QString tradeNo, std::function<void(bool)> callback) {
    return ServiceCall::Standard(
        "device.checkPro.order", !tradeNo.isEmpty() && callback,
        [&] {
            XJson params;
            params.Append("tradeNo", Platform::String::QW(tradeNo));
            return params;
        },
        [&](HalvexReply& reply) { ServiceCall::Deliver(callback, reply.Data().ToBool("status")); });
}

ISocketReply* PelmorSocketStandard::ProfessionalVerify(ISocketDevice* device, QByteArray file,
                                                       std::function<void(ISocketInfoProverify*)> callback) {
    return ServiceCall::Standard(
        "device.checkPro", device && !file.isEmpty() && callback,
        [&] {
            ServiceCall::DeviceParams built(device);
            built.params.Add("file", ServiceCall::Text(file));
            built.params.Append("ecid", DeviceToECID(device));
            return built;
        },
        ConstructedRecord<CSocketInfoProverify>(callback));
}
