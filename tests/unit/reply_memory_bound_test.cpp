// One forged reply must not make a request hold more than 8 times its body plus 16 MiB. The worst shapes
// of reply, each as large as the body limit allows, go through the real path: the channel's decryption,
// the reply envelope, and the record the operation builds, handed to a callback. The peak is the live
// heap above what was live before the call, counted by this binary's own malloc and operator new.
#include <gtest/gtest.h>
#include <pelmor/HalvexHTTP.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/Records.h>
#include <pelmor/platform/XCrypt.h>
#include <pelmor/platform/XHttp.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "AllocationControl.h"
#include "DeviceFile.h"
#include "SampleDevices.h"
#include "standard/PelmorSocketStandard.h"

namespace {

QByteArray servedBody;

// The body the service would send for a reply document: the document enciphered, in the envelope, all
// in Base64.
QByteArray BodyOf(const std::string& document) {
    const auto* key = reinterpret_cast<const unsigned char*>(_StaticAesKey);
    const auto* iv = reinterpret_cast<const unsigned char*>(_StaticAesIv);
    const QByteArray inner = XCrypt::BASE64::Encode(XCrypt::AES::CBC::EncryptPKCS7(
        key, iv, QByteArray(document.data(), static_cast<int>(document.size()))));
    const QByteArray envelope = QByteArray(R"({"En":1,"data":")") + inner + QByteArray(R"("})");
    return XCrypt::BASE64::Encode(envelope);
}

// Plain text of about this many bytes keeps the body just under the 64 MiB limit.
constexpr size_t kDocumentBytes = 35u * 1024 * 1024;

// prefix, then unit repeated (comma-separated) to fill the document, then suffix.
std::string Filled(const std::string& prefix, const std::string& unit, const std::string& suffix) {
    std::string text = prefix;
    text.reserve(kDocumentBytes + unit.size() + suffix.size() + 2);
    while (text.size() + unit.size() + suffix.size() + 1 < kDocumentBytes) {
        text += unit;
        text += ',';
    }
    text += unit;
    text += suffix;
    return text;
}

std::string Nested(size_t depth) {
    return R"({"code":0,"data":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
}

}  // namespace

// The library's network call, answered with the prepared body.
namespace XHttp {
int POST(const XString&, const QByteArray&, std::function<void(QByteArray)> callback) {
    if (callback) callback(servedBody);
    return 200;
}
}  // namespace XHttp

namespace {

class ReplyMemoryBound : public ::testing::Test {
  protected:
    void SetUp() override {
        device_ = LoadDevice("normal-complete");
        ASSERT_TRUE(device_);
    }

    void TearDown() override { servedBody = QByteArray(); }

    // Serves document, runs the operation and checks its peak; returns the reply's code.
    int ExpectBounded(const char* shape, const std::string& document,
                      const std::function<ISocketReply*(PelmorSocketStandard&, ISocketDevice*)>& operation) {
        servedBody = BodyOf(document);
        EXPECT_LE(servedBody.size(), XHttp::kMaxResponseBytes) << shape;
        const long long body = servedBody.size();
        AllocationControl::Start();
        ISocketReply* reply = operation(service_, device_.get());
        const int code = reply ? reply->Code() : -1;
        if (reply) reply->Release();
        const AllocationControl::Figures figures = AllocationControl::Stop();
        const long long limit = 8 * body + 16LL * 1024 * 1024;
        std::printf("[ memory   ] %s: body %.1f MiB, peak %.1f MiB (%.2f x body), code %d\n", shape,
                    body / 1048576.0, figures.peakBytes / 1048576.0, double(figures.peakBytes) / double(body),
                    code);
        EXPECT_LE(figures.peakBytes, limit) << shape;
        return code;
    }

    PelmorSocketStandard service_{PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"), XString(L"4.0.0")};
    std::unique_ptr<CDeviceFile> device_;
};

ISocketReply* Verify(PelmorSocketStandard& service, ISocketDevice* device, unsigned* items) {
    return service.VerifyDevice(device, QByteArray("f"), [items](ISocketInfoVerify* report) {
        report->TraverseItem([items](const ISocketInfoVerifyItem*) { ++*items; });
    });
}

// A reply whose parsed form would outgrow its budget is refused whole (code 4); one that fits keeps at
// most 100,000 items of a list. Either way the bound holds.
TEST_F(ReplyMemoryBound, ManyTinyListElements) {
    auto refusedOrRead = [](int code) { return code == 0 || code == HALVEX_REPLY_DECRYPT_ERROR; };
    unsigned items = 0;
    auto verify = [&](PelmorSocketStandard& s, ISocketDevice* d) { return Verify(s, d, &items); };
    EXPECT_TRUE(refusedOrRead(ExpectBounded(
        "resultList of numbers", Filled(R"({"code":0,"data":{"resultList":[)", "1", "]}}"), verify)));
    EXPECT_EQ(items, 0u) << "numbers are no report lines";

    items = 0;
    EXPECT_TRUE(refusedOrRead(
        ExpectBounded("resultList of small objects",
                      Filled(R"({"code":0,"data":{"resultList":[)", R"({"tag":"a"})", "]}}"), verify)));
    EXPECT_LE(items, 100000u);

    int proItems = 0;
    EXPECT_TRUE(refusedOrRead(
        ExpectBounded("empty listItem elements", Filled(R"({"code":0,"data":{"listItem":[)", "{}", "]}}"),
                      [&](PelmorSocketStandard& s, ISocketDevice* d) {
                          return s.ProfessionalVerify(d, QByteArray("f"), [&](ISocketInfoProverify* report) {
                              report->TraverseItem([&](ISocketInfoProverifyItem*) { ++proItems; });
                          });
                      })));
    EXPECT_LE(proItems, 100000);

    unsigned firmware = 0;
    EXPECT_TRUE(refusedOrRead(ExpectBounded(
        "firmware list of small objects", Filled(R"({"code":0,"data":[)", R"({"version":"1"})", "]}"),
        [&](PelmorSocketStandard& s, ISocketDevice* d) {
            return s.DeviceIpsw(d, [&](ISocketInfoIpsw* list) { firmware = list->GetCount(); });
        })));
    EXPECT_LE(firmware, 100000u);
}

TEST_F(ReplyMemoryBound, ListsThatFitAreCutAtTheItemLimit) {
    std::string document = R"({"code":0,"data":{"resultList":[)";
    for (int i = 0; i < 150000; ++i)
        document += std::string(i ? "," : "") +
                    R"({"tag":"screen","name":"a line of the report with a text of some length"})";
    document += "]}}";
    unsigned items = 0;
    EXPECT_EQ(ExpectBounded("150,000 report lines", document,
                            [&](PelmorSocketStandard& s, ISocketDevice* d) { return Verify(s, d, &items); }),
              0);
    EXPECT_EQ(items, 100000u);
}

TEST_F(ReplyMemoryBound, SmallContainersDeepNestingAndLongTexts) {
    size_t rendered = 0;
    auto fetch = [&rendered](PelmorSocketStandard&, ISocketDevice*) {
        return _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&rendered](const QByteArray& configuration) {
            rendered = static_cast<size_t>(configuration.size());
        });
    };
    for (const char* unit : {"[1]", R"({"":0})"}) {
        const int code = ExpectBounded(unit, Filled(R"({"code":0,"data":[)", unit, "]}"), fetch);
        EXPECT_TRUE(code == 0 || code == HALVEX_REPLY_DECRYPT_ERROR) << code;
    }
    EXPECT_EQ(ExpectBounded("deep nesting", Nested(kDocumentBytes / 2), fetch), HALVEX_REPLY_DECRYPT_ERROR);

    rendered = 0;
    EXPECT_EQ(
        ExpectBounded(
            "one long message",
            R"({"code":7,"error":"E","msg":")" + std::string(kDocumentBytes, 'x') + R"(","data":{}})", fetch),
        7);
    EXPECT_EQ(
        ExpectBounded("one long text in the data",
                      R"({"code":0,"data":{"notice":")" + std::string(kDocumentBytes, 'x') + R"("}})", fetch),
        0);
    EXPECT_GT(rendered, kDocumentBytes);
}

}  // namespace
