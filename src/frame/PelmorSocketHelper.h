#pragma once

#include <pelmor/PelmorSocketInterface.h>
#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>

// The one implementation of the service interface that both editions share: real bodies for the
// process-wide settings, and for every service operation a body that does nothing and returns null (or
// false). The editions override the operations they offer. Objects carry no state of their own.
class PelmorSocketHelper : public PelmorSocketInterface {
  public:
    PelmorSocketHelper() = default;

    void Initialize(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source,
                    const XString& version) override;
    void SetToken(const XString& token) override;
    XString GetToken() override;

    bool CensusOperation(const XString& function, const XString& event, bool result) override;
    ISocketReply* PhoneQueryVerify(const wchar_t* mobile,
                                   std::function<void(const wchar_t*)> callback) override;
    ISocketReply* PhoneLogin(const wchar_t* mobile, const wchar_t* code, const wchar_t* no,
                             const wchar_t* key, std::function<void(const wchar_t*)> callback) override;
    ISocketReply* WecharReplyQRCode(std::function<void(const wchar_t*, QByteArray)> callback) override;
    ISocketReply* WecharQueryToken(const wchar_t* key,
                                   std::function<void(ISocketInfoWechar*)> callback) override;
    ISocketReply* WecharBindPhone(const wchar_t* openId, const wchar_t* mobile, const wchar_t* code,
                                  const wchar_t* referralCode, const wchar_t* no, const wchar_t* key,
                                  std::function<void(const wchar_t*)> callback) override;
    ISocketReply* WecharLogin(const wchar_t* openId, const wchar_t* key,
                              std::function<void(const wchar_t*)> callback) override;
    ISocketReply* TokenLogin(const wchar_t* token, const wchar_t* key,
                             std::function<void(const wchar_t*)> callback) override;
    ISocketReply* TokenHeartbeat(const wchar_t* key, std::function<void(bool)> callback) override;
    ISocketReply* TokenUpdateSpread(const wchar_t* referralCode) override;
    ISocketReply* TokenQueryUser(std::function<void(ISocketInfoUser*)> callback) override;
    ISocketReply* TokenQueryPower(std::function<void(ISocketQueryPower*)> callback) override;
    ISocketReply* TokenQueryNotifyList(std::function<void(long long, long long)> callback) override;
    ISocketReply* TokenQueryNotify(long long id, std::function<void(ISocketInfoNotify*)> callback) override;
    ISocketReply* TokenModifyPhone(const wchar_t* mobile, const wchar_t* code, const wchar_t* no) override;
    ISocketReply* PaymentPicture(ISocketDevice* device, bool way,
                                 std::function<void(QString, QByteArray)> callback) override;
    ISocketReply* PaymentResult(QString tradeNo, std::function<void(bool)> callback) override;
    ISocketReply* ProfessionalCheck(ISocketDevice* device,
                                    std::function<void(bool, double)> callback) override;
    ISocketReply* ProfessionalVerify(ISocketDevice* device, QByteArray file,
                                     std::function<void(ISocketInfoProverify*)> callback) override;
    ISocketReply* UploadIdlock(ISocketDevice* device, int status) override;
    ISocketReply* UploadIcloud(ISocketDevice* device, int status) override;
    ISocketReply* DeviceBackup(ISocketDevice* device,
                               std::function<void(ISocketInfoBackup*)> callback) override;
    ISocketReply* VerifyAirPods(QString instance, QString id,
                                std::function<void(ISocketInfoAirPods*)> callback) override;
    ISocketReply* VerifyDevice(ISocketDevice* device, const QByteArray& file,
                               std::function<void(ISocketInfoVerify*)> callback) override;
    ISocketReply* VerifyImage(ISocketDevice* device, int level, const char* levelMsg,
                              std::function<void(ISocketInfoImage*)> callback) override;
    ISocketReply* DeviceIpsw(ISocketDevice* device, std::function<void(ISocketInfoIpsw*)> callback) override;
    ISocketReply* Feedback(ISocketFeedback* feedback, std::function<void(QString)> callback) override;
    ISocketReply* DeviceKey(std::function<void(ISocketInfoKey*)> callback) override;
    ISocketReply* VerifyFeedback(ISocketDevice* device, const XString& message) override;
    ISocketReply* VerifyFeedbackReply(
        ISocketDevice* device, std::function<void(const XSocketInfoVerifyFeedbackReply&)> callback) override;
    ISocketReply* RequestVerifyCode(const char* mobile) override;
    bool WarrantyVerify(ISocketDevice* device,
                        std::function<void(const char*, const char*)> callback) override;
    bool WarrantySelect(ISocketDevice* device, const char* cookie, const char* answer,
                        std::function<void(const char*)> callback) override;
    ISocketReply* TokenCreate(const char* account, const char* password,
                              std::function<void(const wchar_t*, unsigned long long)> callback) override;
    ISocketReply* TokenRefresh(std::function<void(const wchar_t*, unsigned long long)> callback) override;
    ISocketReply* Heartbeat(std::function<void(ISocketInfoHeartbeat*)> callback) override;
    ISocketReply* UserImage(const char* account, std::function<void(ISocketInfoAccount*)> callback) override;
    ISocketReply* ChangePassword(const char* oldPassword, const char* newPassword) override;
    ISocketReply* QueryBasic(ISocketDevice* device,
                             std::function<void(ISocketQueryBasic*)> callback) override;
    ISocketReply* QueryColor(ISocketDevice* device,
                             std::function<void(const ISocketInfoColor*)> callback) override;
    ISocketReply* QueryScreen(ISocketDevice* device,
                              std::function<void(const ISocketInfoScreen*)> callback) override;
    ISocketReply* QueryDetails(std::function<void(ISocketQueryDetails*)> callback) override;
    ISocketReply* QueryIdlock(ISocketDevice* device,
                              std::function<void(ISocketQueryIdlock*)> callback) override;
    ISocketReply* QueryWarranty(ISocketDevice* device,
                                std::function<void(const ISocketQueryWarranty*)> callback) override;
    ISocketReply* QueryRefurbish(ISocketDevice* device,
                                 std::function<void(ISocketQueryRefurbish*)> callback) override;
    ISocketReply* QuerySimlock(ISocketDevice* device,
                               std::function<void(ISocketQuerySimlock*)> callback) override;
    ISocketReply* QueryInvoice(const char* date, std::function<void(ISocketQueryInvoice*)> callback) override;
    ISocketReply* QueryPower(const char* account, const char* password,
                             std::function<void(ISocketQueryPower*)> callback) override;
    ~PelmorSocketHelper() override;

    void SetSource(const XString& source) override;

    // The service address of the edition the live object was initialised with.
    static XString RequestAddress();

    // The request document: "method" (first form only), "params", then the current source, token and version.
    static XJson BuildJson(const char* method, XJson params);
    static XJson BuildJson(XJson params);
    // The text that ends every request document, the settings' members and the closing brace:
    // ,"source":"…","token":"…","version":"…"} byte for byte as BuildJson's document writes them. Made when
    // a setting changes, so that a request is written around its params without building the document.
    static std::string_view SettingsJson();

    // The device in request form: its chip id, product type and serial, and the full description.
    static XString DeviceToECID(ISocketDevice* device);
    static XString DeviceToProductType(ISocketDevice* device);
    static XString DeviceToSerial(ISocketDevice* device);
    static XJson DeviceToJson(ISocketDevice* device);
    // The same description as the JSON text DeviceToJson's value renders to, written without building it:
    // what requests send.
    static std::string DeviceDescriptionJson(ISocketDevice* device);
};
