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
constexpr std::size_t kDescriptionMembers = 59;

XString Decimal(long long value) {
    return XString::FromUtf8(std::to_string(value));
}
XString Decimal(unsigned long long value) {
    return XString::FromUtf8(std::to_string(value));
}

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

XJson PelmorSocketHelper::DeviceToJson(ISocketDevice* device) {
    if (!device) return XJson();
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
            return XJson();

        // The member order and the keys' spellings ("IOS", "mobColour", "hardDiskManufacture", the name
        // twice) are the service's and must not be tidied up.
        XJson json;
        json.Reserve(kDescriptionMembers);
        json.Append("mobName", info->name);
        json.Append("mod", info->mod);
        json.Append("regn", info->region);
        json.Append("rmd", info->rmd);
        json.Append("meid", info->meid);
        json.Append("srnm", info->serialNumber);
        json.Append("imei", info->imei);
        json.Append("imei2", info->imei2);
        json.Append("udid", info->udid);
        json.Append("batt", battery->batt);
        json.Append("mlb", info->mlb);
        json.Append("bmac", bluetooth->mac);
        json.Append("emac", info->ethernetMac);
        json.Append("esn", info->esn);
        json.Append("iccid", info->iccid);
        json.Append("telNo", info->phoneNumber);
        json.Append("mobType", info->productType);
        json.Append("sysVersion", XString(L"IOS ") + Decimal(static_cast<long long>(version->major)) + L"." +
                                      Decimal(static_cast<long long>(version->minor)) + L"." +
                                      Decimal(static_cast<long long>(version->patch)) + L"(" +
                                      info->buildVersion + L")");
        json.Append("timeZone", info->timeZone);
        json.Append("mobColour", info->colour);
        json.Append("mobEnclosureColour", info->enclosureColour);
        json.Append("basebandCertId", Decimal(info->basebandCertId));
        json.Append("basebandChipId", Decimal(info->basebandChipId));
        json.Append("basebandVersion", info->basebandVersion);
        json.Append("boardId", Decimal(info->boardId));
        json.Append("hardwareModel", info->hardwareModel);
        json.Append("hardwareVersion", info->hardwareVersion);
        json.Append("firmwareVersion", info->firmwareVersion);
        json.Add("batteryHealth", TruncateToInt(battery->health));
        json.Add("batteryCycleNumber", battery->cycleCount);
        json.Append("simStatus", info->simStatus);
        json.Append("wmac", wifi->mac);
        json.Append("wifiId", wifi->id);
        json.Append("wifiProducer", wifi->producer);
        json.Append("wifiType", Decimal(static_cast<long long>(wifi->type)));
        json.Append("fcms", component->fcms);
        json.Append("bcms", component->bcms);
        json.Append("backCameraSerial", component->backCameraSerial);
        json.Append("frontCameraSerial", component->frontCameraSerial);
        json.Append("irs", component->irs);
        json.Append("mobRealName", info->name);
        json.Append("ram", Decimal(storage->memorySize / kBytesPerGiB) + L"GB");
        json.Append("hardDiskType", Decimal(static_cast<long long>(storage->diskType)));
        json.Append("hardDiskSerial", storage->diskSerial);
        json.Append("hardDiskManufacture", storage->diskManufacturer);
        json.Add("ramUsed", storage->memoryUsed);
        json.Add("fingerprint", fingerprint->state);
        json.Append("nsrn", fingerprint->nsrn);
        json.Append("nvsn", fingerprint->nvsn);
        json.Append("lcd", display->lcd);
        json.Append("lcm", display->lcm);
        json.Append("cpuType", processor->type);
        json.Add("cpuCore", processor->coreCount);
        json.Add("cpuHz", processor->clock);
        json.Append("cpuHandler", XString(L"M") + Decimal(static_cast<long long>(processor->handler)));
        json.Append("cpuFrame", processor->frame);
        json.Add("root", device->IsRoot() ? 1 : 0);
        json.Add("active", device->IsActive() ? 1 : 0);
        json.Add("fiveCode", device->IsFiveCode() ? 1 : 0);
        return json;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return XJson();
    }
}
