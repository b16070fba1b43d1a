#pragma once

#include <pelmor/PelmorSocketEdition.h>
#include <pelmor/SocketTypes.h>
#include <pelmor/platform/XString.h>

#include <QByteArray>
#include <QString>
#include <functional>

// The service object a host programs against. The order of the virtual members is the table of slots
// the host calls through: never reorder, insert or remove a member (the destructors sit between
// QueryPower and SetSource on purpose).
//
// Every service operation blocks until its exchange is over and calls its callback on the calling thread,
// at most once, before it returns; records handed to a callback live only for that call. Operations that
// return ISocketReply* hand the host a reply it frees with Release(); a null reply means the object's
// edition does not offer the operation.
class PelmorSocketInterface {
  public:
    // Settings shared by the whole process.
    virtual void Initialize(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source,
                            const XString& version) = 0;
    virtual void SetToken(const XString& token) = 0;
    virtual XString GetToken() = 0;

    // Standard edition: accounts, log-in and notifications.
    virtual bool CensusOperation(const XString& function, const XString& event, bool result) = 0;
    virtual ISocketReply* PhoneQueryVerify(const wchar_t* mobile,
                                           std::function<void(const wchar_t*)> callback) = 0;
    virtual ISocketReply* PhoneLogin(const wchar_t* mobile, const wchar_t* code, const wchar_t* no,
                                     const wchar_t* key, std::function<void(const wchar_t*)> callback) = 0;
    virtual ISocketReply* WecharReplyQRCode(std::function<void(const wchar_t*, QByteArray)> callback) = 0;
    virtual ISocketReply* WecharQueryToken(const wchar_t* key,
                                           std::function<void(ISocketInfoWechar*)> callback) = 0;
    virtual ISocketReply* WecharBindPhone(const wchar_t* openId, const wchar_t* mobile, const wchar_t* code,
                                          const wchar_t* referralCode, const wchar_t* no, const wchar_t* key,
                                          std::function<void(const wchar_t*)> callback) = 0;
    virtual ISocketReply* WecharLogin(const wchar_t* openId, const wchar_t* key,
                                      std::function<void(const wchar_t*)> callback) = 0;
    virtual ISocketReply* TokenLogin(const wchar_t* token, const wchar_t* key,
                                     std::function<void(const wchar_t*)> callback) = 0;
    virtual ISocketReply* TokenHeartbeat(const wchar_t* key, std::function<void(bool)> callback) = 0;
    virtual ISocketReply* TokenUpdateSpread(const wchar_t* referralCode) = 0;
    virtual ISocketReply* TokenQueryUser(std::function<void(ISocketInfoUser*)> callback) = 0;
    virtual ISocketReply* TokenQueryPower(std::function<void(ISocketQueryPower*)> callback) = 0;
    virtual ISocketReply* TokenQueryNotifyList(std::function<void(long long, long long)> callback) = 0;
    virtual ISocketReply* TokenQueryNotify(long long id,
                                           std::function<void(ISocketInfoNotify*)> callback) = 0;
    virtual ISocketReply* TokenModifyPhone(const wchar_t* mobile, const wchar_t* code, const wchar_t* no) = 0;

    // Standard edition: professional check and payment.
    virtual ISocketReply* PaymentPicture(ISocketDevice* device, bool way,
                                         std::function<void(QString, QByteArray)> callback) = 0;
    virtual ISocketReply* PaymentResult(QString tradeNo, std::function<void(bool)> callback) = 0;
    virtual ISocketReply* ProfessionalCheck(ISocketDevice* device,
                                            std::function<void(bool, double)> callback) = 0;
    virtual ISocketReply* ProfessionalVerify(ISocketDevice* device, QByteArray file,
                                             std::function<void(ISocketInfoProverify*)> callback) = 0;

    // Device verification and look-ups.
    virtual ISocketReply* UploadIdlock(ISocketDevice* device, int status) = 0;
    virtual ISocketReply* UploadIcloud(ISocketDevice* device, int status) = 0;
    virtual ISocketReply* DeviceBackup(ISocketDevice* device,
                                       std::function<void(ISocketInfoBackup*)> callback) = 0;
    virtual ISocketReply* VerifyAirPods(QString instance, QString id,
                                        std::function<void(ISocketInfoAirPods*)> callback) = 0;
    virtual ISocketReply* VerifyDevice(ISocketDevice* device, const QByteArray& file,
                                       std::function<void(ISocketInfoVerify*)> callback) = 0;
    virtual ISocketReply* VerifyImage(ISocketDevice* device, int level, const char* levelMsg,
                                      std::function<void(ISocketInfoImage*)> callback) = 0;
    virtual ISocketReply* DeviceIpsw(ISocketDevice* device,
                                     std::function<void(ISocketInfoIpsw*)> callback) = 0;
    virtual ISocketReply* Feedback(ISocketFeedback* feedback, std::function<void(QString)> callback) = 0;
    virtual ISocketReply* DeviceKey(std::function<void(ISocketInfoKey*)> callback) = 0;
    virtual ISocketReply* VerifyFeedback(ISocketDevice* device, const XString& message) = 0;
    virtual ISocketReply* VerifyFeedbackReply(
        ISocketDevice* device, std::function<void(const XSocketInfoVerifyFeedbackReply&)> callback) = 0;
    virtual ISocketReply* RequestVerifyCode(const char* mobile) = 0;

    // Standard edition: the maker's warranty-coverage site (captcha step, then answer step).
    virtual bool WarrantyVerify(ISocketDevice* device,
                                std::function<void(const char*, const char*)> callback) = 0;
    virtual bool WarrantySelect(ISocketDevice* device, const char* cookie, const char* answer,
                                std::function<void(const char*)> callback) = 0;

    // Enterprise edition: session.
    virtual ISocketReply* TokenCreate(const char* account, const char* password,
                                      std::function<void(const wchar_t*, unsigned long long)> callback) = 0;
    virtual ISocketReply* TokenRefresh(std::function<void(const wchar_t*, unsigned long long)> callback) = 0;
    virtual ISocketReply* Heartbeat(std::function<void(ISocketInfoHeartbeat*)> callback) = 0;
    virtual ISocketReply* UserImage(const char* account,
                                    std::function<void(ISocketInfoAccount*)> callback) = 0;
    virtual ISocketReply* ChangePassword(const char* oldPassword, const char* newPassword) = 0;

    // Device queries (enterprise, except colour, screen and warranty which the standard edition serves too).
    virtual ISocketReply* QueryBasic(ISocketDevice* device,
                                     std::function<void(ISocketQueryBasic*)> callback) = 0;
    virtual ISocketReply* QueryColor(ISocketDevice* device,
                                     std::function<void(const ISocketInfoColor*)> callback) = 0;
    virtual ISocketReply* QueryScreen(ISocketDevice* device,
                                      std::function<void(const ISocketInfoScreen*)> callback) = 0;
    virtual ISocketReply* QueryDetails(std::function<void(ISocketQueryDetails*)> callback) = 0;
    virtual ISocketReply* QueryIdlock(ISocketDevice* device,
                                      std::function<void(ISocketQueryIdlock*)> callback) = 0;
    virtual ISocketReply* QueryWarranty(ISocketDevice* device,
                                        std::function<void(const ISocketQueryWarranty*)> callback) = 0;
    virtual ISocketReply* QueryRefurbish(ISocketDevice* device,
                                         std::function<void(ISocketQueryRefurbish*)> callback) = 0;
    virtual ISocketReply* QuerySimlock(ISocketDevice* device,
                                       std::function<void(ISocketQuerySimlock*)> callback) = 0;
    virtual ISocketReply* QueryInvoice(const char* date,
                                       std::function<void(ISocketQueryInvoice*)> callback) = 0;
    // Offered by neither edition; kept so that the slots after it stay in place.
    virtual ISocketReply* QueryPower(const char* account, const char* password,
                                     std::function<void(ISocketQueryPower*)> callback) = 0;

    virtual ~PelmorSocketInterface() = default;

    virtual void SetSource(const XString& source) = 0;
};
