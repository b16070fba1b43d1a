#include <gtest/gtest.h>
#include <pelmor/Records.h>

#include <memory>
#include <string>
#include <vector>

#include "SlotCheck.h"
#include "records/CSocketInfoVerify.h"
#include "records_support.h"

namespace {

using namespace records_test;

std::vector<const ISocketInfoVerifyItem*> Items(const ISocketInfoVerify& report) {
    std::vector<const ISocketInfoVerifyItem*> items;
    report.TraverseItem([&](const ISocketInfoVerifyItem* item) { items.push_back(item); });
    return items;
}

std::unique_ptr<CSocketInfoVerify> Report(const char* json) {
    auto report = std::make_unique<CSocketInfoVerify>();
    XJson data{std::string(json)};
    report->SetJson(data);
    return report;
}

TEST(RecordsVerifyReportSlots, InterfacesAndImplementationsKeepTheirTables) {
    ExpectSlotsInOrder(
        {SlotOf(&ISocketInfoVerify::GetSuccess),        SlotOf(&ISocketInfoVerify::GetError),
         SlotOf(&ISocketInfoVerify::GetRequestMessage), SlotOf(&ISocketInfoVerify::GetVersionMessage),
         SlotOf(&ISocketInfoVerify::GetVerifyMessage),  SlotOf(&ISocketInfoVerify::GetTotalResult),
         SlotOf(&ISocketInfoVerify::GetCardValue),      SlotOf(&ISocketInfoVerify::GetCardState),
         SlotOf(&ISocketInfoVerify::GetOpenValue),      SlotOf(&ISocketInfoVerify::GetOpenState),
         SlotOf(&ISocketInfoVerify::GetScore),          SlotOf(&ISocketInfoVerify::GetRootValue),
         SlotOf(&ISocketInfoVerify::GetRootState),      SlotOf(&ISocketInfoVerify::GetWifiValue),
         SlotOf(&ISocketInfoVerify::GetWifiState),      SlotOf(&ISocketInfoVerify::GetDiskValue),
         SlotOf(&ISocketInfoVerify::GetDiskState),      SlotOf(&ISocketInfoVerify::GetMeidValue),
         SlotOf(&ISocketInfoVerify::GetMeidState),      SlotOf(&ISocketInfoVerify::TraverseItem),
         SlotOf(&ISocketInfoVerify::GetBaseState),      SlotOf(&ISocketInfoVerify::GetHardwareState),
         SlotOf(&ISocketInfoVerify::GetScreenState),    SlotOf(&ISocketInfoVerify::GetFingerMarkState),
         SlotOf(&ISocketInfoVerify::GetOtherState),     SlotOf(&ISocketInfoVerify::GetMainboardValue),
         SlotOf(&ISocketInfoVerify::GetMainboardState), SlotOf(&ISocketInfoVerify::GetBasebandValue),
         SlotOf(&ISocketInfoVerify::GetBasebandState),  SlotOf(&ISocketInfoVerify::GetSimValue),
         SlotOf(&ISocketInfoVerify::GetSimState),       SlotOf(&ISocketInfoVerify::GetHarddiskValue),
         SlotOf(&ISocketInfoVerify::GetHarddiskState)});
    // Slots 33 and 34 are the destructors.
    EXPECT_EQ(SlotOf(&CSocketInfoVerify::GetHarddiskState), 32);
    EXPECT_EQ(SlotOf(&CSocketInfoVerify::Clear), 35);
    EXPECT_EQ(SlotOf(&CSocketInfoVerify::SetJson), 36);
    EXPECT_EQ(SlotOf(&CSocketInfoVerify::SetError), 37);
    EXPECT_EQ(SlotOf(&CSocketInfoVerify::SetRequestMessage), 38);

    ExpectSlotsInOrder({SlotOf(&ISocketInfoVerifyItem::GetClassify), SlotOf(&ISocketInfoVerifyItem::GetKey),
                        SlotOf(&ISocketInfoVerifyItem::GetName), SlotOf(&ISocketInfoVerifyItem::GetResult),
                        SlotOf(&ISocketInfoVerifyItem::GetOriginal), SlotOf(&ISocketInfoVerifyItem::GetNow),
                        SlotOf(&ISocketInfoVerifyItem::GetMessage), SlotOf(&ISocketInfoVerifyItem::GetURL),
                        SlotOf(&ISocketInfoVerifyItem::GetOriginalTime),
                        SlotOf(&ISocketInfoVerifyItem::GetNowTime), SlotOf(&ISocketInfoVerifyItem::GetShow),
                        SlotOf(&ISocketInfoVerifyItem::GetBusiness)});
    EXPECT_EQ(SlotOf(&CSocketInfoVerifyItem::GetBusiness), 11);
    EXPECT_EQ(SlotOf(&CSocketInfoVerifyItem::SetJson), 14);
}

TEST(RecordsVerifyReport, FullReplyReadsBackThroughTheInterface) {
    CSocketInfoVerify built;
    XJson data = ReplyData("verify_report.json");
    built.SetJson(data);
    built.SetError(1);
    built.SetRequestMessage(XString(L"检测完成"));
    const ISocketInfoVerify& report = built;

    EXPECT_FALSE(report.GetSuccess());
    EXPECT_EQ(report.GetError(), 1);
    EXPECT_EQ(report.GetRequestMessage(), L"检测完成");
    EXPECT_EQ(report.GetVersionMessage(), L"单项检测 26 项");
    EXPECT_EQ(report.GetVerifyMessage(), L"该设备存在 2 项异常");
    EXPECT_EQ(report.GetTotalResult(), L"存在异常");
    EXPECT_EQ(report.GetScore(), L"86");

    // Topics whose getters are not named after their keys.
    EXPECT_EQ(report.GetCardValue(), L"89860121801234567890");
    EXPECT_EQ(report.GetCardState(), L"normal");
    EXPECT_EQ(report.GetOpenValue(), L"有拆机记录");
    EXPECT_EQ(report.GetOpenState(), L"abnormal");
    EXPECT_EQ(report.GetDiskValue(), L"未更换");
    EXPECT_EQ(report.GetHarddiskValue(), L"原装硬盘");
    EXPECT_EQ(report.GetRootValue(), L"未越狱");
    EXPECT_EQ(report.GetWifiValue(), L"原装");
    EXPECT_EQ(report.GetMeidValue(), L"35671211012345");
    EXPECT_EQ(report.GetMainboardValue(), L"原装主板");
    EXPECT_EQ(report.GetBasebandValue(), L"原装基带");
    EXPECT_EQ(report.GetSimValue(), L"无卡");
    EXPECT_EQ(report.GetSimState(), L"warning");

    EXPECT_EQ(report.GetBaseState(), L"基础信息正常");
    EXPECT_EQ(report.GetHardwareState(), L"硬件 1 项异常");
    EXPECT_EQ(report.GetScreenState(), L"屏幕正常");
    EXPECT_EQ(report.GetFingerMarkState(), L"面容/指纹正常");
    EXPECT_EQ(report.GetOtherState(), L"其他 1 项异常");

    // One line per non-empty element, in the reply's order, covering every key text once.
    struct Expected {
        EDeviceVerifyClassify classify;
        int key;
        const wchar_t* name;
    };
    const Expected expected[] = {
        {DEVICE_VERIFY_CLASSIFY_BASE, 1, L"型号名称"},
        {DEVICE_VERIFY_CLASSIFY_BASE, 2, L"型号"},
        {DEVICE_VERIFY_CLASSIFY_BASE, 3, L"销售型号"},
        {DEVICE_VERIFY_CLASSIFY_BASE, 4, L"销售地区"},
        {DEVICE_VERIFY_CLASSIFY_BASE, 5, L"序列号"},
        {DEVICE_VERIFY_CLASSIFY_BASE, 18, L"IMEI"},
        {DEVICE_VERIFY_CLASSIFY_BASE, 26, L"MEID"},
        {DEVICE_VERIFY_CLASSIFY_BASE, 24, L"ICCID"},
        {DEVICE_VERIFY_CLASSIFY_BASE, 11, L"颜色"},
        {DEVICE_VERIFY_CLASSIFY_BASE, 13, L"容量"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 6, L"主板序列号"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 16, L"主板"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 17, L"基带"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 7, L"WiFi地址"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 8, L"蓝牙地址"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 9, L"以太网地址"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 10, L"WiFi模块"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 12, L"电池序列号"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 19, L"硬盘"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 15, L"后摄像头"},
        {DEVICE_VERIFY_CLASSIFY_HARDWARE, 14, L"前摄像头"},
        {DEVICE_VERIFY_CLASSIFY_SCREEN, 21, L"屏幕序列号"},
        {DEVICE_VERIFY_CLASSIFY_SCREEN, 22, L"屏幕总成"},
        {DEVICE_VERIFY_CLASSIFY_SCREEN, 23, L"触摸序列号"},
        {DEVICE_VERIFY_CLASSIFY_FINGERPRINT, 25, L"越狱"},
        {DEVICE_VERIFY_CLASSIFY_OTHER, 20, L"拆修记录"},
    };
    const auto items = Items(report);
    ASSERT_EQ(items.size(), sizeof expected / sizeof expected[0]);
    for (size_t i = 0; i < items.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(items[i]->GetClassify(), expected[i].classify);
        EXPECT_EQ(items[i]->GetKey(), expected[i].key);
        EXPECT_EQ(items[i]->GetName(), expected[i].name);
    }

    // Every text of a line lands in its own getter.
    const ISocketInfoVerifyItem* battery = items[17];
    EXPECT_EQ(battery->GetResult(), L"异常");
    EXPECT_EQ(battery->GetOriginal(), L"F5D0303F3ZKN4MPAH");
    EXPECT_EQ(battery->GetNow(), L"F8Y0481A1XPQ6K2DJ");
    EXPECT_EQ(battery->GetMessage(), L"电池已更换");
    EXPECT_EQ(battery->GetURL(), L"https://check.example.com/help/battery");
    EXPECT_EQ(battery->GetOriginalTime(), L"2020-10-12");
    EXPECT_EQ(battery->GetNowTime(), L"2022-03-05");
    EXPECT_TRUE(battery->GetShow());  // "yes"
    EXPECT_FALSE(battery->GetBusiness());
    EXPECT_TRUE(items[11]->GetBusiness());
    EXPECT_TRUE(items[7]->GetShow());   // "y"
    EXPECT_TRUE(items[25]->GetShow());  // "Y"
    EXPECT_FALSE(items[0]->GetShow());  // "n"
}

// Every text a report gives, in getter order, its lines' texts included.
std::vector<XString> AllTexts(const ISocketInfoVerify& report) {
    std::vector<XString> texts = {
        report.GetVersionMessage(), report.GetVerifyMessage(),   report.GetTotalResult(),
        report.GetCardValue(),      report.GetCardState(),       report.GetOpenValue(),
        report.GetOpenState(),      report.GetScore(),           report.GetRootValue(),
        report.GetRootState(),      report.GetWifiValue(),       report.GetWifiState(),
        report.GetDiskValue(),      report.GetDiskState(),       report.GetMeidValue(),
        report.GetMeidState(),      report.GetBaseState(),       report.GetHardwareState(),
        report.GetScreenState(),    report.GetFingerMarkState(), report.GetOtherState(),
        report.GetMainboardValue(), report.GetMainboardState(),  report.GetBasebandValue(),
        report.GetBasebandState(),  report.GetSimValue(),        report.GetSimState(),
        report.GetHarddiskValue(),  report.GetHarddiskState()};
    for (const ISocketInfoVerifyItem* item : Items(report)) {
        for (XString text : {item->GetName(), item->GetResult(), item->GetOriginal(), item->GetNow(),
                             item->GetMessage(), item->GetURL(), item->GetOriginalTime(), item->GetNowTime()})
            texts.push_back(text);
    }
    return texts;
}

// The hand-over views the reply's texts instead of copying them: what the getters give must not differ,
// for plain replies, for texts that need mending and for numbers that have to be spelled.
TEST(RecordsVerifyReport, ViewedTextsReadBackAsCopiedOnes) {
    const std::string tricky =
        "{\"msg\":\"a\xC3(b\",\"score\":86,\"iccid\":{\"value\":\"\xF0\x9F\x98\x80\"},"
        "\"items\":{\"base\":\"ok\"},\"resultList\":[{\"name\":\"n\xFF\",\"key\":\"imei\","
        "\"show\":\"y\"},{\"name\":12,\"msg\":\"m\"},{\"url\":\"u\"}]}";
    for (XJson data : {ReplyData("verify_report.json"), XJson(tricky)}) {
        CSocketInfoVerify copied;
        copied.SetJson(data);
        CSocketInfoVerify viewed;
        viewed.ViewJson(data);
        const std::vector<XString> expected = AllTexts(copied);
        EXPECT_GT(expected.size(), 29u);
        EXPECT_EQ(AllTexts(viewed), expected);
    }
}

// Class states kept from an earlier filling outlive the data they were viewed in.
TEST(RecordsVerifyReport, ViewedClassStatesSurviveTheirDataWhenARefillKeepsThem) {
    CSocketInfoVerify report;
    {
        const XJson first = ReplyData("verify_report.json");
        report.ViewJson(first);
    }
    const XJson second = ReplyData("verify_report_recheck.json");
    report.ViewJson(second);
    EXPECT_EQ(report.GetHardwareState(), L"硬件 1 项异常");
    EXPECT_EQ(report.GetOtherState(), L"其他 1 项异常");
    EXPECT_EQ(report.GetScore(), L"100");
    EXPECT_EQ(Items(report).size(), 2u);
}

TEST(RecordsVerifyReport, RefillReplacesItemsAndTextsButKeepsClassStatesOnEmptyItems) {
    CSocketInfoVerify report;
    XJson first = ReplyData("verify_report.json");
    report.SetJson(first);
    report.SetError(7);
    XJson second = ReplyData("verify_report_recheck.json");
    report.SetJson(second);

    const auto items = Items(report);
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0]->GetKey(), DEVICE_VERIFY_KEY_SRNM);
    EXPECT_EQ(items[1]->GetClassify(), DEVICE_VERIFY_CLASSIFY_SCREEN);

    EXPECT_EQ(report.GetScore(), L"100");
    EXPECT_EQ(report.GetSimValue(), L"有卡");
    // The recheck has no "teardown": the texts are read again and come out empty.
    EXPECT_EQ(report.GetOpenValue(), L"");
    EXPECT_EQ(report.GetOpenState(), L"");
    // Its "items" is empty, so the class states of the first reply stand.
    EXPECT_EQ(report.GetHardwareState(), L"硬件 1 项异常");
    EXPECT_EQ(report.GetOtherState(), L"其他 1 项异常");
    // Filling touches neither success nor error.
    EXPECT_EQ(report.GetError(), 7);
    EXPECT_FALSE(report.GetSuccess());
}

TEST(RecordsVerifyReport, FreshReportAndAbsentMembers) {
    CSocketInfoVerify fresh;
    EXPECT_FALSE(fresh.GetSuccess());
    EXPECT_EQ(fresh.GetError(), -1);
    EXPECT_EQ(fresh.GetBaseState(), L"");
    EXPECT_TRUE(Items(fresh).empty());

    // No "items" on a fresh report leaves the states empty; a "resultList" that is not an array gives no
    // lines; a reply that claims success does not make the report say so.
    auto report = Report(R"({"success":true,"score":87,"resultList":{"tag":"base","key":"imei"},
                             "iccid":"8986","sim":{"value":12}})");
    EXPECT_FALSE(report->GetSuccess());
    EXPECT_EQ(report->GetError(), -1);
    EXPECT_EQ(report->GetScore(), L"87");
    EXPECT_EQ(report->GetCardValue(), L"");
    EXPECT_EQ(report->GetSimValue(), L"12");
    EXPECT_EQ(report->GetOtherState(), L"");
    EXPECT_TRUE(Items(*report).empty());

    // An empty callable is not called, and does not end the process.
    report->TraverseItem(nullptr);
}

TEST(RecordsVerifyReportLines, TagsKeysAndFlagsAreReadStrictly) {
    auto report = Report(R"({"resultList":[
        {"tag":"Base","key":"IMEI","show":"no"},
        {"key":" imei","show":""},
        {},
        {"tag":"other","key":"imei","show":"YES","cert":"true"},
        {"tag":"fingerprint","key":"hardDisk","cert":1},
        {"tag":"screen","key":"harddisk","show":"maybe"},
        null
    ]})");
    const auto items = Items(*report);
    ASSERT_EQ(items.size(), 5u);
    EXPECT_EQ(items[0]->GetClassify(), DEVICE_VERIFY_CLASSIFY_OTHER);
    EXPECT_EQ(items[0]->GetKey(), DEVICE_VERIFY_KEY_UNKNOWN);
    EXPECT_FALSE(items[0]->GetShow());
    EXPECT_EQ(items[1]->GetClassify(), DEVICE_VERIFY_CLASSIFY_OTHER);
    EXPECT_EQ(items[1]->GetKey(), DEVICE_VERIFY_KEY_UNKNOWN);
    EXPECT_FALSE(items[1]->GetBusiness());
    EXPECT_EQ(items[2]->GetKey(), DEVICE_VERIFY_KEY_IMEI);
    EXPECT_TRUE(items[2]->GetShow());
    EXPECT_TRUE(items[2]->GetBusiness());
    EXPECT_EQ(items[3]->GetClassify(), DEVICE_VERIFY_CLASSIFY_FINGERPRINT);
    EXPECT_EQ(items[3]->GetKey(), DEVICE_VERIFY_KEY_HARDDISK);
    EXPECT_TRUE(items[3]->GetBusiness());
    EXPECT_EQ(items[4]->GetKey(), DEVICE_VERIFY_KEY_UNKNOWN);
    EXPECT_TRUE(items[4]->GetShow());
}

TEST(RecordsVerifyReportLines, RefilledLineKeepsNothingOfTheLineBefore) {
    CSocketInfoVerifyItem item;
    XJson full{std::string(R"({"name":"n","result":"r","nowValue":"v2","originalValue":"v1","msg":"m",
        "url":"u","originalProductionDate":"d1","nowProductionDate":"d2","show":"y","cert":true,
        "key":"imei","extra":"ignored"})")};
    item.SetJson(DEVICE_VERIFY_CLASSIFY_SCREEN, full);
    EXPECT_EQ(item.GetName(), L"n");
    EXPECT_EQ(item.GetResult(), L"r");
    EXPECT_EQ(item.GetNow(), L"v2");
    EXPECT_EQ(item.GetOriginal(), L"v1");
    EXPECT_EQ(item.GetMessage(), L"m");
    EXPECT_EQ(item.GetURL(), L"u");
    EXPECT_EQ(item.GetOriginalTime(), L"d1");
    EXPECT_EQ(item.GetNowTime(), L"d2");
    EXPECT_TRUE(item.GetShow());
    EXPECT_TRUE(item.GetBusiness());
    EXPECT_EQ(item.GetKey(), DEVICE_VERIFY_KEY_IMEI);

    XJson sparse{std::string(R"({"msg":"again"})")};
    item.SetJson(DEVICE_VERIFY_CLASSIFY_BASE, sparse);
    EXPECT_EQ(item.GetClassify(), DEVICE_VERIFY_CLASSIFY_BASE);
    EXPECT_EQ(item.GetMessage(), L"again");
    for (const XString& text : {item.GetName(), item.GetResult(), item.GetNow(), item.GetOriginal(),
                                item.GetURL(), item.GetOriginalTime(), item.GetNowTime()})
        EXPECT_EQ(text, L"");
    EXPECT_FALSE(item.GetShow());
    EXPECT_FALSE(item.GetBusiness());
    EXPECT_EQ(item.GetKey(), DEVICE_VERIFY_KEY_UNKNOWN);
}

// What the getters give for texts that are not plain strings: invalid UTF-8 mended to U+FFFD, numbers and
// bools spelled as their JSON text, null and objects empty. The source is gone before anything is read.
TEST(RecordsVerifyReportLines, TextsReadBackMendedAndSpelledAfterTheSourceIsGone) {
    CSocketInfoVerifyItem item;
    {
        XJson line{
            std::string("{\"name\":\"a\xC3(b\",\"result\":\"\xF0\x9F\x98\x80 ok\",\"nowValue\":12.5,"
                        "\"originalValue\":true,\"msg\":null,\"url\":{\"a\":1},"
                        "\"originalProductionDate\":\"\",\"nowProductionDate\":\"\xED\xA0\x80x\xFF\","
                        "\"show\":\"\xC3\xBFy\",\"key\":\"imei\"}")};
        item.SetJson(DEVICE_VERIFY_CLASSIFY_OTHER, line);
    }
    EXPECT_EQ(item.GetName(), L"a\uFFFD(b");
    EXPECT_EQ(item.GetResult(), L"\U0001F600 ok");
    EXPECT_EQ(item.GetNow(), L"12.5");
    EXPECT_EQ(item.GetOriginal(), L"true");
    EXPECT_EQ(item.GetMessage(), L"");
    EXPECT_EQ(item.GetURL(), L"");
    EXPECT_EQ(item.GetOriginalTime(), L"");
    EXPECT_EQ(item.GetNowTime(), L"\uFFFDx\uFFFD");
    EXPECT_TRUE(item.GetShow());
    EXPECT_EQ(item.GetKey(), DEVICE_VERIFY_KEY_IMEI);
    // Read twice, the same text: a getter hands out a copy.
    EXPECT_EQ(item.GetName(), L"a\uFFFD(b");

    // 'y' only as a letter of its own: the byte inside a longer UTF-8 sequence does not count.
    XJson noY{std::string("{\"show\":\"\xC3\xBF\xE1\xBD\xB9\",\"name\":-3}")};
    item.SetJson(DEVICE_VERIFY_CLASSIFY_BASE, noY);
    EXPECT_FALSE(item.GetShow());
    EXPECT_EQ(item.GetName(), L"-3");
}

TEST(RecordsVerifyReport, TopicsReadBackMendedAndSpelled) {
    auto report = Report(
        "{\"singleItemsMsg\":\"\xE4\xB8\",\"msg\":18446744073709551615,\"totalResult\":1e400,"
        "\"score\":-0.5,\"iccid\":{\"value\":false,\"status\":[1]},\"root\":\"not an object\","
        "\"items\":{\"base\":7,\"other\":\"\xF4\x90\x80\x80!\"},"
        "\"hardDisk\":{\"value\":\"\xE7\xA1\xAC\xE7\x9B\x98\",\"status\":null}}");
    EXPECT_EQ(report->GetVersionMessage(), L"\uFFFD");
    EXPECT_EQ(report->GetVerifyMessage(), L"18446744073709551615");
    EXPECT_EQ(report->GetTotalResult(), L"1.7976931348623157e+308");
    EXPECT_EQ(report->GetScore(), L"-0.5");
    EXPECT_EQ(report->GetCardValue(), L"false");
    EXPECT_EQ(report->GetCardState(), L"");
    EXPECT_EQ(report->GetRootValue(), L"");
    EXPECT_EQ(report->GetBaseState(), L"7");
    EXPECT_EQ(report->GetHardwareState(), L"");
    EXPECT_EQ(report->GetOtherState(), L"\uFFFD!");
    EXPECT_EQ(report->GetHarddiskValue(), L"硬盘");
    EXPECT_EQ(report->GetHarddiskState(), L"");
    EXPECT_EQ(report->GetRequestMessage(), L"");
}

}  // namespace
