// The emulator's clock, and the answers that depend on the day: token expiry, bills, payment orders and
// the one warranty each handset has on the service and on the coverage site.
#include "emulator_in_process.h"

namespace {

using namespace emulator_test;

class EmulatorClock : public InProcessEmulator {
  protected:
    json SetClock(const json& now) const {
        const Answer answer = Post("clock", {{"now", now}});
        EXPECT_EQ(answer.status, 200) << answer.body;
        return answer.Json();
    }
    // A standard user's token through the SMS log-in.
    std::string StandardLogin() const {
        const json sent = Standard("sms.code", {{"mobile", "13800000000"}});
        const json sms = Get("sms?mobile=13800000000").Json();
        const json login = Standard("login.mobile", {{"mobile", "13800000000"},
                                                     {"code", sms.value("code", "")},
                                                     {"no", sent["data"].value("no", "")},
                                                     {"key", ""}});
        return login["data"].value("token", "");
    }
};

TEST_F(EmulatorClock, IsReadSetAdvancedAndResetToRealTime) {
    EXPECT_EQ(SetClock("2030-01-15T08:30:00Z")["utc"].get<std::string>().substr(0, 16), "2030-01-15T08:30");
    const json advanced = Post("clock/advance", {{"days", 1}, {"hours", 2}}).Json();
    EXPECT_EQ(advanced["utc"].get<std::string>().substr(0, 16), "2030-01-16T10:30");
    EXPECT_EQ(Standard("client.config")["timestamp"].get<std::int64_t>() / 60000,
              advanced["now"].get<std::int64_t>() / 60000);

    for (const json& bad : {json{{"now", "2030-02-30"}}, json{{"now", "soon"}}, json{{"real", false}}})
        EXPECT_EQ(Post("clock", bad).status, 400) << bad.dump();
    for (const json& bad : {json{{"hours", -1}}, json{{"weeks", 1}}, json{{"ms", 1.5}}})
        EXPECT_EQ(Post("clock/advance", bad).status, 400) << bad.dump();

    EXPECT_EQ(Post("reset").status, 200);
    EXPECT_EQ(Get("clock").Json()["offsetMs"], 0);
    SetClock(1000000000000);
    EXPECT_EQ(Post("clock", {{"real", true}}).Json()["offsetMs"], 0);
}

TEST_F(EmulatorClock, EnterpriseTokensExpireWhenTheClockPassesTheirEnd) {
    const std::string token = EnterpriseLogin();
    ASSERT_FALSE(token.empty());
    Post("clock/advance", {{"hours", 1}, {"minutes", 59}});
    EXPECT_EQ(Enterprise("/user/heartbeat", json::object(), token)["code"], 0);
    Post("clock/advance", {{"minutes", 1}});
    EXPECT_EQ(Enterprise("/user/heartbeat", json::object(), token)["code"], 40112);
    EXPECT_EQ(Enterprise("cms.token.refresh", {{"accessToken", token}})["code"], 40112);
}

TEST_F(EmulatorClock, BillsAndPaymentOrdersCarryTheClocksTime) {
    SetClock("2030-01-15T08:30:00Z");
    const std::string token = EnterpriseLogin();
    const json check =
        Enterprise("/ckcheck/idlock", {{"ecid", "0013A5B7C9D1E3F5"}, {"srnm", "F17ZP9QAN73K"}}, token);
    ASSERT_EQ(check["code"], 0) << check.dump();
    const json bill = Enterprise("/ckcheck/bill/daily", {{"date", "2030-01-15"}}, token)["data"];
    ASSERT_EQ(bill.size(), 1u) << bill.dump();
    EXPECT_EQ(bill[0]["date"].get<std::string>().substr(0, 16), "2030-01-15 08:30");

    const std::string user = StandardLogin();
    ASSERT_FALSE(user.empty());
    const json order = Standard("device.checkPro.qrcode", {{"srnm", "F17ZP9QAN73K"}, {"way", 0}}, user);
    ASSERT_EQ(order["code"], 0) << order.dump();
    EXPECT_EQ(order["data"]["tradeNo"].get<std::string>().substr(0, 12), "PM2030011508");
    const json paid = Post("pay").Json();
    EXPECT_EQ(paid.value("paidAt", std::int64_t{0}) / 86400000, *epoch_day("2030-01-15")) << paid.dump();
}

TEST_F(EmulatorClock, EachHandsetHasOneWarrantyOnTheServiceAndTheSite) {
    const std::string token = EnterpriseLogin();
    const struct {
        const char* serial;
        const char* ecid;
    } handsets[] = {{"F2LZK3XYN72J", "000E2D4C1B3A5968"}, {"F17ZP9QAN73K", "0013A5B7C9D1E3F5"}};
    for (const auto& handset : handsets) {
        const json standard = Standard("device.warranty", {{"srnm", handset.serial}})["data"];
        const std::string end = standard.value("warranty", "");
        ASSERT_FALSE(end.empty()) << handset.serial;
        const json paid = Enterprise("/ckcheck/warranty", {{"ecid", handset.ecid}, {"srnm", handset.serial}},
                                     token)["data"];
        EXPECT_EQ(paid["warranty"], end) << handset.serial;
        EXPECT_EQ(paid["purchase"], standard["purchase"]) << handset.serial;

        // The day before the last covered day the site shows the repair cover active, the day after expired,
        // and the service counts the days left from the same clock.
        const std::int64_t last_day = *epoch_day(end) * 86400000;
        for (const std::int64_t now : {last_day - 86400000, last_day + 86400000}) {
            SetClock(now);
            const bool active = now < last_day;
            const std::string page = Coverage(handset.serial).body;
            const std::string repair = std::string("data-item=\"repair\" data-active=\"") +
                                       (active ? "true" : "false") + "\" data-expires=\"" + end + "\"";
            EXPECT_NE(page.find(repair), std::string::npos)
                << handset.serial << " at " << now << ": " << page;
            EXPECT_EQ(Standard("device.warranty", {{"srnm", handset.serial}})["data"]["leftDays"],
                      active ? 1 : 0);
        }
        Post("clock", {{"real", true}});
    }
}

}  // namespace
