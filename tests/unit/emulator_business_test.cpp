// The simulated business: what the paid checks cost, what a short balance and a wrong log-in answer, and
// the price of a professional report. Library tests rely on the emulator for these, not the other way.
#include "emulator_in_process.h"

namespace {

using namespace emulator_test;

class EmulatorBusiness : public InProcessEmulator {};

TEST_F(EmulatorBusiness, EachPaidCheckCostsItsPriceAndIsBilled) {
    const std::string token = EnterpriseLogin();
    ASSERT_FALSE(token.empty());
    const json device = {{"ecid", "0013A5B7C9D1E3F5"}, {"srnm", "F17ZP9QAN73K"}};
    const struct {
        const char* path;
        double price;
    } checks[] = {{"/ckcheck/idlock", 0.5},
                  {"/ckcheck/warranty", 0.3},
                  {"/ckcheck/refurbish", 0.7},
                  {"/ckcheck/simlock", 0.5}};
    double balance = 100.0;
    for (const auto& check : checks) {
        ASSERT_EQ(Enterprise(check.path, device, token)["code"], 0) << check.path;
        balance -= check.price;
    }
    EXPECT_NEAR(Enterprise("/ckcheck/details", json::object(), token)["data"]["balance"].get<double>(),
                balance, 1e-9);

    const std::string today = Get("clock").Json()["utc"].get<std::string>().substr(0, 10);
    const json bill = Enterprise("/ckcheck/bill/daily", {{"date", today}}, token)["data"];
    ASSERT_EQ(bill.size(), 4u) << bill.dump();
    EXPECT_DOUBLE_EQ(bill[2]["cost"].get<double>(), 0.7);
    EXPECT_NEAR(bill[3]["balance"].get<double>(), balance, 1e-9);
}

TEST_F(EmulatorBusiness, RefusalsOfTheSimulatedAccounts) {
    // Too little money: refused before anything is debited or billed.
    const json trial = Enterprise("/login", {{"account", "trial"}, {"password", "trial1234"}});
    const std::string token = trial["data"].value("token", "");
    const json device = {{"ecid", "0013A5B7C9D1E3F5"}, {"srnm", "F17ZP9QAN73K"}};
    EXPECT_EQ(Enterprise("/ckcheck/idlock", device, token)["code"], 40211);
    EXPECT_DOUBLE_EQ(Enterprise("/ckcheck/details", json::object(), token)["data"]["balance"].get<double>(),
                     0.2);

    // An unknown account answers like a wrong password, so accounts cannot be probed.
    EXPECT_EQ(Enterprise("/login", {{"account", "demo"}, {"password", "nope"}})["code"], 40111);
    const json nobody = Enterprise("/login", {{"account", "nobody"}, {"password", "demo1234"}});
    EXPECT_EQ(nobody["code"], 40111);
    EXPECT_EQ(nobody["error"], "LOGIN_FAILED");
    EXPECT_EQ(nobody["msg"], "账号或密码错误");
    EXPECT_EQ(Enterprise("/user/heartbeat", json::object(), "forged")["code"], 40101);

    // The professional report has one price, on offer and on the order alike.
    const json offer = Standard("device.checkPro.exist", {{"srnm", "F17ZP9QAN73K"}})["data"];
    EXPECT_TRUE(offer["exist"].get<bool>());
    EXPECT_DOUBLE_EQ(offer["price"].get<double>(), 9.9);
    EXPECT_EQ(Standard("device.checkPro.qrcode", {{"srnm", "F17ZP9QAN73K"}, {"way", 0}}, "forged")["code"],
              40101);
}

}  // namespace
