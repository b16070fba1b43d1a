// Sequential requests over loopback against a running pelmor-emulator: the library beside a bare libcurl
// POST of the identical body on one kept-alive handle, for the configuration fetch and for a real-sized
// VerifyDevice (complete handset, 4 KiB file), and that VerifyDevice from one and from two threads.
#include <benchmark/benchmark.h>
#include <pelmor/PelmorSocket.h>

#include <string>

#include "BenchSupport.h"
#include "frame/PelmorSocketHelper.h"

namespace {

constexpr std::size_t kRealFileBytes = 4096;

void CountRequests(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

void BM_Library_ConfigurationFetch(benchmark::State& state) {
    for (auto _ : state) {
        std::size_t size = 0;
        HalvexReply* reply =
            _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&](const QByteArray& data) { size = data.size(); });
        const bool ok = reply && reply->Code() == 0 && size > 0;
        if (reply) reply->Release();
        if (!ok) {
            state.SkipWithError("no configuration: is pelmor-emulator running on " PELMOR_SERVICE_HOST "?");
            break;
        }
    }
    CountRequests(state);
}
BENCHMARK(BM_Library_ConfigurationFetch)->UseRealTime();

const QByteArray& RealSizedFile() {
    static const QByteArray file = Bench::FileOfSize(kRealFileBytes);
    return file;
}

bool VerifyRealSized() {
    bool called = false;
    ISocketReply* reply = Bench::Service().VerifyDevice(&Bench::CompleteDevice(), RealSizedFile(),
                                                        [&](ISocketInfoVerify*) { called = true; });
    const bool ok = reply && reply->Code() == 0 && called;
    if (reply) reply->Release();
    return ok;
}

void BM_Library_VerifyDevice(benchmark::State& state) {
    for (auto _ : state) {
        if (!VerifyRealSized()) {
            state.SkipWithError("VerifyDevice failed: is pelmor-emulator running on " PELMOR_SERVICE_HOST
                                "?");
            break;
        }
    }
    CountRequests(state);
}
// Setup creates the service object and loads the handset before any thread starts.
BENCHMARK(BM_Library_VerifyDevice)
    ->Setup([](const benchmark::State&) { Bench::CompleteDevice(), Bench::Service(); })
    ->Threads(1)
    ->Threads(2)
    ->UseRealTime();

// The bare POST of body, the same headers on one kept-alive handle.
void RawPost(benchmark::State& state, const std::string& body) {
    if (body.empty()) {
        state.SkipWithError("no request body to send: is pelmor-emulator running on " PELMOR_SERVICE_HOST
                            "?");
        return;
    }
    Bench::RawPost post(body);
    for (auto _ : state) {
        if (!post()) {
            state.SkipWithError("POST failed: is pelmor-emulator running on " PELMOR_SERVICE_HOST "?");
            break;
        }
        benchmark::DoNotOptimize(post.Response().data());
    }
    CountRequests(state);
}

void BM_RawCurl_ConfigurationFetch(benchmark::State& state) {
    RawPost(state, Bench::ConfigurationRequestBody());
}
BENCHMARK(BM_RawCurl_ConfigurationFetch)->UseRealTime();

void BM_RawCurl_VerifyDevice(benchmark::State& state) {
    // The exact body the library sent, as the emulator logged it.
    static const std::string body = VerifyRealSized() ? Bench::LastRequestBody() : std::string();
    RawPost(state, body);
}
BENCHMARK(BM_RawCurl_VerifyDevice)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
