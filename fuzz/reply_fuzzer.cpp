// One reply body, answered to one operation of one edition (or the configuration fetch): through the
// channel's decrypt, the reply envelope, the operation's own reading of the data and the record it builds,
// with every getter of that record read in the callback, as a host would.
//
// Input: the first byte chooses. Its low bit says how the rest arrives. 0: the rest is the reply document,
// sent encrypted as the service sends it, so that the mutations reach the envelope and the records. 1: the
// rest is the body exactly as received, for the decrypt path itself. Its upper seven bits name the
// operation (by position in kOperations, wrapping round); 127 runs every operation in turn, which the kept
// regression inputs use. One operation per input keeps the fuzzer at thousands of executions a second.
#include <pelmor/HalvexHTTP.h>
#include <pelmor/ISocketFeedback.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/platform/XCrypt.h>
#include <pelmor/platform/XHttp.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "DeviceFile.h"
#include "FuzzSupport.h"
#include "RecordReaders.h"

using fuzz_support::Touch;
using record_readers::Read;

namespace {

QByteArray currentBody;

QByteArray AsServiceSendsIt(const QByteArray& document) {
    const QByteArray cipher =
        XCrypt::AES::CBC::EncryptPKCS7(reinterpret_cast<const unsigned char*>(_StaticAesKey),
                                       reinterpret_cast<const unsigned char*>(_StaticAesIv), document);
    return XCrypt::BASE64::Encode("{\"En\":1,\"data\":\"" + XCrypt::BASE64::Encode(cipher) + "\"}");
}

class Form : public ISocketFeedback {
  public:
    const char* GetContactId() override { return "qq 1"; }
    const char* GetMessage() override { return "m"; }
    const char* GetOsVersion() override { return "14.1"; }
    const char* GetItunesVersion() override { return "12"; }
    const char* GetMobileName() override { return "n"; }
    const char* GetEcid() override { return "000E2D4C1B3A5968"; }
};

CDeviceFile* Device() {
    static std::unique_ptr<CDeviceFile> device = [] {
        std::string error;
        auto loaded = CDeviceFile::Load(PELMOR_FUZZ_DEVICE_FILE, error);
        if (!loaded) std::abort();
        return loaded;
    }();
    return device.get();
}

void Done(ISocketReply* reply) {
    if (!reply) return;
    Touch(reply->Code());
    Touch(reply->Message());
    Touch(reply->Error());
    Touch(reply->Token());
    Touch(reply->Timestamp());
    reply->Release();
}

template <typename Record>
auto Reader() {
    return [](Record* record) { Read(record); };
}

// What runs for one input. The position in this table is the corpus' format (the first byte names it):
// add new operations at the end.
enum class Edition { None, Standard, Enterprise };
using Run = void (*)(PelmorSocketInterface&, CDeviceFile*);
struct Operation {
    Edition edition;
    Run run;
};

void Text(const wchar_t* text) {
    Touch(text);
}
void Session(const wchar_t* token, unsigned long long expiry) {
    Touch(token);
    Touch(expiry);
}

// Operations both editions offer under the same call.
void RunVerifyDevice(PelmorSocketInterface& s, CDeviceFile* d) {
    Done(s.VerifyDevice(d, QByteArray("f"), [](ISocketInfoVerify* report) { Read(report); }));
}
void RunDeviceIpsw(PelmorSocketInterface& s, CDeviceFile* d) {
    Done(s.DeviceIpsw(d, Reader<ISocketInfoIpsw>()));
}
void RunFeedback(PelmorSocketInterface& s, CDeviceFile*) {
    Form form;
    Done(s.Feedback(&form, [](QString answer) { Touch(answer); }));
}
void RunDeviceKey(PelmorSocketInterface& s, CDeviceFile*) {
    Done(s.DeviceKey(Reader<ISocketInfoKey>()));
}

const Operation kOperations[] = {
    {Edition::None, nullptr},  // the configuration fetch
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.PhoneQueryVerify(L"13800000000", Text)); }},
    {Edition::Standard, [](PelmorSocketInterface& s,
                           CDeviceFile*) { Done(s.PhoneLogin(L"13800000000", L"1234", L"n", L"k", Text)); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) {
         Done(s.WecharReplyQRCode([](const wchar_t* key, QByteArray image) {
             Touch(key);
             Touch(image);
         }));
     }},
    {Edition::Standard, [](PelmorSocketInterface& s,
                           CDeviceFile*) { Done(s.WecharQueryToken(L"k", Reader<ISocketInfoWechar>())); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) {
         Done(s.WecharBindPhone(L"o", L"m", L"c", L"r", L"n", L"k", Text));
     }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.WecharLogin(L"o", L"k", Text)); }},
    {Edition::Standard, [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.TokenLogin(L"t", L"k", Text)); }},
    {Edition::Standard, [](PelmorSocketInterface& s,
                           CDeviceFile*) { Done(s.TokenHeartbeat(L"k", [](bool alive) { Touch(alive); })); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.TokenQueryUser(Reader<ISocketInfoUser>())); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.TokenQueryPower(Reader<ISocketQueryPower>())); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) {
         Done(s.TokenQueryNotifyList([](long long a, long long b) { Touch(a + b); }));
     }},
    {Edition::Standard, [](PelmorSocketInterface& s,
                           CDeviceFile*) { Done(s.TokenQueryNotify(1, Reader<ISocketInfoNotify>())); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile* d) {
         Done(s.PaymentPicture(d, true, [](QString trade, QByteArray image) {
             Touch(trade);
             Touch(image);
         }));
     }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) {
         Done(s.PaymentResult(QString("T1"), [](bool paid) { Touch(paid); }));
     }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile* d) {
         Done(s.ProfessionalCheck(d, [](bool paid, double price) {
             Touch(paid);
             Touch(price);
         }));
     }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile* d) {
         Done(s.ProfessionalVerify(d, QByteArray("f"), Reader<ISocketInfoProverify>()));
     }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile* d) { Done(s.DeviceBackup(d, Reader<ISocketInfoBackup>())); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) {
         Done(s.VerifyAirPods(QString("i"), QString("d"), Reader<ISocketInfoAirPods>()));
     }},
    {Edition::Standard, RunVerifyDevice},
    {Edition::Standard, [](PelmorSocketInterface& s,
                           CDeviceFile* d) { Done(s.VerifyImage(d, 1, "l", Reader<ISocketInfoImage>())); }},
    {Edition::Standard, RunDeviceIpsw},
    {Edition::Standard, RunFeedback},
    {Edition::Standard, RunDeviceKey},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile* d) {
         Done(s.VerifyFeedbackReply(d, [](const XSocketInfoVerifyFeedbackReply& reply) { Read(&reply); }));
     }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile* d) {
         Done(s.QueryColor(d, [](const ISocketInfoColor* color) { Read(color); }));
     }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile* d) {
         Done(s.QueryScreen(d, [](const ISocketInfoScreen* screen) { Read(screen); }));
     }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile* d) {
         Done(s.QueryWarranty(d, [](const ISocketQueryWarranty* warranty) { Read(warranty); }));
     }},
    // The operations that hand over no record: only the reply and its code.
    {Edition::Standard, [](PelmorSocketInterface& s,
                           CDeviceFile*) { Touch(s.CensusOperation(XString(L"f"), XString(L"e"), true)); }},
    {Edition::Standard, [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.TokenUpdateSpread(L"r")); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.TokenModifyPhone(L"13800000000", L"1234", L"n")); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.RequestVerifyCode("13800000000")); }},
    {Edition::Standard, [](PelmorSocketInterface& s, CDeviceFile* d) { Done(s.UploadIdlock(d, 1)); }},
    {Edition::Standard, [](PelmorSocketInterface& s, CDeviceFile* d) { Done(s.UploadIcloud(d, 1)); }},
    {Edition::Standard,
     [](PelmorSocketInterface& s, CDeviceFile* d) { Done(s.VerifyFeedback(d, XString(L"m"))); }},
    // The enterprise edition.
    {Edition::Enterprise, RunVerifyDevice},
    {Edition::Enterprise, RunDeviceIpsw},
    {Edition::Enterprise, RunFeedback},
    {Edition::Enterprise, RunDeviceKey},
    {Edition::Enterprise,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.TokenCreate("a", "p", Session)); }},
    {Edition::Enterprise, [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.TokenRefresh(Session)); }},
    {Edition::Enterprise,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.Heartbeat(Reader<ISocketInfoHeartbeat>())); }},
    {Edition::Enterprise,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.UserImage("a", Reader<ISocketInfoAccount>())); }},
    {Edition::Enterprise, [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.ChangePassword("o", "n")); }},
    {Edition::Enterprise,
     [](PelmorSocketInterface& s, CDeviceFile* d) { Done(s.QueryBasic(d, Reader<ISocketQueryBasic>())); }},
    {Edition::Enterprise,
     [](PelmorSocketInterface& s, CDeviceFile*) { Done(s.QueryDetails(Reader<ISocketQueryDetails>())); }},
    {Edition::Enterprise,
     [](PelmorSocketInterface& s, CDeviceFile* d) { Done(s.QueryIdlock(d, Reader<ISocketQueryIdlock>())); }},
    {Edition::Enterprise,
     [](PelmorSocketInterface& s, CDeviceFile* d) {
         Done(s.QueryWarranty(d, [](const ISocketQueryWarranty* warranty) { Read(warranty); }));
     }},
    {Edition::Enterprise, [](PelmorSocketInterface& s,
                             CDeviceFile* d) { Done(s.QueryRefurbish(d, Reader<ISocketQueryRefurbish>())); }},
    {Edition::Enterprise, [](PelmorSocketInterface& s,
                             CDeviceFile* d) { Done(s.QuerySimlock(d, Reader<ISocketQuerySimlock>())); }},
    {Edition::Enterprise,
     [](PelmorSocketInterface& s, CDeviceFile*) {
         Done(s.QueryInvoice("2024-05-01", Reader<ISocketQueryInvoice>()));
     }},
};
constexpr unsigned kOperationCount = sizeof kOperations / sizeof kOperations[0];
static_assert(kOperationCount < 127, "the first byte's upper seven bits name an operation");

// Kept inputs run every operation: the number no operation has.
constexpr unsigned kEveryOperation = 127;

void RunOne(const Operation& operation) {
    if (operation.edition == Edition::None) {
        // The text handed over, whether taken from the reply as it stood or rendered, is the data's
        // rendered text.
        QByteArray handedOver;
        bool called = false;
        HalvexReply* reply = _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&](const QByteArray& text) {
            handedOver = text;
            called = true;
        });
        if (called && reply && handedOver.toStdString() != reply->Data().ToJson()) __builtin_trap();
        Done(reply);
        return;
    }
    const auto edition = operation.edition == Edition::Standard ? PELMOR_SOCKET_EDITION_STANDARD
                                                                : PELMOR_SOCKET_EDITION_ENTERPRISE;
    _07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(edition, XString(L"Brisel"), XString(L"4.0.0"));
    PelmorSocketInterface* service = _402FB360_0FB0_4ECD_B608_D2D254A998B7();
    if (!service) std::abort();
    operation.run(*service, Device());
    Touch(service->GetToken());
    // The token is process-wide: one input's token must not change what the next one sends.
    service->SetToken(XString());
    _3038522B_2CCC_469F_A114_481207ED3475();
}

}  // namespace

// Stands in for the network: every request is answered with the body under test.
namespace XHttp {
int POST(const XString&, const QByteArray&, std::function<void(QByteArray)> callback) {
    if (callback) callback(currentBody);
    return 200;
}
}  // namespace XHttp

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const QByteArray rest(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size - 1));
    currentBody = (data[0] & 1) ? rest : AsServiceSendsIt(rest);

    const unsigned chosen = data[0] >> 1;
    if (chosen == kEveryOperation) {
        for (const Operation& operation : kOperations)
            RunOne(operation);
    } else {
        RunOne(kOperations[chosen % kOperationCount]);
    }
    return 0;
}
