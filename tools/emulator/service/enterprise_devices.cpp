// The enterprise service's device queries: verification, firmware, keys, feedback, the basic data of a
// device, the account's balance, the four paid checks and the daily bill. All need a live token. Devices
// are answered from the same factory records as the standard edition's (factory.h); the paid checks are
// debited from the account and written to its bill.
#include "emulator/service/enterprise_book.h"
#include "emulator/service/factory.h"
#include "emulator/service/params.h"
#include "emulator/service/verification.h"
#include "emulator/service/warranty.h"

#include <cstdio>

namespace pelmor::emulator::enterprise {

namespace {

const json& known_device(const std::string& ecid, const std::string& serial) {
    const json* record = factory().device(ecid, serial);
    if (!record) refuse_with(refusal::kDeviceNotFound, "DEVICE_NOT_FOUND", "未找到该设备的出厂记录");
    return *record;
}

// One checked line of a report: what was checked, the verdict, and whether the host should flag it.
json check_line(const char* key, const char* name, bool flagged, const std::string& result) {
    return json{{"key", key}, {"name", name}, {"show", flagged ? "y" : "n"}, {"result", result}};
}

// What the maker's sales and service records say about a device; the paid checks read from it.
const json& service_record(const json& device) {
    const auto it = device.find("professional");
    if (it == device.end() || !it->is_object())
        refuse_with(refusal::kDeviceNotFound, "DEVICE_NOT_FOUND", "该设备暂无可查询的记录");
    return *it;
}

json variable_line(const json& device, const char* variable, const char* key, const char* name) {
    const json& v = service_record(device)["variable"][variable];
    return check_line(key, name, v.value("result", "") == "yes", v.value("msg", ""));
}

json idlock_answer(const json& device, std::int64_t) {
    return variable_line(device, "activation_lock", "idlock", "激活锁");
}

json simlock_answer(const json& device, std::int64_t) {
    return variable_line(device, "network_lock", "simlock", "网络锁");
}

json refurbish_answer(const json& device, std::int64_t) {
    const bool refurbished = service_record(device).value("refurbished", "") == "是";
    return check_line("refurbish", "翻新机", refurbished, refurbished ? "官方翻新机" : "非翻新机");
}

json warranty_answer(const json& device, std::int64_t now_ms) {
    const Warranty warranty = warranty_of(device["srnm"].get<std::string>());
    const long long left = days_left(warranty, now_ms);
    return json{{"srnm", device["srnm"]},
                {"purchase", warranty.purchase},
                {"warranty", warranty.coverage_end},
                {"daysleft", left},
                {"coverage", left > 0 ? "保修期内" : "已过保"}};
}

// The four paid checks: the answer is made before the account is debited, so a device that cannot be
// answered costs nothing.
template <json (*Answer)(const json&, std::int64_t), std::int64_t Cents>
Reply paid_check(const Call& call, const char* what) {
    const std::string account = session_account(call);
    const std::string ecid = text_param(call, "ecid");
    const std::string serial = text_param(call, "srnm");
    json answer = Answer(known_device(ecid, serial), call.state.now_ms());
    charge(call.state, account, serial, what, Cents);
    return success(std::move(answer), "查询成功");
}

Reply verify(const Call& call) {
    session_account(call);
    const json& info = object_param(call, "info");
    if (info.empty())
        refuse_with(refusal::kDeviceInfoIncomplete, "DEVICE_INFO_INCOMPLETE",
                    "设备信息读取不完整，请重新连接设备");
    text_param(call, "file", true);
    const std::string ecid = text_param(call, "ecid", true);
    const json& device = known_device(ecid, description_text(info, "srnm"));
    return success(verification_report(factory(), device, info), "检测完成");
}

Reply firmware(const Call& call) {
    session_account(call);
    json list = factory().firmware(text_param(call, "type"));
    const char* msg = list.empty() ? "暂无该机型的固件" : "success";
    return success(std::move(list), msg);
}

Reply fields(const Call& call) {
    session_account(call);
    return success(json{{"lcd", "PanelSerialNumber"},
                        {"lcm", "DisplayModuleSerial"},
                        {"verifyDevice13Class", "com.pelmor.verify.backup13"},
                        {"verifyDevice13Key", "c2VjcmV0LWtleS1mb3ItYmFja3VwLTEz"}});
}

Reply feedback(const Call& call) {
    const std::string account = session_account(call);
    text_param(call, "message");
    const auto id = call.state.update([&](json& values) {
        json& received = book(values)["feedback"];
        json entry = call.params();
        entry["account"] = account;
        entry["time"] = utc_time(call.state.now_ms());
        received.push_back(std::move(entry));
        return received.size();
    });
    return success(json{{"id", id}}, "感谢您的反馈，我们会尽快处理");
}

Reply basic(const Call& call) {
    session_account(call);
    const json& device = known_device(text_param(call, "ecid"), "");
    return success(json{{"ecid", device["ecid"]},
                        {"productType", device["productType"]},
                        {"frontColor", device["colors"].value("front", "")},
                        {"backColor", device["colors"].value("back", "")}});
}

Reply balance(const Call& call) {
    const std::string account = session_account(call);
    const std::int64_t cents = call.state.update([&](json& values) {
        return book(values)["accounts"][account].value("balance_cents", std::int64_t{0});
    });
    return success(json{{"account", account}, {"balance", yuan(cents)}});
}

Reply daily_bill(const Call& call) {
    const std::string account = session_account(call);
    const std::string date = text_param(call, "date");
    int y = 0, m = 0, d = 0, used = 0;
    if (date.size() != 10 || std::sscanf(date.c_str(), "%4d-%2d-%2d%n", &y, &m, &d, &used) != 3 ||
        used != 10 || m < 1 || m > 12 || d < 1 || d > 31)
        refuse_with(refusal::kParamInvalid, "PARAM_INVALID", "日期格式应为YYYY-MM-DD");
    return call.state.update([&](json& values) {
        const json& bills = book(values)["accounts"][account]["bills"];
        const auto it = bills.find(date);
        return success(it == bills.end() ? json::array() : *it);
    });
}

}  // namespace

void register_device_paths(Router& router) {
    router.add_path("/device/check", guarded(verify));
    router.add_path("/ipsw/brush", guarded(firmware));
    router.add_path("/user/feedback", guarded(feedback));
    router.add_path("/device/fields", guarded(fields));
    router.add_path("/device/details", guarded(basic));
    router.add_path("/ckcheck/details", guarded(balance));
    router.add_path("/ckcheck/idlock",
                    guarded([](const Call& c) { return paid_check<idlock_answer, 50>(c, "激活锁查询"); }));
    router.add_path("/ckcheck/warranty",
                    guarded([](const Call& c) { return paid_check<warranty_answer, 30>(c, "保修查询"); }));
    router.add_path("/ckcheck/refurbish",
                    guarded([](const Call& c) { return paid_check<refurbish_answer, 70>(c, "翻新机查询"); }));
    router.add_path("/ckcheck/simlock",
                    guarded([](const Call& c) { return paid_check<simlock_answer, 50>(c, "网络锁查询"); }));
    router.add_path("/ckcheck/bill/daily", guarded(daily_bill));
}

}  // namespace pelmor::emulator::enterprise
