// pelmor demo: a whole session against pelmor-emulator, started here when none answers, with each step
// shown as the command a user would type.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/json/parse.hpp>
#include <chrono>
#include <iostream>
#include <thread>

#include "Command.h"
#include "DeviceFile.h"
#include "HttpClient.h"
#include "commands/Flows.h"

extern char** environ;

namespace pelmor {

namespace {

// The emulator's control surface, beside the service on the same port.
const char kHealth[] = "/_emulator/health";
const char kSmsCode[] = "/_emulator/sms?mobile=";
const char kPayOrder[] = "/_emulator/pay";
const char kCaptcha[] = "/_emulator/coverage/captcha";

const char kMobile[] = "13800138000";
const char kHandset[] = "replaced-screen-battery";
const char kEnterpriseAccount[] = "demo";
const char kEnterprisePassword[] = "demo1234";

Json Control(const std::string& host, const std::string& method, const std::string& target,
             const std::string& body = "") {
    const HttpAnswer answer = HttpRequest(host, method, target, body);
    boost::system::error_code ec;
    Json value = boost::json::parse(answer.body, ec);
    return answer.status == 200 && !ec ? value : Json();
}

std::string Member(const Json& value, const char* key) {
    const Json* member = value.is_object() ? value.get_object().if_contains(key) : nullptr;
    return member && member->is_string() ? std::string(member->get_string()) : std::string();
}

std::string FindEmulator() {
    std::vector<std::string> candidates{ExecutableDirectory() + "/pelmor-emulator"};
#ifdef PELMOR_EMULATOR_BUILD_PATH
    candidates.push_back(PELMOR_EMULATOR_BUILD_PATH);
#endif
    const char* path = std::getenv("PATH");
    std::string dirs = path ? path : "/usr/local/bin:/usr/bin";
    for (std::size_t start = 0, end; start <= dirs.size(); start = end + 1) {
        end = dirs.find(':', start);
        if (end == std::string::npos) end = dirs.size();
        if (end > start) candidates.push_back(dirs.substr(start, end - start) + "/pelmor-emulator");
    }
    for (const std::string& candidate : candidates)
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    return "";
}

// The emulator the demo started, for the signal handler: an interrupted demo stops it too.
volatile sig_atomic_t startedPid = 0;

void StopStartedAndExit(int signal) {
    if (startedPid > 0) kill(static_cast<pid_t>(startedPid), SIGTERM);
    _exit(128 + signal);
}

// An emulator this demo started; stopped again when the demo ends (or is interrupted).
class StartedEmulator {
  public:
    ~StartedEmulator() { Stop(); }

    bool Start(const std::string& host, std::ostream& prose, std::string& error) {
        const std::string program = FindEmulator();
        if (program.empty()) {
            error = "nothing answers on " + host +
                    " and pelmor-emulator was found neither beside pelmor nor on PATH";
            return false;
        }
        const std::string port = host.substr(host.rfind(':') + 1);
        const std::string log = "/tmp/pelmor-demo-emulator-" + std::to_string(getpid()) + ".log";
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0600);
        posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
        // The coverage site where the library will look for it, should that be moved too.
        const std::string coverage = CoverageHost().substr(CoverageHost().rfind(':') + 1);
        const char* argv[] = {program.c_str(),   "--port",         port.c_str(),
                              "--coverage-port", coverage.c_str(), nullptr};
        const int failed =
            posix_spawn(&pid_, program.c_str(), &actions, nullptr, const_cast<char* const*>(argv), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (failed) {
            pid_ = -1;
            error = program + ": cannot start it";
            return false;
        }
        startedPid = pid_;
        signal(SIGINT, StopStartedAndExit);
        signal(SIGTERM, StopStartedAndExit);
        log_ = log;
        for (int i = 0; i < 100; ++i) {
            if (EmulatorAnswers(host)) {
                prose << "Started " << program << " on port " << port << " (log " << log << ").\n";
                return true;
            }
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                startedPid = 0;
                error = "pelmor-emulator exited during start-up; see " + log;
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        error = "pelmor-emulator did not answer on " + host + " within 10 s";
        Stop();
        return false;
    }

    void Stop() {
        if (pid_ <= 0) return;
        kill(pid_, SIGTERM);
        int status = 0;
        bool stopped = false;
        for (int i = 0; i < 50 && !stopped; ++i) {
            stopped = waitpid(pid_, &status, WNOHANG) == pid_;
            if (!stopped) std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        if (!stopped) {
            kill(pid_, SIGKILL);
            waitpid(pid_, &status, 0);
        }
        startedPid = 0;
        signal(SIGINT, SIG_DFL);
        signal(SIGTERM, SIG_DFL);
        pid_ = -1;
        // The log is kept only when the emulator ended badly.
        if (stopped && WIFEXITED(status) && WEXITSTATUS(status) == 0) unlink(log_.c_str());
    }

    bool Running() const { return pid_ > 0; }

  private:
    pid_t pid_ = -1;
    std::string log_;
};

// The demo's steps. In a table run each step prints as it goes; with --json the documents of its
// commands are gathered into the demo's one document.
class Walk {
  public:
    Walk(Session& s, std::ostream& prose) : s_(s), prose_(prose) {
        if (s.options().json) s.Capture([this](Json document) { Record(std::move(document)); });
    }
    ~Walk() { s_.Capture(nullptr); }

    void Step(const std::string& title) {
        prose_ << "\n== " << ++steps_ << ". " << title << " ==" << std::endl;
        done_.push_back(JsonObject{{"step", steps_}, {"title", title}, {"commands", JsonArray()}});
    }
    // Shows the line a user would type before the command runs.
    void Line(const std::string& line) {
        line_ = line;
        prose_ << "$ " << line << std::endl;
    }
    // Runs one command as a user would type it.
    bool Run(const std::vector<std::string>& words) {
        std::string line = "pelmor";
        for (const auto& word : words)
            line += " " + (word.find(' ') == std::string::npos ? word : "'" + word + "'");
        Line(line);
        return Check(Dispatch(s_, words) == kOk);
    }
    bool Check(bool ok) {
        if (!ok) failed_.push_back(steps_);
        std::cout.flush();
        return ok;
    }
    int Finish(JsonObject result) {
        s_.Capture(nullptr);
        s_.SetCommand("demo");
        JsonArray failed;
        for (int step : failed_)
            failed.push_back(step);
        result["steps"] = std::move(done_);
        result["failedSteps"] = std::move(failed);
        prose_ << "\n";
        if (failed_.empty()) {
            prose_ << "Demo complete: all " << steps_ << " steps worked." << std::endl;
            if (s_.options().json) s_.Show(result);
            return kOk;
        }
        std::string list;
        for (int step : failed_)
            list += (list.empty() ? "" : ", ") + std::to_string(step);
        const std::string message = "steps with failures: " + list + " (of " + std::to_string(steps_) + ")";
        prose_ << "Demo finished; " << message << "." << std::endl;
        if (!s_.options().json) return kFailed;
        return s_.FailWith(
            "demo", kFailed,
            JsonObject{{"kind", "failed"}, {"code", nullptr}, {"name", ""}, {"message", message}},
            std::move(result));
    }

  private:
    void Record(Json document) {
        if (done_.empty()) return;
        done_.back().as_object()["commands"].as_array().push_back(
            JsonObject{{"line", line_}, {"document", std::move(document)}});
    }

    Session& s_;
    std::ostream& prose_;
    int steps_ = 0;
    std::string line_;
    JsonArray done_;
    std::vector<int> failed_;
};

int Demo(Session& s, const Args&) {
    const std::string host = ServiceHost();
    // With --json, stdout carries the one document; what a watching person reads goes to stderr.
    std::ostream& prose = s.options().json ? std::cerr : std::cout;
    StartedEmulator emulator;
    if (!EmulatorAnswers(host)) {
        std::string error;
        if (!emulator.Start(host, prose, error)) return s.Fail("demo", error, kFailed);
    } else {
        prose << "Using the pelmor-emulator that answers on " << host << ".\n";
    }
    JsonObject result{{"service", host}, {"emulatorStarted", emulator.Running()}};
    // The demo logs in as a demo user; the user's own saved session stays as it is.
    s.ForgetStateFile();
    Walk walk(s, prose);

    walk.Step("Configuration");
    walk.Run({"config"});

    walk.Step("Log-in by SMS code");
    if (walk.Run({"sms-code", kMobile})) {
        const std::string code = Member(Control(host, "GET", std::string(kSmsCode) + kMobile), "code");
        prose << "(the emulator texted the code " << (code.empty() ? "?" : code) << ")\n";
        walk.Run({"login", kMobile, code.empty() ? "000000" : code});
    }

    walk.Step("User and privileges");
    walk.Run({"user"});
    walk.Run({"privileges"});

    walk.Step("Verification of a handset whose screen and battery were replaced");
    walk.Run({"device", kHandset});
    walk.Run({"verify", kHandset});

    walk.Step("Professional check");
    walk.Run({"pro-check", kHandset});

    walk.Step("Payment by QR code (paid through the emulator) and the professional report");
    if (auto device = s.Device("demo", kHandset)) {
        walk.Line(std::string("pelmor pay ") + kHandset);
        s.SetCommand("pay");
        std::thread payer;
        const int paid = PayAndWait(s, *device, true, true, 60, [&](const std::string& order) {
            // Someone pays on a phone a moment later.
            payer = std::thread([host, order] {
                std::this_thread::sleep_for(std::chrono::seconds(2));
                Control(host, "POST", kPayOrder, "{\"tradeNo\":\"" + order + "\"}");
            });
        });
        if (payer.joinable()) payer.join();
        if (walk.Check(paid == kOk)) walk.Run({"pro-report", kHandset});
    }

    walk.Step("Warranty look-up on the coverage site, through its captcha");
    if (auto device = s.Device("demo", kHandset)) {
        walk.Line(std::string("pelmor coverage ") + kHandset);
        s.SetCommand("coverage");
        walk.Check(CoverageLookup(s, *device, 1, [&](const std::string& path, std::string& answer) {
                       answer = Member(Control(host, "GET", kCaptcha), "answer");
                       prose << "captcha saved to " << path << "; the emulator says its answer is "
                             << (answer.empty() ? "?" : answer) << std::endl;
                       return !answer.empty();
                   }) == kOk);
    }

    walk.Step("Enterprise log-in and queries");
    if (walk.Run({"ent", "login", kEnterpriseAccount, kEnterprisePassword})) {
        walk.Run({"ent", "balance"});
        walk.Run({"ent", "idlock", kHandset});
        walk.Run({"ent", "warranty", kHandset});
        walk.Run({"ent", "bill"});
    }

    if (emulator.Running()) prose << "\nStopping the pelmor-emulator the demo started." << std::endl;
    emulator.Stop();
    return walk.Finish(std::move(result));
}

}  // namespace

std::vector<Command> DemoCommands() {
    return {
        {kGroupDemo, "demo", PELMOR_SOCKET_EDITION_STANDARD, "", "", 0, 0,
         "walk a whole session against pelmor-emulator (started when none is running)", Demo},
    };
}

}  // namespace pelmor
