// Requests about one handset, answered from the factory records: the verification report and its
// picture, the backup (factory) data, firmware, colours, screen, warranty, AirPods and lock states.
#include "emulator/core/codec.h"
#include "emulator/service/factory.h"
#include "emulator/service/handlers.h"
#include "emulator/service/params.h"
#include "emulator/service/verification.h"
#include "emulator/service/warranty.h"

#include <ctime>

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;

const json& known_device(const std::string& ecid, const std::string& serial) {
    const json* record = factory().device(ecid, serial);
    if (!record) refuse_with(refusal::kDeviceNotFound, "DEVICE_NOT_FOUND", "未找到该设备的出厂记录");
    return *record;
}

// The description the client sends is all or nothing; an empty one cannot be checked.
const json& complete_description(const Call& call) {
    const json& info = object_param(call, "info");
    if (info.empty())
        refuse_with(refusal::kDeviceInfoIncomplete, "DEVICE_INFO_INCOMPLETE",
                    "设备信息读取不完整，请重新连接设备");
    return info;
}

Reply equipment_check(const Call& call) {
    const json& info = complete_description(call);
    text_param(call, "file", true);
    const std::string ecid = text_param(call, "ecid", true);
    const json& record = known_device(ecid, description_text(info, "srnm"));
    return success(verification_report(factory(), record, info), "检测完成");
}

std::string xml_escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

// The report picture: a small SVG card with the handset and the level, sent as Base64 text.
Reply equipment_report_img(const Call& call) {
    const json& info = object_param(call, "info");
    const std::string ecid = text_param(call, "ecid", true);
    const json& img = object_param(call, "img");
    if (!img.contains("level") || !img["level"].is_number_integer() || !img.contains("levelMsg") ||
        !img["levelMsg"].is_string())
        refuse_with(refusal::kParamInvalid, "PARAM_INVALID", "参数格式错误: img");
    const json& record = known_device(ecid, description_text(info, "srnm"));
    const std::string level = std::to_string(img["level"].get<long long>());
    const std::string svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"480\" height=\"160\">"
        "<rect width=\"480\" height=\"160\" fill=\"#f4f6fa\"/>"
        "<text x=\"20\" y=\"50\" font-size=\"24\">" +
        xml_escaped(factory().model_name(record["productType"])) + " " +
        xml_escaped(record["srnm"].get<std::string>()) +
        "</text>"
        "<text x=\"20\" y=\"100\" font-size=\"20\">等级 " +
        level + ": " + xml_escaped(img["levelMsg"].get<std::string>()) + "</text></svg>";
    return success(json{{"imgName", "report_" + record["ecid"].get<std::string>() + "_" + level + ".svg"},
                        {"imgStr", codec::base64_encode(svg)}});
}

Reply equipment_backup_hd(const Call& call) {
    text_param(call, "file", true);
    const std::string ecid = text_param(call, "ecid");
    text_param(call, "mobName", true);
    text_param(call, "mobType", true);
    const json& record = known_device(ecid, "");
    const json& o = record["original"];
    const json& extra = record["backup"];
    return success(json{{"mobName", factory().model_name(record["productType"])},
                        {"srnm", record["srnm"]},
                        {"date", record["productionDate"]},
                        {"ram", o["ram"]},
                        {"mod", o["mod"]},
                        {"regn", o["regn"]},
                        {"color", record["colors"].value("name", "")},
                        {"backColor", record["colors"].value("back", "")},
                        {"frontColor", record["colors"].value("front", "")},
                        {"mlb", o["mlb"]},
                        {"bmac", o["bmac"]},
                        {"wmac", o["wmac"]},
                        {"batt", o["batt"]},
                        {"lcm", o["lcm"]},
                        {"bcms", o["bcms"]},
                        {"fcms", o["fcms"]},
                        {"mtsn", extra.value("mtsn", "")},
                        {"nvsn", o["nvsn"]},
                        {"nsrn", o["nsrn"]},
                        {"pscl", extra.value("pscl", "")},
                        {"backup", extra.value("backup", "")}});
}

// The data is the list itself, newest first as listed in the factory file.
Reply equipment_firmware(const Call& call) {
    const std::string type = text_param(call, "type");
    json list = factory().firmware(type);
    const char* msg = list.empty() ? "暂无该机型的固件" : "success";
    return success(std::move(list), msg);
}

// Where the client reads the screen serials and the backup key for handsets of the newer systems.
Reply device_fields(const Call&) {
    return success(json{{"lcd", "PanelSerialNumber"},
                        {"lcm", "DisplayModuleSerial"},
                        {"verifyDevice13Class", "com.pelmor.verify.backup13"},
                        {"verifyDevice13Key", "c2VjcmV0LWtleS1mb3ItYmFja3VwLTEz"}});
}

Reply device_color(const Call& call) {
    const json& record = known_device(text_param(call, "ecid", true), text_param(call, "srnm", true));
    return success(json{{"frontColor", record["colors"].value("front", "")},
                        {"backColor", record["colors"].value("back", "")}});
}

Reply device_lcm(const Call& call) {
    const json& record = known_device(text_param(call, "ecid", true), text_param(call, "srnm", true));
    return success(json{{"manufacturers", record["screen"].value("manufacturers", "")},
                        {"manufactureData", record["screen"].value("manufactureData", "")}});
}

Reply device_warranty(const Call& call) {
    const json& record = known_device("", text_param(call, "srnm"));
    const Warranty warranty = warranty_of(record["srnm"].get<std::string>());
    return success(json{{"purchase", warranty.purchase},
                        {"warranty", warranty.coverage_end},
                        {"leftDays", days_left(warranty, call.state.now_ms())}});
}

// A serial that is not on file is answered, not refused: the answer is that it is not genuine.
Reply airpods_check(const Call& call) {
    const std::string instance = text_param(call, "instance");
    const std::string id = text_param(call, "id");
    if (const json* pods = factory().airpods(id)) {
        return success(json{
            {"name", (*pods)["name"]}, {"srnm", id}, {"describe", (*pods)["describe"]}, {"apple", true}});
    }
    return success(json{{"name", ""},
                        {"srnm", id},
                        {"describe", "未查询到该耳机（" + instance + "）的官方记录，可能不是原装产品"},
                        {"apple", false}});
}

Reply lock_status(const Call& call, const char* which) {
    const std::string ecid = text_param(call, "ecid");
    const long long status = integer_param(call, "status");
    const std::int64_t now = call.state.now_ms();
    call.state.update([&](json& v) {
        v["locks"][ecid][which] = json{{"status", status}, {"reportedAt", now}};
    });
    return success(json::object(), "上报成功");
}

Reply id_lock_status(const Call& call) {
    return lock_status(call, "idLock");
}

Reply icloud_status(const Call& call) {
    return lock_status(call, "iCloud");
}

// GET /_emulator/factory: the handsets on file and where the file is.
ControlAnswer control_factory(bool post, const json&, ServiceState&) {
    if (post) return {405, json{{"error", "use GET"}}};
    try {
        const Factory& f = factory();
        json devices = json::array();
        for (const json& d : f.data()["devices"])
            devices.push_back(json{{"ecid", d["ecid"]},
                                   {"srnm", d["srnm"]},
                                   {"productType", d["productType"]},
                                   {"note", d.value("note", "")},
                                   {"professional", d.contains("professional")}});
        return {200, json{{"path", factory_path()}, {"devices", std::move(devices)}}};
    } catch (const Refused& refused) {
        return {500, json{{"error", refused.reply().msg}}};
    }
}

// GET /_emulator/locks: the lock states reported per chip id.
ControlAnswer control_locks(bool post, const json&, ServiceState& state) {
    if (post) return {405, json{{"error", "use GET"}}};
    return {200, state.update([](json& v) { return v["locks"].is_null() ? json::object() : v["locks"]; })};
}

}  // namespace

void register_device_handlers(Router& router) {
    router.add_method("equipment.check", guarded(equipment_check));
    router.add_method("equipment.reportImg", guarded(equipment_report_img));
    router.add_method("equipment.backupHD", guarded(equipment_backup_hd));
    router.add_method("equipment.firmware", guarded(equipment_firmware));
    router.add_method("device.fields", guarded(device_fields));
    router.add_method("device.color", guarded(device_color));
    router.add_method("device.lcm", guarded(device_lcm));
    router.add_method("device.warranty", guarded(device_warranty));
    router.add_method("airpods.check", guarded(airpods_check));
    router.add_method("idLock.status", guarded(id_lock_status));
    router.add_method("iCloud.status", guarded(icloud_status));
    router.add_control("factory", control_factory);
    router.add_control("locks", control_locks);
}

}  // namespace pelmor::emulator
