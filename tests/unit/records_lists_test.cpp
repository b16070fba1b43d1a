#include <gtest/gtest.h>
#include <pelmor/Records.h>

#include <stdexcept>
#include <string>

#include "SlotCheck.h"
#include "records/CSocketInfoIpsw.h"
#include "records/CSocketQueryInvoice.h"
#include "records_support.h"

namespace {

using namespace records_test;

TEST(RecordsListSlots, InterfacesAndImplementationsKeepTheirTables) {
    EXPECT_EQ(SlotOf(&ISocketInfoIpsw::GetCount), 0);
    EXPECT_EQ(SlotOf(&ISocketInfoIpsw::GetItem), 1);
    EXPECT_EQ(SlotOf(&CSocketInfoIpsw::Clear), 4);
    EXPECT_EQ(SlotOf(&CSocketInfoIpsw::SetJson), 5);
    ExpectSlotsInOrder({SlotOf(&ISocketInfoIpswItem::GetVersion), SlotOf(&ISocketInfoIpswItem::GetName),
                        SlotOf(&ISocketInfoIpswItem::GetSize), SlotOf(&ISocketInfoIpswItem::GetUrl),
                        SlotOf(&ISocketInfoIpswItem::GetBeta), SlotOf(&ISocketInfoIpswItem::GetBuildId),
                        SlotOf(&ISocketInfoIpswItem::GetMD5), SlotOf(&ISocketInfoIpswItem::GetBytes)});
    EXPECT_EQ(SlotOf(&CSocketInfoIpswItem::SetJson), 10);

    ExpectSlotsInOrder({SlotOf(&ISocketQueryInvoice::GetCount), SlotOf(&ISocketQueryInvoice::GetItem),
                        SlotOf(&ISocketQueryInvoice::Traverse)});
    EXPECT_EQ(SlotOf(&CSocketQueryInvoice::Clear), 5);
    EXPECT_EQ(SlotOf(&CSocketQueryInvoice::SetJson), 6);
    ExpectSlotsInOrder(
        {SlotOf(&ISocketQueryInvoiceItem::GetDate), SlotOf(&ISocketQueryInvoiceItem::GetSerial),
         SlotOf(&ISocketQueryInvoiceItem::GetTarget), SlotOf(&ISocketQueryInvoiceItem::GetAmount),
         SlotOf(&ISocketQueryInvoiceItem::GetBalance)});
    EXPECT_EQ(SlotOf(&CSocketQueryInvoiceItem::SetJson), 7);
}

TEST(RecordsFirmwareList, FullReplyReadsBackThroughTheInterface) {
    CSocketInfoIpsw built;
    built.SetJson(ReplyData("firmware_list.json"));
    ISocketInfoIpsw& list = built;

    // The empty element leaves no gap.
    ASSERT_EQ(list.GetCount(), 4u);
    const ISocketInfoIpswItem* first = list.GetItem(0);
    EXPECT_EQ(first->GetVersion(), L"17.1.1");
    EXPECT_EQ(first->GetName(), L"iPhone13,2,iPhone13,3_17.1.1_21B91_Restore.ipsw");
    EXPECT_EQ(first->GetSize(), L"6.63 GB");
    EXPECT_EQ(first->GetUrl(),
              L"https://updates.example.com/ipsw/iPhone13,2,iPhone13,3_17.1.1_21B91_Restore.ipsw");
    EXPECT_EQ(first->GetBuildId(), L"21B91");
    EXPECT_EQ(first->GetMD5(), L"0cf3fb8a1e2f4e6bd23bc4cf7bd27a11");
    EXPECT_EQ(first->GetBytes(), 7118918451LL);  // beyond 32 bits

    // "y" in either case is beta; "n" and "true" are not.
    EXPECT_FALSE(list.GetItem(0)->GetBeta());
    EXPECT_TRUE(list.GetItem(1)->GetBeta());
    EXPECT_EQ(list.GetItem(2)->GetVersion(), L"17.1");
    EXPECT_TRUE(list.GetItem(2)->GetBeta());
    EXPECT_FALSE(list.GetItem(3)->GetBeta());

    EXPECT_THROW(list.GetItem(4), std::out_of_range);
    EXPECT_THROW(list.GetItem(~0u), std::out_of_range);
}

// What a firmware item's getters give for texts that are not plain: invalid UTF-8 mended, numbers and bools
// spelled, null and objects empty; "beta" is exactly one y of either case. The array is gone when read.
TEST(RecordsFirmwareList, TextsReadBackMendedAndSpelledAfterTheSourceIsGone) {
    CSocketInfoIpsw list;
    list.SetJson(Parse(
        "[{\"version\":17.2,\"fileName\":\"a\xC3(b\xF0\x9F\x98\x80\",\"size\":null,"
        "\"url\":{\"u\":1},\"beta\":\"Y\",\"buildId\":true,\"md5sum\":\"\xED\xA0\x80\"},"
        "{\"beta\":\" y\",\"version\":\"\"},{\"beta\":true},{\"beta\":\"\xC3\xBF\"},{\"beta\":\"y\"}]"));
    ASSERT_EQ(list.GetCount(), 5u);
    const ISocketInfoIpswItem* item = list.GetItem(0);
    EXPECT_EQ(item->GetVersion(), L"17.2");
    EXPECT_EQ(item->GetName(), L"a\uFFFD(b\U0001F600");
    EXPECT_EQ(item->GetSize(), L"");
    EXPECT_EQ(item->GetUrl(), L"");
    EXPECT_TRUE(item->GetBeta());
    EXPECT_EQ(item->GetBuildId(), L"true");
    EXPECT_EQ(item->GetMD5(), L"\uFFFD");
    EXPECT_FALSE(list.GetItem(1)->GetBeta());
    EXPECT_EQ(list.GetItem(1)->GetVersion(), L"");
    EXPECT_FALSE(list.GetItem(2)->GetBeta());
    EXPECT_FALSE(list.GetItem(3)->GetBeta());
    EXPECT_TRUE(list.GetItem(4)->GetBeta());
}

TEST(RecordsFirmwareList, RefillingReplacesAndEmptyArraysGiveNothing) {
    CSocketInfoIpsw list;
    list.SetJson(ReplyData("firmware_list.json"));
    list.SetJson(Parse(R"([{"version":"16.7.2","beta":"yes","byteSize":"6571230016"}])"));
    ASSERT_EQ(list.GetCount(), 1u);
    EXPECT_EQ(list.GetItem(0)->GetVersion(), L"16.7.2");
    EXPECT_FALSE(list.GetItem(0)->GetBeta());
    EXPECT_EQ(list.GetItem(0)->GetBytes(), 6571230016LL);
    EXPECT_EQ(list.GetItem(0)->GetMD5(), L"");

    list.SetJson(Parse(R"([{}, {}, null, []])"));
    EXPECT_EQ(list.GetCount(), 0u);
    list.SetJson(ReplyData("firmware_list.json"));
    list.SetJson(Parse(R"({"version":"17.1.1"})"));
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_THROW(list.GetItem(0), std::out_of_range);
}

TEST(RecordsInvoiceList, FullReplyReadsBackThroughTheInterface) {
    CSocketQueryInvoice built;
    built.SetJson(ReplyData("invoice_daily.json"));
    ISocketQueryInvoice& bill = built;

    ASSERT_EQ(bill.GetCount(), 3u);
    ISocketQueryInvoiceItem* first = bill.GetItem(0);
    const char* date = first->GetDate();
    const char* serial = first->GetSerial();
    const char* target = first->GetTarget();
    EXPECT_STREQ(date, "2023-11-22 09:14:03");
    EXPECT_STREQ(serial, "F17DK3ABP3D4");
    EXPECT_STREQ(target, "ID锁查询");
    EXPECT_DOUBLE_EQ(first->GetAmount(), 0.5);
    EXPECT_DOUBLE_EQ(first->GetBalance(), 199.5);
    // The line after the empty element; its cost arrives as text.
    EXPECT_STREQ(bill.GetItem(2)->GetTarget(), "网络锁查询");
    EXPECT_DOUBLE_EQ(bill.GetItem(2)->GetAmount(), 1.2);
    EXPECT_DOUBLE_EQ(bill.GetItem(2)->GetBalance(), 198.0);

    EXPECT_EQ(bill.GetItem(3), nullptr);
    EXPECT_EQ(bill.GetItem(~0u), nullptr);
}

TEST(RecordsInvoiceList, TraverseStopsOnFalseAndIsFalseOnlyWhenEmpty) {
    CSocketQueryInvoice bill;
    int visits = 0;
    EXPECT_FALSE(bill.Traverse([&](ISocketQueryInvoiceItem*) { return ++visits, true; }));
    EXPECT_EQ(visits, 0);

    bill.SetJson(ReplyData("invoice_daily.json"));
    EXPECT_TRUE(bill.Traverse([&](ISocketQueryInvoiceItem*) { return ++visits, false; }));
    EXPECT_EQ(visits, 1);

    visits = 0;
    std::string serials;
    EXPECT_TRUE(bill.Traverse([&](ISocketQueryInvoiceItem* item) {
        serials += item->GetSerial();
        serials += ';';
        return ++visits, true;
    }));
    EXPECT_EQ(visits, 3);
    EXPECT_EQ(serials, "F17DK3ABP3D4;F17DK3ABP3D4;DNPXK2LMJCLG;");

    EXPECT_TRUE(bill.Traverse(nullptr));

    // Refilling drops the old lines.
    bill.SetJson(Parse(R"([{"date":"2023-11-23","cost":2}])"));
    ASSERT_EQ(bill.GetCount(), 1u);
    EXPECT_STREQ(bill.GetItem(0)->GetSerial(), "");
    EXPECT_DOUBLE_EQ(bill.GetItem(0)->GetAmount(), 2.0);
    bill.SetJson(Parse("[{}]"));
    EXPECT_FALSE(bill.Traverse([](ISocketQueryInvoiceItem*) { return true; }));
}

}  // namespace
