#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <pelmor/platform/XHttp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace {

// A loopback server for the whole file, started once.
class LoopbackServer : public ::testing::Environment {
  public:
    static inline httplib::Server* server = nullptr;
    static inline int port = 0;
    static inline std::mutex mutex;
    static inline std::vector<int> clientPorts;
    static inline std::string lastContentType;
    static inline std::string lastBody;

    void SetUp() override {
        server = new httplib::Server;
        server->set_keep_alive_timeout(1);  // stop() waits for idle keep-alive connections
        server->Post("/echo", [](const httplib::Request& request, httplib::Response& response) {
            std::lock_guard<std::mutex> lock(mutex);
            clientPorts.push_back(request.remote_port);
            lastContentType = request.get_header_value("Content-Type");
            lastBody = request.body;
            response.set_content("echo:" + request.body, "text/plain");
        });
        server->Post(R"(/status/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
            response.status = std::stoi(request.matches[1]);
            response.set_content("status body", "text/plain");
        });
        server->Post("/redirect", [](const httplib::Request&, httplib::Response& response) {
            response.set_redirect("/echo");
            response.set_content("moved", "text/plain");
        });
        server->Post("/huge", [](const httplib::Request&, httplib::Response& response) {
            response.set_content(std::string(static_cast<size_t>(XHttp::kMaxResponseBytes) + 1, 'x'),
                                 "text/plain");
        });
        port = server->bind_to_any_port("127.0.0.1");
        thread_ = std::thread([] { server->listen_after_bind(); });
        while (!server->is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    void TearDown() override {
        server->stop();
        thread_.join();
        delete server;
    }

  private:
    std::thread thread_;
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new LoopbackServer);

XString Url(const std::string& path) {
    return XString::FromUtf8("http://127.0.0.1:" + std::to_string(LoopbackServer::port) + path);
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

int UnusedPort() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    socklen_t length = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    close(fd);
    return ntohs(address.sin_port);
}

TEST(XHttpPost, DeliversBodyAndStatus) {
    const Outcome ok = Post(Url("/echo"), QByteArray("hello"));
    EXPECT_EQ(ok.status, 200);
    EXPECT_EQ(ok.calls, 1);
    EXPECT_EQ(ok.body, QByteArray("echo:hello"));
    {
        std::lock_guard<std::mutex> lock(LoopbackServer::mutex);
        EXPECT_EQ(LoopbackServer::lastContentType, "text/plain");
        EXPECT_EQ(LoopbackServer::lastBody, "hello");
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
    const Outcome refused =
        Post(XString::FromUtf8("http://127.0.0.1:" + std::to_string(UnusedPort()) + "/"), QByteArray("x"));
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
        std::lock_guard<std::mutex> lock(LoopbackServer::mutex);
        LoopbackServer::clientPorts.clear();
    }
    ASSERT_EQ(Post(Url("/echo"), QByteArray("one")).status, 200);
    ASSERT_EQ(Post(Url("/echo"), QByteArray("two")).status, 200);
    int otherThreadStatus = 0;
    std::thread([&] { otherThreadStatus = Post(Url("/echo"), QByteArray("three")).status; }).join();
    EXPECT_EQ(otherThreadStatus, 200);
    std::lock_guard<std::mutex> lock(LoopbackServer::mutex);
    ASSERT_EQ(LoopbackServer::clientPorts.size(), 3u);
    EXPECT_EQ(LoopbackServer::clientPorts[0], LoopbackServer::clientPorts[1])
        << "second call opened a new connection";
    EXPECT_NE(LoopbackServer::clientPorts[1], LoopbackServer::clientPorts[2])
        << "threads must not share a handle";
}

}  // namespace
