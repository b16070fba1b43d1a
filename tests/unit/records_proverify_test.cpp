#include <gtest/gtest.h>
#include <pelmor/Records.h>

#include <string>
#include <vector>

#include "SlotCheck.h"
#include "records/CSocketInfoProverify.h"
#include "records_support.h"

namespace {

using namespace records_test;

std::vector<ISocketInfoProverifyItem*> Items(ISocketInfoProverify& report) {
    std::vector<ISocketInfoProverifyItem*> items;
    report.TraverseItem([&](ISocketInfoProverifyItem* item) { items.push_back(item); });
    return items;
}

std::vector<ISocketInfoProverifyVar*> Variables(ISocketInfoProverify& report) {
    std::vector<ISocketInfoProverifyVar*> variables;
    report.TraverseVariable([&](ISocketInfoProverifyVar* variable) { variables.push_back(variable); });
    return variables;
}

const char* const kVariableNames[] = {
    "activated",       "valid_purchase_date",
    "purchase_date",   "coverage_end_date",
    "apple_care",      "activation_lock",
    "repair_status",   "technical_support",
    "coverage_status", "loaner",
    "network_lock",    "replaced",
    "qualifications",  "buy_address",
    "carrier",         "initial_operator",
    "product_type",    "manufacturer",
    "network",
};

TEST(RecordsProfessionalReportSlots, InterfacesAndImplementationsKeepTheirTables) {
    ExpectSlotsInOrder({SlotOf(&ISocketInfoProverify::Reprice), SlotOf(&ISocketInfoProverify::Date),
                        SlotOf(&ISocketInfoProverify::TraverseItem),
                        SlotOf(&ISocketInfoProverify::TraverseVariable),
                        SlotOf(&ISocketInfoProverify::SearchVariable)});
    EXPECT_EQ(SlotOf(&CSocketInfoProverify::SearchVariable), 4);

    ExpectSlotsInOrder(
        {SlotOf(&ISocketInfoProverifyItem::GetKey), SlotOf(&ISocketInfoProverifyItem::GetName),
         SlotOf(&ISocketInfoProverifyItem::GetSource), SlotOf(&ISocketInfoProverifyItem::GetCurrent),
         SlotOf(&ISocketInfoProverifyItem::GetResult), SlotOf(&ISocketInfoProverifyItem::GetMessage)});
    EXPECT_EQ(SlotOf(&CSocketInfoProverifyItem::GetMessage), 5);

    ExpectSlotsInOrder({SlotOf(&ISocketInfoProverifyVar::GetKey), SlotOf(&ISocketInfoProverifyVar::GetName),
                        SlotOf(&ISocketInfoProverifyVar::GetValue),
                        SlotOf(&ISocketInfoProverifyVar::GetResult)});
    EXPECT_EQ(SlotOf(&CSocketInfoProverifyVar::GetResult), 3);
}

TEST(RecordsProfessionalReport, FullReplyReadsBackThroughTheInterface) {
    XJson data = ReplyData("professional_report.json");
    CSocketInfoProverify built(data);
    ISocketInfoProverify& report = built;

    EXPECT_DOUBLE_EQ(report.Reprice(), 9.9);
    EXPECT_EQ(report.Date(), "2023-11-23 10:42:17");

    // Every element is an item, the empty one included, in the reply's order.
    const auto items = Items(report);
    const int keys[] = {1, 2, 3, 4, 5, 6, 0, 7, 8, 9, 10, 11};
    ASSERT_EQ(items.size(), sizeof keys / sizeof keys[0]);
    for (size_t i = 0; i < items.size(); ++i)
        EXPECT_EQ(items[i]->GetKey(), keys[i]) << "item " << i;
    EXPECT_EQ(items[6]->GetName(), "");
    EXPECT_EQ(items[6]->GetSource(), "");
    // The source is the value on file, the current the value read now.
    ISocketInfoProverifyItem* refurbished = items[9];
    EXPECT_EQ(refurbished->GetName(), "官换机");
    EXPECT_EQ(refurbished->GetSource(), "否");
    EXPECT_EQ(refurbished->GetCurrent(), "是");
    EXPECT_EQ(refurbished->GetResult(), "不一致");
    EXPECT_EQ(refurbished->GetMessage(), "该设备为官方换新机");

    // All nineteen variables in their fixed order, those the reply lacks included, empty.
    const auto variables = Variables(report);
    ASSERT_EQ(variables.size(), 19u);
    for (size_t i = 0; i < variables.size(); ++i) {
        SCOPED_TRACE(kVariableNames[i]);
        EXPECT_EQ(variables[i]->GetKey(), static_cast<int>(i + 1));
        EXPECT_EQ(variables[i]->GetName(), kVariableNames[i]);
    }
    // A variable's value is the service's "msg".
    EXPECT_EQ(variables[5]->GetValue(), "开启");
    EXPECT_EQ(variables[5]->GetResult(), "error");
    EXPECT_EQ(variables[7]->GetValue(), "");  // "technical_support" is not in the reply
    EXPECT_EQ(variables[7]->GetResult(), "");
}

TEST(RecordsProfessionalReport, SearchFindsByKeyAndCallsOnlyOnAHit) {
    XJson data = ReplyData("professional_report.json");
    CSocketInfoProverify report(data);

    QString found;
    EXPECT_TRUE(
        report.SearchVariable(SOCKET_PROVERIFY_VARIABLE_REPAIR_STATUS,
                              [&](ISocketInfoProverifyVar* variable) { found = variable->GetValue(); }));
    EXPECT_EQ(found, "无维修记录");

    int calls = 0;
    EXPECT_FALSE(
        report.SearchVariable(SOCKET_PROVERIFY_VARIABLE_UNKNOWN, [&](ISocketInfoProverifyVar*) { ++calls; }));
    EXPECT_FALSE(report.SearchVariable(static_cast<ESocketProverifyVariable>(20),
                                       [&](ISocketInfoProverifyVar*) { ++calls; }));
    EXPECT_EQ(calls, 0);
}

TEST(RecordsProfessionalReport, MissingAndMistypedMembers) {
    // No "variable", a "listItem" that is not an array, a price that is not a number.
    XJson data(std::string(R"({"price":"free","listItem":{"key":"IMEI"},"reportDate":20231123})"));
    CSocketInfoProverify report(data);
    EXPECT_EQ(report.Reprice(), 0.0);
    EXPECT_EQ(report.Date(), "20231123");
    EXPECT_TRUE(Items(report).empty());
    const auto variables = Variables(report);
    ASSERT_EQ(variables.size(), 19u);
    EXPECT_EQ(variables[18]->GetKey(), SOCKET_PROVERIFY_VARIABLE_NETWORK);
    EXPECT_EQ(variables[18]->GetValue(), "");
    EXPECT_TRUE(report.SearchVariable(SOCKET_PROVERIFY_VARIABLE_REPAIR_STATUS, nullptr));

    // Item keys keep their case; a "value" member of a variable is not its value.
    XJson cased(std::string(R"({"listItem":[{"key":"imei"},{"key":"IMEI2"},{"key":"Model"}],
                               "variable":{"loaner":{"value":"是","msg":"否","result":"success"}}})"));
    CSocketInfoProverify other(cased);
    const auto items = Items(other);
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0]->GetKey(), SOCKET_PROVERIFY_ITEM_UNKNOWN);
    EXPECT_EQ(items[1]->GetKey(), SOCKET_PROVERIFY_ITEM_IMEI2);
    EXPECT_EQ(items[2]->GetKey(), SOCKET_PROVERIFY_ITEM_UNKNOWN);
    other.SearchVariable(SOCKET_PROVERIFY_VARIABLE_LOANER,
                         [](ISocketInfoProverifyVar* loaner) { EXPECT_EQ(loaner->GetValue(), "否"); });
}

}  // namespace
