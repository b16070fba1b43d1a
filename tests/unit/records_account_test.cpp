#include <gtest/gtest.h>
#include <pelmor/Records.h>

#include <string>

#include "SlotCheck.h"
#include "records/CSocketAccountRecords.h"
#include "records_support.h"

namespace {

using namespace records_test;

TEST(RecordsAccountSlots, InterfacesAndImplementationsKeepTheirTables) {
    ExpectSlotsInOrder(
        {SlotOf(&ISocketInfoAccount::GetNickName), SlotOf(&ISocketInfoAccount::GetAvatar),
         SlotOf(&ISocketInfoAccount::GetAvatarSmall), SlotOf(&ISocketInfoAccount::GetAvatarBig),
         SlotOf(&ISocketInfoAccount::GetMerchantName), SlotOf(&ISocketInfoAccount::GetMerchantLogo)});
    EXPECT_EQ(SlotOf(&CSocketInfoAccount::SetJson), 8);

    ExpectSlotsInOrder({SlotOf(&ISocketInfoUser::GetID), SlotOf(&ISocketInfoUser::GetName),
                        SlotOf(&ISocketInfoUser::GetHeadImage), SlotOf(&ISocketInfoUser::GetPhone)});
    EXPECT_EQ(SlotOf(&CSocketInfoUser::SetJson), 6);

    ExpectSlotsInOrder({SlotOf(&ISocketInfoWechar::GetID), SlotOf(&ISocketInfoWechar::GetName),
                        SlotOf(&ISocketInfoWechar::GetHeadImage), SlotOf(&ISocketInfoWechar::GetPhone)});
    EXPECT_EQ(SlotOf(&CSocketInfoWechar::SetJson), 6);

    EXPECT_EQ(SlotOf(&ISocketInfoHeartbeat::GetTime), 0);
    EXPECT_EQ(SlotOf(&ISocketInfoHeartbeat::GetAddress), 1);
    EXPECT_EQ(SlotOf(&CSocketInfoHeartbeat::SetJson), 4);

    ExpectSlotsInOrder({SlotOf(&ISocketInfoNotify::GetID), SlotOf(&ISocketInfoNotify::IsSystem),
                        SlotOf(&ISocketInfoNotify::GetTitle), SlotOf(&ISocketInfoNotify::GetTime),
                        SlotOf(&ISocketInfoNotify::GetURL), SlotOf(&ISocketInfoNotify::IsPopup),
                        SlotOf(&ISocketInfoNotify::GetUpdateTime)});
    EXPECT_EQ(SlotOf(&CSocketInfoNotify::SetJson), 9);

    EXPECT_EQ(SlotOf(&ISocketInfoPicture::GetData), 0);
    EXPECT_EQ(SlotOf(&ISocketInfoPicture::GetLength), 1);
    EXPECT_EQ(SlotOf(&CSocketInfoPicture::SetJson), 4);
    EXPECT_EQ(SlotOf(&CSocketInfoPicture::SetMemory), 5);

    EXPECT_EQ(SlotOf(&ISocketInfoImage::GetName), 0);
    EXPECT_EQ(SlotOf(&ISocketInfoImage::GetImage), 1);
    EXPECT_EQ(SlotOf(&CSocketInfoImage::SetJson), 4);

    EXPECT_EQ(SlotOf(&ISocketQueryPower::GetVerifyNetwork), 0);
    EXPECT_EQ(SlotOf(&ISocketQueryPower::GetOverGreen), 1);
    EXPECT_EQ(SlotOf(&CSocketQueryPower::SetJson), 4);

    EXPECT_EQ(SlotOf(&ISocketQueryDetails::GetBalance), 0);
    EXPECT_EQ(SlotOf(&CSocketQueryDetails::SetJson), 3);
}

TEST(RecordsAccount, ProfilesReadEachFieldFromItsKey) {
    CSocketInfoAccount account;
    XJson accountData = Parse(R"({"nickname":"华强北三号店","avatar":"https://img.example.com/a/1.png",
        "avatarSmall":"https://img.example.com/a/1_s.png","avatarBig":"https://img.example.com/a/1_b.png",
        "merchantName":"深圳市鑫达通讯","merchantLogo":"https://img.example.com/m/88.png"})");
    account.SetJson(accountData);
    ISocketInfoAccount& a = account;
    // Take every pointer before reading any: each must stay valid while the record lives.
    const wchar_t* texts[] = {a.GetNickName(),  a.GetAvatar(),       a.GetAvatarSmall(),
                              a.GetAvatarBig(), a.GetMerchantName(), a.GetMerchantLogo()};
    EXPECT_STREQ(texts[0], L"华强北三号店");
    EXPECT_STREQ(texts[1], L"https://img.example.com/a/1.png");
    EXPECT_STREQ(texts[2], L"https://img.example.com/a/1_s.png");
    EXPECT_STREQ(texts[3], L"https://img.example.com/a/1_b.png");
    EXPECT_STREQ(texts[4], L"深圳市鑫达通讯");
    EXPECT_STREQ(texts[5], L"https://img.example.com/m/88.png");

    // The user's id is a 64-bit number, the WeChat id text.
    CSocketInfoUser user;
    XJson userData = Parse(R"({"uid":4294967301,"nickname":"老王","avatar":"https://img.example.com/u/7.png",
                               "mobile":"13800138000","openId":"oX7a"})");
    user.SetJson(userData);
    EXPECT_EQ(static_cast<ISocketInfoUser&>(user).GetID(), 4294967301LL);
    EXPECT_STREQ(user.GetName(), L"老王");
    EXPECT_STREQ(user.GetHeadImage(), L"https://img.example.com/u/7.png");
    EXPECT_STREQ(user.GetPhone(), L"13800138000");

    CSocketInfoWechar wechar;
    XJson wecharData = Parse(R"({"openId":"oX7a5t0nE3vQmL2k","uid":12,"nickname":"老王","mobile":""})");
    wechar.SetJson(wecharData);
    EXPECT_STREQ(static_cast<ISocketInfoWechar&>(wechar).GetID(), L"oX7a5t0nE3vQmL2k");
    EXPECT_STREQ(wechar.GetName(), L"老王");
    EXPECT_STREQ(wechar.GetHeadImage(), L"");

    // Refilling overwrites every field, absent keys with empty values.
    XJson empty;
    user.SetJson(empty);
    EXPECT_EQ(user.GetID(), 0);
    EXPECT_STREQ(user.GetName(), L"");
}

TEST(RecordsAccount, HeartbeatImageAndDetails) {
    CSocketInfoHeartbeat heartbeat;
    EXPECT_STREQ(heartbeat.GetTime(), "");
    XJson beat = Parse(R"({"date":"2023-11-23 10:42:17","address":"113.88.12.7"})");
    heartbeat.SetJson(beat);
    const char* time = heartbeat.GetTime();
    const char* address = heartbeat.GetAddress();
    EXPECT_STREQ(time, "2023-11-23 10:42:17");
    EXPECT_STREQ(address, "113.88.12.7");

    CSocketInfoImage image;
    XJson imageData =
        Parse(R"({"imgName":"report_F17DK3ABP3D4.png","imgStr":"iVBORw0KGgoAAAANSUhEUgAAAAEAAAAB"})");
    image.SetJson(imageData);
    EXPECT_STREQ(image.GetName(), "report_F17DK3ABP3D4.png");
    EXPECT_STREQ(image.GetImage(), "iVBORw0KGgoAAAANSUhEUgAAAAEAAAAB");

    CSocketQueryDetails details;
    EXPECT_EQ(details.GetBalance(), 0.0);
    details.SetJson(Parse(R"({"balance":"1288.50"})"));
    EXPECT_DOUBLE_EQ(details.GetBalance(), 1288.5);
}

TEST(RecordsAccount, NotifyCountsAsSystemUntilItsDataSaysOtherwise) {
    CSocketInfoNotify notify;
    ISocketInfoNotify& n = notify;
    EXPECT_TRUE(n.IsSystem());
    EXPECT_EQ(n.GetID(), 0);
    EXPECT_EQ(n.GetTime(), 0);
    EXPECT_EQ(n.GetUpdateTime(), 0);
    EXPECT_STREQ(n.GetTitle(), L"");

    XJson data = Parse(R"({"id":90071992547409,"system":false,"title":"系统维护通知","dateTime":1700712345678,
                           "url":"https://www.example.com/notice/12","popup":true,"updateTime":1700712399000})");
    notify.SetJson(data);
    EXPECT_EQ(n.GetID(), 90071992547409LL);
    EXPECT_FALSE(n.IsSystem());
    EXPECT_STREQ(n.GetTitle(), L"系统维护通知");
    EXPECT_EQ(n.GetTime(), 1700712345678LL);
    EXPECT_STREQ(n.GetURL(), L"https://www.example.com/notice/12");
    EXPECT_TRUE(n.IsPopup());
    EXPECT_EQ(n.GetUpdateTime(), 1700712399000LL);

    // Data without "system" reads as false, not as the default.
    XJson silent = Parse(R"({"id":3})");
    notify.SetJson(silent);
    EXPECT_FALSE(n.IsSystem());
    EXPECT_FALSE(n.IsPopup());
}

TEST(RecordsAccount, PowerReadsBothRightsFromTheNestedObject) {
    CSocketQueryPower power;
    power.SetJson(Parse(R"({"deviceCheck":{"IMEID":true,"HARDDISK":false}})"));
    EXPECT_TRUE(power.GetVerifyNetwork());
    EXPECT_FALSE(power.GetOverGreen());
    power.SetJson(Parse(R"({"deviceCheck":{"IMEID":0,"HARDDISK":"true"}})"));
    EXPECT_FALSE(power.GetVerifyNetwork());
    EXPECT_TRUE(power.GetOverGreen());
    // Rights at the top level do not count.
    power.SetJson(Parse(R"({"IMEID":true,"HARDDISK":true})"));
    EXPECT_FALSE(power.GetVerifyNetwork());
    EXPECT_FALSE(power.GetOverGreen());
}

TEST(RecordsAccount, PictureKeepsOneZeroByteAndReportsNoLength) {
    CSocketInfoPicture picture;
    const char png[] = "\x89PNG\r\n\x1a\n";
    // Bad arguments change nothing, not even on an empty picture.
    picture.SetMemory(nullptr, 8);
    picture.SetMemory(png, 0);
    EXPECT_EQ(picture.GetData(), nullptr);
    EXPECT_EQ(picture.GetLength(), 0);

    picture.SetMemory(png, 8);
    ASSERT_NE(picture.GetData(), nullptr);
    EXPECT_EQ(picture.GetData()[0], '\0');
    EXPECT_EQ(picture.GetLength(), 0);

    // Mark the buffer: bad arguments must leave it as it is.
    picture.GetData()[0] = 'x';
    picture.SetMemory(nullptr, 8);
    picture.SetMemory(png, -1);
    EXPECT_EQ(picture.GetData()[0], 'x');
    // Good ones replace it (ASan catches a leak or a double delete).
    picture.SetMemory(png, 1);
    EXPECT_EQ(picture.GetData()[0], '\0');

    picture.SetJson(Parse(R"({"data":"iVBORw0KGgo=","length":8})"));
    EXPECT_EQ(picture.GetData(), nullptr);
    EXPECT_EQ(picture.GetLength(), 0);
    picture.SetMemory(png, 8);
}

}  // namespace
