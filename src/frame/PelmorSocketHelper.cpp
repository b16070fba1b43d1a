#include "PelmorSocketHelper.h"

#include <pelmor/platform/MemoryShortage.h>

#include "LibraryHooks.h"
#include "transport/ServiceHosts.h"

// Process-wide settings. Constructed when the library is loaded, in this order, and never locked: the
// host must not change them while another thread builds a request.
//
// This edition is the one the live object was initialised with; it is deliberately a separate variable
// from the exported edition of the same name, which records whatever the host asked create for.
static ENUM_PELMOR_SOCKET_EDITION _StaticSocketEdition = PELMOR_SOCKET_EDITION_STANDARD;
static XString _StaticSocketSource(L"Brisel");
static XString _StaticSocketToken;
static XString _StaticSocketVersion(L"4.0.0");

namespace {

// The settings' members as the end of a request's text; empty when memory ran short.
std::string SettingsJsonOf(const XString& source, const XString& token, const XString& version) {
    const unsigned long long shortages = Pelmor::MemoryShortages();
    XJson settings;
    settings.Reserve(3);
    settings.Append("source", source);
    settings.Append("token", token);
    settings.Append("version", version);
    std::string text = settings.ToJson();
    if (Pelmor::MemoryShortages() != shortages || text.size() < 2) return std::string();
    text[0] = ',';  // {"source":…} follows "params":… inside the document
    return text;
}

}  // namespace

// Derived from the three above and changed only with them.
static std::string _StaticSettingsJson =
    SettingsJsonOf(_StaticSocketSource, _StaticSocketToken, _StaticSocketVersion);

namespace {

// Runs the load hook once the settings above exist, and the unload hook when the library goes away.
// Being a static object in this file is what orders it after the settings on every platform.
struct ModuleLifetime {
    ModuleLifetime() { Halvex_Dynamic_Library_Init(); }
    ~ModuleLifetime() { Halvex_Dynamic_Library_Fini(); }
    ModuleLifetime(const ModuleLifetime&) = delete;
    ModuleLifetime& operator=(const ModuleLifetime&) = delete;
};
const ModuleLifetime moduleLifetime;

const XString kEnterpriseAddress(XString::FromUtf8("http://" + ServiceHosts::Service() + "/brisel-ent/api"));
const XString kStandardAddress(XString::FromUtf8("http://" + ServiceHosts::Service() +
                                                 "/modules/app/api.do?"));
const XString kFallbackAddress(XString::FromUtf8("http://" + ServiceHosts::Service() + "/"));

}  // namespace

namespace {

// The setters copy texts and so may run out of memory: the settings then keep their old values, and the
// shortage is noted so that nothing built on the new value goes out.
void ChangeSettings(const XString& source, const XString& token, const XString& version) {
    try {
        XString newSource(source);
        XString newToken(token);
        XString newVersion(version);
        std::string newJson = SettingsJsonOf(newSource, newToken, newVersion);
        if (newJson.empty()) {
            Pelmor::NoteMemoryShortage();
            return;
        }
        _StaticSocketSource.swap(newSource);
        _StaticSocketToken.swap(newToken);
        _StaticSocketVersion.swap(newVersion);
        _StaticSettingsJson.swap(newJson);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

}  // namespace

void PelmorSocketHelper::Initialize(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source,
                                    const XString& version) {
    _StaticSocketEdition = edition;
    ChangeSettings(source, _StaticSocketToken, version);
}

void PelmorSocketHelper::SetToken(const XString& token) {
    ChangeSettings(_StaticSocketSource, token, _StaticSocketVersion);
}

XString PelmorSocketHelper::GetToken() {
    try {
        return _StaticSocketToken;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return XString();
    }
}

void PelmorSocketHelper::SetSource(const XString& source) {
    ChangeSettings(source, _StaticSocketToken, _StaticSocketVersion);
}

std::string_view PelmorSocketHelper::SettingsJson() {
    return _StaticSettingsJson;
}

PelmorSocketHelper::~PelmorSocketHelper() = default;

XString PelmorSocketHelper::RequestAddress() {
    switch (_StaticSocketEdition) {
        case PELMOR_SOCKET_EDITION_ENTERPRISE:
            return kEnterpriseAddress;
        case PELMOR_SOCKET_EDITION_STANDARD:
            return kStandardAddress;
        default:
            return kFallbackAddress;
    }
}

namespace {

// The members both request forms share, in the order the service reads them. The parameters are moved
// in: they may carry a device's whole file.
void AppendParamsAndSettings(XJson& document, XJson&& params) {
    document.Add("params", std::move(params));
    document.Append("source", _StaticSocketSource);
    document.Append("token", _StaticSocketToken);
    document.Append("version", _StaticSocketVersion);
}

}  // namespace

XJson PelmorSocketHelper::BuildJson(const char* method, XJson params) {
    XJson document;
    document.Reserve(5);  // method, params and the three settings: the table is made once
    document.Add("method", method);
    AppendParamsAndSettings(document, std::move(params));
    return document;
}

XJson PelmorSocketHelper::BuildJson(XJson params) {
    XJson document;
    document.Reserve(4);
    AppendParamsAndSettings(document, std::move(params));
    return document;
}

// Service operations the object's edition does not offer: nothing happens and the caller gets null.

bool PelmorSocketHelper::CensusOperation(const XString&, const XString&, bool) {
    return false;
}

ISocketReply* PelmorSocketHelper::PhoneQueryVerify(const wchar_t*, std::function<void(const wchar_t*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::PhoneLogin(const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*,
                                             std::function<void(const wchar_t*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::WecharReplyQRCode(std::function<void(const wchar_t*, QByteArray)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::WecharQueryToken(const wchar_t*, std::function<void(ISocketInfoWechar*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::WecharBindPhone(const wchar_t*, const wchar_t*, const wchar_t*,
                                                  const wchar_t*, const wchar_t*, const wchar_t*,
                                                  std::function<void(const wchar_t*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::WecharLogin(const wchar_t*, const wchar_t*,
                                              std::function<void(const wchar_t*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::TokenLogin(const wchar_t*, const wchar_t*,
                                             std::function<void(const wchar_t*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::TokenHeartbeat(const wchar_t*, std::function<void(bool)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::TokenUpdateSpread(const wchar_t*) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::TokenQueryUser(std::function<void(ISocketInfoUser*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::TokenQueryPower(std::function<void(ISocketQueryPower*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::TokenQueryNotifyList(std::function<void(long long, long long)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::TokenQueryNotify(long long, std::function<void(ISocketInfoNotify*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::TokenModifyPhone(const wchar_t*, const wchar_t*, const wchar_t*) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::PaymentPicture(ISocketDevice*, bool,
                                                 std::function<void(QString, QByteArray)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::PaymentResult(QString, std::function<void(bool)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::ProfessionalCheck(ISocketDevice*, std::function<void(bool, double)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::ProfessionalVerify(ISocketDevice*, QByteArray,
                                                     std::function<void(ISocketInfoProverify*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::UploadIdlock(ISocketDevice*, int) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::UploadIcloud(ISocketDevice*, int) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::DeviceBackup(ISocketDevice*, std::function<void(ISocketInfoBackup*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::VerifyAirPods(QString, QString, std::function<void(ISocketInfoAirPods*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::VerifyDevice(ISocketDevice*, const QByteArray&,
                                               std::function<void(ISocketInfoVerify*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::VerifyImage(ISocketDevice*, int, const char*,
                                              std::function<void(ISocketInfoImage*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::DeviceIpsw(ISocketDevice*, std::function<void(ISocketInfoIpsw*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::Feedback(ISocketFeedback*, std::function<void(QString)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::DeviceKey(std::function<void(ISocketInfoKey*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::VerifyFeedback(ISocketDevice*, const XString&) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::VerifyFeedbackReply(
    ISocketDevice*, std::function<void(const XSocketInfoVerifyFeedbackReply&)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::RequestVerifyCode(const char*) {
    return nullptr;
}

bool PelmorSocketHelper::WarrantyVerify(ISocketDevice*, std::function<void(const char*, const char*)>) {
    return false;
}

bool PelmorSocketHelper::WarrantySelect(ISocketDevice*, const char*, const char*,
                                        std::function<void(const char*)>) {
    return false;
}

ISocketReply* PelmorSocketHelper::TokenCreate(const char*, const char*,
                                              std::function<void(const wchar_t*, unsigned long long)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::TokenRefresh(std::function<void(const wchar_t*, unsigned long long)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::Heartbeat(std::function<void(ISocketInfoHeartbeat*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::UserImage(const char*, std::function<void(ISocketInfoAccount*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::ChangePassword(const char*, const char*) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QueryBasic(ISocketDevice*, std::function<void(ISocketQueryBasic*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QueryColor(ISocketDevice*, std::function<void(const ISocketInfoColor*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QueryScreen(ISocketDevice*, std::function<void(const ISocketInfoScreen*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QueryDetails(std::function<void(ISocketQueryDetails*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QueryIdlock(ISocketDevice*, std::function<void(ISocketQueryIdlock*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QueryWarranty(ISocketDevice*,
                                                std::function<void(const ISocketQueryWarranty*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QueryRefurbish(ISocketDevice*,
                                                 std::function<void(ISocketQueryRefurbish*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QuerySimlock(ISocketDevice*, std::function<void(ISocketQuerySimlock*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QueryInvoice(const char*, std::function<void(ISocketQueryInvoice*)>) {
    return nullptr;
}

ISocketReply* PelmorSocketHelper::QueryPower(const char*, const char*,
                                             std::function<void(ISocketQueryPower*)>) {
    return nullptr;
}
