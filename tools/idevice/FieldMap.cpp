#include "FieldMap.h"

#include <cstdio>
#include <cstdlib>

namespace pelmor::idevice {

namespace {

// Conversions from a capture value into a record member. A value of another kind leaves the member as it
// is: a damaged capture gives an empty member, never a wrong one.

void AsText(const CaptureValue& v, XString& out) {
    if (v.kind == CaptureValue::Kind::Text)
        out = XString::FromUtf8(v.text);
    else if (v.kind == CaptureValue::Kind::Integer)
        out = XString::FromUtf8(std::to_string(v.integer));
}

// Chip ids are integers on the wire and sixteen upper-case hexadecimal digits in the records.
void AsHexText(const CaptureValue& v, XString& out) {
    if (v.kind != CaptureValue::Kind::Integer) return;
    char text[24];
    std::snprintf(text, sizeof text, "%016llX", v.integer);
    out = XString::FromUtf8(text);
}

void AsUnsigned(const CaptureValue& v, unsigned long long& out) {
    if (v.kind == CaptureValue::Kind::Integer) out = v.integer;
}

void AsSigned(const CaptureValue& v, long long& out) {
    if (v.kind == CaptureValue::Kind::Integer) out = static_cast<long long>(v.integer);
}

void AsInt(const CaptureValue& v, int& out) {
    if (v.kind == CaptureValue::Kind::Integer && v.integer <= 0x7fffffffULL)
        out = static_cast<int>(v.integer);
}

double AsNumber(const CaptureValue* v) {
    if (!v) return 0.0;
    if (v->kind == CaptureValue::Kind::Integer) return static_cast<double>(v->integer);
    if (v->kind == CaptureValue::Kind::Real) return v->real;
    return 0.0;
}

template <auto Slot>
auto& Ensure(DeviceRecords& r) {
    auto& record = r.*Slot;
    if (!record) record.emplace();
    return *record;
}

// The common case: one key, one conversion, one member.
template <auto Slot, auto Member, auto Convert>
void Put(const Capture& c, const Field& f, DeviceRecords& r) {
    auto& record = Ensure<Slot>(r);
    if (const CaptureValue* value = c.Find(f.domain, f.keys)) Convert(*value, record.*Member);
}

// A member nothing public tells: the record is there, the member stays empty.
template <auto Slot>
void Present(const Capture&, const Field&, DeviceRecords& r) {
    Ensure<Slot>(r);
}

// "15.6" gives 15, 6, 0; part picks one of the three numbers.
template <int part, auto Member>
void VersionPart(const Capture& c, const Field& f, DeviceRecords& r) {
    auto& version = Ensure<&DeviceRecords::version>(r);
    const CaptureValue* value = c.Find(f.domain, "ProductVersion");
    if (!value || value->kind != CaptureValue::Kind::Text) return;
    const char* p = value->text.c_str();
    for (int i = 0; i < part && *p; ++i) {
        while (*p && *p != '.')
            ++p;
        if (*p == '.') ++p;
    }
    version.*Member = *p ? std::atoi(p) : 0;
}

// Per cent of the design capacity the battery still holds at full charge.
void BatteryHealth(const Capture& c, const Field& f, DeviceRecords& r) {
    auto& battery = Ensure<&DeviceRecords::battery>(r);
    const double design = AsNumber(c.Find(f.domain, "DesignCapacity"));
    double full = AsNumber(c.Find(f.domain, "NominalChargeCapacity"));
    if (full <= 0) full = AsNumber(c.Find(f.domain, "AppleRawMaxCapacity"));
    battery.health = design > 0 && full > 0 ? full * 100.0 / design : 0.0;
}

// The chip is known by its id in hexadecimal (0x8030), which is the number the processor is sent as.
void ChipHandler(const Capture& c, const Field& f, DeviceRecords& r) {
    auto& processor = Ensure<&DeviceRecords::processor>(r);
    const CaptureValue* id = c.Find(f.domain, f.keys);
    if (!id || id->kind != CaptureValue::Kind::Integer || id->integer > 0x9999999) return;
    char digits[24];
    std::snprintf(digits, sizeof digits, "%llx", id->integer);
    char* end = nullptr;
    const long number = std::strtol(digits, &end, 10);
    if (*end == '\0') processor.handler = static_cast<int>(number);
}

void CaptureAsFile(const Capture& c, const Field&, DeviceRecords& r) {
    const std::string xml = c.ToXml();
    Ensure<&DeviceRecords::file>(r).data = QByteArray(xml.data(), static_cast<int>(xml.size()));
}

void Activated(const Capture& c, const Field& f, DeviceRecords& r) {
    const CaptureValue* state = c.Find(f.domain, f.keys);
    r.active = state && state->kind == CaptureValue::Kind::Text && state->text == "Activated";
}

template <auto Flag>
void FlagPresent(const Capture&, const Field&, DeviceRecords& r) {
    if (!(r.*Flag)) r.*Flag = false;
}

// Members as text for `device check`: empty texts and zero numbers count as empty.
std::string Shown(const XString& v) {
    return v.ToUtf8();
}
std::string Shown(const QByteArray& v) {
    return v.isEmpty() ? "" : std::to_string(v.size()) + " bytes";
}
std::string Shown(int v) {
    return v ? std::to_string(v) : "";
}
std::string Shown(long long v) {
    return v ? std::to_string(v) : "";
}
std::string Shown(unsigned long long v) {
    return v ? std::to_string(v) : "";
}
std::string Shown(double v) {
    return v != 0.0 ? std::to_string(v) : "";
}

template <auto Getter, auto Member>
std::optional<std::string> Read(ISocketDevice& d) {
    const auto* record = (d.*Getter)();
    if (!record) return std::nullopt;
    return Shown(record->*Member);
}

// Version numbers are values even when zero ("15.6" has patch 0).
template <auto Getter, auto Member>
std::optional<std::string> ReadNumber(ISocketDevice& d) {
    const auto* record = (d.*Getter)();
    if (!record) return std::nullopt;
    return std::to_string(record->*Member);
}

template <auto Getter>
std::optional<std::string> ReadFlag(ISocketDevice& d) {
    return (d.*Getter)() ? "true" : "";
}

using D = DeviceRecords;
using I = ISocketDevice;
constexpr const char* L = kLockdownDomain;
constexpr const char* B = kBatteryEntry;
constexpr const char* R = kRecoveryDomain;
constexpr const char kNoKey[] = "";
constexpr const char kText[] = "text";
constexpr const char kNumber[] = "integer";
constexpr const char kHex[] = "integer, as 16 upper-case hexadecimal digits";
constexpr const char kNone[] = "";

#define PELMOR_TEXT(rec, slot, getter, type, member, key)                                      \
    Field {                                                                                    \
        rec, #member, Source::Lockdown, L, key, kText, &Put<&D::slot, &type::member, &AsText>, \
            &Read<&I::getter, &type::member>                                                   \
    }
#define PELMOR_NONE(rec, slot, getter, type, member)                                                       \
    Field {                                                                                                \
        rec, #member, Source::None, L, kNoKey, kNone, &Present<&D::slot>, &Read<&I::getter, &type::member> \
    }

}  // namespace

const std::vector<Field>& FieldMap() {
    using Info = XSocketDeviceInfo;
    static const std::vector<Field> map = {
        {"device", "ecid", Source::Lockdown, L, "UniqueChipID", kHex, &Put<&D::info, &Info::ecid, &AsHexText>,
         &Read<&I::GetDeviceRecord, &Info::ecid>},
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, name, "DeviceName"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, productType, "ProductType"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, serialNumber, "SerialNumber"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, udid, "UniqueDeviceID"),
        PELMOR_NONE("device", info, GetDeviceRecord, Info, hardwareVersion),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, mod, "ModelNumber"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, region, "RegionInfo"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, buildVersion, "BuildVersion"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, firmwareVersion, "FirmwareVersion"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, hardwareModel, "HardwareModel"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, phoneNumber, "PhoneNumber"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, mlb, "MLBSerialNumber"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, iccid, "IntegratedCircuitCardIdentity"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, ethernetMac, "EthernetAddress"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, timeZone, "TimeZone"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, basebandVersion, "BasebandVersion"),
        PELMOR_NONE("device", info, GetDeviceRecord, Info, esn),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, colour, "DeviceColor"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, enclosureColour, "DeviceEnclosureColor"),
        PELMOR_NONE("device", info, GetDeviceRecord, Info, rmd),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, meid, "MobileEquipmentIdentifier"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, imei, "InternationalMobileEquipmentIdentity"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, imei2, "InternationalMobileEquipmentIdentity2"),
        PELMOR_TEXT("device", info, GetDeviceRecord, Info, simStatus, "SIMStatus"),
        {"device", "basebandCertId", Source::Lockdown, L, "BasebandCertId", kNumber,
         &Put<&D::info, &Info::basebandCertId, &AsSigned>, &Read<&I::GetDeviceRecord, &Info::basebandCertId>},
        {"device", "basebandChipId", Source::Lockdown, L, "BasebandChipID", kNumber,
         &Put<&D::info, &Info::basebandChipId, &AsSigned>, &Read<&I::GetDeviceRecord, &Info::basebandChipId>},
        {"device", "boardId", Source::Lockdown, L, "BoardId", kNumber,
         &Put<&D::info, &Info::boardId, &AsSigned>, &Read<&I::GetDeviceRecord, &Info::boardId>},

        {"file", "ecid", Source::Lockdown, L, "UniqueChipID", kHex,
         &Put<&D::file, &XSocketDeviceFile::ecid, &AsHexText>,
         &Read<&I::GetFileRecord, &XSocketDeviceFile::ecid>},
        PELMOR_TEXT("file", file, GetFileRecord, XSocketDeviceFile, name, "DeviceName"),
        {"file", "data", Source::CaptureItself, L, kNoKey,
         "every domain read, as one XML property list (a dictionary of the domains by name)", &CaptureAsFile,
         &Read<&I::GetFileRecord, &XSocketDeviceFile::data>},
        PELMOR_TEXT("file", file, GetFileRecord, XSocketDeviceFile, productType, "ProductType"),

        {"battery", "cycleCount", Source::IORegistry, B, "CycleCount", kNumber,
         &Put<&D::battery, &XSocketDeviceBattery::cycleCount, &AsInt>,
         &Read<&I::GetBatteryRecord, &XSocketDeviceBattery::cycleCount>},
        {"battery", "health", Source::IORegistry, B,
         "NominalChargeCapacity, AppleRawMaxCapacity, DesignCapacity",
         "per cent: full-charge capacity (`NominalChargeCapacity`, else `AppleRawMaxCapacity`) x 100 / "
         "`DesignCapacity`",
         &BatteryHealth, &Read<&I::GetBatteryRecord, &XSocketDeviceBattery::health>},
        {"battery", "batt", Source::IORegistry, B, "Serial", kText,
         &Put<&D::battery, &XSocketDeviceBattery::batt, &AsText>,
         &Read<&I::GetBatteryRecord, &XSocketDeviceBattery::batt>},

        {"systemVersion", "major", Source::Lockdown, L, "ProductVersion", "first number of \"15.6.1\"",
         &VersionPart<0, &XSocketDeviceVersion::major>,
         &ReadNumber<&I::GetSystemVersion, &XSocketDeviceVersion::major>},
        {"systemVersion", "minor", Source::Lockdown, L, "ProductVersion", "second number",
         &VersionPart<1, &XSocketDeviceVersion::minor>,
         &ReadNumber<&I::GetSystemVersion, &XSocketDeviceVersion::minor>},
        {"systemVersion", "patch", Source::Lockdown, L, "ProductVersion", "third number, 0 when absent",
         &VersionPart<2, &XSocketDeviceVersion::patch>,
         &ReadNumber<&I::GetSystemVersion, &XSocketDeviceVersion::patch>},

        PELMOR_NONE("storage", storage, GetStorageRecord, XSocketDeviceStorage, diskType),
        PELMOR_NONE("storage", storage, GetStorageRecord, XSocketDeviceStorage, diskManufacturer),
        PELMOR_NONE("storage", storage, GetStorageRecord, XSocketDeviceStorage, diskSerial),
        PELMOR_NONE("storage", storage, GetStorageRecord, XSocketDeviceStorage, memorySize),
        PELMOR_NONE("storage", storage, GetStorageRecord, XSocketDeviceStorage, memoryUsed),

        PELMOR_NONE("wifi", wifi, GetWifiRecord, XSocketDeviceWifi, type),
        PELMOR_NONE("wifi", wifi, GetWifiRecord, XSocketDeviceWifi, producer),
        PELMOR_NONE("wifi", wifi, GetWifiRecord, XSocketDeviceWifi, id),
        PELMOR_TEXT("wifi", wifi, GetWifiRecord, XSocketDeviceWifi, mac, "WiFiAddress"),

        PELMOR_NONE("component", component, GetComponentRecord, XSocketDeviceComponent, fcms),
        PELMOR_NONE("component", component, GetComponentRecord, XSocketDeviceComponent, bcms),
        PELMOR_NONE("component", component, GetComponentRecord, XSocketDeviceComponent, frontCameraSerial),
        PELMOR_NONE("component", component, GetComponentRecord, XSocketDeviceComponent, backCameraSerial),
        PELMOR_NONE("component", component, GetComponentRecord, XSocketDeviceComponent, irs),

        PELMOR_TEXT("bluetooth", bluetooth, GetBluetoothRecord, XSocketDeviceBluetooth, mac,
                    "BluetoothAddress"),

        PELMOR_NONE("fingerprint", fingerprint, GetFingerprintRecord, XSocketDeviceFingerprint, state),
        PELMOR_NONE("fingerprint", fingerprint, GetFingerprintRecord, XSocketDeviceFingerprint, nsrn),
        PELMOR_NONE("fingerprint", fingerprint, GetFingerprintRecord, XSocketDeviceFingerprint, nvsn),

        {"lowLevel", "ecid", Source::Lockdown, L, "UniqueChipID", kNumber,
         &Put<&D::lowLevel, &XSocketDeviceLowLevel::ecid, &AsUnsigned>,
         &Read<&I::GetLowLevelRecord, &XSocketDeviceLowLevel::ecid>},
        {"lowLevel", "ecid", Source::Recovery, R, "ECID", kNumber,
         &Put<&D::lowLevel, &XSocketDeviceLowLevel::ecid, &AsUnsigned>,
         &Read<&I::GetLowLevelRecord, &XSocketDeviceLowLevel::ecid>},
        PELMOR_TEXT("lowLevel", lowLevel, GetLowLevelRecord, XSocketDeviceLowLevel, productType,
                    "ProductType"),
        {"lowLevel", "productType", Source::Recovery, R, "ProductType",
         "text, from the chip and board ids libirecovery reads",
         &Put<&D::lowLevel, &XSocketDeviceLowLevel::productType, &AsText>,
         &Read<&I::GetLowLevelRecord, &XSocketDeviceLowLevel::productType>},

        PELMOR_NONE("display", display, GetDisplayRecord, XSocketDeviceDisplay, lcd),
        PELMOR_NONE("display", display, GetDisplayRecord, XSocketDeviceDisplay, lcm),

        PELMOR_TEXT("processor", processor, GetProcessorRecord, XSocketDeviceProcessor, type,
                    "HardwarePlatform"),
        PELMOR_TEXT("processor", processor, GetProcessorRecord, XSocketDeviceProcessor, frame,
                    "CPUArchitecture"),
        PELMOR_NONE("processor", processor, GetProcessorRecord, XSocketDeviceProcessor, coreCount),
        PELMOR_NONE("processor", processor, GetProcessorRecord, XSocketDeviceProcessor, clock),
        {"processor", "handler", Source::Lockdown, L, "ChipID",
         "the id's hexadecimal digits as a number (0x8030 gives 8030)", &ChipHandler,
         &Read<&I::GetProcessorRecord, &XSocketDeviceProcessor::handler>},

        {"(top level)", "root", Source::None, L, kNoKey, kNone, &FlagPresent<&D::root>,
         &ReadFlag<&I::IsRoot>},
        {"(top level)", "active", Source::Lockdown, L, "ActivationState", "true when \"Activated\"",
         &Activated, &ReadFlag<&I::IsActive>},
        {"(top level)", "fiveCode", Source::None, L, kNoKey, kNone, &FlagPresent<&D::fiveCode>,
         &ReadFlag<&I::IsFiveCode>},
    };
    return map;
}

#undef PELMOR_TEXT
#undef PELMOR_NONE

DeviceRecords RecordsFromCapture(const Capture& capture) {
    DeviceRecords records;
    for (const Field& field : FieldMap())
        if (capture.Has(field.domain)) field.fill(capture, field, records);
    return records;
}

namespace {

// "A, B" as "`A`, `B`".
std::string Quoted(const std::string& keys) {
    std::string out = "`";
    for (char c : keys)
        out += c == ',' ? std::string("`,") : c == ' ' ? std::string(" `") : std::string(1, c);
    return out + "`";
}

std::string SourceText(const Field& f) {
    const std::string keys = Quoted(f.keys);
    switch (f.source) {
        case Source::Lockdown:
            return std::string(f.domain) == kLockdownDomain
                       ? "lockdownd " + keys
                       : "lockdownd domain `" + std::string(f.domain) + "`, " + keys;
        case Source::IORegistry: {
            const std::string entry = f.domain;
            return "diagnostics relay, IORegistry entry `" + entry.substr(entry.find(':') + 1) + "`, " + keys;
        }
        case Source::Recovery:
            return "recovery or DFU mode: " + keys;
        case Source::CaptureItself:
            return "the capture itself";
        case Source::None:
            break;
    }
    return "not available through public interfaces";
}

}  // namespace

std::string FieldMapTable() {
    std::string table =
        "| record | member | source | conversion |\n"
        "|---|---|---|---|\n";
    for (const Field& f : FieldMap())
        table += std::string("| `") + f.record + "` | `" + f.member + "` | " + SourceText(f) + " | " +
                 f.conversion + " |\n";
    return table;
}

}  // namespace pelmor::idevice
