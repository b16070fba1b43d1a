// One reply body, answered to every operation of both editions: through the channel's decrypt, the reply
// envelope, the operation's own reading of the data and the record it builds, with every getter of that
// record read in the callback, as a host would.
//
// Input: the first byte chooses how the rest arrives. Even: the rest is the reply document, sent encrypted
// as the service sends it, so that the mutations reach the envelope and the records. Odd: the rest is the
// body exactly as received, for the decrypt path itself.
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

void EveryOperation(PelmorSocketInterface& s) {
    CDeviceFile* d = Device();
    Form form;
    const auto text = [](const wchar_t* t) { Touch(t); };
    Done(s.PhoneQueryVerify(L"13800000000", text));
    Done(s.PhoneLogin(L"13800000000", L"1234", L"n", L"k", text));
    Done(s.WecharReplyQRCode([](const wchar_t* key, QByteArray image) {
        Touch(key);
        Touch(image);
    }));
    Done(s.WecharQueryToken(L"k", Reader<ISocketInfoWechar>()));
    Done(s.WecharBindPhone(L"o", L"m", L"c", L"r", L"n", L"k", text));
    Done(s.WecharLogin(L"o", L"k", text));
    Done(s.TokenLogin(L"t", L"k", text));
    Done(s.TokenHeartbeat(L"k", [](bool alive) { Touch(alive); }));
    Done(s.TokenQueryUser(Reader<ISocketInfoUser>()));
    Done(s.TokenQueryPower(Reader<ISocketQueryPower>()));
    Done(s.TokenQueryNotifyList([](long long a, long long b) { Touch(a + b); }));
    Done(s.TokenQueryNotify(1, Reader<ISocketInfoNotify>()));
    Done(s.PaymentPicture(d, true, [](QString trade, QByteArray image) {
        Touch(trade);
        Touch(image);
    }));
    Done(s.PaymentResult(QString("T1"), [](bool paid) { Touch(paid); }));
    Done(s.ProfessionalCheck(d, [](bool paid, double price) {
        Touch(paid);
        Touch(price);
    }));
    Done(s.ProfessionalVerify(d, QByteArray("f"), Reader<ISocketInfoProverify>()));
    Done(s.DeviceBackup(d, Reader<ISocketInfoBackup>()));
    Done(s.VerifyAirPods(QString("i"), QString("d"), Reader<ISocketInfoAirPods>()));
    Done(s.VerifyDevice(d, QByteArray("f"), [](ISocketInfoVerify* report) { Read(report); }));
    Done(s.VerifyImage(d, 1, "l", Reader<ISocketInfoImage>()));
    Done(s.DeviceIpsw(d, Reader<ISocketInfoIpsw>()));
    Done(s.Feedback(&form, [](QString answer) { Touch(answer); }));
    Done(s.DeviceKey(Reader<ISocketInfoKey>()));
    Done(s.VerifyFeedbackReply(d, [](const XSocketInfoVerifyFeedbackReply& reply) { Read(&reply); }));
    const auto session = [](const wchar_t* token, unsigned long long expiry) {
        Touch(token);
        Touch(expiry);
    };
    Done(s.TokenCreate("a", "p", session));
    Done(s.TokenRefresh(session));
    Done(s.Heartbeat(Reader<ISocketInfoHeartbeat>()));
    Done(s.UserImage("a", Reader<ISocketInfoAccount>()));
    Done(s.QueryBasic(d, Reader<ISocketQueryBasic>()));
    Done(s.QueryColor(d, [](const ISocketInfoColor* color) { Read(color); }));
    Done(s.QueryScreen(d, [](const ISocketInfoScreen* screen) { Read(screen); }));
    Done(s.QueryDetails(Reader<ISocketQueryDetails>()));
    Done(s.QueryIdlock(d, Reader<ISocketQueryIdlock>()));
    Done(s.QueryWarranty(d, [](const ISocketQueryWarranty* warranty) { Read(warranty); }));
    Done(s.QueryRefurbish(d, Reader<ISocketQueryRefurbish>()));
    Done(s.QuerySimlock(d, Reader<ISocketQuerySimlock>()));
    Done(s.QueryInvoice("2024-05-01", Reader<ISocketQueryInvoice>()));
    Touch(s.GetToken());
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

    HalvexReply* config = _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([](const QByteArray& text) { Touch(text); });
    Done(config);
    for (auto edition : {PELMOR_SOCKET_EDITION_STANDARD, PELMOR_SOCKET_EDITION_ENTERPRISE}) {
        _07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(edition, XString(L"Brisel"), XString(L"4.0.0"));
        PelmorSocketInterface* service = _402FB360_0FB0_4ECD_B608_D2D254A998B7();
        if (!service) std::abort();
        EveryOperation(*service);
        service->SetToken(XString());
        _3038522B_2CCC_469F_A114_481207ED3475();
    }
    return 0;
}
