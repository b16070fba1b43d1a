// The device in request form: the identifiers every device request carries and the full description
// the verification requests send as "info".
//
// The device belongs to the host and may misbehave; nothing thrown while reading it may reach the host,
// so each operation gives its empty result instead.

#include <pelmor/ISocketDevice.h>
#include <pelmor/platform/MemoryShortage.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include "PelmorSocketHelper.h"

namespace {

constexpr unsigned long long kBytesPerGiB = 1ull << 30;

// Cut toward zero; a value no int can hold is clamped rather than left to undefined behaviour.
int TruncateToInt(double value) {
    if (std::isnan(value)) return 0;
    if (value <= static_cast<double>(std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    if (value >= static_cast<double>(std::numeric_limits<int>::max())) return std::numeric_limits<int>::max();
    return static_cast<int>(value);
}

XString HexEcid(unsigned long long ecid) {
    char text[32];
    std::snprintf(text, sizeof text, "%016llX", ecid);
    return XString::FromUtf8(text);
}

}  // namespace

XString PelmorSocketHelper::DeviceToECID(ISocketDevice* device) {
    if (!device) return XString();
    try {
        // All three are asked for up front: the order of the calls is what a device sees.
        const XSocketDeviceInfo* info = device->GetDeviceRecord();
        const XSocketDeviceFile* file = device->GetFileRecord();
        const XSocketDeviceLowLevel* lowLevel = device->GetLowLevelRecord();

        XString ecid;
        if (info) ecid = info->ecid;
        if (ecid.empty() && file) ecid = file->ecid;
        if (ecid.empty() && lowLevel) ecid = HexEcid(lowLevel->ecid);
        return ecid;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return XString();
    }
}

XString PelmorSocketHelper::DeviceToProductType(ISocketDevice* device) {
    if (!device) return XString();
    try {
        const XSocketDeviceInfo* info = device->GetDeviceRecord();
        const XSocketDeviceFile* file = device->GetFileRecord();
        const XSocketDeviceLowLevel* lowLevel = device->GetLowLevelRecord();

        XString type;
        if (info) type = info->productType;
        if (type.empty() && file) type = file->productType;
        if (type.empty() && lowLevel) type = lowLevel->productType;
        return type;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return XString();
    }
}

// Only a device in normal mode has a serial worth sending; in the other modes none is sent.
XString PelmorSocketHelper::DeviceToSerial(ISocketDevice* device) {
    if (!device) return XString();
    try {
        const XSocketDeviceInfo* info = device->GetDeviceRecord();
        return info ? info->serialNumber : XString();
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return XString();
    }
}

namespace {

// The description's members handed to use, which makes the result from them; empty when the device is
// missing or lacks a record, and when memory runs out.
template <typename Result, typename Use>
Result Describe(ISocketDevice* device, const Use& use) {
    if (!device) return Result();
    try {
        const XSocketDeviceInfo* info = device->GetDeviceRecord();
        const XSocketDeviceBattery* battery = device->GetBatteryRecord();
        const XSocketDeviceVersion* version = device->GetSystemVersion();
        const XSocketDeviceStorage* storage = device->GetStorageRecord();
        const XSocketDeviceWifi* wifi = device->GetWifiRecord();
        const XSocketDeviceComponent* component = device->GetComponentRecord();
        const XSocketDeviceBluetooth* bluetooth = device->GetBluetoothRecord();
        const XSocketDeviceFingerprint* fingerprint = device->GetFingerprintRecord();
        const XSocketDeviceDisplay* display = device->GetDisplayRecord();
        const XSocketDeviceProcessor* processor = device->GetProcessorRecord();
        // All or nothing: the service cannot compare a partial description with its factory record.
        if (!info || !battery || !version || !storage || !wifi || !component || !bluetooth || !fingerprint ||
            !display || !processor)
            return Result();

        // The member order and the keys' spellings ("IOS", "mobColour", "hardDiskManufacture", the name
        // twice) are the service's and must not be tidied up.
        return use({
            {"mobName", info->name},
            {"mod", info->mod},
            {"regn", info->region},
            {"rmd", info->rmd},
            {"meid", info->meid},
            {"srnm", info->serialNumber},
            {"imei", info->imei},
            {"imei2", info->imei2},
            {"udid", info->udid},
            {"batt", battery->batt},
            {"mlb", info->mlb},
            {"bmac", bluetooth->mac},
            {"emac", info->ethernetMac},
            {"esn", info->esn},
            {"iccid", info->iccid},
            {"telNo", info->phoneNumber},
            {"mobType", info->productType},
            {"sysVersion", "IOS " + std::to_string(version->major) + "." + std::to_string(version->minor) +
                               "." + std::to_string(version->patch) + "(" + info->buildVersion.ToUtf8() +
                               ")"},
            {"timeZone", info->timeZone},
            {"mobColour", info->colour},
            {"mobEnclosureColour", info->enclosureColour},
            {"basebandCertId", std::to_string(info->basebandCertId)},
            {"basebandChipId", std::to_string(info->basebandChipId)},
            {"basebandVersion", info->basebandVersion},
            {"boardId", std::to_string(info->boardId)},
            {"hardwareModel", info->hardwareModel},
            {"hardwareVersion", info->hardwareVersion},
            {"firmwareVersion", info->firmwareVersion},
            {"batteryHealth", TruncateToInt(battery->health)},
            {"batteryCycleNumber", battery->cycleCount},
            {"simStatus", info->simStatus},
            {"wmac", wifi->mac},
            {"wifiId", wifi->id},
            {"wifiProducer", wifi->producer},
            {"wifiType", std::to_string(static_cast<long long>(wifi->type))},
            {"fcms", component->fcms},
            {"bcms", component->bcms},
            {"backCameraSerial", component->backCameraSerial},
            {"frontCameraSerial", component->frontCameraSerial},
            {"irs", component->irs},
            {"mobRealName", info->name},
            {"ram", std::to_string(storage->memorySize / kBytesPerGiB) + "GB"},
            {"hardDiskType", std::to_string(static_cast<long long>(storage->diskType))},
            {"hardDiskSerial", storage->diskSerial},
            {"hardDiskManufacture", storage->diskManufacturer},
            {"ramUsed", storage->memoryUsed},
            {"fingerprint", fingerprint->state},
            {"nsrn", fingerprint->nsrn},
            {"nvsn", fingerprint->nvsn},
            {"lcd", display->lcd},
            {"lcm", display->lcm},
            {"cpuType", processor->type},
            {"cpuCore", processor->coreCount},
            {"cpuHz", processor->clock},
            {"cpuHandler", "M" + std::to_string(processor->handler)},
            {"cpuFrame", processor->frame},
            {"root", device->IsRoot() ? 1 : 0},
            {"active", device->IsActive() ? 1 : 0},
            {"fiveCode", device->IsFiveCode() ? 1 : 0},
        });
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return Result();
    }
}

}  // namespace

XJson PelmorSocketHelper::DeviceToJson(ISocketDevice* device) {
    return Describe<XJson>(device, [](std::initializer_list<XJsonMember> members) {
        XJson json;
        json.AddMembers(members);
        return json;
    });
}

std::string PelmorSocketHelper::DeviceDescriptionJson(ISocketDevice* device) {
    // Without a description the member goes out as {}, as an empty value added to the parameters does.
    std::string text = Describe<std::string>(
        device, [](std::initializer_list<XJsonMember> members) { return XJson::MembersJson(members); });
    if (text.empty()) text = "{}";
    return text;
}
