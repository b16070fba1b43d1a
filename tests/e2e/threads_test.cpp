// Four host threads running operations side by side against the emulator, settings left alone while they
// run, as the README asks of a host. Built with ThreadSanitizer (SANITIZE=thread scripts/test.sh) it shows
// whether the library's shared state (settings, per-thread connections, libcurl, OpenSSL) stays race-free.
#include <gtest/gtest.h>
#include <pelmor/HalvexHTTP.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/Records.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "DeviceFile.h"
#include "EmulatorControl.h"
#include "SampleDevices.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 80;  // five operations a round: 400 per thread

// Counts the operations that went wrong in one thread; gtest's assertions are not for worker threads.
struct Tally {
    int failed = 0;
    int calls = 0;
    std::string firstFailure;
};

void Expect(Tally& tally, const char* operation, ISocketReply* reply) {
    if (!reply || reply->Code() != 0) {
        if (!tally.failed++)
            tally.firstFailure = operation + (reply ? " " + std::to_string(reply->Code()) : "");
    }
    if (reply) reply->Release();
}

void Round(PelmorSocketInterface& service, ISocketDevice* device, Tally& tally) {
    Expect(tally, "configuration", _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&](const QByteArray& text) {
               tally.calls += text.isEmpty() ? 0 : 1;
           }));
    Expect(tally, "VerifyDevice",
           service.VerifyDevice(device, QByteArray("file"), [&](ISocketInfoVerify* report) {
               tally.calls += report->GetTotalResult().empty() ? 0 : 1;
           }));
    Expect(tally, "DeviceIpsw",
           service.DeviceIpsw(device, [&](ISocketInfoIpsw* list) { tally.calls += list->GetCount() > 0; }));
    Expect(tally, "DeviceBackup", service.DeviceBackup(device, [&](ISocketInfoBackup* backup) {
        tally.calls += *backup->GetSerial() != '\0';
    }));
    const std::string captcha = "https://" PELMOR_COVERAGE_HOST "/gc?t=image&timestamp=1";
    const bool fetched = HalvexHTTP::GETWarranty(captcha.c_str(), [&](const char* image, const char* cookie) {
        tally.calls += image && *image && cookie && *cookie;
    });
    if (!fetched && !tally.failed++) tally.firstFailure = "captcha";
}

TEST(Threads, FourHostThreadsRunOperationsSideBySide) {
    EmulatorControl::Reset();
    auto device = LoadDevice("normal-complete");
    ASSERT_TRUE(device);
    ASSERT_TRUE(_07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"),
                                                      XString(L"4.0.0")));
    PelmorSocketInterface* service = _402FB360_0FB0_4ECD_B608_D2D254A998B7();
    ASSERT_NE(service, nullptr);

    std::vector<Tally> tallies(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round)
                Round(*service, device.get(), tallies[t]);
        });
    for (std::thread& thread : threads)
        thread.join();
    _3038522B_2CCC_469F_A114_481207ED3475();

    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(tallies[t].failed, 0) << "thread " << t << ", first: " << tallies[t].firstFailure;
        EXPECT_EQ(tallies[t].calls, kRounds * 5) << "thread " << t << ": every callback, with its data";
    }
}

}  // namespace
