// The paid professional report: price, payment order with its QR text, payment polling, the report.
#include "emulator/service/accounts_state.h"
#include "emulator/service/factory.h"
#include "emulator/service/handlers.h"
#include "emulator/service/params.h"
#include "emulator/service/verification.h"

#include <cstdio>
#include <ctime>

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;

// Until told otherwise an order pays itself on this poll, so that a host walks the flow unattended.
constexpr long long kDefaultAutoPayPolls = 3;

// All members present from the start, so that references into the area survive (as for the accounts).
json& area(json& values) {
    json& a = values["professional"];
    if (a.is_null())
        a = json{{"counter", 0}, {"autoPayPolls", kDefaultAutoPayPolls}, {"orders", json::object()}};
    return a;
}

long long auto_pay_polls(json& values) {
    return area(values)["autoPayPolls"].get<long long>();
}

std::string utc_time(const Call& call, const char* format) {
    return utc_text(call.state.now_ms(), format);
}

// The handset's record if a professional report can be made for it.
const json* reportable(const std::string& ecid, const std::string& serial) {
    const json* record = factory().device(ecid, serial);
    return record && record->contains("professional") ? record : nullptr;
}

[[noreturn]] void no_report() {
    refuse_with(refusal::kNoProfessionalReport, "NO_PROFESSIONAL_REPORT", "该设备暂不支持专业验机");
}

Reply check_pro_exist(const Call& call) {
    const std::string serial = text_param(call, "srnm");
    return success(
        json{{"exist", reportable("", serial) != nullptr}, {"price", factory().professional_price()}});
}

Reply check_pro_qrcode(const Call& call) {
    const std::string serial = text_param(call, "srnm");
    const long long way = integer_param(call, "way");
    if (way != 0 && way != 1) refuse_with(refusal::kParamInvalid, "PARAM_INVALID", "参数格式错误: way");
    const json* record = reportable("", serial);
    if (!record) no_report();
    const double price = factory().professional_price();
    const std::int64_t now = call.state.now_ms();
    const std::string trade_no = call.state.update([&](json& v) {
        const long long uid = accounts::require_user(v, call)["uid"].get<long long>();
        const long long n = area(v)["counter"].get<long long>() + 1;
        area(v)["counter"] = n;
        char serial_no[8];
        std::snprintf(serial_no, sizeof serial_no, "%04lld", n % 10000);
        const std::string no = "PM" + utc_text(now, "%Y%m%d%H%M%S") + serial_no;
        area(v)["orders"][no] = json{{"tradeNo", no}, {"srnm", serial}, {"uid", uid}, {"price", price},
                                     {"way", way},    {"paid", false},  {"polls", 0}, {"createdAt", now}};
        return no;
    });
    char amount[32];
    std::snprintf(amount, sizeof amount, "%.2f", price);
    const std::string qr =
        service_base_url() + "/pay/" + trade_no + "?way=" + std::to_string(way) + "&amount=" + amount;
    return success(json{{"tradeNo", trade_no}, {"qrcode", qr}, {"price", price}}, "下单成功");
}

Reply check_pro_order(const Call& call) {
    const std::string trade_no = text_param(call, "tradeNo");
    const std::int64_t now = call.state.now_ms();
    return call.state.update([&](json& v) {
        json& orders = area(v)["orders"];
        const auto it = orders.find(trade_no);
        if (it == orders.end())
            refuse_with(refusal::kOrderNotFound, "ORDER_NOT_FOUND", "订单不存在", json{{"status", false}});
        json& order = *it;
        const long long polls = order["polls"].get<long long>() + 1;
        order["polls"] = polls;
        const long long after = auto_pay_polls(v);
        if (!order["paid"].get<bool>() && after > 0 && polls >= after) {
            order["paid"] = true;
            order["paidBy"] = "polls";
            order["paidAt"] = now;
        }
        const bool paid = order["paid"].get<bool>();
        return success(json{{"status", paid}, {"tradeNo", trade_no}}, paid ? "支付成功" : "等待支付");
    });
}

Reply check_pro(const Call& call) {
    const json& info = object_param(call, "info");
    text_param(call, "file");
    const std::string ecid = text_param(call, "ecid", true);
    if (info.empty())
        refuse_with(refusal::kDeviceInfoIncomplete, "DEVICE_INFO_INCOMPLETE",
                    "设备信息读取不完整，请重新连接设备");
    const json* record = reportable(ecid, description_text(info, "srnm"));
    if (!record) no_report();
    call.state.update([&](json& v) {
        const json uid = accounts::require_user(v, call)["uid"];
        for (const auto& [no, order] : area(v)["orders"].items())
            if (order["uid"] == uid && order["srnm"] == (*record)["srnm"] && order["paid"].get<bool>())
                return;
        refuse_with(refusal::kNotPaid, "NOT_PAID", "请先支付专业验机报告");
    });
    return success(professional_report(factory(), *record, info, utc_time(call, "%Y-%m-%d %H:%M:%S")),
                   "获取成功");
}

// POST /_emulator/pay {"tradeNo"?}: the user pays the order (default: the newest unpaid one).
ControlAnswer control_pay(bool post, const json& input, ServiceState& state) {
    if (!post) return {405, json{{"error", "use POST"}}};
    const std::int64_t now = state.now_ms();
    return state.update([&](json& v) -> ControlAnswer {
        json& orders = area(v)["orders"];
        std::string no = input.value("tradeNo", "");
        if (no.empty()) {
            for (auto& [key, order] : orders.items())
                if (!order["paid"].get<bool>()) no = key;
        }
        const auto it = orders.find(no);
        if (it == orders.end())
            return {404, json{{"error", "no such order (ask for a payment QR code first)"}}};
        if (!(*it)["paid"].get<bool>()) (*it)["paidAt"] = now;
        (*it)["paid"] = true;
        (*it)["paidBy"] = "control";
        return {200, *it};
    });
}

// GET or POST {"polls": N} /_emulator/pay/auto: orders pay themselves on their N-th poll; 0 never.
ControlAnswer control_auto_pay(bool post, const json& input, ServiceState& state) {
    return state.update([&](json& v) -> ControlAnswer {
        if (post) {
            const auto polls = input.find("polls");
            if (polls == input.end() || !polls->is_number_integer() || polls->get<long long>() < 0)
                return {400, json{{"error", "\"polls\" must be an integer of 0 or more"}}};
            area(v)["autoPayPolls"] = *polls;
        }
        return {200, json{{"polls", auto_pay_polls(v)}}};
    });
}

// GET /_emulator/orders: every order since the reset.
ControlAnswer control_orders(bool post, const json&, ServiceState& state) {
    if (post) return {405, json{{"error", "use GET"}}};
    return {200, state.update([](json& v) {
                json list = json::array();
                for (const auto& [no, order] : area(v)["orders"].items())
                    list.push_back(order);
                return list;
            })};
}

}  // namespace

void register_professional_handlers(Router& router) {
    router.add_method("device.checkPro.exist", guarded(check_pro_exist));
    router.add_method("device.checkPro.qrcode", guarded(check_pro_qrcode));
    router.add_method("device.checkPro.order", guarded(check_pro_order));
    router.add_method("device.checkPro", guarded(check_pro));
    router.add_control("pay", control_pay);
    router.add_control("pay/auto", control_auto_pay);
    router.add_control("orders", control_orders);
}

}  // namespace pelmor::emulator
