// The plain GET and POST offered to hosts, against the emulator's HTTP probes.
#include <gtest/gtest.h>
#include <pelmor/HalvexHTTP.h>

#include <chrono>
#include <thread>

#include "EmulatorControl.h"

namespace {

std::string Probe(const std::string& name) {
    return EmulatorControl::BaseUrl() + "/_emulator/http/" + name;
}

struct Received {
    int calls = 0;
    std::string text;
    std::function<void(const char*)> Callback() {
        return [this](const char* response) {
            ++calls;
            text = response;
        };
    }
};

// The probes named by the requests the emulator received since the last reset, in order.
std::vector<std::string> ProbesSeen() {
    const XJson log = EmulatorControl::Log();
    std::vector<std::string> seen;
    for (unsigned i = 0; i < log.GetArraySize(); ++i)
        seen.push_back(log[i].ToString("http_method") + " " + log[i].ToString("operation"));
    return seen;
}

class CurlTransport : public ::testing::Test {
  protected:
    void SetUp() override { EmulatorControl::Reset(); }
};

TEST_F(CurlTransport, PostSendsPlainTextAndGetPresentsABrowser) {
    Received echo;
    ASSERT_TRUE(HalvexHTTP::POST(Probe("echo").c_str(), "a=1&b=2", echo.Callback()));
    EXPECT_EQ(echo.calls, 1);
    const XJson sent(echo.text);
    EXPECT_EQ(sent.ToString("method"), "POST");
    EXPECT_EQ(sent.ToString("body"), "a=1&b=2");
    EXPECT_EQ(sent["headers"].ToString("Content-Type"), "text/plain");
    EXPECT_EQ(sent["headers"].ToString("Content-Length"), "7");
    EXPECT_FALSE(sent["headers"].Contains("User-Agent"));

    Received empty;
    ASSERT_TRUE(HalvexHTTP::POST(Probe("echo").c_str(), "", empty.Callback()));
    EXPECT_EQ(XJson(empty.text)["headers"].ToString("Content-Length"), "0");
    EXPECT_EQ(XJson(empty.text).ToString("body"), "");

    Received get;
    ASSERT_TRUE(HalvexHTTP::GET(Probe("echo?x=1").c_str(), get.Callback()));
    EXPECT_EQ(XJson(get.text).ToString("target"), "/_emulator/http/echo?x=1");
    EXPECT_EQ(XJson(get.text)["headers"].ToString("User-Agent"),
              "Mozilla/5.0 (Windows NT 5.1) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/30.0.1599.69 "
              "Safari/537.36");
}

TEST_F(CurlTransport, PostStopsAtARedirectWhileGetFollowsIt) {
    Received posted;
    EXPECT_TRUE(HalvexHTTP::POST(Probe("redirect").c_str(), "x", posted.Callback()));
    EXPECT_EQ(posted.text, "redirect body");
    Received got;
    EXPECT_TRUE(HalvexHTTP::GET(Probe("redirect").c_str(), got.Callback()));
    EXPECT_EQ(got.text, "final body");
    EXPECT_EQ(ProbesSeen(), (std::vector<std::string>{"POST redirect", "GET redirect", "GET final"}));
}

TEST_F(CurlTransport, BodiesAreTextUpToTheirFirstZeroByteWhateverTheStatus) {
    for (const bool post : {false, true}) {
        SCOPED_TRACE(post ? "POST" : "GET");
        auto run = [post](const char* probe, Received& into) {
            return post ? HalvexHTTP::POST(Probe(probe).c_str(), "x", into.Callback())
                        : HalvexHTTP::GET(Probe(probe).c_str(), into.Callback());
        };
        Received empty, zero, failed;
        EXPECT_TRUE(run("empty", empty));
        EXPECT_EQ(empty.calls, 1);
        EXPECT_EQ(empty.text, "");
        EXPECT_TRUE(run("zero", zero));
        EXPECT_EQ(zero.text, "before");
        EXPECT_TRUE(run("status?code=500", failed));
        EXPECT_EQ(failed.text, "status 500");
    }
}

TEST_F(CurlTransport, MissingArgumentsSendNothingAndFailuresNeverCallBack) {
    Received received;
    EXPECT_FALSE(HalvexHTTP::POST(nullptr, "x", received.Callback()));
    EXPECT_FALSE(HalvexHTTP::POST(Probe("echo").c_str(), nullptr, received.Callback()));
    EXPECT_FALSE(HalvexHTTP::POST(Probe("echo").c_str(), "x", nullptr));
    EXPECT_FALSE(HalvexHTTP::GET(nullptr, received.Callback()));
    EXPECT_FALSE(HalvexHTTP::GET(Probe("echo").c_str(), nullptr));
    EXPECT_TRUE(ProbesSeen().empty());
    // Nothing listens on the discard port.
    EXPECT_FALSE(HalvexHTTP::GET("http://127.0.0.1:9/", received.Callback()));
    EXPECT_FALSE(HalvexHTTP::POST("http://127.0.0.1:9/", "x", received.Callback()));
    EXPECT_EQ(received.calls, 0);
}

TEST_F(CurlTransport, SeparateThreadsRunTheirRequestsAtTheSameTime) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    Received first, second;
    bool firstOk = false, secondOk = false;
    std::thread other([&] { firstOk = HalvexHTTP::GET(Probe("slow?ms=800").c_str(), first.Callback()); });
    secondOk = HalvexHTTP::POST(Probe("slow?ms=800").c_str(), "x", second.Callback());
    other.join();
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    EXPECT_TRUE(firstOk && secondOk);
    EXPECT_EQ(first.text, "slow body");
    EXPECT_EQ(second.text, "slow body");
    EXPECT_LT(elapsed.count(), 1500) << "one after the other would take 1600 ms";
}

}  // namespace
