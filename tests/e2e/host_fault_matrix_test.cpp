// Every family of requests against a server that fails in every way a network or a hostile server can:
// each must give its documented result, call no callback with a half-made answer, and come back within its
// time-out. The library is bound as a host binds it, pointed at a raw loopback server of the test's own.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/platform/NetworkTimeouts.h>
#include <pelmor/platform/XCrypt.h>
#include <pelmor/platform/XHttp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "DeviceFile.h"
#include "LoopbackServer.h"
#include "SampleDevices.h"

namespace {

enum class Fault {
    Refused,
    ResetBeforeBody,
    ResetInBody,
    ShortBody,
    Status404,
    Status500,
    Status502,
    Status504,
    Garbage,
    NotJson,
    OverCap,
    Silent,
    Drip,
};

std::atomic<Fault> currentFault{Fault::Garbage};
std::string notJsonBody;  // set once the library's key is bound

// Resets the connection instead of closing it politely.
void Reset(int socket) {
    linger hard{1, 0};
    setsockopt(socket, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    shutdown(socket, SHUT_RDWR);
}

std::string Head(int status, size_t length) {
    return "HTTP/1.1 " + std::to_string(status) + " X\r\nContent-Length: " + std::to_string(length) +
           "\r\nConnection: close\r\n\r\n";
}

void Answer(int status, const std::string& body, int socket) {
    WriteAll(socket, Head(status, body.size()) + body);
    shutdown(socket, SHUT_WR);
}

// Waits until the client gives up (or the server stops).
void Drain(int socket) {
    char block[4096];
    while (recv(socket, block, sizeof block, 0) > 0) {
    }
}

void ServeFault(int socket) {
    // Requests on one connection are all answered the same way; a connection the client reuses sees the
    // fault of its next request.
    while (!ReadHttpRequest(socket).empty()) {
        const std::string body(100, 'b');
        switch (currentFault.load()) {
            case Fault::Refused:  // not served: the listener is gone
            case Fault::ResetBeforeBody:
                WriteAll(socket, Head(200, body.size()));
                Reset(socket);
                return;
            case Fault::ResetInBody:
                WriteAll(socket, Head(200, body.size()) + body.substr(0, 40));
                Reset(socket);
                return;
            case Fault::ShortBody:
                WriteAll(socket, Head(200, body.size()) + body.substr(0, 40));
                shutdown(socket, SHUT_WR);
                return;
            case Fault::Status404:
                Answer(404, "not here", socket);
                return;
            case Fault::Status500:
                Answer(500, "broken", socket);
                return;
            case Fault::Status502:
                Answer(502, "bad gateway", socket);
                return;
            case Fault::Status504:
                Answer(504, "gateway time-out", socket);
                return;
            case Fault::Garbage:
                Answer(200, "\x01\xff<html>garbage%%%", socket);
                return;
            case Fault::NotJson:
                Answer(200, notJsonBody, socket);
                return;
            case Fault::OverCap: {
                const size_t total = static_cast<size_t>(XHttp::kMaxResponseBytes) + 1024 * 1024;
                const std::string block(1024 * 1024, 'A');
                bool open = WriteAll(socket, Head(200, total));
                for (size_t sent = 0; open && sent < total; sent += block.size())
                    open = WriteAll(socket, block);
                return;
            }
            case Fault::Silent:
                Drain(socket);
                return;
            case Fault::Drip: {
                bool open = WriteAll(socket, "H");
                const std::string rest = Head(200, body.size()).substr(1) + body;
                for (size_t at = 0; open && at < rest.size(); ++at) {
                    std::this_thread::sleep_for(std::chrono::seconds(1));
                    open = WriteAll(socket, rest.substr(at, 1));
                }
                return;
            }
        }
    }
}

// The library bound by dlopen after the service host in the environment points at the fault server.
struct Library {
    void* handle = nullptr;
    PelmorCreateFunction create = nullptr;
    PelmorInstanceFunction instance = nullptr;
    PelmorDestroyFunction destroy = nullptr;
    PelmorFetchConfigFunction fetchConfig = nullptr;
    bool (*get)(const char*, std::function<void(const char*)>) = nullptr;
    bool (*post)(const char*, const char*, std::function<void(const char*)>) = nullptr;
    bool (*captcha)(const char*, std::function<void(const char*, const char*)>) = nullptr;
    bool (*answer)(const char*, const char*, const char*, const char*,
                   std::function<void(const char*)>) = nullptr;
    const char* key = nullptr;
    const char* iv = nullptr;

    template <typename Function>
    void Bind(Function& function, const char* symbol) {
        function = reinterpret_cast<Function>(dlsym(handle, symbol));
    }

    explicit Library(const std::string& serviceHost) {
        setenv("PELMOR_SERVICE_HOST", serviceHost.c_str(), 1);
        handle = dlopen(PELMOR_SOCKET_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
        if (!handle) return;
        Bind(create, PelmorSocketSymbols::kCreate);
        Bind(instance, PelmorSocketSymbols::kInstance);
        Bind(destroy, PelmorSocketSymbols::kDestroy);
        Bind(fetchConfig, PelmorSocketSymbols::kFetchConfig);
        Bind(get, "_ZN10HalvexHTTP3GETEPKcSt8functionIFvS1_EE");
        Bind(post, "_ZN10HalvexHTTP4POSTEPKcS1_St8functionIFvS1_EE");
        Bind(captcha, "_ZN10HalvexHTTP11GETWarrantyEPKcSt8functionIFvS1_S1_EE");
        Bind(answer, "_ZN10HalvexHTTP12POSTWarrantyEPKcS1_S1_S1_St8functionIFvS1_EE");
        Bind(key, "_StaticAesKey");
        Bind(iv, "_StaticAesIv");
    }
    ~Library() {
        if (handle) dlclose(handle);
    }
    bool Complete() const {
        return create && instance && destroy && fetchConfig && get && post && captcha && answer && key && iv;
    }
};

// A valid reply envelope around text that is not JSON: only the last step of reading it fails.
std::string NotJsonReply(const Library& library) {
    const QByteArray cipher = XCrypt::AES::CBC::EncryptPKCS7(
        reinterpret_cast<const unsigned char*>(library.key),
        reinterpret_cast<const unsigned char*>(library.iv), QByteArray("this is {not json"));
    const QByteArray envelope = "{\"En\":1,\"data\":\"" + XCrypt::BASE64::Encode(cipher) + "\"}";
    return XCrypt::BASE64::Encode(envelope).toStdString();
}

// What one request of a family gave: the reply's code for the service families, the result for the plain
// helpers (1 true, 0 false); and how often the callback ran.
struct Outcome {
    int result = -1;
    int calls = 0;
};

int CodeOf(ISocketReply* reply) {
    if (!reply) return -1;
    const int code = reply->Code();
    reply->Release();
    return code;
}

struct Family {
    const char* name;
    std::function<Outcome(Library&, const std::string& url)> run;
};

std::vector<Family> Families(CDeviceFile& device) {
    return {
        {"configuration fetch",
         [](Library& library, const std::string&) {
             Outcome outcome;
             HalvexReply* reply = library.fetchConfig([&](const QByteArray&) { ++outcome.calls; });
             outcome.result = CodeOf(reply);
             return outcome;
         }},
        {"standard operation",
         [](Library& library, const std::string&) {
             Outcome outcome;
             library.create(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"), XString(L"4.0.0"));
             outcome.result =
                 CodeOf(library.instance()->TokenQueryUser([&](ISocketInfoUser*) { ++outcome.calls; }));
             library.destroy();
             return outcome;
         }},
        {"VerifyDevice",
         [&device](Library& library, const std::string&) {
             Outcome outcome;
             library.create(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"), XString(L"4.0.0"));
             outcome.result = CodeOf(library.instance()->VerifyDevice(
                 &device, QByteArray("file"), [&](ISocketInfoVerify*) { ++outcome.calls; }));
             library.destroy();
             return outcome;
         }},
        {"enterprise query",
         [](Library& library, const std::string&) {
             Outcome outcome;
             library.create(PELMOR_SOCKET_EDITION_ENTERPRISE, XString(L"Brisel"), XString(L"4.0.0"));
             outcome.result =
                 CodeOf(library.instance()->QueryDetails([&](ISocketQueryDetails*) { ++outcome.calls; }));
             library.destroy();
             // Back to the standard address for the configuration fetch of the next row.
             library.create(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"), XString(L"4.0.0"));
             library.destroy();
             return outcome;
         }},
        {"coverage site",
         [](Library& library, const std::string& url) {
             // Both steps; the answer step stops after the page when the page has no token.
             Outcome outcome;
             std::string cookie;
             const bool captcha = library.captcha(url.c_str(), [&](const char*, const char* sent) {
                 ++outcome.calls;
                 cookie = sent ? sent : "";
             });
             const bool answer = library.answer(url.c_str(), cookie.c_str(), "C02XY", "abcd",
                                                [&](const char*) { ++outcome.calls; });
             outcome.result = captcha && answer;
             return outcome;
         }},
        {"plain GET",
         [](Library& library, const std::string& url) {
             Outcome outcome;
             outcome.result = library.get(url.c_str(), [&](const char*) { ++outcome.calls; });
             return outcome;
         }},
        {"plain POST",
         [](Library& library, const std::string& url) {
             Outcome outcome;
             outcome.result = library.post(url.c_str(), "a=1", [&](const char*) { ++outcome.calls; });
             return outcome;
         }},
    };
}

bool IsServiceFamily(const Family& family) {
    const std::string name = family.name;
    return name != "coverage site" && name != "plain GET" && name != "plain POST";
}

struct FaultRow {
    const char* name;
    Fault fault;
    int serviceCode;   // what the encrypted channel reports
    bool transferred;  // whether the plain helpers and the coverage site see a complete response
    bool waits;        // ended by a time-out rather than by the server
};

constexpr FaultRow kFaults[] = {
    {"connection refused", Fault::Refused, HALVEX_REPLY_HTTP_ERROR, false, false},
    {"reset before the body", Fault::ResetBeforeBody, HALVEX_REPLY_HTTP_ERROR, false, false},
    {"reset in the body", Fault::ResetInBody, HALVEX_REPLY_HTTP_ERROR, false, false},
    {"fewer bytes than announced", Fault::ShortBody, HALVEX_REPLY_HTTP_ERROR, false, false},
    {"404", Fault::Status404, HALVEX_REPLY_HTTP_ERROR, true, false},
    {"500", Fault::Status500, HALVEX_REPLY_HTTP_ERROR, true, false},
    {"502", Fault::Status502, HALVEX_REPLY_CONNECT_ERROR, true, false},
    {"504", Fault::Status504, HALVEX_REPLY_CONNECT_ERROR, true, false},
    {"200 with garbage", Fault::Garbage, HALVEX_REPLY_DECRYPT_ERROR, true, false},
    {"200, valid envelope, not JSON", Fault::NotJson, HALVEX_REPLY_DECRYPT_ERROR, true, false},
    {"200 over the 64 MiB cap", Fault::OverCap, HALVEX_REPLY_HTTP_ERROR, false, false},
    {"accepts, never answers", Fault::Silent, HALVEX_REPLY_HTTP_ERROR, false, true},
    {"drips one byte a second", Fault::Drip, HALVEX_REPLY_HTTP_ERROR, false, true},
};

// The longest a family may take on a fault: its own time-out, plus room for a loaded machine. A bound for
// correctness (no hang, no wait on the wrong limit), not a speed target.
double UpperBoundSeconds(const Family& family, const FaultRow& row) {
    if (!row.waits) return 15;
    const std::string name = family.name;
    long limit = NetworkTimeouts::kChannelTotalSeconds;
    if (name == "plain POST") limit = NetworkTimeouts::kPlainPostTotalSeconds;
    // The coverage flow makes up to three GETs in a row, each with its own stall limit.
    if (name == "plain GET") limit = NetworkTimeouts::kStallSeconds + 1;
    if (name == "coverage site") limit = 3 * (NetworkTimeouts::kStallSeconds + 1);
    return static_cast<double>(limit) + 10;
}

TEST(FaultMatrix, EveryFamilyGivesItsCodeWithinItsTimeout) {
#ifndef PELMOR_TEST_TIMEOUTS
    GTEST_SKIP() << "needs the short time-outs of a PELMOR_TEST_TIMEOUTS build";
#endif
    auto server = LoopbackServer::Raw(ServeFault);
    const int port = server->Port();
    Library library(server->Address());
    ASSERT_TRUE(library.Complete()) << dlerror();
    notJsonBody = NotJsonReply(library);
    auto device = LoadDevice("normal-complete");
    ASSERT_TRUE(device);
    const std::vector<Family> families = Families(*device);
    const std::string url = server->Url("/fault");

    std::string table;
    for (const FaultRow& row : kFaults) {
        currentFault = row.fault;
        if (row.fault == Fault::Refused) server.reset();
        table += row.name;
        for (const Family& family : families) {
            SCOPED_TRACE(std::string(family.name) + " / " + row.name);
            const auto start = std::chrono::steady_clock::now();
            const Outcome outcome = family.run(library, url);
            const double seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            if (IsServiceFamily(family)) {
                EXPECT_EQ(outcome.result, row.serviceCode);
                EXPECT_EQ(outcome.calls, 0) << "no record from a failed exchange";
            } else if (std::string(family.name) == "coverage site") {
                EXPECT_EQ(outcome.result, row.transferred ? 1 : 0);
                // The captcha is handed over; the page without a token ends the answer step unposted.
                EXPECT_EQ(outcome.calls, row.transferred ? 1 : 0);
            } else {
                // The plain helpers do not judge the status: any complete response is delivered.
                EXPECT_EQ(outcome.result, row.transferred ? 1 : 0);
                EXPECT_EQ(outcome.calls, row.transferred ? 1 : 0);
            }
            EXPECT_LT(seconds, UpperBoundSeconds(family, row));
            if (row.waits) {
                EXPECT_GE(seconds, 1.0) << "gave up before any time-out could have run";
            }
            char cell[32];
            std::snprintf(cell, sizeof cell, " | %d %.1fs", outcome.result, seconds);
            table += cell;
        }
        table += "\n";
        if (row.fault == Fault::Refused) {
            server = LoopbackServer::Raw(ServeFault, port);
            ASSERT_EQ(server->Port(), port);
        }
    }
    std::printf("fault | result and time per family\n%s", table.c_str());
}

}  // namespace
