// The command-line host, run as a user runs it: a separate process that loads the built library at run
// time. Every run has a deadline, so a hang fails the test instead of stalling the suite.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "EmulatorControl.h"

extern char** environ;

namespace {

struct Outcome {
    int status = -1;  // exit status; -1 when it had to be killed or died of a signal
    std::string out, err;
};

class Cli : public ::testing::Test {
  protected:
    void SetUp() override {
        EmulatorControl::Reset();
        char dir[] = "/tmp/pelmor-cli-test-XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        home_ = dir;
    }
    void TearDown() override { std::system(("rm -rf '" + home_ + "'").c_str()); }

    // Runs pelmor with args and extra environment entries, with its config and cache under a fresh home.
    Outcome Pelmor(const std::vector<std::string>& args, std::vector<std::string> env = {}) {
        std::vector<std::string> argv{PELMOR_CLI_PATH};
        argv.insert(argv.end(), args.begin(), args.end());
        env.push_back("XDG_CONFIG_HOME=" + home_ + "/config");
        env.push_back("XDG_CACHE_HOME=" + home_ + "/cache");
        for (char** e = environ; *e; ++e)
            if (std::strncmp(*e, "XDG_", 4) != 0 && std::strncmp(*e, "PELMOR_LIBRARY=", 15) != 0)
                env.push_back(*e);
        return Spawn(argv, env);
    }

    static Outcome Spawn(const std::vector<std::string>& argv, const std::vector<std::string>& env) {
        std::vector<char*> args, envp;
        for (const auto& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        for (const auto& e : env)
            envp.push_back(const_cast<char*>(e.c_str()));
        args.push_back(nullptr);
        envp.push_back(nullptr);
        int out[2], err[2];
        if (pipe(out) || pipe(err)) return {};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_adddup2(&actions, err[1], 2);
        pid_t pid = 0;
        const int failed = posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, args.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        close(out[1]);
        close(err[1]);
        Outcome run;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
        std::string* sinks[2] = {&run.out, &run.err};
        for (int open = failed ? 0 : 2; open > 0;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0 || poll(fds, 2, static_cast<int>(left.count())) <= 0) break;
            for (int i = 0; i < 2; ++i) {
                if (fds[i].fd < 0 || !fds[i].revents) continue;
                char buffer[4096];
                const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
                if (n > 0) {
                    sinks[i]->append(buffer, static_cast<std::size_t>(n));
                } else {
                    fds[i].fd = -1;
                    --open;
                }
            }
        }
        close(out[0]);
        close(err[0]);
        if (failed) return run;
        int status = 0;
        pid_t done = 0;
        while ((done = waitpid(pid, &status, WNOHANG)) == 0 && std::chrono::steady_clock::now() < deadline)
            usleep(10000);
        if (done == 0) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            ADD_FAILURE() << argv[1] << ": no answer within 60 s";
            return run;
        }
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return run;
    }

    std::string SmsCode(const std::string& mobile) {
        std::string body;
        EXPECT_EQ(EmulatorControl::Get("/_emulator/sms?mobile=" + mobile, &body), 200);
        return XJson(body).ToString("code");
    }

    std::string SavedToken() {
        std::ifstream in(home_ + "/config/pelmor/state.json");
        std::stringstream text;
        text << in.rdbuf();
        return XJson(text.str())["standard"].ToString("token");
    }

    std::string home_;
};

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
    const Outcome needed = Spawn({"/usr/bin/readelf", "-d", PELMOR_CLI_PATH}, {"LC_ALL=C"});
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
