// Drives the built shared library the way a desktop host does: dlopen(), then every export bound by its
// linker symbol, with nothing of the library linked in. Each test loads the library afresh, which needs a
// process of its own (ctest gives each test one): the library reads its environment when it is loaded.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <pelmor/PelmorSocket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "EmulatorControl.h"
#include "LoopbackServer.h"
#include "TestData.h"

namespace {

class BoundLibrary {
  public:
    BoundLibrary() {
        handle_ = dlopen(PELMOR_SOCKET_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
        if (!handle_) return;
        create = Bind<PelmorCreateFunction>(PelmorSocketSymbols::kCreate);
        edition = Bind<PelmorEditionFunction>(PelmorSocketSymbols::kEdition);
        instance = Bind<PelmorInstanceFunction>(PelmorSocketSymbols::kInstance);
        destroy = Bind<PelmorDestroyFunction>(PelmorSocketSymbols::kDestroy);
        fetchConfig = Bind<PelmorFetchConfigFunction>(PelmorSocketSymbols::kFetchConfig);
    }
    ~BoundLibrary() {
        if (handle_) dlclose(handle_);
    }
    BoundLibrary(const BoundLibrary&) = delete;
    BoundLibrary& operator=(const BoundLibrary&) = delete;

    bool Complete() const { return handle_ && create && edition && instance && destroy && fetchConfig; }
    void* Symbol(const char* name) const { return handle_ ? dlsym(handle_, name) : nullptr; }

    // A configuration fetch, the one request that needs no service object; returns its reply code.
    int FetchConfig() {
        HalvexReply* reply = fetchConfig([](const QByteArray&) {});
        if (!reply) return -1;
        const int code = reply->Code();
        reply->Release();
        return code;
    }

    PelmorCreateFunction create = nullptr;
    PelmorEditionFunction edition = nullptr;
    PelmorInstanceFunction instance = nullptr;
    PelmorDestroyFunction destroy = nullptr;
    PelmorFetchConfigFunction fetchConfig = nullptr;

  private:
    template <typename Function>
    Function Bind(const char* symbol) {
        return reinterpret_cast<Function>(dlsym(handle_, symbol));
    }

    void* handle_ = nullptr;
};

const XString kSource(L"HostTest");
const XString kVersion(L"5.1.2");

TEST(HostBinding, EveryExportBindsByItsLinkerSymbol) {
    BoundLibrary library;
    ASSERT_TRUE(library.Complete()) << dlerror();
    EXPECT_NE(library.Symbol("Halvex_Dynamic_Library_Init"), nullptr);
    EXPECT_NE(library.Symbol("Halvex_Dynamic_Library_Fini"), nullptr);
    EXPECT_NE(library.Symbol("_StaticInterfaceSocket"), nullptr);
    EXPECT_NE(library.Symbol("_StaticSocketEdition"), nullptr);
    // Internals stay hidden.
    EXPECT_EQ(library.Symbol("_ZN18PelmorSocketHelper14RequestAddressEv"), nullptr);
}

TEST(HostBinding, NothingCreatedRequestsGoToTheStandardAddressWithDefaults) {
    BoundLibrary library;
    ASSERT_TRUE(library.Complete());
    ASSERT_EQ(library.instance(), nullptr) << "run each test in a fresh process (ctest does)";
    EmulatorControl::Reset();
    EXPECT_EQ(library.FetchConfig(), 0);
    const XJson request = EmulatorControl::LastRequest();
    EXPECT_EQ(request.ToString("address"), "standard");
    const XJson document = request["document"];
    EXPECT_EQ(document.ToString("method"), "client.config");
    EXPECT_EQ(document.ToString("source"), "Brisel");
    EXPECT_EQ(document.ToString("token"), "");
    EXPECT_EQ(document.ToString("version"), "4.0.0");
}

TEST(HostBinding, UnknownEditionCreatesNothingButReportsAnEarlierObject) {
    BoundLibrary library;
    ASSERT_TRUE(library.Complete());
    ASSERT_EQ(library.instance(), nullptr) << "run each test in a fresh process (ctest does)";
    EmulatorControl::Reset();

    EXPECT_FALSE(library.create(static_cast<ENUM_PELMOR_SOCKET_EDITION>(2), kSource, kVersion));
    EXPECT_EQ(library.instance(), nullptr);
    EXPECT_EQ(library.edition(), 2);

    ASSERT_TRUE(library.create(PELMOR_SOCKET_EDITION_ENTERPRISE, kSource, kVersion));
    PelmorSocketInterface* enterprise = library.instance();
    ASSERT_NE(enterprise, nullptr);
    EXPECT_EQ(library.edition(), PELMOR_SOCKET_EDITION_ENTERPRISE);

    EXPECT_TRUE(library.create(static_cast<ENUM_PELMOR_SOCKET_EDITION>(2), kSource, kVersion));
    EXPECT_EQ(library.instance(), enterprise) << "the old object is kept";
    EXPECT_EQ(library.edition(), 2) << "the edition export reports what was asked for";
    // ...while requests still use the live object's edition and its settings.
    library.FetchConfig();
    const XJson request = EmulatorControl::LastRequest();
    EXPECT_EQ(request.ToString("address"), "enterprise");
    EXPECT_EQ(request["document"].ToString("source"), "HostTest");
    EXPECT_EQ(request["document"].ToString("version"), "5.1.2");

    library.destroy();
    EXPECT_EQ(library.instance(), nullptr);
    library.destroy();  // nothing to destroy: no effect
    EXPECT_EQ(library.instance(), nullptr);
}

TEST(HostBinding, SecondCreateReplacesTheInstanceWithoutDestroyingTheFirst) {
    BoundLibrary library;
    ASSERT_TRUE(library.Complete());
    ASSERT_TRUE(library.create(PELMOR_SOCKET_EDITION_STANDARD, kSource, kVersion));
    PelmorSocketInterface* first = library.instance();
    ASSERT_TRUE(library.create(PELMOR_SOCKET_EDITION_ENTERPRISE, kSource, kVersion));
    PelmorSocketInterface* second = library.instance();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);

    // The first object is still alive and usable: the host that made it owns it now.
    first->SetToken(XString(L"shared"));
    EXPECT_EQ(second->GetToken(), XString(L"shared"));
    delete first;

    // Destroy frees the live object; the settings outlive it.
    library.destroy();
    EXPECT_EQ(library.instance(), nullptr);
    ASSERT_TRUE(library.create(PELMOR_SOCKET_EDITION_STANDARD, kSource, kVersion));
    EXPECT_EQ(library.instance()->GetToken(), XString(L"shared"));
    library.instance()->SetToken(XString());
    library.destroy();
}

// One installed build, pointed elsewhere through the environment: the library reads PELMOR_SERVICE_HOST
// when it is loaded, so a host (or a test) can run it against a service on any port. The stand-in
// service below records the paths it was asked for.
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

    {
        // Loaded only now, after the environment names the other port.
        BoundLibrary library;
        ASSERT_TRUE(library.Complete()) << dlerror();
        EXPECT_NE(library.FetchConfig(), -1);
    }
    unsetenv("PELMOR_SERVICE_HOST");

    service.reset();  // stopped: nothing records any more
    const std::vector<std::string>& paths = recorded.paths;
    ASSERT_EQ(paths.size(), 1u) << "the request did not reach " << host;
    EXPECT_EQ(paths[0].rfind("/modules/app/api.do", 0), 0u) << paths[0];
}

// The library runs in someone else's process: loading it, a coverage-site style request (which turns
// libcurl's progress meter on) and unloading it print nothing, unless PELMOR_LOG asks for the log lines.
using GetFunction = bool (*)(const char*, std::function<void(const char*)>);

// Loads the library, fetches a page that arrives slowly enough for a meter to draw, and unloads it.
void LoadFetchUnload() {
    auto server = LoopbackServer::Http([](httplib::Server& http) {
        http.Get("/slow", [](const httplib::Request&, httplib::Response& response) {
            response.set_chunked_content_provider("text/plain", [](size_t offset, httplib::DataSink& sink) {
                if (offset >= 3) {
                    sink.done();
                    return true;
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(600));
                sink.write("x", 1);
                return true;
            });
        });
    });
    BoundLibrary library;
    auto get = reinterpret_cast<GetFunction>(library.Symbol("_ZN10HalvexHTTP3GETEPKcSt8functionIFvS1_EE"));
    ASSERT_NE(get, nullptr) << dlerror();
    std::string body;
    EXPECT_TRUE(get(server->Url("/slow").c_str(), [&](const char* text) { body = text; }));
    EXPECT_EQ(body, "xxx");
}

// Runs work with the process's stdout and stderr sent to a file; returns what reached them.
std::string Captured(const std::function<void()>& work) {
    std::fflush(stdout);
    std::fflush(stderr);
    char path[] = "/tmp/pelmor-quiet-XXXXXX";
    const int file = mkstemp(path);
    const int savedOut = dup(1);
    const int savedErr = dup(2);
    dup2(file, 1);
    dup2(file, 2);
    work();
    std::fflush(stdout);
    std::fflush(stderr);
    dup2(savedOut, 1);
    dup2(savedErr, 2);
    close(savedOut);
    close(savedErr);
    close(file);
    const std::string text = ReadFile(path);
    unlink(path);
    return text;
}

TEST(Quiet, NothingReachesTheHostsTerminalUnasked) {
    unsetenv("PELMOR_LOG");
    EXPECT_EQ(Captured(LoadFetchUnload), "");
}

TEST(Quiet, PelmorLogNamesAFileForTheLogLines) {
    char path[] = "/tmp/pelmor-log-XXXXXX";
    close(mkstemp(path));
    setenv("PELMOR_LOG", path, 1);
    EXPECT_EQ(Captured(LoadFetchUnload), "") << "the file, not the terminal";
    const std::string log = ReadFile(path);
    unlink(path);
    EXPECT_NE(log.find("Halvex_Dynamic_Library_Init\n"), std::string::npos) << log;
}

TEST(Quiet, PelmorLogStderrWritesThere) {
    setenv("PELMOR_LOG", "stderr", 1);
    EXPECT_NE(Captured(LoadFetchUnload).find("Halvex_Dynamic_Library_Init\n"), std::string::npos);
}

}  // namespace
