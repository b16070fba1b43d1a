#include "emulator/service/verification.h"

#include "emulator/service/params.h"

#include <algorithm>
#include <initializer_list>
#include <vector>

namespace pelmor::emulator {

using json = nlohmann::ordered_json;

std::string description_text(const json& info, const char* key) {
    const auto it = info.is_object() ? info.find(key) : info.end();
    if (it == info.end()) return {};
    if (it->is_string()) return it->get<std::string>();
    if (it->is_number()) return it->dump();
    return {};
}

namespace {

enum class Outcome { same, differs, not_read };

struct Line {
    Line(const char* t, const char* k, const char* n, std::string was, std::string is)
        : tag(t), key(k), name(n), original(std::move(was)), now(std::move(is)) {}

    const char* tag;
    const char* key;
    const char* name;
    std::string original;
    std::string now;
    Outcome outcome = Outcome::same;
    bool cert = false;
    std::string original_date;
    std::string now_date;
    std::string msg;
};

Outcome outcome_of(const std::string& original, const std::string& now) {
    if (original == now) return Outcome::same;
    return now.empty() ? Outcome::not_read : Outcome::differs;
}

const char* status_of(Outcome outcome) {
    switch (outcome) {
        case Outcome::same:
            return "normal";
        case Outcome::differs:
            return "abnormal";
        case Outcome::not_read:
            break;
    }
    return "unknown";
}

class Comparison {
  public:
    Comparison(const Factory& factory, const json& record, const json& info)
        : factory_(factory), record_(record), original_(record["original"]), info_(info) {
        lines_.reserve(32);  // lines are handed out by reference while the report is built
    }

    std::string was(const char* key) const { return original_[key].get<std::string>(); }
    std::string is(const char* key) const { return description_text(info_, key); }

    // A line that shows one description key as it left the factory and as it is now.
    Line& direct(const char* tag, const char* key, const char* name) {
        return add(Line{tag, key, name, was(key), is(key)});
    }

    // A line that shows values made from the two sides.
    Line& shown(const char* tag, const char* key, const char* name, std::string original, std::string now) {
        return add(Line{tag, key, name, std::move(original), std::move(now)});
    }

    // A part judged by several keys at once: "原装" while all of them match.
    Line& part(const char* tag, const char* key, const char* name, std::initializer_list<const char*> keys,
               bool cert = true) {
        bool read = false, differs = false;
        for (const char* k : keys) {
            read = read || !is(k).empty();
            differs = differs || was(k) != is(k);
        }
        Line line{tag, key, name, "原装", !read ? "" : differs ? "已更换" : "原装"};
        line.cert = cert;
        return add(std::move(line));
    }

    // Production dates of a part: the factory's, and for a different part the date on file for it.
    void dates(Line& line, const char* key) {
        line.original_date = record_["partDates"].value(key, "");
        if (line.outcome == Outcome::same) {
            line.now_date = line.original_date;
        } else if (const json* spare = factory_.part(line.now)) {
            line.now_date = spare->value("date", "");
        }
    }

    const std::vector<Line>& lines() const { return lines_; }

    int differing(const char* tag = nullptr) const {
        return static_cast<int>(std::count_if(lines_.begin(), lines_.end(), [&](const Line& l) {
            return l.outcome == Outcome::differs && (!tag || std::string(l.tag) == tag);
        }));
    }

    Outcome outcome(const char* key) const {
        for (const Line& l : lines_)
            if (std::string(l.key) == key) return l.outcome;
        return Outcome::not_read;
    }

  private:
    Line& add(Line line) {
        line.outcome = outcome_of(line.original, line.now);
        lines_.push_back(std::move(line));
        return lines_.back();
    }

    const Factory& factory_;
    const json& record_;
    const json& original_;
    const json& info_;
    std::vector<Line> lines_;
};

std::string line_message(const Line& line) {
    if (!line.msg.empty() || line.outcome == Outcome::same) return line.msg;
    if (line.outcome == Outcome::not_read) return "未能读取该项";
    const std::string key = line.key;
    if (key == "batt") return "电池已更换";
    if (key == "lcm") return "屏幕已更换";
    if (key == "root") return "设备已越狱";
    return "与出厂记录不符";
}

json line_json(const Line& line) {
    const bool differs = line.outcome == Outcome::differs;
    return json{{"tag", line.tag},
                {"key", line.key},
                {"name", line.name},
                {"originalValue", line.original},
                {"nowValue", line.now},
                {"result", line.outcome == Outcome::same ? "正常"
                           : differs                     ? "异常"
                                                         : "未读取到"},
                {"msg", line_message(line)},
                {"url", differs ? service_base_url() + "/help/" + line.key : ""},
                {"show", line.outcome == Outcome::same ? "n" : "y"},
                {"cert", line.cert},
                {"originalProductionDate", line.original_date},
                {"nowProductionDate", line.now_date}};
}

json topic(std::string value, const char* status) {
    return json{{"value", std::move(value)}, {"status", status}};
}

json topic(Outcome outcome, const char* fine, const char* changed) {
    return topic(outcome == Outcome::same      ? fine
                 : outcome == Outcome::differs ? changed
                                               : "未知",
                 status_of(outcome));
}

std::string class_state(const Comparison& c, const char* tag, const char* label) {
    const int n = c.differing(tag);
    return n == 0 ? std::string(label) + "正常" : std::string(label) + " " + std::to_string(n) + " 项异常";
}

}  // namespace

json verification_report(const Factory& factory, const json& record, const json& info) {
    Comparison c(factory, record, info);
    auto model = [&](const std::string& type) { return factory.model_name(type); };
    auto region = [&](const std::string& regn) {
        return regn.empty() ? regn : regn + " " + factory.region_name(regn);
    };
    auto color = [&](const std::string& hex) { return hex.empty() ? hex : factory.color_name(hex); };

    c.shown("base", "mobName", "型号名称", model(c.was("mobType")), model(c.is("mobType")));
    c.shown("base", "mod", "型号", c.was("mod") + c.was("regn"), c.is("mod") + c.is("regn"));
    c.direct("base", "rmd", "销售型号");
    c.shown("base", "regn", "销售地区", region(c.was("regn")), region(c.is("regn")));
    c.direct("base", "srnm", "序列号");
    c.direct("base", "imei", "IMEI");
    c.direct("base", "meid", "MEID");
    c.shown("base", "color", "颜色", color(c.was("mobColour")), color(c.is("mobColour")));
    c.direct("base", "ram", "运行内存");
    c.direct("hardware", "mlb", "主板序列号").cert = true;
    c.part("hardware", "mainboard", "主板", {"mlb", "boardId", "hardwareModel"});
    c.part("hardware", "baseband", "基带", {"basebandChipId", "basebandCertId"});
    c.direct("hardware", "wmac", "WiFi地址");
    c.direct("hardware", "bmac", "蓝牙地址");
    c.direct("hardware", "emac", "以太网地址");
    c.part("hardware", "wifiCode", "WiFi模块", {"wifiId", "wifiProducer", "wmac"}, false);
    Line& battery = c.direct("hardware", "batt", "电池序列号");
    c.dates(battery, "batt");
    if (battery.outcome == Outcome::differs) {
        battery.msg =
            "电池已更换（健康度 " + c.is("batteryHealth") + "%，循环 " + c.is("batteryCycleNumber") + " 次）";
    }
    c.part("hardware", "hardDisk", "硬盘", {"hardDiskSerial", "hardDiskManufacture"});
    c.direct("hardware", "bcms", "后摄像头");
    c.direct("hardware", "fcms", "前摄像头");
    // The screen is one line: its module serial, judged together with the panel serial.
    Line& screen = c.direct("screen", "lcm", "屏幕序列号");
    if (screen.outcome == Outcome::same && c.was("lcd") != c.is("lcd") && !c.is("lcd").empty()) {
        screen.outcome = Outcome::differs;
        screen.msg = "屏幕面板已更换（" + c.is("lcd") + "）";
    }
    c.dates(screen, "lcm");
    c.direct("fingerprint", "nsrn", "指纹模块序列号");
    c.direct("fingerprint", "nvsn", "指纹传感器编号");
    c.shown("other", "root", "越狱", "否", c.is("root").empty() ? "" : c.is("root") == "1" ? "是" : "否");

    const bool opened = c.differing("hardware") + c.differing("screen") > 0;
    const std::string iccid = c.is("iccid");
    const std::string sim = c.is("simStatus");
    const int differing = c.differing();

    json data;
    data["singleItemsMsg"] = "单项检测 " + std::to_string(c.lines().size()) + " 项";
    data["msg"] =
        differing ? "该设备存在 " + std::to_string(differing) + " 项异常" : std::string("未发现异常");
    data["totalResult"] = differing ? "存在异常" : "正常";
    data["score"] = std::to_string(std::max(0, 100 - 10 * differing));
    data["iccid"] = topic(iccid.empty() ? "未插卡" : iccid, iccid.empty() ? "warning" : "normal");
    data["teardown"] = topic(opened ? "有拆修记录" : "无拆修记录", opened ? "abnormal" : "normal");
    data["root"] = topic(c.outcome("root"), "未越狱", "已越狱");
    data["wifi"] = topic(c.outcome("wifiCode"), "原装", "已更换");
    data["replaceHD"] = topic(c.outcome("hardDisk"), "未更换", "已更换");
    data["meid"] = topic(c.is("meid"), status_of(c.outcome("meid")));
    data["items"] = json{{"base", class_state(c, "base", "基础信息")},
                         {"hardware", class_state(c, "hardware", "硬件")},
                         {"screen", class_state(c, "screen", "屏幕")},
                         {"fingerprint", class_state(c, "fingerprint", "指纹")},
                         {"other", class_state(c, "other", "其他")}};
    json list = json::array();
    for (const Line& line : c.lines())
        list.push_back(line_json(line));
    data["resultList"] = std::move(list);
    data["mainboard"] = topic(c.outcome("mainboard"), "原装主板", "疑似更换主板");
    data["baseband"] = topic(c.outcome("baseband"), "原装基带", "基带异常");
    data["sim"] = sim.find("Ready") != std::string::npos         ? topic("有卡", "normal")
                  : sim.find("NotInserted") != std::string::npos ? topic("无卡", "warning")
                                                                 : topic("未知", "unknown");
    data["hardDisk"] = topic(c.outcome("hardDisk"), "原装硬盘", "硬盘已更换");
    return data;
}

json professional_report(const Factory& factory, const json& record, const json& info,
                         const std::string& date) {
    const json& original = record["original"];
    const json& pro = record["professional"];
    auto was = [&](const char* key) { return original[key].get<std::string>(); };
    auto is = [&](const char* key) { return description_text(info, key); };

    json items = json::array();
    auto item = [&](const char* key, const char* name, const std::string& before, const std::string& now) {
        const bool same = before == now;
        items.push_back(json{{"key", key},
                             {"name", name},
                             {"originalValue", before},
                             {"nowValue", now},
                             {"result", same ? "一致" : "不一致"},
                             {"msg", same ? "" : "与出厂记录不符"}});
    };
    bool replaced = false;
    for (const char* key : {"batt", "lcd", "lcm", "mlb", "fcms", "bcms"})
        replaced = replaced || (!is(key).empty() && is(key) != was(key));

    item("model", "型号", factory.model_name(was("mobType")), factory.model_name(is("mobType")));
    item("identifier", "标识", was("mobType"), is("mobType"));
    item("network_model", "网络型号", was("rmd"), is("rmd"));
    item("number", "序列号", was("srnm"), is("srnm"));
    item("IMEI", "IMEI", was("imei"), is("imei"));
    item("IMEI2", "IMEI2", was("imei2"), is("imei2"));
    item("network", "网络制式", pro.value("network", ""), pro.value("network", ""));
    item("product_type", "产品型号", pro.value("productName", ""), pro.value("productName", ""));
    item("refurbished", "翻新", pro.value("refurbished", ""),
         replaced ? "存在更换部件" : pro.value("refurbished", ""));
    item("manufacturer", "制造商", pro.value("manufacturer", ""), pro.value("manufacturer", ""));
    item("manufacture_date", "生产日期", record["productionDate"], record["productionDate"]);

    json data;
    data["price"] = factory.professional_price();
    data["reportDate"] = date;
    data["listItem"] = std::move(items);
    data["variable"] = pro.contains("variable") ? pro["variable"] : json::object();
    return data;
}

}  // namespace pelmor::emulator
