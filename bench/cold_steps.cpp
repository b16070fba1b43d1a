// What one step of the client's work costs right after a network wait, beside what it costs in a hot loop.
// Small requests spend most of their client time in such short bursts between waits, with caches and
// branch predictors gone cold, so a step's instruction count says little about its share of the wall time.
//
//   cold_steps [N] [ROUNDS]    against a running pelmor-emulator (bench/run.sh starts one; so does
//                              bench/profile.sh)
//
// Each round runs N bare keep-alive POSTs of the configuration request, each followed by one step, for
// every step in turn; the medians over ROUNDS are printed. The "work" step, a loop of multiplications as
// long as the decryption step takes hot, is the control: it shows how much work after a reply costs no
// wall time at all (the emulator is still finishing its side).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <pelmor/HalvexHTTP.h>

#include "BenchSupport.h"
#include "transport/ChannelRequest.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since) {
    return std::chrono::duration<double>(Clock::now() - since).count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

volatile unsigned long workSink;

void Work(long iterations) {
    unsigned long x = 1;
    for (long i = 0; i < iterations; ++i)
        x = x * 2862933555777941757ul + static_cast<unsigned long>(i);
    workSink = x;
}

struct Step {
    const char* name;
    std::function<bool()> run;
    double hotMicroseconds = 0;
};

double HotMicroseconds(const std::function<bool()>& run) {
    constexpr int kTimes = 20000;
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < kTimes; ++i)
        run();
    return Seconds(start) / kTimes * 1e6;
}

}  // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 3000;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 9;
    const std::string requestBody = Bench::ConfigurationRequestBody();
    Bench::RawPost post(requestBody);
    if (count < 1 || rounds < 1 || !post()) {
        std::fprintf(stderr, "no reply: is pelmor-emulator running on " PELMOR_SERVICE_HOST "?\n");
        return 1;
    }
    const QByteArray reply(post.Response().data(), static_cast<int>(post.Response().size()));
    const XJson document = HalvexHTTP::Decrypt_AES_BASE64(reply);
    if (document.IsEmpty()) {
        std::fprintf(stderr, "the reply does not decrypt\n");
        return 1;
    }

    std::vector<Step> steps = {
        {"none", [] { return true; }},
        {"decrypt and parse the reply", [&] { return !HalvexHTTP::Decrypt_AES_BASE64(reply).IsEmpty(); }},
        {"render the reply's data",
         [&] {
             std::size_t length = 0;
             return document.Member("data").Render([&length](const char*, std::size_t piece) {
                 length += piece;
                 return true;
             });
         }},
        {"write and encrypt the request",
         [] { return !ChannelRequestBody("client.config", XJson(), {}).isEmpty(); }},
    };
    for (Step& step : steps)
        step.hotMicroseconds = HotMicroseconds(step.run);
    // The control: as much plain arithmetic as decrypting takes hot.
    long iterations = 1000;
    const double perThousand = HotMicroseconds([&] { return Work(iterations), true; });
    iterations = static_cast<long>(1000 * steps[1].hotMicroseconds / perThousand);
    steps.push_back({"work (control)", [&] { return Work(iterations), true; }, 0});
    steps.back().hotMicroseconds = HotMicroseconds(steps.back().run);

    std::vector<std::vector<double>> microseconds(steps.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t s = 0; s < steps.size(); ++s) {
            const Clock::time_point start = Clock::now();
            for (int i = 0; i < count; ++i) {
                if (!post() || !steps[s].run()) {
                    std::fprintf(stderr, "%s failed\n", steps[s].name);
                    return 1;
                }
            }
            microseconds[s].push_back(Seconds(start) / count * 1e6);
        }
    }
    const double bare = Median(microseconds[0]);
    std::printf("bare POST: %.1f us per request (median of %d rounds of %d)\n", bare, rounds, count);
    std::printf("%-32s %10s %16s\n", "step after each reply", "hot (us)", "added wall (us)");
    for (std::size_t s = 1; s < steps.size(); ++s)
        std::printf("%-32s %10.2f %16.2f\n", steps[s].name, steps[s].hotMicroseconds,
                    Median(microseconds[s]) - bare);
    return 0;
}
