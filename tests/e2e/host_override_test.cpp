// One installed build, pointed elsewhere through the environment: the library reads PELMOR_SERVICE_HOST
// when it is loaded, so a host (or a test) can run it against a service on any port.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <pelmor/PelmorSocket.h>

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

// A stand-in service on a free loopback port that records the paths it was asked for.
class RecordingServer {
  public:
    RecordingServer() {
        server_.set_keep_alive_timeout(1);  // stop() waits for idle keep-alive connections
        server_.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            std::lock_guard<std::mutex> lock(mutex_);
            paths_.push_back(request.path);
            response.set_content("not a reply", "text/plain");
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        for (int i = 0; i < 5000 && !server_.is_running(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ~RecordingServer() {
        server_.stop();
        thread_.join();
    }
    RecordingServer(const RecordingServer&) = delete;
    RecordingServer& operator=(const RecordingServer&) = delete;

    int Port() const { return port_; }
    std::vector<std::string> Paths() {
        std::lock_guard<std::mutex> lock(mutex_);
        return paths_;
    }

  private:
    httplib::Server server_;
    int port_ = -1;
    std::thread thread_;
    std::mutex mutex_;
    std::vector<std::string> paths_;
};

TEST(HostOverride, TheServiceHostFromTheEnvironmentWinsOverTheCompiledOne) {
    RecordingServer service;
    ASSERT_GT(service.Port(), 0);
    const std::string host = "127.0.0.1:" + std::to_string(service.Port());
    ASSERT_NE(host, PELMOR_SERVICE_HOST);
    ASSERT_EQ(setenv("PELMOR_SERVICE_HOST", host.c_str(), 1), 0);

    // Loaded only now, after the environment names the other port.
    void* library = dlopen(PELMOR_SOCKET_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto fetchConfig =
        reinterpret_cast<PelmorFetchConfigFunction>(dlsym(library, PelmorSocketSymbols::kFetchConfig));
    ASSERT_NE(fetchConfig, nullptr);

    HalvexReply* reply = fetchConfig([](const QByteArray&) {});
    ASSERT_NE(reply, nullptr);
    reply->Release();
    dlclose(library);
    unsetenv("PELMOR_SERVICE_HOST");

    const std::vector<std::string> paths = service.Paths();
    ASSERT_EQ(paths.size(), 1u) << "the request did not reach " << host;
    EXPECT_EQ(paths[0].rfind("/modules/app/api.do", 0), 0u) << paths[0];
}

}  // namespace
