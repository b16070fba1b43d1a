#pragma once

// The command-line host, run as a user runs it: a separate process that loads the built library at run
// time, with its configuration and cache under a fresh home for each test.
#include <gtest/gtest.h>
#include <pelmor/platform/XJson.h>
#include <stdlib.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "EmulatorControl.h"
#include "ProcessRun.h"
#include "TestData.h"

extern char** environ;

class CliTest : public ::testing::Test {
  protected:
    using Outcome = ProcessOutcome;

    void SetUp() override {
        EmulatorControl::Reset();
        char dir[] = "/tmp/pelmor-cli-test-XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        home_ = dir;
    }
    void TearDown() override { std::system(("rm -rf '" + home_ + "'").c_str()); }

    // Runs pelmor with args and extra environment entries.
    Outcome Pelmor(const std::vector<std::string>& args, std::vector<std::string> env = {},
                   const std::function<std::string(const std::string&)>& answer = nullptr) {
        std::vector<std::string> argv{PELMOR_CLI_PATH};
        argv.insert(argv.end(), args.begin(), args.end());
        env.push_back("XDG_CONFIG_HOME=" + home_ + "/config");
        env.push_back("XDG_CACHE_HOME=" + home_ + "/cache");
        // A usbmuxd on the test machine must not add handsets to what the tests see.
        env.push_back("USBMUXD_SOCKET_ADDRESS=UNIX:" + home_ + "/no-usbmuxd");
        for (char** e = environ; *e; ++e)
            if (std::strncmp(*e, "XDG_", 4) != 0 && std::strncmp(*e, "PELMOR_LIBRARY=", 15) != 0 &&
                std::strncmp(*e, "USBMUXD_", 8) != 0)
                env.push_back(*e);
        Outcome run = RunProcess(argv, env, 60, answer);
        if (run.timedOut) ADD_FAILURE() << args[0] << ": no answer within 60 s";
        return run;
    }

    static std::string SmsCode(const std::string& mobile) {
        return EmulatorControl::GetJson("/_emulator/sms?mobile=" + mobile).ToString("code");
    }

    XJson SavedState() const { return XJson(ReadFile(home_ + "/config/pelmor/state.json")); }
    std::string SavedToken() const { return SavedState()["standard"].ToString("token"); }

    std::string home_;
};
