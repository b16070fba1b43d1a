#include <gtest/gtest.h>
#include <pelmor/PelmorSocketEdition.h>
#include <pelmor/Records.h>

#include <string>

#include "SlotCheck.h"
#include "records/CSocketDeviceQueries.h"
#include "records_support.h"

// The library-wide edition, as the create export records it.
extern ENUM_PELMOR_SOCKET_EDITION _StaticSocketEdition;

namespace {

using namespace records_test;

TEST(RecordsDeviceQuerySlots, InterfacesAndImplementationsKeepTheirTables) {
    EXPECT_EQ(SlotOf(&ISocketInfoColor::GetFrontColor), 0);
    EXPECT_EQ(SlotOf(&ISocketInfoColor::GetBackColor), 1);
    EXPECT_EQ(SlotOf(&ISocketInfoScreen::GetFactory), 0);
    EXPECT_EQ(SlotOf(&ISocketInfoScreen::GetDate), 1);
    EXPECT_EQ(SlotOf(&CSocketInfoScreen::GetDate), 1);

    ExpectSlotsInOrder({SlotOf(&ISocketInfoAirPods::GetModel), SlotOf(&ISocketInfoAirPods::GetSerialNumber),
                        SlotOf(&ISocketInfoAirPods::GetDescribe), SlotOf(&ISocketInfoAirPods::IsApple)});
    EXPECT_EQ(SlotOf(&CSocketInfoAirPods::SetJson), 6);

    EXPECT_EQ(SlotOf(&ISocketQueryBasic::GetColorFront), 0);
    EXPECT_EQ(SlotOf(&ISocketQueryBasic::GetColorBack), 1);
    EXPECT_EQ(SlotOf(&CSocketQueryBasic::SetJson), 4);

    ExpectSlotsInOrder({SlotOf(&ISocketQueryIdlock::GetKey), SlotOf(&ISocketQueryIdlock::GetName),
                        SlotOf(&ISocketQueryIdlock::GetShow), SlotOf(&ISocketQueryIdlock::GetResult)});
    ExpectSlotsInOrder({SlotOf(&ISocketQueryRefurbish::GetKey), SlotOf(&ISocketQueryRefurbish::GetName),
                        SlotOf(&ISocketQueryRefurbish::GetShow), SlotOf(&ISocketQueryRefurbish::GetResult)});
    ExpectSlotsInOrder({SlotOf(&ISocketQuerySimlock::GetKey), SlotOf(&ISocketQuerySimlock::GetName),
                        SlotOf(&ISocketQuerySimlock::GetShow), SlotOf(&ISocketQuerySimlock::GetResult)});
    EXPECT_EQ(SlotOf(&CSocketQueryIdlock::SetJson), 6);
    EXPECT_EQ(SlotOf(&CSocketQueryRefurbish::SetJson), 6);
    EXPECT_EQ(SlotOf(&CSocketQuerySimlock::SetJson), 6);

    ExpectSlotsInOrder({SlotOf(&ISocketQueryWarranty::GetPurchase),
                        SlotOf(&ISocketQueryWarranty::GetWarranty),
                        SlotOf(&ISocketQueryWarranty::GetDaysleft)});

    // The feedback reply's destructors come first.
    EXPECT_EQ(SlotOf(&XSocketInfoVerifyFeedbackReply::operator==), 2);
    EXPECT_EQ(SlotOf(&XSocketInfoVerifyFeedbackReply::GetResult), 3);
    EXPECT_EQ(SlotOf(&XSocketInfoVerifyFeedbackReply::GetFeedbackMessage), 4);
    EXPECT_EQ(SlotOf(&XSocketInfoVerifyFeedbackReply::GetFeedbackDate), 5);
    EXPECT_EQ(SlotOf(&XSocketInfoVerifyFeedbackReply::GetReplyMessage), 6);
}

TEST(RecordsDeviceQueries, ColourScreenAirPodsAndBasic) {
    XJson colorData = Parse(R"({"frontColor":"黑色","backColor":"海蓝色","color":"金色"})");
    const CSocketInfoColor color(colorData);
    const ISocketInfoColor& c = color;
    EXPECT_EQ(c.GetFrontColor(), L"黑色");
    EXPECT_EQ(c.GetBackColor(), L"海蓝色");

    // Only the service's spelling "manufactureData" carries the date.
    XJson screenData = Parse(R"({"manufacturers":"京东方","manufactureData":"2020-09-20"})");
    const CSocketInfoScreen screen(screenData);
    EXPECT_EQ(static_cast<const ISocketInfoScreen&>(screen).GetFactory(), L"京东方");
    EXPECT_EQ(screen.GetDate(), L"2020-09-20");
    XJson correctlySpelt = Parse(R"({"manufacturers":"LG","manufactureDate":"2020-09-20"})");
    EXPECT_EQ(CSocketInfoScreen(correctlySpelt).GetDate(), L"");

    CSocketInfoAirPods airPods;
    EXPECT_TRUE(airPods.GetModel().isEmpty());
    EXPECT_FALSE(airPods.IsApple());
    XJson podsData =
        Parse(R"json({"name":"AirPods Pro (第二代)","srnm":"H6KJ2L0Q1059","describe":"序列号有效",
                               "apple":true
})json");
    airPods.SetJson(podsData);
    ISocketInfoAirPods& pods = airPods;
    EXPECT_EQ(pods.GetModel(), QString::fromUtf8("AirPods Pro (第二代)"));
    EXPECT_EQ(pods.GetSerialNumber(), "H6KJ2L0Q1059");
    EXPECT_EQ(pods.GetDescribe(), QString::fromUtf8("序列号有效"));
    EXPECT_TRUE(pods.IsApple());

    CSocketQueryBasic basic;
    EXPECT_STREQ(basic.GetColorFront(), "");
    basic.SetJson(Parse(R"({"frontColor":"白色","backColor":"午夜色"})"));
    const char* front = basic.GetColorFront();
    const char* back = basic.GetColorBack();
    EXPECT_STREQ(front, "白色");
    EXPECT_STREQ(back, "午夜色");
}

template <typename Line>
class RecordsCheckedLine : public ::testing::Test {};
using CheckedLines = ::testing::Types<CSocketQueryIdlock, CSocketQueryRefurbish, CSocketQuerySimlock>;
TYPED_TEST_SUITE(RecordsCheckedLine, CheckedLines);

TYPED_TEST(RecordsCheckedLine, ShowIsSetByAnyYAndNeverCleared) {
    TypeParam line;
    EXPECT_STREQ(line.GetKey(), "");
    EXPECT_FALSE(line.GetShow());

    line.SetJson(Parse(R"({"key":"fmi","name":"查找我的iPhone","result":"开启","show":"true"})"));
    EXPECT_STREQ(line.GetKey(), "fmi");
    EXPECT_STREQ(line.GetName(), "查找我的iPhone");
    EXPECT_STREQ(line.GetResult(), "开启");
    EXPECT_FALSE(line.GetShow());
    for (const char* text : {"1", "no", "", "N"}) {
        line.SetJson(XJson(std::string(R"({"show":")") + text + "\"}"));
        EXPECT_FALSE(line.GetShow()) << text;
    }

    line.SetJson(Parse(R"({"show":"maybe"})"));
    EXPECT_TRUE(line.GetShow());
    // A later answer without a y leaves it shown.
    line.SetJson(Parse(R"({"key":"simlock","show":"no"})"));
    EXPECT_TRUE(line.GetShow());
    EXPECT_STREQ(line.GetKey(), "simlock");

    TypeParam upper;
    upper.SetJson(Parse(R"({"show":"YES"})"));
    EXPECT_TRUE(upper.GetShow());
}

class RecordsWarranty : public ::testing::Test {
  protected:
    void TearDown() override { _StaticSocketEdition = saved_; }
    const ENUM_PELMOR_SOCKET_EDITION saved_ = _StaticSocketEdition;
};

TEST_F(RecordsWarranty, DaysComeFromTheKeyOfTheEditionAtConstruction) {
    const XJson data =
        Parse(R"({"purchase":"2020-11-02","warranty":"2021-11-01","daysleft":12,"leftDays":"34"})");

    _StaticSocketEdition = PELMOR_SOCKET_EDITION_STANDARD;
    const CSocketQueryWarranty standard(data);
    _StaticSocketEdition = PELMOR_SOCKET_EDITION_ENTERPRISE;
    const CSocketQueryWarranty enterprise(data);
    // Any edition other than the standard one reads the enterprise key.
    _StaticSocketEdition = static_cast<ENUM_PELMOR_SOCKET_EDITION>(2);
    const CSocketQueryWarranty unknown(data);

    const ISocketQueryWarranty& s = standard;
    EXPECT_EQ(s.GetPurchase(), L"2020-11-02");
    EXPECT_EQ(s.GetWarranty(), L"2021-11-01");
    EXPECT_EQ(s.GetDaysleft(), 34);
    EXPECT_EQ(enterprise.GetDaysleft(), 12);
    EXPECT_EQ(unknown.GetDaysleft(), 12);

    // Changing the edition later does not change a record already built.
    EXPECT_EQ(standard.GetDaysleft(), 34);
}

TEST(RecordsFeedbackReply, ReadsItsKeysAndItsEqualityOperatorCopies) {
    const XSocketInfoVerifyFeedbackReply answered(Parse(
        R"({"result":true,"feedbackMessage":"电池显示非原装","feedbackDate":"2023-11-20","message":"已核实，电池为原装"})"));
    EXPECT_TRUE(answered.GetResult());
    EXPECT_EQ(answered.GetFeedbackMessage(), L"电池显示非原装");
    EXPECT_EQ(answered.GetFeedbackDate(), L"2023-11-20");
    EXPECT_EQ(answered.GetReplyMessage(), L"已核实，电池为原装");

    XSocketInfoVerifyFeedbackReply pending(Parse(R"({"result":false,"feedbackMessage":"屏幕疑似更换"})"));
    EXPECT_EQ(pending.GetReplyMessage(), L"");

    // Not a comparison: the left side becomes a copy of the right and is returned.
    XSocketInfoVerifyFeedbackReply& same = (pending == answered);
    EXPECT_EQ(&same, &pending);
    EXPECT_TRUE(pending.GetResult());
    EXPECT_EQ(pending.GetFeedbackMessage(), L"电池显示非原装");
    EXPECT_EQ(pending.GetReplyMessage(), L"已核实，电池为原装");

    const XSocketInfoVerifyFeedbackReply copy(answered);
    EXPECT_EQ(copy.GetFeedbackDate(), L"2023-11-20");
}

}  // namespace
