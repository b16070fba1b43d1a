// Large payloads against a running pelmor-emulator:
//   VerifyDevice with an empty and with an 8 MiB file (process CPU per call; the difference is what the
//   file costs), the resident memory one 8 MiB call adds, and a configuration reply whose data carries an
//   8 MiB text (body bytes decoded and handed over per CPU second).
#include <benchmark/benchmark.h>

#include <string>

#include "BenchSupport.h"

namespace {

constexpr std::size_t kLargeBytes = 8u << 20;

bool Verify(const QByteArray& file) {
    bool called = false;
    ISocketReply* reply = Bench::Service().VerifyDevice(&Bench::CompleteDevice(), file,
                                                        [&](ISocketInfoVerify*) { called = true; });
    const bool ok = reply && reply->Code() == 0 && called;
    if (reply) reply->Release();
    return ok;
}

void VerifyWithFile(benchmark::State& state) {
    const QByteArray file = Bench::FileOfSize(static_cast<std::size_t>(state.range(0)));
    if (!Verify(file)) state.SkipWithError("VerifyDevice failed: is pelmor-emulator running?");
    for (auto _ : state) {
        if (!Verify(file)) {
            state.SkipWithError("VerifyDevice failed");
            break;
        }
    }
    state.counters["file_bytes"] = static_cast<double>(file.size());
}
// The emulator takes over a second to answer a large call, so its iterations are fixed and few.
BENCHMARK(VerifyWithFile)
    ->Name("BM_VerifyDevice_File")
    ->Arg(0)
    ->Iterations(200)
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(VerifyWithFile)
    ->Name("BM_VerifyDevice_File")
    ->Arg(kLargeBytes)
    ->Iterations(3)
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);

// One call only, in a process that has made no large call before: the peak it adds over what the process
// held just before it (the file included, since the host owns that).
void PeakMemoryOfOneCall(benchmark::State& state) {
    const QByteArray file = Bench::FileOfSize(kLargeBytes);
    if (!Verify(QByteArray(" "))) state.SkipWithError("VerifyDevice failed: is pelmor-emulator running?");
    double added = 0;
    for (auto _ : state) {
        if (!Bench::ResetPeakResident()) {
            state.SkipWithError("cannot reset the peak resident size");
            break;
        }
        const long long before = Bench::ResidentBytes();
        if (!Verify(file)) {
            state.SkipWithError("VerifyDevice failed");
            break;
        }
        added = static_cast<double>(Bench::PeakResidentBytes() - before);
    }
    state.counters["peak_added_bytes"] = added;
    state.counters["peak_added_per_file_byte"] = added / static_cast<double>(kLargeBytes);
}
BENCHMARK(PeakMemoryOfOneCall)->Name("BM_VerifyDevice_PeakMemory")->Iterations(1);

void LargeConfiguration(benchmark::State& state) {
    // The emulator answers every configuration fetch with this reply until the script runs out.
    const std::string script =
        R"({"match":"client.config","times":1000000,"reply":{"code":0,"data":{"text":")" +
        std::string(kLargeBytes, 'x') + R"("}}})";
    if (Bench::EmulatorPost("/_emulator/script", script) != 200) {
        state.SkipWithError("cannot script the emulator: is pelmor-emulator running?");
        return;
    }
    // The body's size, from one bare POST of the same request.
    std::string answer;
    Bench::ServicePost(Bench::ConfigurationRequestBody(), &answer);
    const auto bodyBytes = static_cast<long long>(answer.size());
    for (auto _ : state) {
        std::size_t handed = 0;
        HalvexReply* reply =
            _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&](const QByteArray& data) { handed = data.size(); });
        const bool ok = reply && reply->Code() == 0 && handed > kLargeBytes;
        if (reply) reply->Release();
        if (!ok) {
            state.SkipWithError("no large configuration came back");
            break;
        }
    }
    Bench::EmulatorPost("/_emulator/reset", "{}");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bodyBytes);
    state.counters["reply_body_bytes"] = static_cast<double>(bodyBytes);
}
BENCHMARK(LargeConfiguration)
    ->Name("BM_ConfigurationFetch_8MiBText")
    ->Iterations(3)
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
