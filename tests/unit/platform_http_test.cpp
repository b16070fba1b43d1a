#include <gtest/gtest.h>
#include <pelmor/platform/XHttp.h>

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "LoopbackServer.h"

namespace {

// A loopback server for the whole file, started once.
class EchoServer : public ::testing::Environment {
  public:
    static inline std::unique_ptr<LoopbackServer> server;
    static inline std::mutex mutex;
    static inline std::vector<int> clientPorts;
    static inline std::string lastContentType;
    static inline std::string lastBody;

    void SetUp() override {
        server = LoopbackServer::Http([](httplib::Server& http) {
            http.Post("/echo", [](const httplib::Request& request, httplib::Response& response) {
                std::lock_guard<std::mutex> lock(mutex);
                clientPorts.push_back(request.remote_port);
                lastContentType = request.get_header_value("Content-Type");
                lastBody = request.body;
                response.set_content("echo:" + request.body, "text/plain");
            });
            http.Post(R"(/status/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
                response.status = std::stoi(request.matches[1]);
                response.set_content("status body", "text/plain");
            });
            http.Post("/redirect", [](const httplib::Request&, httplib::Response& response) {
                response.set_redirect("/echo");
                response.set_content("moved", "text/plain");
            });
            http.Post("/huge", [](const httplib::Request&, httplib::Response& response) {
                response.set_content(std::string(static_cast<size_t>(XHttp::kMaxResponseBytes) + 1, 'x'),
                                     "text/plain");
            });
        });
    }

    void TearDown() override { server.reset(); }
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new EchoServer);

XString Url(const std::string& path) {
    return XString::FromUtf8(EchoServer::server->Url(path));
}

struct Outcome {
    int status = -1;
    int calls = 0;
    QByteArray body;
};

Outcome Post(const XString& url, const QByteArray& body) {
    Outcome outcome;
    outcome.status = XHttp::POST(url, body, [&](QByteArray received) {
        ++outcome.calls;
        outcome.body = received;
    });
    return outcome;
}

TEST(XHttpPost, DeliversBodyAndStatus) {
    const Outcome ok = Post(Url("/echo"), QByteArray("hello"));
    EXPECT_EQ(ok.status, 200);
    EXPECT_EQ(ok.calls, 1);
    EXPECT_EQ(ok.body, QByteArray("echo:hello"));
    {
        std::lock_guard<std::mutex> lock(EchoServer::mutex);
        EXPECT_EQ(EchoServer::lastContentType, "text/plain");
        EXPECT_EQ(EchoServer::lastBody, "hello");
    }
    for (int status : {404, 500, 502, 504}) {
        const Outcome failed = Post(Url("/status/" + std::to_string(status)), QByteArray("x"));
        EXPECT_EQ(failed.status, status);
        EXPECT_EQ(failed.calls, 1);
    }
    // Redirects are the caller's business: the 302 itself comes back.
    EXPECT_EQ(Post(Url("/redirect"), QByteArray("x")).status, 302);
}

TEST(XHttpPost, NoResponseIsStatusZeroWithAnEmptyBody) {
    const Outcome refused = Post(
        XString::FromUtf8("http://127.0.0.1:" + std::to_string(UnusedLoopbackPort()) + "/"), QByteArray("x"));
    EXPECT_EQ(refused.status, 0);
    EXPECT_EQ(refused.calls, 1);
    EXPECT_TRUE(refused.body.isEmpty());

    const Outcome malformed = Post(XString(L"not a url"), QByteArray("x"));
    EXPECT_EQ(malformed.status, 0);
    EXPECT_EQ(malformed.calls, 1);

    const Outcome tooLarge = Post(Url("/huge"), QByteArray("x"));
    EXPECT_EQ(tooLarge.status, 0);
    EXPECT_TRUE(tooLarge.body.isEmpty());
    // The handle is still good afterwards.
    EXPECT_EQ(Post(Url("/echo"), QByteArray("again")).status, 200);
}

TEST(XHttpPost, ReusesOneConnectionPerThread) {
    {
        std::lock_guard<std::mutex> lock(EchoServer::mutex);
        EchoServer::clientPorts.clear();
    }
    ASSERT_EQ(Post(Url("/echo"), QByteArray("one")).status, 200);
    ASSERT_EQ(Post(Url("/echo"), QByteArray("two")).status, 200);
    int otherThreadStatus = 0;
    std::thread([&] { otherThreadStatus = Post(Url("/echo"), QByteArray("three")).status; }).join();
    EXPECT_EQ(otherThreadStatus, 200);
    std::lock_guard<std::mutex> lock(EchoServer::mutex);
    ASSERT_EQ(EchoServer::clientPorts.size(), 3u);
    EXPECT_EQ(EchoServer::clientPorts[0], EchoServer::clientPorts[1])
        << "second call opened a new connection";
    EXPECT_NE(EchoServer::clientPorts[1], EchoServer::clientPorts[2]) << "threads must not share a handle";
}

}  // namespace
