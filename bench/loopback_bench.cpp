// Sequential requests over loopback against a running pelmor-emulator on the compiled service host:
// the library's configuration fetch, and a bare libcurl POST of the same body on one kept-alive handle.
// The library should stay within 10% of the bare POST.
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <pelmor/HalvexHTTP.h>
#include <pelmor/PelmorSocket.h>

#include <string>

#include "frame/PelmorSocketHelper.h"

namespace {

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
    state.counters["requests_per_s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Library_ConfigurationFetch)->UseRealTime();

std::size_t Collect(char* data, std::size_t size, std::size_t count, void* out) {
    static_cast<std::string*>(out)->append(data, size * count);
    return size * count;
}

void BM_RawCurl_SameBody(benchmark::State& state) {
    XJson document = PelmorSocketHelper::BuildJson("client.config", XJson());
    const QByteArray body = HalvexHTTP::Encrypt_BASE64_AES(document);
    const std::string url = PelmorSocketHelper::RequestAddress().ToUtf8();

    CURL* curl = curl_easy_init();
    curl_slist* headers = curl_slist_append(nullptr, "Content-Type: application/json");
    headers = curl_slist_append(headers, "Expect:");
    std::string response;
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.constData());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &response);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 30L);
    for (auto _ : state) {
        response.clear();
        long status = 0;
        if (curl_easy_perform(curl) != CURLE_OK ||
            curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK || status != 200) {
            state.SkipWithError("POST failed: is pelmor-emulator running on " PELMOR_SERVICE_HOST "?");
            break;
        }
        benchmark::DoNotOptimize(response.data());
    }
    state.counters["requests_per_s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
}
BENCHMARK(BM_RawCurl_SameBody)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
