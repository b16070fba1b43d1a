#include <gtest/gtest.h>
#include <pelmor/Records.h>

#include <string>
#include <vector>

#include "SlotCheck.h"
#include "records/CSocketInfoBackup.h"
#include "records_support.h"

namespace {

using namespace records_test;

using BackupGetter = const char* (ISocketInfoBackup::*)();
const BackupGetter kBackupGetters[] = {
    &ISocketInfoBackup::GetType,   &ISocketInfoBackup::GetSerial, &ISocketInfoBackup::GetDate,
    &ISocketInfoBackup::GetRam,    &ISocketInfoBackup::GetModel,  &ISocketInfoBackup::GetArea,
    &ISocketInfoBackup::GetColor,  &ISocketInfoBackup::GetMLB,    &ISocketInfoBackup::GetBMAC,
    &ISocketInfoBackup::GetWMAC,   &ISocketInfoBackup::GetBatt,   &ISocketInfoBackup::GetLCM,
    &ISocketInfoBackup::GetBCMS,   &ISocketInfoBackup::GetFCMS,   &ISocketInfoBackup::GetMtSN,
    &ISocketInfoBackup::GetNvSN,   &ISocketInfoBackup::GetNSrN,   &ISocketInfoBackup::GetPscl,
    &ISocketInfoBackup::GetBackup,
};

TEST(RecordsBackupSlots, InterfacesAndImplementationsKeepTheirTables) {
    for (size_t i = 0; i < sizeof kBackupGetters / sizeof kBackupGetters[0]; ++i)
        EXPECT_EQ(SlotOf(kBackupGetters[i]), static_cast<std::ptrdiff_t>(i));
    EXPECT_EQ(SlotOf(&CSocketInfoBackup::GetBackup), 18);
    EXPECT_EQ(SlotOf(&CSocketInfoBackup::SetJson), 21);

    ExpectSlotsInOrder({SlotOf(&ISocketInfoKey::GetScreenLCD), SlotOf(&ISocketInfoKey::GetScreenLCM),
                        SlotOf(&ISocketInfoKey::GetBackupClass), SlotOf(&ISocketInfoKey::GetBackupKey)});
    EXPECT_EQ(SlotOf(&CSocketInfoKey::SetJson), 6);
}

TEST(RecordsBackup, FullReplyReadsBackThroughTheInterface) {
    CSocketInfoBackup built;
    XJson data = ReplyData("device_backup.json");
    built.SetJson(data);
    ISocketInfoBackup& backup = built;

    // Gather every pointer first: each must stay valid while the record lives.
    std::vector<const char*> texts;
    for (BackupGetter getter : kBackupGetters)
        texts.push_back((backup.*getter)());
    const char* const expected[] = {
        "iPhone 12 Pro",
        "F17DK3ABP3D4",
        "2020-10-12",
        "256GB",
        "MGLD3CH/A",
        "CH/A",
        "海蓝色",
        "C0722430FYCQ0Y1AU",
        "88:66:5a:1c:2f:02",
        "88:66:5a:1c:2f:01",
        "F5D0303F3ZKN4MPAH",
        "G9P0279Z1T9PQHL8F",
        "DN8028400G6P2TL1S",
        "DNL02830QLDP1RC6D",
        "FM70281AFKHPQHL4C",
        "FVS02815JFYPQJH1A",
        "C3F02790BTNPQJH2N",
        "DNM028224LJPQJH58",
        "AAECAwQFBgcICQoLDA0ODw==",
    };
    ASSERT_EQ(texts.size(), sizeof expected / sizeof expected[0]);
    for (size_t i = 0; i < texts.size(); ++i)
        EXPECT_STREQ(texts[i], expected[i]) << "getter " << i;
}

TEST(RecordsBackup, EveryFieldIsOverwrittenAndNothingIsNull) {
    CSocketInfoBackup backup;
    for (BackupGetter getter : kBackupGetters)
        EXPECT_STREQ((backup.*getter)(), "");

    XJson full = ReplyData("device_backup.json");
    backup.SetJson(full);
    // The front colour and "color" are not the colour; a number reads as its text.
    XJson partial(std::string(R"({"color":"金色","frontColor":"黑色","ram":256,"mod":null})"));
    backup.SetJson(partial);
    EXPECT_STREQ(backup.GetColor(), "");
    EXPECT_STREQ(backup.GetRam(), "256");
    EXPECT_STREQ(backup.GetModel(), "");
    EXPECT_STREQ(backup.GetSerial(), "");
    EXPECT_STREQ(backup.GetBackup(), "");
}

TEST(RecordsKey, ReadsEachFieldFromItsOwnKey) {
    CSocketInfoKey built;
    ISocketInfoKey& key = built;
    EXPECT_STREQ(key.GetBackupKey(), "");

    built.SetJson(XJson(std::string(R"({"lcd":"LCD-4F21","lcm":"G9P0279Z1T9PQHL8F",
        "verifyDevice13Class":"A13","verifyDevice13Key":"9f86d081884c7d65"})")));
    const char* lcd = key.GetScreenLCD();
    const char* lcm = key.GetScreenLCM();
    const char* cls = key.GetBackupClass();
    const char* backupKey = key.GetBackupKey();
    EXPECT_STREQ(lcd, "LCD-4F21");
    EXPECT_STREQ(lcm, "G9P0279Z1T9PQHL8F");
    EXPECT_STREQ(cls, "A13");
    EXPECT_STREQ(backupKey, "9f86d081884c7d65");

    built.SetJson(XJson(std::string(R"({"verifyDevice13Key":"e3b0c44298fc1c14"})")));
    EXPECT_STREQ(key.GetScreenLCD(), "");
    EXPECT_STREQ(key.GetScreenLCM(), "");
    EXPECT_STREQ(key.GetBackupClass(), "");
    EXPECT_STREQ(key.GetBackupKey(), "e3b0c44298fc1c14");
}

}  // namespace
