// Running out of memory at every step: each operation family is run once to count its allocations, then
// again failing the first, the second, ... allocation. Every run must come back (no crash, no
// std::terminate) with a defined result: a reply with a code (or none, when the reply itself could not be
// made), and the callback either not called or called once with exactly what a run without failures gets.
// No block a run allocated may outlive it: each run has a thread of its own, and once that has ended
// the test's allocator reports any block of the run still live (the sanitizer builds, whose allocator
// replaces this one, leave the test out).
//
// Large families are run at a stride so that the suite stays quick; PELMOR_TORTURE_FULL=1 fails every
// allocation of every family.
#include <gtest/gtest.h>
#include <pelmor/HalvexReply.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/PelmorSocketInterface.h>
#include <pelmor/Records.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "AllocationControl.h"
#include "DeviceFile.h"
#include "EmulatorControl.h"
#include "SampleDevices.h"

namespace {

// What a host saw of one run.
struct Seen {
    bool returned = false;  // a reply came back, or the bool result was true
    int code = -1;          // the reply's code (-1 without a reply)
    int calls = 0;          // callback calls
    std::string record;     // what the callback was handed, written out
    std::string data;       // the reply's data written out, where a run reads it and it is not empty
};

std::string Utf8(const XString& text) {
    return text.ToUtf8();
}

// Reads a reply's code and frees it; the host's own reading allocates nothing under test.
void Take(ISocketReply* reply, Seen& seen) {
    if (!reply) return;
    seen.returned = true;
    seen.code = reply->Code();
    reply->Release();
}

// The host's side of a callback: its own allocations are not the library's to survive.
template <typename Read>
void AsHost(Seen& seen, Read&& read) {
    AllocationControl::Pause();
    ++seen.calls;
    read();
    AllocationControl::Resume();
}

bool FullRun() {
    const char* full = std::getenv("PELMOR_TORTURE_FULL");
    return full && *full && std::string(full) != "0";
}

// PELMOR_TORTURE_FROM=N starts the failing runs at N, to repeat one that went wrong.
long long FirstRun() {
    const char* from = std::getenv("PELMOR_TORTURE_FROM");
    return from ? std::max(1LL, std::atoll(from)) : 1;
}

// One run on a thread of its own, as a host thread would make it: a first run that connects and fills
// the thread's caches, then the counted one. Once the thread has ended, its own state (the kept-alive
// connection, TLS and error state) is gone. A block the counted run left behind is a leak when the
// process also holds more blocks than before.
struct Pass {
    Seen seen;
    AllocationControl::Figures figures;
    AllocationControl::Leftovers left;
    long long leaked = 0;
};

Pass OnFreshThread(const std::function<Seen()>& run, long long failAt) {
    Pass pass;
    const long long blocksBefore = AllocationControl::LiveBlocks();
    std::thread([&] {
        run();
        AllocationControl::Start(failAt);
        pass.seen = run();
        pass.figures = AllocationControl::Stop();
    }).join();
    pass.left = AllocationControl::StillLive();
    pass.leaked = std::min(pass.left.blocks, AllocationControl::LiveBlocks() - blocksBefore);
    return pass;
}

// At most this many failing runs per family unless the full run is asked for.
constexpr long long kRunsPerFamily = 2000;

class AllocationTorture : public ::testing::Test {
  protected:
    void SetUp() override { EmulatorControl::Reset(); }

    void TearDown() override {
        AllocationControl::SpareNetworkTransfers(false);
        _3038522B_2CCC_469F_A114_481207ED3475();
        _07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"),
                                              XString(L"4.0.0"));
        _3038522B_2CCC_469F_A114_481207ED3475();
    }

    PelmorSocketInterface* Service(ENUM_PELMOR_SOCKET_EDITION edition) {
        EXPECT_TRUE(_07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(edition, XString(L"Brisel"), XString(L"4.0.0")));
        return _402FB360_0FB0_4ECD_B608_D2D254A998B7();
    }

    // Answers every request for match with data, for the whole test.
    static void AnswerAlways(const std::string& match, const std::string& data) {
        EmulatorControl::Script(R"({"match":")" + match +
                                R"(","times":1000000,"reply":{"code":0,"token":"t",)"
                                R"("error":"","msg":"ok","timestamp":1,"data":)" +
                                data + "}}");
    }

    // Counts the family's allocations, then fails each one in turn (or every stride-th) and checks what
    // the host saw, and that the run left no block behind.
    void Torture(const char* family, const std::function<Seen()>& run) {
        const Pass clean = OnFreshThread(run, 0);
        const AllocationControl::Figures& counted = clean.figures;
        ASSERT_TRUE(clean.seen.returned) << family;
        ASSERT_EQ(clean.seen.calls, 1) << family << ": the run without failures must hand a result over";
        ASSERT_GT(counted.allocations, 0);
        ASSERT_FALSE(clean.left.overflow);
        // What a run without failures leaves live once its thread has ended (none so far); failing runs may
        // leave no more.
        const long long baseline = clean.leaked;

        const long long total = counted.allocations;
        const long long stride = FullRun() ? 1 : (total + kRunsPerFamily - 1) / kRunsPerFamily;
        long long runs = 0;
        long long failedOne = 0;
        long long handedOver = 0;
        const bool trace = std::getenv("PELMOR_TORTURE_TRACE") != nullptr;
        for (long long n = FirstRun(); n <= total; n += stride) {
            // A crash names no run: PELMOR_TORTURE_TRACE names each before it starts.
            if (trace) std::fprintf(stderr, "[ torture  ] %s: failing allocation %lld\n", family, n);
            const Pass pass = OnFreshThread(run, n);
            const Seen& seen = pass.seen;
            const AllocationControl::Figures& figures = pass.figures;
            ++runs;
            SCOPED_TRACE(std::string(family) + ": allocation " + std::to_string(n) + " of " +
                         std::to_string(total) + " failed");
            // A run may take fewer allocations than the counted one (a connection dropped by an earlier
            // failure is made again, an early failure ends the run); it still has to end well.
            if (figures.failed) ++failedOne;
            EXPECT_LE(seen.calls, 1);
            if (seen.calls == 1) {
                ++handedOver;
                EXPECT_EQ(seen.record, clean.seen.record) << "a callback was handed an incomplete result";
            }
            if (!seen.data.empty()) {
                EXPECT_EQ(seen.data, clean.seen.data) << "the reply's data is incomplete";
            }
            if (seen.code != -1 && seen.code != clean.seen.code) {
                EXPECT_TRUE(seen.code >= 1 && seen.code <= 5) << "code " << seen.code;
                EXPECT_EQ(seen.calls, 0) << "a failed exchange reached the callback";
            }
            EXPECT_FALSE(pass.left.overflow) << "too many blocks live at once to check for leaks";
            EXPECT_LE(pass.leaked, baseline)
                << "leaked " << pass.leaked - baseline << " block(s); of the " << pass.left.blocks
                << " the run left live, the earliest was allocation " << pass.left.firstOrdinal
                << " of the run (" << pass.left.firstSize << " bytes)";
            if (HasFailure()) return;
        }
        std::printf(
            "[ torture  ] %s: %lld allocations, %lld runs (stride %lld), %lld with an allocation "
            "failed, %lld handed a result over\n",
            family, total, runs, stride, failedOne, handedOver);
        std::printf(
            "[ torture  ] %s: %lld block(s) left by a run without failures, none leaked by the others\n",
            family, baseline);
        EXPECT_GT(failedOne, runs / 2) << "most runs must reach the allocation they are to fail";
    }
};

TEST_F(AllocationTorture, ConfigurationFetch) {
    AnswerAlways("client.config",
                 R"({"version":"4.2.0","hasUpdate":true,"notice":"维护","switches":[1,2,3]})");
    Torture("configuration fetch", [] {
        Seen seen;
        HalvexReply* reply = _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&seen](const QByteArray& configuration) {
            AsHost(seen, [&] { seen.record = configuration.toStdString(); });
        });
        // The data's tree is built when it is first asked for: short of memory then, it is empty, never part.
        const std::string data = reply ? reply->Data().ToJson() : std::string();
        if (data != "{}") {
            AllocationControl::Pause();  // the host's own copy
            seen.data = data;
            AllocationControl::Resume();
        }
        Take(reply, seen);
        return seen;
    });
}

TEST_F(AllocationTorture, StandardAccountOperation) {
    PelmorSocketInterface* service = Service(PELMOR_SOCKET_EDITION_STANDARD);
    ASSERT_NE(service, nullptr);
    AnswerAlways("user.info",
                 R"({"id":42,"nickName":"Zoë","headImg":"https://img/x.png","phone":"13800000000"})");
    Torture("standard account operation (TokenQueryUser)", [service] {
        Seen seen;
        Take(service->TokenQueryUser([&seen](ISocketInfoUser* user) {
            AsHost(seen, [&] {
                seen.record = std::to_string(user->GetID()) + "|" + Utf8(user->GetName()) + "|" +
                              Utf8(user->GetHeadImage()) + "|" + Utf8(user->GetPhone());
            });
        }),
             seen);
        return seen;
    });
}

TEST_F(AllocationTorture, VerifyDevice) {
    PelmorSocketInterface* service = Service(PELMOR_SOCKET_EDITION_STANDARD);
    ASSERT_NE(service, nullptr);
    auto device = LoadDevice("normal-complete");
    ASSERT_TRUE(device);
    AnswerAlways(
        "equipment.check",
        R"({"totalResult":"replaced","score":"71","msg":"checked","iccid":{"value":"8986","state":"ok"},)"
        R"("items":{"base":"ok","screen":"replaced"},"resultList":[)"
        R"({"tag":"screen","key":"lcm","name":"Screen","result":"replaced","original":"A","now":"B"},)"
        R"({"tag":"battery","key":"battery","name":"Battery","result":"ok"}]})");
    const QByteArray file("device file");
    ISocketDevice* handset = device.get();
    Torture("VerifyDevice", [service, handset, &file] {
        Seen seen;
        Take(service->VerifyDevice(
                 handset, file,
                 [&seen](ISocketInfoVerify* report) {
                     AsHost(seen, [&] {
                         seen.record = std::to_string(report->GetError()) + "|" +
                                       Utf8(report->GetTotalResult()) + "|" + Utf8(report->GetScore()) + "|" +
                                       Utf8(report->GetCardValue()) + "|" + Utf8(report->GetScreenState()) +
                                       "|" + Utf8(report->GetRequestMessage());
                         report->TraverseItem([&](const ISocketInfoVerifyItem* item) {
                             seen.record += "|" + Utf8(item->GetName()) + ":" + Utf8(item->GetResult()) +
                                            ":" + Utf8(item->GetNow());
                         });
                     });
                 }),
             seen);
        return seen;
    });
}

TEST_F(AllocationTorture, EnterpriseQuery) {
    PelmorSocketInterface* service = Service(PELMOR_SOCKET_EDITION_ENTERPRISE);
    ASSERT_NE(service, nullptr);
    auto device = LoadDevice("normal-complete");
    ASSERT_TRUE(device);
    AnswerAlways("/ipsw/brush", R"([{"version":"15.6","buildId":"19G71","url":"https://fw/1","beta":"n"},)"
                                R"({"version":"16.0","buildId":"20A362","url":"https://fw/2","beta":"Y"}])");
    ISocketDevice* handset = device.get();
    Torture("enterprise query (DeviceIpsw)", [service, handset] {
        Seen seen;
        Take(service->DeviceIpsw(handset,
                                 [&seen](ISocketInfoIpsw* list) {
                                     AsHost(seen, [&] {
                                         for (unsigned i = 0; i < list->GetCount(); ++i) {
                                             ISocketInfoIpswItem* item = list->GetItem(i);
                                             seen.record += Utf8(item->GetVersion()) + ":" +
                                                            Utf8(item->GetBuildId()) + ":" +
                                                            Utf8(item->GetUrl()) + ":" +
                                                            std::to_string(item->GetBeta()) + "|";
                                         }
                                     });
                                 }),
             seen);
        return seen;
    });
}

// The captcha step and the answer step; the captcha's answer is asked of the emulator in between.
// Like libcurl's own torture runs, this family fails only what the library allocates, around libcurl's
// transfers and in the write callbacks they run: failed inside libcurl or OpenSSL, libcurl 7.88 frees a
// block twice at cleanup (when it cannot keep a TLS session; the library no longer keeps them) and
// sends a request without its query (the site then refuses it).
TEST_F(AllocationTorture, CoverageSiteFlow) {
    AllocationControl::SpareNetworkTransfers(true);
    PelmorSocketInterface* service = Service(PELMOR_SOCKET_EDITION_STANDARD);
    ASSERT_NE(service, nullptr);
    auto device = LoadDevice("normal-complete");
    ASSERT_TRUE(device);
    ISocketDevice* handset = device.get();
    Torture("coverage-site flow", [service, handset] {
        Seen seen;
        std::string cookie;
        std::string captcha;
        // The host makes its callbacks and hands them over by moving, so that every allocation counted
        // here is the library's.
        AllocationControl::Pause();
        std::function<void(const char*, const char*)> onCaptcha = [&](const char* response,
                                                                      const char* text) {
            AsHost(seen, [&] {
                captcha = response;
                cookie = text;
            });
        };
        std::function<void(const char*)> onPage = [&](const char* page) {
            AsHost(seen, [&] {
                seen.record += std::strstr(page, "data-result=\"ok\"") ? ", page ok" : ", page broken";
            });
        };
        AllocationControl::Resume();
        const bool fetched = service->WarrantyVerify(handset, std::move(onCaptcha));
        if (!fetched || seen.calls != 1) {
            seen.returned = fetched;
            return seen;
        }
        seen.calls = 0;
        AllocationControl::Pause();
        // The answer of this run's own session: a request of an earlier run that a failure cut off may
        // still reach the site after this run's, and make its session the latest.
        const std::string session = cookie.substr(0, cookie.find(';'));
        std::string issued;
        EmulatorControl::Get("/_emulator/coverage/captcha?session=" +
                                 session.substr(std::min(session.size(), std::strlen("cv_sid="))),
                             &issued);
        const std::string answer = XJson(issued).ToString("answer");
        // What reached the first callback must be whole: a full picture and every cookie.
        const bool whole = captcha.find("</svg>") != std::string::npos && cookie.find("cv_sid=") == 0 &&
                           cookie.find("SameSite=None") != std::string::npos;
        seen.record = whole ? "whole captcha step" : "broken captcha step";
        AllocationControl::Resume();
        seen.returned = service->WarrantySelect(handset, cookie.c_str(), answer.c_str(), std::move(onPage));
        return seen;
    });
}

}  // namespace
