// Encrypt + decrypt of request documents, in bytes of document text per second.
#include <benchmark/benchmark.h>
#include <pelmor/HalvexHTTP.h>

#include <string>

#include "frame/PelmorSocketHelper.h"

namespace {

// A verification request's size: 59 members of mixed types in the parameters, inside the envelope.
XJson FiftyNineMemberDocument() {
    XJson params;
    for (int i = 0; i < 59; ++i) {
        const std::string key = "member" + std::to_string(i);
        if (i % 3 == 0) {
            params.Add(key.c_str(), i * 1000003LL);
        } else if (i % 3 == 1) {
            params.Add(key.c_str(), std::string("value-") + std::to_string(i) + " 设备信息 ABCDEFGHIJ");
        } else {
            params.Add(key.c_str(), i % 2 == 0);
        }
    }
    return PelmorSocketHelper::BuildJson("equipment.check", params);
}

XJson LargeTextDocument() {
    XJson params;
    params.Add("image", std::string(8u << 20, 'A'));
    return PelmorSocketHelper::BuildJson("equipment.reportImg", params);
}

void RoundTrip(benchmark::State& state, XJson document) {
    const std::size_t textBytes = document.ToJson().size();
    for (auto _ : state) {
        const QByteArray body = HalvexHTTP::Encrypt_BASE64_AES(document);
        XJson back = HalvexHTTP::Decrypt_AES_BASE64(body);
        benchmark::DoNotOptimize(back);
        if (back.IsEmpty()) state.SkipWithError("round trip lost the document");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * textBytes));
    state.counters["document_bytes"] = static_cast<double>(textBytes);
}

void BM_EncryptDecrypt_59Members(benchmark::State& state) {
    RoundTrip(state, FiftyNineMemberDocument());
}
BENCHMARK(BM_EncryptDecrypt_59Members);

void BM_EncryptDecrypt_8MiBText(benchmark::State& state) {
    RoundTrip(state, LargeTextDocument());
}
BENCHMARK(BM_EncryptDecrypt_8MiBText)->Unit(benchmark::kMillisecond);

// The JSON side of a request without the cipher: build and render the document, then read every member
// of it back the way a record reads a reply.
void BM_BuildRenderRead_59Members(benchmark::State& state) {
    for (auto _ : state) {
        const XJson document = FiftyNineMemberDocument();
        const XJson back(document.ToJson());
        const XJson params = back["params"];
        long long sum = 0;
        for (int i = 0; i < 59; ++i) {
            const std::string key = "member" + std::to_string(i);
            sum += params.ToInt64(key) + static_cast<long long>(params.ToString(key).size());
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_BuildRenderRead_59Members);

}  // namespace

BENCHMARK_MAIN();
