// Client instructions per request, for callgrind: a few warm-up requests, then N of one kind inside
// Measured(), which bench/profile.sh tells callgrind to count. Machine noise does not touch these figures,
// so they show what a change to the request path saves even on a busy machine.
//
//   request_profile verify|verify-read|config|raw-verify|raw-config [N]
//
// verify is the real-sized VerifyDevice of bench_loopback (verify-read the same with a callback that reads
// every text of the report, so that work moved from filling a record into its getters is seen), config the
// configuration fetch; raw-* a bare keep-alive libcurl POST of the same body, the floor that no client can go
// below.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include <pelmor/records/VerifyReport.h>

#include "BenchSupport.h"
#include "frame/PelmorSocketHelper.h"

namespace {

bool Configuration() {
    std::size_t size = 0;
    HalvexReply* reply =
        _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&](const QByteArray& data) { size = data.size(); });
    const bool ok = reply && reply->Code() == 0 && size > 0;
    if (reply) reply->Release();
    return ok;
}

// Every text of the report, as a host that shows all of it reads them.
std::size_t ReadEveryText(const ISocketInfoVerify& report) {
    std::size_t characters =
        report.GetRequestMessage().size() + report.GetVersionMessage().size() +
        report.GetVerifyMessage().size() + report.GetTotalResult().size() + report.GetCardValue().size() +
        report.GetCardState().size() + report.GetOpenValue().size() + report.GetOpenState().size() +
        report.GetScore().size() + report.GetRootValue().size() + report.GetRootState().size() +
        report.GetWifiValue().size() + report.GetWifiState().size() + report.GetDiskValue().size() +
        report.GetDiskState().size() + report.GetMeidValue().size() + report.GetMeidState().size() +
        report.GetBaseState().size() + report.GetHardwareState().size() + report.GetScreenState().size() +
        report.GetFingerMarkState().size() + report.GetOtherState().size() +
        report.GetMainboardValue().size() + report.GetMainboardState().size() +
        report.GetBasebandValue().size() + report.GetBasebandState().size() + report.GetSimValue().size() +
        report.GetSimState().size() + report.GetHarddiskValue().size() + report.GetHarddiskState().size();
    report.TraverseItem([&characters](const ISocketInfoVerifyItem* item) {
        characters += item->GetName().size() + item->GetResult().size() + item->GetOriginal().size() +
                      item->GetNow().size() + item->GetMessage().size() + item->GetURL().size() +
                      item->GetOriginalTime().size() + item->GetNowTime().size();
    });
    return characters;
}

bool Verify(bool readEveryText) {
    static const QByteArray file = Bench::FileOfSize(4096);
    bool called = false;
    ISocketReply* reply = Bench::Service().VerifyDevice(
        &Bench::CompleteDevice(), file,
        [&](ISocketInfoVerify* report) { called = !readEveryText || ReadEveryText(*report) > 0; });
    const bool ok = reply && reply->Code() == 0 && called;
    if (reply) reply->Release();
    return ok;
}

// What callgrind counts; kept out of line so that its name is there to match.
__attribute__((noinline)) bool Measured(const std::function<bool()>& request, int count) {
    bool ok = true;
    for (int i = 0; i < count; ++i)
        ok = request() && ok;
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string kind = argc > 1 ? argv[1] : "";
    const int count = argc > 2 ? std::atoi(argv[2]) : 100;
    std::function<bool()> request;
    std::unique_ptr<Bench::RawPost> raw;
    if (kind == "verify") {
        request = [] { return Verify(false); };
    } else if (kind == "verify-read") {
        request = [] { return Verify(true); };
    } else if (kind == "config") {
        request = Configuration;
    } else if (kind == "raw-verify") {
        raw = std::make_unique<Bench::RawPost>(Verify(false) ? Bench::LastRequestBody() : std::string());
    } else if (kind == "raw-config") {
        raw = std::make_unique<Bench::RawPost>(Bench::ConfigurationRequestBody());
    } else {
        std::fprintf(stderr, "usage: request_profile verify|verify-read|config|raw-verify|raw-config [N]\n");
        return 2;
    }
    if (raw) request = [&raw] { return (*raw)(); };
    // Warm-up: the connection, the cipher and the allocator's pools are made before counting starts.
    for (int i = 0; i < 20; ++i) {
        if (!request()) {
            std::fprintf(stderr, "%s failed: is pelmor-emulator running on " PELMOR_SERVICE_HOST "?\n",
                         kind.c_str());
            return 1;
        }
    }
    if (count < 1 || !Measured(request, count)) {
        std::fprintf(stderr, "%s failed while measured\n", kind.c_str());
        return 1;
    }
    return 0;
}
