#include "DeviceFileWriter.h"

#include <pelmor/platform/XCrypt.h>

#include <QString>
#include <boost/json.hpp>
#include <cstdio>

namespace pelmor::idevice {

namespace json = boost::json;

namespace {

json::string Text(const XString& text) {
    return json::string(text.ToUtf8());
}

// Chip ids as "0x" text: JSON tools that keep numbers as doubles would round them.
json::string Hex(unsigned long long value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%016llX", value);
    return json::string(text);
}

void Indented(const json::value& value, const std::string& indent, std::string& out) {
    if (value.is_object() && !value.get_object().empty()) {
        out += "{\n";
        bool first = true;
        for (const auto& member : value.get_object()) {
            out += first ? "" : ",\n";
            first = false;
            out += indent + "    " + json::serialize(json::string(member.key())) + ": ";
            Indented(member.value(), indent + "    ", out);
        }
        out += "\n" + indent + "}";
    } else {
        out += json::serialize(value);
    }
}

}  // namespace

std::string ToDeviceFile(ISocketDevice& d, const std::string& description) {
    json::object out;
    out["description"] = description;
    if (const XSocketDeviceInfo* r = d.GetDeviceRecord()) {
        out["device"] = json::object{{"ecid", Text(r->ecid)},
                                     {"name", Text(r->name)},
                                     {"productType", Text(r->productType)},
                                     {"serialNumber", Text(r->serialNumber)},
                                     {"udid", Text(r->udid)},
                                     {"hardwareVersion", Text(r->hardwareVersion)},
                                     {"mod", Text(r->mod)},
                                     {"region", Text(r->region)},
                                     {"buildVersion", Text(r->buildVersion)},
                                     {"firmwareVersion", Text(r->firmwareVersion)},
                                     {"hardwareModel", Text(r->hardwareModel)},
                                     {"phoneNumber", Text(r->phoneNumber)},
                                     {"mlb", Text(r->mlb)},
                                     {"iccid", Text(r->iccid)},
                                     {"ethernetMac", Text(r->ethernetMac)},
                                     {"timeZone", Text(r->timeZone)},
                                     {"basebandVersion", Text(r->basebandVersion)},
                                     {"esn", Text(r->esn)},
                                     {"colour", Text(r->colour)},
                                     {"enclosureColour", Text(r->enclosureColour)},
                                     {"rmd", Text(r->rmd)},
                                     {"meid", Text(r->meid)},
                                     {"imei", Text(r->imei)},
                                     {"imei2", Text(r->imei2)},
                                     {"simStatus", Text(r->simStatus)},
                                     {"basebandCertId", r->basebandCertId},
                                     {"basebandChipId", r->basebandChipId},
                                     {"boardId", r->boardId}};
    }
    if (const XSocketDeviceFile* r = d.GetFileRecord()) {
        json::object file{{"ecid", Text(r->ecid)}, {"name", Text(r->name)}};
        // Text that survives a UTF-8 round trip is kept readable; anything else goes as Base64.
        if (QString::fromUtf8(r->data).toUtf8() == r->data && !r->data.contains('\0'))
            file["data"] = r->data.toStdString();
        else
            file["dataBase64"] = XCrypt::BASE64::Encode(r->data).toStdString();
        file["productType"] = Text(r->productType);
        out["file"] = std::move(file);
    }
    if (const XSocketDeviceBattery* r = d.GetBatteryRecord())
        out["battery"] =
            json::object{{"cycleCount", r->cycleCount}, {"health", r->health}, {"batt", Text(r->batt)}};
    if (const XSocketDeviceVersion* r = d.GetSystemVersion())
        out["systemVersion"] = json::object{{"major", r->major}, {"minor", r->minor}, {"patch", r->patch}};
    if (const XSocketDeviceStorage* r = d.GetStorageRecord())
        out["storage"] = json::object{{"diskType", r->diskType},
                                      {"diskManufacturer", Text(r->diskManufacturer)},
                                      {"diskSerial", Text(r->diskSerial)},
                                      {"memorySize", r->memorySize},
                                      {"memoryUsed", r->memoryUsed}};
    if (const XSocketDeviceWifi* r = d.GetWifiRecord())
        out["wifi"] = json::object{
            {"type", r->type}, {"producer", Text(r->producer)}, {"id", Text(r->id)}, {"mac", Text(r->mac)}};
    if (const XSocketDeviceComponent* r = d.GetComponentRecord())
        out["component"] = json::object{{"fcms", Text(r->fcms)},
                                        {"bcms", Text(r->bcms)},
                                        {"frontCameraSerial", Text(r->frontCameraSerial)},
                                        {"backCameraSerial", Text(r->backCameraSerial)},
                                        {"irs", Text(r->irs)}};
    if (const XSocketDeviceBluetooth* r = d.GetBluetoothRecord())
        out["bluetooth"] = json::object{{"mac", Text(r->mac)}};
    if (const XSocketDeviceFingerprint* r = d.GetFingerprintRecord())
        out["fingerprint"] =
            json::object{{"state", r->state}, {"nsrn", Text(r->nsrn)}, {"nvsn", Text(r->nvsn)}};
    if (const XSocketDeviceLowLevel* r = d.GetLowLevelRecord())
        out["lowLevel"] = json::object{{"ecid", Hex(r->ecid)}, {"productType", Text(r->productType)}};
    if (const XSocketDeviceDisplay* r = d.GetDisplayRecord())
        out["display"] = json::object{{"lcd", Text(r->lcd)}, {"lcm", Text(r->lcm)}};
    if (const XSocketDeviceProcessor* r = d.GetProcessorRecord())
        out["processor"] = json::object{{"type", Text(r->type)},
                                        {"frame", Text(r->frame)},
                                        {"coreCount", r->coreCount},
                                        {"clock", r->clock},
                                        {"handler", r->handler}};
    out["root"] = d.IsRoot();
    out["active"] = d.IsActive();
    out["fiveCode"] = d.IsFiveCode();
    std::string text;
    Indented(out, "", text);
    return text + "\n";
}

}  // namespace pelmor::idevice
