// The command-line host as a user meets it: log-in carried between runs, where the library comes from,
// and how failures read.
#include "cli_fixture.h"

namespace {

using Cli = CliTest;
using Outcome = ProcessOutcome;

// A failure is one line on stderr that starts with the program's name.
::testing::AssertionResult OneLineError(const Outcome& run, const std::string& part) {
    if (run.status <= 0) return ::testing::AssertionFailure() << "exit status " << run.status;
    if (run.err.rfind("pelmor: ", 0) != 0 || run.err.find('\n') != run.err.size() - 1)
        return ::testing::AssertionFailure() << "stderr is not one line: [" << run.err << "]";
    if (run.err.find(part) == std::string::npos)
        return ::testing::AssertionFailure() << "stderr lacks '" << part << "': " << run.err;
    return ::testing::AssertionSuccess();
}

TEST_F(Cli, LogInCarriesOverToTheNextRunAndVerifiesAHandset) {
    const std::string mobile = "13700137000";
    ASSERT_EQ(Pelmor({"sms-code", mobile}).status, 0);
    const Outcome login = Pelmor({"login", mobile, SmsCode(mobile)});
    ASSERT_EQ(login.status, 0) << login.err;
    const std::string token = SavedToken();
    ASSERT_FALSE(token.empty());

    // A new process: the token comes from the state file and the library sends it.
    const Outcome user = Pelmor({"--json", "user"});
    ASSERT_EQ(user.status, 0) << user.err;
    EXPECT_EQ(XJson(user.out)["result"].ToString("phone"), mobile);
    EXPECT_EQ(EmulatorControl::LastRequest()["document"].ToString("token"), token);

    const Outcome verify = Pelmor({"verify", "replaced-screen-battery", "--json"});
    ASSERT_EQ(verify.status, 0) << verify.err;
    const XJson request = EmulatorControl::LastRequest()["document"];
    EXPECT_EQ(request.ToString("method"), "equipment.check");
    EXPECT_EQ(request["params"].ToString("ecid"), "0013A5B7C9D1E3F5");
    // The report names the replaced screen among its items.
    const XJson items = XJson(verify.out)["result"]["items"];
    bool screenDiffers = false;
    for (unsigned i = 0; i < items.GetArraySize(); ++i)
        screenDiffers |= items[i].ToString("class") == "screen" &&
                         items[i].ToString("now") == "DKHLCM7702134455" &&
                         items[i].ToString("onFile") != "DKHLCM7702134455";
    EXPECT_TRUE(screenDiffers) << verify.out;

    // A refusal by the service: its code, error name and message, and a non-zero exit.
    EXPECT_TRUE(OneLineError(Pelmor({"login", mobile, "000000", "--serial", "1"}), "pelmor: login: 4"));

    // Forgetting the session: the next run sends no token and the service refuses.
    ASSERT_EQ(Pelmor({"token", "clear"}).status, 0);
    EXPECT_TRUE(OneLineError(Pelmor({"user"}), "pelmor: user: 4"));
    EXPECT_EQ(EmulatorControl::LastRequest()["document"].ToString("token"), "");
}

TEST_F(Cli, TheLibraryIsLoadedAtRunTimeFromWhereItIsPointedTo) {
    // Nothing of the library is linked in: it is not among the program's needed libraries.
    const Outcome needed = RunProcess({"/usr/bin/readelf", "-d", PELMOR_CLI_PATH}, {"LC_ALL=C"});
    ASSERT_EQ(needed.status, 0) << needed.err;
    EXPECT_NE(needed.out.find("libPelmorPlatform"), std::string::npos) << needed.out;
    EXPECT_EQ(needed.out.find("libPelmorSocket"), std::string::npos) << needed.out;

    EXPECT_EQ(Pelmor({"config"}, {"PELMOR_LIBRARY=" PELMOR_SOCKET_LIBRARY_PATH}).status, 0);
    EXPECT_TRUE(
        OneLineError(Pelmor({"config", "--library", "/nonexistent/libPelmorSocket.so"}), "cannot load"));
    // A file that is no library at all.
    EXPECT_TRUE(
        OneLineError(Pelmor({"config"}, {"PELMOR_LIBRARY=" PELMOR_TEST_DATA_DIR "/devices/recovery.json"}),
                     "cannot load"));
}

TEST_F(Cli, BadInputGivesOneLineAndANonZeroExit) {
    const std::string bad = home_ + "/bad.json", unknown = home_ + "/unknown.json";
    std::ofstream(bad) << "{\"device\": {\"ecid\": 5}";
    std::ofstream(unknown) << "{\"device\": {}, \"batery\": {}}";
    struct Case {
        std::vector<std::string> args;
        const char* says;
    } cases[] = {
        {{"frobnicate"}, "unknown command"},
        {{"ent", "frobnicate"}, "unknown command"},
        {{"verify"}, "usage: pelmor verify DEVICE"},
        {{"verify", "x", "--bogus"}, "unknown option --bogus"},
        {{"verify", home_ + "/missing.json"}, "no such device file"},
        {{"verify", bad}, "not JSON"},
        {{"colour", unknown}, "batery"},
        {{"verify", "recovery"}, "no file record"},
        {{"notification", "12x"}, "must be a number"},
        {{"token", "clear", "now"}, "usage: pelmor token"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args[0] + " " + (c.args.size() > 1 ? c.args[1] : ""));
        const Outcome run = Pelmor(c.args);
        EXPECT_EQ(run.status, 2);
        EXPECT_TRUE(OneLineError(run, c.says));
    }
    EXPECT_TRUE(EmulatorControl::Log().IsEmpty()) << "bad input must not reach the service";
}

TEST_F(Cli, AskingWhetherTheServiceRunsOnlyWhenNothingListens) {
    // A running server that closes the connection before any byte of an answer (also on libcurl's one
    // silent retry) is a failure of that server, not a missing one.
    EmulatorControl::Script(R"({"match":"*","drop":"empty","times":2})");
    const Outcome dropped = Pelmor({"user"});
    EXPECT_TRUE(OneLineError(dropped, "HALVEX_REPLY_"));
    EXPECT_EQ(dropped.err.find("running?"), std::string::npos) << dropped.err;
    EmulatorControl::Reset();
    const Outcome refused = Pelmor({"user"}, {"PELMOR_SERVICE_HOST=127.0.0.1:1"});
    if (!EmulatorControl::Log().IsEmpty())
        GTEST_SKIP() << "this library does not read PELMOR_SERVICE_HOST yet";
    EXPECT_TRUE(OneLineError(refused, "running?"));
}

TEST_F(Cli, DemoWalksAWholeSession) {
    const Outcome demo = Pelmor({"demo"});
    EXPECT_EQ(demo.status, 0) << demo.out << demo.err;
    EXPECT_NE(demo.out.find("all 8 steps worked"), std::string::npos) << demo.out;
    // The demo's log-ins stay out of the user's saved session.
    EXPECT_EQ(SavedToken(), "");
}

}  // namespace
