// The library runs in someone else's process: loading it, a coverage-site style request (which turns
// libcurl's progress meter on) and unloading it print nothing, unless PELMOR_LOG asks for the log lines.
// Each test loads the library afresh; ctest runs them in separate processes.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

#include "LoopbackServer.h"
#include "TestData.h"

namespace {

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
    void* library = dlopen(PELMOR_SOCKET_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    auto get = reinterpret_cast<GetFunction>(dlsym(library, "_ZN10HalvexHTTP3GETEPKcSt8functionIFvS1_EE"));
    ASSERT_NE(get, nullptr);
    std::string body;
    EXPECT_TRUE(get(server->Url("/slow").c_str(), [&](const char* text) { body = text; }));
    EXPECT_EQ(body, "xxx");
    dlclose(library);
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
