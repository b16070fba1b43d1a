// Device verification and the look-ups about one handset. The operations both editions offer get a row
// for each, as "verify" and "ent verify".
#include <pelmor/Records.h>

#include <climits>

#include "Command.h"
#include "DeviceFile.h"
#include "HandsetCommands.h"
#include "RecordKeys.h"
#include "Terminal.h"

namespace pelmor {

namespace {

// The bytes handed over as the device's file: --file, else the file record of the device file.
QByteArray FileBytes(CDeviceFile& device, const Args& a) {
    if (a.Has("--file")) return QByteArray::fromStdString(a.Get("--file"));
    const XSocketDeviceFile* file = device.GetFileRecord();
    return file ? file->data : QByteArray();
}

// Long texts (images sent as text) are shortened in tables; --json shows them whole.
std::string Shorten(Session& s, const std::string& text) {
    if (s.options().json || text.size() <= 72) return text;
    return text.substr(0, 60) + "... (" + std::to_string(text.size()) + " bytes)";
}

JsonObject VerifyReport(const ISocketInfoVerify* r) {
    JsonObject out{{"totalResult", Utf8(r->GetTotalResult())},
                   {"score", NumberFromText(Utf8(r->GetScore()))},
                   {"verifyMessage", Utf8(r->GetVerifyMessage())},
                   {"itemsMessage", Utf8(r->GetVersionMessage())}};
    const std::pair<const char*, std::pair<XString, XString>> topics[] = {
        {"iccid", {r->GetCardValue(), r->GetCardState()}},
        {"teardown", {r->GetOpenValue(), r->GetOpenState()}},
        {"root", {r->GetRootValue(), r->GetRootState()}},
        {"wifi", {r->GetWifiValue(), r->GetWifiState()}},
        {"replaceHD", {r->GetDiskValue(), r->GetDiskState()}},
        {"meid", {r->GetMeidValue(), r->GetMeidState()}},
        {"mainboard", {r->GetMainboardValue(), r->GetMainboardState()}},
        {"baseband", {r->GetBasebandValue(), r->GetBasebandState()}},
        {"sim", {r->GetSimValue(), r->GetSimState()}},
        {"hardDisk", {r->GetHarddiskValue(), r->GetHarddiskState()}},
    };
    JsonArray topicRows;
    for (const auto& [name, value] : topics)
        topicRows.push_back(
            JsonObject{{"topic", name}, {"value", Utf8(value.first)}, {"state", Utf8(value.second)}});
    out["topics"] = std::move(topicRows);
    out["classes"] = JsonObject{{"base", Utf8(r->GetBaseState())},
                                {"hardware", Utf8(r->GetHardwareState())},
                                {"screen", Utf8(r->GetScreenState())},
                                {"fingerprint", Utf8(r->GetFingerMarkState())},
                                {"other", Utf8(r->GetOtherState())}};
    JsonArray items;
    r->TraverseItem([&](const ISocketInfoVerifyItem* item) {
        items.push_back(JsonObject{{"class", VerifyClassName(item->GetClassify())},
                                   {"key", VerifyItemKey(item->GetKey())},
                                   {"name", Utf8(item->GetName())},
                                   {"result", Utf8(item->GetResult())},
                                   {"differs", item->GetShow()},
                                   {"onFile", Utf8(item->GetOriginal())},
                                   {"now", Utf8(item->GetNow())},
                                   {"message", Utf8(item->GetMessage())}});
    });
    out["items"] = std::move(items);
    return out;
}

int Verify(Session& s, const Args& a) {
    auto device = s.Device("verify", a[0]);
    if (!device) return kBadInput;
    if (!device->GetFileRecord() && !a.Has("--file"))
        return s.Fail("verify", a[0] + ": the device has no file record, which verification needs");
    WarnIfIncomplete(s, "verify", *device);
    const QByteArray file = FileBytes(*device, a);
    return s.Exchange("verify", [&](JsonObject& out) {
        return s.S().VerifyDevice(device.get(), file, [&](ISocketInfoVerify* r) { out = VerifyReport(r); });
    });
}

int ReportImage(Session& s, const Args& a) {
    auto device = s.Device("report-image", a[0]);
    if (!device) return kBadInput;
    long long level = 1;
    if (const int bad = IntegerOption(s, a, "--level", 1, 0, 1000, level)) return bad;
    const std::string message = a.Get("--message", "");
    return s.Exchange("report-image", [&](JsonObject& out) {
        return s.S().VerifyImage(
            device.get(), static_cast<int>(level), message.c_str(), [&](ISocketInfoImage* image) {
                const std::string name = Utf8(image->GetName()),
                                  text = image->GetImage() ? image->GetImage() : "";
                std::string error;
                const std::string saved = SaveImage(text, "report", error);
                out = {
                    {"name", name}, {"image", Shorten(s, text)}, {"savedTo", saved.empty() ? error : saved}};
            });
    });
}

int Backup(Session& s, const Args& a) {
    auto device = s.Device("backup", a[0]);
    if (!device) return kBadInput;
    return s.Exchange("backup", [&](JsonObject& out) {
        return s.S().DeviceBackup(device.get(), [&](ISocketInfoBackup* b) {
            out = {{"type", Utf8(b->GetType())},
                   {"serial", Utf8(b->GetSerial())},
                   {"date", ServiceTime(Utf8(b->GetDate()))},
                   {"ram", Utf8(b->GetRam())},
                   {"model", Utf8(b->GetModel())},
                   {"area", Utf8(b->GetArea())},
                   {"colour", Utf8(b->GetColor())},
                   {"mlb", Utf8(b->GetMLB())},
                   {"bmac", Utf8(b->GetBMAC())},
                   {"wmac", Utf8(b->GetWMAC())},
                   {"batt", Utf8(b->GetBatt())},
                   {"lcm", Utf8(b->GetLCM())},
                   {"bcms", Utf8(b->GetBCMS())},
                   {"fcms", Utf8(b->GetFCMS())},
                   {"mtsn", Utf8(b->GetMtSN())},
                   {"nvsn", Utf8(b->GetNvSN())},
                   {"nsrn", Utf8(b->GetNSrN())},
                   {"pscl", Utf8(b->GetPscl())},
                   {"backup", Shorten(s, Utf8(b->GetBackup()))}};
        });
    });
}

int Keys(Session& s, const Args&) {
    return s.Exchange("keys", [&](JsonObject& out) {
        return s.S().DeviceKey([&](ISocketInfoKey* k) {
            out = {{"screenLcd", Utf8(k->GetScreenLCD())},
                   {"screenLcm", Utf8(k->GetScreenLCM())},
                   {"backupClass", Utf8(k->GetBackupClass())},
                   {"backupKey", Utf8(k->GetBackupKey())}};
        });
    });
}

int Firmware(Session& s, const Args& a) {
    auto device = s.Device("firmware", a[0]);
    if (!device) return kBadInput;
    return s.Exchange("firmware", [&](JsonObject& out) {
        return s.S().DeviceIpsw(device.get(), [&](ISocketInfoIpsw* list) {
            JsonArray rows;
            for (unsigned i = 0; i < list->GetCount(); ++i) {
                const ISocketInfoIpswItem* item = list->GetItem(i);
                JsonObject row{{"version", Utf8(item->GetVersion())},
                               {"build", Utf8(item->GetBuildId())},
                               {"size", Utf8(item->GetSize())},
                               {"beta", item->GetBeta()},
                               {"name", Utf8(item->GetName())}};
                if (s.options().json) {
                    row["url"] = Utf8(item->GetUrl());
                    row["md5"] = Utf8(item->GetMD5());
                    row["bytes"] = item->GetBytes();
                }
                rows.push_back(std::move(row));
            }
            out["firmware"] = std::move(rows);
        });
    });
}

int Colour(Session& s, const Args& a) {
    auto device = s.Device("colour", a[0]);
    if (!device) return kBadInput;
    return s.Exchange("colour", [&](JsonObject& out) {
        return s.S().QueryColor(device.get(), [&](const ISocketInfoColor* c) {
            out = {{"front", Utf8(c->GetFrontColor())}, {"back", Utf8(c->GetBackColor())}};
        });
    });
}

int Screen(Session& s, const Args& a) {
    auto device = s.Device("screen", a[0]);
    if (!device) return kBadInput;
    return s.Exchange("screen", [&](JsonObject& out) {
        return s.S().QueryScreen(device.get(), [&](const ISocketInfoScreen* c) {
            out = {{"factory", Utf8(c->GetFactory())}, {"date", ServiceTime(Utf8(c->GetDate()))}};
        });
    });
}

int Warranty(Session& s, const Args& a) {
    auto device = s.Device("warranty", a[0]);
    if (!device) return kBadInput;
    return s.Exchange("warranty", [&](JsonObject& out) {
        return s.S().QueryWarranty(device.get(), [&](const ISocketQueryWarranty* w) {
            out = {{"purchased", ServiceTime(Utf8(w->GetPurchase()))},
                   {"warrantyUntil", ServiceTime(Utf8(w->GetWarranty()))},
                   {"daysLeft", w->GetDaysleft()}};
        });
    });
}

int AirPods(Session& s, const Args& a) {
    return s.Exchange("airpods", [&](JsonObject& out) {
        return s.S().VerifyAirPods(QString::fromStdString(a[0]), QString::fromStdString(a[1]),
                                   [&](ISocketInfoAirPods* p) {
                                       out = {{"model", Utf8(p->GetModel())},
                                              {"serialNumber", Utf8(p->GetSerialNumber())},
                                              {"genuine", p->IsApple()},
                                              {"description", Utf8(p->GetDescribe())}};
                                   });
    });
}

int LockStatus(Session& s, const Args& a) {
    auto device = s.Device("lock-status", a[0]);
    if (!device) return kBadInput;
    long long status = 0;
    if (!ReadInteger(a[2], INT_MIN, INT_MAX, status))
        return s.Fail("lock-status", "STATUS must be a number: " + a[2]);
    if (a[1] != "idlock" && a[1] != "icloud")
        return s.Fail("lock-status", "which lock? idlock or icloud, not " + a[1]);
    return s.Exchange("lock-status", [&](JsonObject&) {
        return a[1] == "idlock" ? s.S().UploadIdlock(device.get(), static_cast<int>(status))
                                : s.S().UploadIcloud(device.get(), static_cast<int>(status));
    });
}

}  // namespace

std::vector<Command> DeviceCommands() {
    const auto e = PELMOR_SOCKET_EDITION_STANDARD, ent = PELMOR_SOCKET_EDITION_ENTERPRISE;
    const char* g = kGroupDevices;
    const char* eg = kGroupEnterprise;
    return {
        {g, "verify", e, "DEVICE [--file TEXT]", "--file=", 1, 1,
         "verify a handset against its factory record and show the report", Verify},
        {g, "report-image", e, "DEVICE [--level N] [--message TEXT]", "--level= --message=", 1, 1,
         "the verification report as an image", ReportImage},
        {g, "backup", e, "DEVICE", "", 1, 1, "the factory data on file for the handset", Backup},
        {g, "keys", e, "", "", 0, 0, "the screen identifiers and the backup key", Keys},
        {g, "firmware", e, "DEVICE", "", 1, 1, "the firmware images offered for the handset", Firmware},
        {g, "colour", e, "DEVICE", "", 1, 1, "the handset's front and back colours", Colour},
        {g, "screen", e, "DEVICE", "", 1, 1, "the screen's maker and date of manufacture", Screen},
        {g, "warranty", e, "DEVICE", "", 1, 1, "purchase date and warranty, as the service knows them",
         Warranty},
        {g, "airpods", e, "INSTANCE ID", "", 2, 2, "check a pair of AirPods", AirPods},
        {g, "lock-status", e, "DEVICE idlock|icloud STATUS", "", 3, 3,
         "report a lock state read from the handset", LockStatus},
        {eg, "verify", ent, "DEVICE [--file TEXT]", "--file=", 1, 1, "verify a handset (enterprise)", Verify},
        {eg, "firmware", ent, "DEVICE", "", 1, 1, "the firmware images for the handset", Firmware},
        {eg, "keys", ent, "", "", 0, 0, "the screen identifiers and the backup key", Keys},
        {eg, "warranty", ent, "DEVICE", "", 1, 1, "purchase date, warranty and days left", Warranty},
    };
}

}  // namespace pelmor
