// One installed build, pointed elsewhere through the environment: the library reads PELMOR_SERVICE_HOST
// when it is loaded, so a host (or a test) can run it against a service on any port.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <pelmor/PelmorSocket.h>

#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "LoopbackServer.h"

namespace {

// A stand-in service on a free loopback port that records the paths it was asked for.
struct RecordedPaths {
    std::mutex mutex;
    std::vector<std::string> paths;
};

TEST(HostOverride, TheServiceHostFromTheEnvironmentWinsOverTheCompiledOne) {
    RecordedPaths recorded;
    auto service = LoopbackServer::Http([&recorded](httplib::Server& http) {
        http.Post(".*", [&recorded](const httplib::Request& request, httplib::Response& response) {
            std::lock_guard<std::mutex> lock(recorded.mutex);
            recorded.paths.push_back(request.path);
            response.set_content("not a reply", "text/plain");
        });
    });
    const std::string host = service->Address();
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

    service.reset();  // stopped: nothing records any more
    const std::vector<std::string>& paths = recorded.paths;
    ASSERT_EQ(paths.size(), 1u) << "the request did not reach " << host;
    EXPECT_EQ(paths[0].rfind("/modules/app/api.do", 0), 0u) << paths[0];
}

}  // namespace
