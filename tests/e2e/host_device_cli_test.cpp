// pelmor with handsets from captures, run as a user runs it: import the captures, check the device file,
// send it to the emulator. Also what pelmor says when no handset can be reached.
#include "TestData.h"
#include "cli_fixture.h"

namespace {

class DeviceCli : public CliTest {
  protected:
    static std::string Capture(const std::string& name) { return PELMOR_TEST_DATA_DIR "/captures/" + name; }

    // Imports captures into a device file under the test's home; returns its path.
    std::string Import(const std::vector<std::string>& captures) {
        std::vector<std::string> args{"device", "import"};
        args.insert(args.end(), captures.begin(), captures.end());
        const Outcome import = Pelmor(args);
        EXPECT_EQ(import.status, 0) << import.err;
        const std::string phone = home_ + "/phone.json";
        std::ofstream(phone) << import.out;
        return phone;
    }
};

// Captures need libplist; a build without it says so instead of importing.
#ifdef PELMOR_HAVE_CAPTURES
#define PELMOR_NEEDS_CAPTURES()
#else
#define PELMOR_NEEDS_CAPTURES() GTEST_SKIP() << "built without libplist"
#endif

TEST_F(DeviceCli, ImportedCapturesAreSentWholeAndVerified) {
    PELMOR_NEEDS_CAPTURES();
    const std::string phone = Import({Capture("complete-lockdownd.plist"), Capture("complete-battery.plist"),
                                      "com.apple.disk_usage=" + Capture("complete-disk-usage.plist")});
    EXPECT_EQ(Pelmor({"device", "check", phone}).status, 0);

    const Outcome verify = Pelmor({"--json", "verify", phone});
    ASSERT_EQ(verify.status, 0) << verify.err;
    EXPECT_EQ(verify.err, "");
    EXPECT_FALSE(XJson(verify.out)["result"]["items"].IsEmpty()) << verify.out;

    // What went over the wire is the hand-computed description, with the capture as the device's file.
    const XJson params = EmulatorControl::LastRequest()["document"]["params"];
    XJson expected;
    ASSERT_TRUE(expected.Parse(ReadTestData("captures/complete.expected.json")));
    EXPECT_EQ(params["info"].ToJson(), expected.ToJson());
    EXPECT_NE(params.ToString("file").find("<key>IORegistry:AppleSmartBattery</key>"), std::string::npos);
    EXPECT_EQ(params.ToString("ecid"), "000E2D4C1B3A5968");
}

TEST_F(DeviceCli, ADeviceFileNamesItsCapturesAndFillsInWhatTheyLack) {
    PELMOR_NEEDS_CAPTURES();
    const Outcome verify = Pelmor({"--json", "verify", Capture("complete-with-screen.json")});
    ASSERT_EQ(verify.status, 0) << verify.err;
    const XJson info = EmulatorControl::LastRequest()["document"]["params"]["info"];
    EXPECT_EQ(info.ToString("lcd"), "C3F94210ABCD1234");
    EXPECT_EQ(info.ToString("srnm"), "F2LZK3XYN72J");
    EXPECT_EQ(info.ToInt("batteryHealth"), 87);

    const std::string broken = home_ + "/broken.json";
    std::ofstream(broken) << R"({"capture": "missing.plist"})";
    const Outcome missing = Pelmor({"device", "check", broken});
    EXPECT_EQ(missing.status, 2);
    EXPECT_NE(missing.err.find("capture: " + home_ + "/missing.plist: cannot read"), std::string::npos)
        << missing.err;
}

TEST_F(DeviceCli, AnIncompleteCaptureIsFlaggedBeforeItIsSent) {
    PELMOR_NEEDS_CAPTURES();
    const Outcome check = Pelmor({"device", "check", Import({Capture("no-battery-lockdownd.plist")})});
    EXPECT_EQ(check.status, 1);
    EXPECT_NE(check.out.find("not complete enough for verification"), std::string::npos) << check.out;

    // A capture named directly is a device too.
    const Outcome verify = Pelmor({"verify", Capture("no-battery-lockdownd.plist")});
    EXPECT_EQ(verify.status, 1);
    EXPECT_NE(verify.err.find("warning: the service will not be able to verify"), std::string::npos)
        << verify.err;
    EXPECT_NE(verify.err.find("DEVICE_INFO_INCOMPLETE"), std::string::npos) << verify.err;
}

TEST_F(DeviceCli, NoHandsetReachableIsOneLine) {
    const Outcome devices = Pelmor({"devices"});
    EXPECT_EQ(devices.status, 0);
    EXPECT_NE(devices.out.find("normal-complete"), std::string::npos);
    EXPECT_EQ(devices.err.find('\n'), devices.err.size() - 1) << devices.err;
    EXPECT_NE(devices.err.find("no handset connected"), std::string::npos) << devices.err;

    const Outcome verify = Pelmor({"verify", "usb"});
    EXPECT_EQ(verify.status, 2);
    EXPECT_EQ(verify.err.find('\n'), verify.err.size() - 1) << verify.err;
    EXPECT_NE(verify.err.find("no handset connected"), std::string::npos) << verify.err;
    EXPECT_EQ(EmulatorControl::LastRequest().ToJson(), XJson().ToJson());
}

}  // namespace
