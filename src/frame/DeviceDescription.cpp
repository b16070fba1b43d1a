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
        json.AddText("mobName", info->name);
        json.AddText("mod", info->mod);
        json.AddText("regn", info->region);
        json.AddText("rmd", info->rmd);
        json.AddText("meid", info->meid);
        json.AddText("srnm", info->serialNumber);
        json.AddText("imei", info->imei);
        json.AddText("imei2", info->imei2);
        json.AddText("udid", info->udid);
        json.AddText("batt", battery->batt);
        json.AddText("mlb", info->mlb);
        json.AddText("bmac", bluetooth->mac);
        json.AddText("emac", info->ethernetMac);
        json.AddText("esn", info->esn);
        json.AddText("iccid", info->iccid);
        json.AddText("telNo", info->phoneNumber);
        json.AddText("mobType", info->productType);
        json.AddText("sysVersion", "IOS " + std::to_string(version->major) + "." +
                                       std::to_string(version->minor) + "." + std::to_string(version->patch) +
                                       "(" + info->buildVersion.ToUtf8() + ")");
        json.AddText("timeZone", info->timeZone);
        json.AddText("mobColour", info->colour);
        json.AddText("mobEnclosureColour", info->enclosureColour);
        json.AddText("basebandCertId", std::to_string(info->basebandCertId));
        json.AddText("basebandChipId", std::to_string(info->basebandChipId));
        json.AddText("basebandVersion", info->basebandVersion);
        json.AddText("boardId", std::to_string(info->boardId));
        json.AddText("hardwareModel", info->hardwareModel);
        json.AddText("hardwareVersion", info->hardwareVersion);
        json.AddText("firmwareVersion", info->firmwareVersion);
        json.Add("batteryHealth", TruncateToInt(battery->health));
        json.Add("batteryCycleNumber", battery->cycleCount);
        json.AddText("simStatus", info->simStatus);
        json.AddText("wmac", wifi->mac);
        json.AddText("wifiId", wifi->id);
        json.AddText("wifiProducer", wifi->producer);
        json.AddText("wifiType", std::to_string(static_cast<long long>(wifi->type)));
        json.AddText("fcms", component->fcms);
        json.AddText("bcms", component->bcms);
        json.AddText("backCameraSerial", component->backCameraSerial);
        json.AddText("frontCameraSerial", component->frontCameraSerial);
        json.AddText("irs", component->irs);
        json.AddText("mobRealName", info->name);
        json.AddText("ram", std::to_string(storage->memorySize / kBytesPerGiB) + "GB");
        json.AddText("hardDiskType", std::to_string(static_cast<long long>(storage->diskType)));
        json.AddText("hardDiskSerial", storage->diskSerial);
        json.AddText("hardDiskManufacture", storage->diskManufacturer);
        json.Add("ramUsed", storage->memoryUsed);
        json.Add("fingerprint", fingerprint->state);
        json.AddText("nsrn", fingerprint->nsrn);
        json.AddText("nvsn", fingerprint->nvsn);
        json.AddText("lcd", display->lcd);
        json.AddText("lcm", display->lcm);
        json.AddText("cpuType", processor->type);
        json.Add("cpuCore", processor->coreCount);
        json.Add("cpuHz", processor->clock);
        json.AddText("cpuHandler", "M" + std::to_string(processor->handler));
        json.AddText("cpuFrame", processor->frame);
        json.Add("root", device->IsRoot() ? 1 : 0);
        json.Add("active", device->IsActive() ? 1 : 0);
        json.Add("fiveCode", device->IsFiveCode() ? 1 : 0);
        return json;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return XJson();
    }
}
