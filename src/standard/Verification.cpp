#include <pelmor/HalvexHTTP.h>
#include <pelmor/platform/PlatformString.h>

#include "PelmorSocketStandard.h"
#include "StandardCall.h"
#include "frame/ServiceCall.h"
#include "frame/VerifyReportHandOver.h"
#include "records/CSocketRecords.h"

using ServiceCall::ConstructedRecord;
using ServiceCall::FilledRecord;
using StandardCall::FileRecord;

namespace {

// The lock-state uploads differ only in their method.
HalvexReply* UploadStatus(const char* method, ISocketDevice* device, int status) {
    return ServiceCall::Standard(
        method, device != nullptr,
        [&] {
            XJson params;
            params.Append("ecid", PelmorSocketHelper::DeviceToECID(device));
            params.Add("status", status);
            return params;
        },
        ServiceCall::NoReply);
}

// Look-ups that name the handset by chip id and serial.
XJson EcidAndSerial(ISocketDevice* device) {
    XJson params;
    params.Append("ecid", PelmorSocketHelper::DeviceToECID(device));
    params.Append("srnm", PelmorSocketHelper::DeviceToSerial(device));
    return params;
}

}  // namespace

ISocketReply* PelmorSocketStandard::UploadIdlock(ISocketDevice* device, int status) {
    return UploadStatus("idLock.status", device, status);
}

ISocketReply* PelmorSocketStandard::UploadIcloud(ISocketDevice* device, int status) {
    return UploadStatus("iCloud.status", device, status);
}

ISocketReply* PelmorSocketStandard::DeviceBackup(ISocketDevice* device,
                                                 std::function<void(ISocketInfoBackup*)> callback) {
    const XSocketDeviceFile* file = device && callback ? FileRecord(device) : nullptr;
    return ServiceCall::Standard(
        "equipment.backupHD", file != nullptr,
        [&] {
            XJson params;
            params.Add("file", ServiceCall::Text(file->data));
            params.Append("ecid", DeviceToECID(device));
            params.Append("mobName", file->name);
            params.Append("mobType", DeviceToProductType(device));
            return params;
        },
        FilledRecord<CSocketInfoBackup>(callback));
}

ISocketReply* PelmorSocketStandard::VerifyAirPods(QString instance, QString id,
                                                  std::function<void(ISocketInfoAirPods*)> callback) {
    // The callback is not looked at before sending: hosts always pass one.
    return ServiceCall::Standard(
        "airpods.check", !instance.isEmpty() && !id.isEmpty(),
        [&] {
            XJson params;
            params.Append("instance", Platform::String::QW(instance));
            params.Append("id", Platform::String::QW(id));
            return params;
        },
        FilledRecord<CSocketInfoAirPods>(callback));
}

ISocketReply* PelmorSocketStandard::VerifyDevice(ISocketDevice* device, const QByteArray& file,
                                                 std::function<void(ISocketInfoVerify*)> callback) {
    // The file record is not sent, but a device without one is not ready to be verified.
    const bool ready = device && callback && FileRecord(device);
    return ServiceCall::Standard(
        "equipment.check", ready,
        [&] {
            ServiceCall::DeviceParams built(device);
            built.params.Add("file", ServiceCall::Text(file));
            built.params.Append("ecid", DeviceToECID(device));
            return built;
        },
        ServiceCall::VerifyReport(callback));
}

ISocketReply* PelmorSocketStandard::VerifyImage(ISocketDevice* device, int level, const char* levelMsg,
                                                std::function<void(ISocketInfoImage*)> callback) {
    // Only the file record is required (a missing device has none); the text and the callback are not
    // looked at before sending, and a missing text goes as an empty one.
    return ServiceCall::Standard(
        "equipment.reportImg", FileRecord(device) != nullptr,
        [&] {
            XJson image;
            image.Add("level", level);
            image.Add("levelMsg", ServiceCall::Text(levelMsg));
            ServiceCall::DeviceParams built(device);
            built.params.Append("ecid", DeviceToECID(device));
            built.params.Append("img", image);
            return built;
        },
        FilledRecord<CSocketInfoImage>(callback));
}

ISocketReply* PelmorSocketStandard::DeviceIpsw(ISocketDevice* device,
                                               std::function<void(ISocketInfoIpsw*)> callback) {
    return ServiceCall::Standard(
        "equipment.firmware", device && callback,
        [&] {
            XJson params;
            params.Append("type", DeviceToProductType(device));
            return params;
        },
        FilledRecord<CSocketInfoIpsw>(callback));
}

ISocketReply* PelmorSocketStandard::DeviceKey(std::function<void(ISocketInfoKey*)> callback) {
    return ServiceCall::Standard(
        "device.fields", bool(callback), [] { return XJson(); }, FilledRecord<CSocketInfoKey>(callback));
}

ISocketReply* PelmorSocketStandard::QueryColor(ISocketDevice* device,
                                               std::function<void(const ISocketInfoColor*)> callback) {
    return ServiceCall::Standard(
        "device.color", device && callback, [&] { return EcidAndSerial(device); },
        ConstructedRecord<CSocketInfoColor>(callback));
}

ISocketReply* PelmorSocketStandard::QueryScreen(ISocketDevice* device,
                                                std::function<void(const ISocketInfoScreen*)> callback) {
    return ServiceCall::Standard(
        "device.lcm", device && callback, [&] { return EcidAndSerial(device); },
        ConstructedRecord<CSocketInfoScreen>(callback));
}

ISocketReply* PelmorSocketStandard::QueryWarranty(ISocketDevice* device,
                                                  std::function<void(const ISocketQueryWarranty*)> callback) {
    // The serial alone names the handset to the warranty look-up.
    return ServiceCall::Standard(
        "device.warranty", device && callback,
        [&] {
            XJson params;
            params.Append("srnm", DeviceToSerial(device));
            return params;
        },
        ConstructedRecord<CSocketQueryWarranty>(callback));
}
