// The emulator's factory records and the reports it makes from them, checked against the sample handsets
// under tests/data/devices.
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include "TestData.h"
#include "emulator/service/factory.h"
#include "emulator/service/verification.h"

namespace {

using json = nlohmann::ordered_json;
using pelmor::emulator::Factory;

json ReadJson(const std::string& relativePath) {
    return json::parse(ReadTestData(relativePath));
}

class FactoryReports : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        factory_ = new Factory(Factory::from_file(pelmor::emulator::factory_path()));
    }
    static void TearDownTestSuite() { delete factory_; }

    static const json& Record(const std::string& ecid) {
        const json* record = factory_->device(ecid, "");
        if (!record) throw std::runtime_error("no factory record for " + ecid);
        return *record;
    }

    static json Report(const std::string& sample, const std::string& ecid) {
        return pelmor::emulator::verification_report(*factory_, Record(ecid),
                                                     ReadJson("devices/" + sample + ".expected.json"));
    }

    // The keys of the lines that did not come out "normal".
    static std::set<std::string> Flagged(const json& report) {
        std::set<std::string> keys;
        for (const json& line : report["resultList"])
            if (line["show"] == "y") keys.insert(line["key"].get<std::string>());
        return keys;
    }

    static const json& Line(const json& report, const std::string& key) {
        for (const json& line : report["resultList"])
            if (line["key"] == key) return line;
        throw std::runtime_error("no line " + key);
    }

    static Factory* factory_;
};

Factory* FactoryReports::factory_ = nullptr;

TEST_F(FactoryReports, EverySampleHandsetIsOnFileByChipIdAndSerial) {
    for (const char* sample : {"normal-complete", "replaced-screen-battery", "no-battery", "recovery"}) {
        SCOPED_TRACE(sample);
        const json device = ReadJson(std::string("devices/") + sample + ".json");
        const json& low = device["lowLevel"];
        std::string ecid = device.contains("device") ? device["device"]["ecid"].get<std::string>() : "";
        if (ecid.empty()) {
            char hex[17];
            std::snprintf(hex, sizeof hex, "%016llX", low["ecid"].get<unsigned long long>());
            ecid = hex;
        }
        const json* byEcid = factory_->device(ecid, "");
        ASSERT_NE(byEcid, nullptr);
        EXPECT_EQ(factory_->device("", (*byEcid)["srnm"]), byEcid);
    }
    EXPECT_EQ(factory_->device("000e2d4c1b3a5968", ""), factory_->device("000E2D4C1B3A5968", ""))
        << "chip ids are hexadecimal in any case";
    EXPECT_EQ(factory_->device("FFFFFFFFFFFFFFFF", "NOSUCHSERIAL"), nullptr);
}

TEST_F(FactoryReports, OriginalHandsetHasNothingFlagged) {
    const json report = Report("normal-complete", "000E2D4C1B3A5968");
    EXPECT_TRUE(Flagged(report).empty());
    EXPECT_EQ(report["score"], "100");
    EXPECT_EQ(report["totalResult"], "正常");
    EXPECT_EQ(report["teardown"]["status"], "normal");
    EXPECT_EQ(report["sim"]["value"], "有卡");
}

TEST_F(FactoryReports, ReplacedScreenAndBatteryAreExactlyTheFlaggedLines) {
    const json report = Report("replaced-screen-battery", "0013A5B7C9D1E3F5");
    EXPECT_EQ(Flagged(report), (std::set<std::string>{"batt", "lcm"}));

    const json& battery = Line(report, "batt");
    EXPECT_EQ(battery["tag"], "hardware");
    EXPECT_EQ(battery["originalValue"], "F5D9318ZKXLN3P7QC");
    EXPECT_EQ(battery["nowValue"], "HX4120G7TQ2M9K3PA");
    EXPECT_EQ(battery["nowProductionDate"], "2023-02-14") << "the spare part's date is on file";
    const json& screen = Line(report, "lcm");
    EXPECT_EQ(screen["tag"], "screen");
    EXPECT_EQ(screen["originalValue"], "C3F9LCM0987654321");
    EXPECT_EQ(screen["nowValue"], "DKHLCM7702134455");

    EXPECT_EQ(report["items"]["hardware"], "硬件 1 项异常");
    EXPECT_EQ(report["items"]["screen"], "屏幕 1 项异常");
    EXPECT_EQ(report["items"]["base"], "基础信息正常");
    EXPECT_EQ(report["teardown"]["status"], "abnormal");
    EXPECT_EQ(report["score"], "80");
    EXPECT_EQ(report["sim"]["value"], "无卡");
}

// The client knows these classes and keys; a line with any other would read as "other" / unknown.
TEST_F(FactoryReports, LinesUseOnlyTheClassesAndKeysTheClientKnows) {
    const std::set<std::string> tags = {"base", "hardware", "screen", "fingerprint", "other"};
    const std::set<std::string> keys = {
        "mobName",  "mod",      "rmd",  "regn", "srnm", "mlb",   "wmac",      "bmac",     "emac",
        "wifiCode", "color",    "batt", "ram",  "fcms", "bcms",  "mainboard", "baseband", "imei",
        "hardDisk", "teardown", "lcm",  "nsrn", "nvsn", "iccid", "root",      "meid"};
    const json report = Report("normal-complete", "000E2D4C1B3A5968");
    for (const json& line : report["resultList"]) {
        SCOPED_TRACE(line.dump());
        EXPECT_EQ(tags.count(line["tag"]), 1u);
        EXPECT_EQ(keys.count(line["key"]), 1u);
        for (const char* member : {"name", "originalValue", "nowValue", "result", "msg", "url", "show",
                                   "originalProductionDate", "nowProductionDate"})
            EXPECT_TRUE(line[member].is_string()) << member;
        EXPECT_TRUE(line["cert"].is_boolean());
    }
    for (const char* topic : {"iccid", "teardown", "root", "wifi", "replaceHD", "meid", "mainboard",
                              "baseband", "sim", "hardDisk"})
        EXPECT_TRUE(report[topic]["value"].is_string() && report[topic]["status"].is_string()) << topic;
}

TEST_F(FactoryReports, UnreadValuesAreShownButNotCountedAndPanelAloneFlagsTheScreen) {
    json info = ReadJson("devices/normal-complete.expected.json");
    info["imei"] = "";
    info["lcd"] = "OTHERPANEL0001";
    const json report = pelmor::emulator::verification_report(*factory_, Record("000E2D4C1B3A5968"), info);
    EXPECT_EQ(Flagged(report), (std::set<std::string>{"imei", "lcm"}));
    EXPECT_EQ(Line(report, "imei")["result"], "未读取到");
    EXPECT_EQ(Line(report, "lcm")["result"], "异常");
    EXPECT_EQ(report["msg"], "该设备存在 1 项异常") << "only the screen counts";
}

TEST_F(FactoryReports, ProfessionalReportCarriesAllVariablesAndSeesReplacedParts) {
    const json& record = Record("0013A5B7C9D1E3F5");
    const json report = pelmor::emulator::professional_report(
        *factory_, record, ReadJson("devices/replaced-screen-battery.expected.json"), "2026-01-02 03:04:05");
    EXPECT_EQ(report["reportDate"], "2026-01-02 03:04:05");
    EXPECT_DOUBLE_EQ(report["price"].get<double>(), factory_->professional_price());
    EXPECT_EQ(report["variable"].size(), 19u);
    std::set<std::string> differing;
    for (const json& item : report["listItem"])
        if (item["originalValue"] != item["nowValue"]) differing.insert(item["key"].get<std::string>());
    EXPECT_EQ(differing, (std::set<std::string>{"refurbished"}));
    EXPECT_EQ(report["listItem"].size(), 11u);
}

TEST(FactoryFile, ShapeErrorsNameTheirPlace) {
    json data = json::parse(R"({"models":{},"regions":{},"colors":{},"parts":{},"firmware":{},"airpods":{},
        "professionalPrice":1,"devices":[{"ecid":"AB","srnm":"S","productType":"P","productionDate":"D",
        "original":{},"partDates":{},"colors":{},"screen":{},"warranty":{},"backup":{}}]})");
    try {
        Factory factory(data);
        FAIL() << "a record without original values was accepted";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "devices[AB].original.mobType is not a text");
    }
    data.erase("devices");
    EXPECT_THROW(Factory{data}, std::runtime_error);
    EXPECT_THROW(Factory::from_file("/nonexistent/factory.json"), std::runtime_error);
}

}  // namespace
