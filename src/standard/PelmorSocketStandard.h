#pragma once

#include "frame/PelmorSocketHelper.h"

// The standard edition: every operation is a method name inside one request document posted to one
// address. Each group of operations lives in its own source file.
class PelmorSocketStandard : public PelmorSocketHelper {
  public:
    PelmorSocketStandard(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source, const XString& version);
    ~PelmorSocketStandard() override;

    // Accounts, log-in and notifications (Accounts.cpp).
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
    ISocketReply* RequestVerifyCode(const char* mobile) override;

    // Professional check and payment (Professional.cpp).
    ISocketReply* PaymentPicture(ISocketDevice* device, bool way,
                                 std::function<void(QString, QByteArray)> callback) override;
    ISocketReply* PaymentResult(QString tradeNo, std::function<void(bool)> callback) override;
    ISocketReply* ProfessionalCheck(ISocketDevice* device,
                                    std::function<void(bool, double)> callback) override;
    ISocketReply* ProfessionalVerify(ISocketDevice* device, QByteArray file,
                                     std::function<void(ISocketInfoProverify*)> callback) override;

    // Device verification, lock states and look-ups (Verification.cpp).
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
    ISocketReply* DeviceKey(std::function<void(ISocketInfoKey*)> callback) override;
    ISocketReply* QueryColor(ISocketDevice* device,
                             std::function<void(const ISocketInfoColor*)> callback) override;
    ISocketReply* QueryScreen(ISocketDevice* device,
                              std::function<void(const ISocketInfoScreen*)> callback) override;
    ISocketReply* QueryWarranty(ISocketDevice* device,
                                std::function<void(const ISocketQueryWarranty*)> callback) override;

    // Feedback and the warranty-coverage site (FeedbackAndWarranty.cpp).
    ISocketReply* Feedback(ISocketFeedback* feedback, std::function<void(QString)> callback) override;
    ISocketReply* VerifyFeedback(ISocketDevice* device, const XString& message) override;
    ISocketReply* VerifyFeedbackReply(
        ISocketDevice* device, std::function<void(const XSocketInfoVerifyFeedbackReply&)> callback) override;
    bool WarrantyVerify(ISocketDevice* device,
                        std::function<void(const char*, const char*)> callback) override;
    bool WarrantySelect(ISocketDevice* device, const char* cookie, const char* answer,
                        std::function<void(const char*)> callback) override;
};
