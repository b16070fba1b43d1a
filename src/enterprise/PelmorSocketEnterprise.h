#pragma once

#include "frame/PelmorSocketHelper.h"

// The enterprise edition: every operation is a path appended to the enterprise address, with a request
// document that names no method. Only the operations this service offers are overridden; the others keep
// the inert bodies of PelmorSocketHelper. Each group of operations lives in its own source file.
class PelmorSocketEnterprise : public PelmorSocketHelper {
  public:
    PelmorSocketEnterprise(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source, const XString& version);
    ~PelmorSocketEnterprise() override;

    // Device verification, firmware, feedback and keys (DeviceQueries.cpp).
    ISocketReply* VerifyDevice(ISocketDevice* device, const QByteArray& file,
                               std::function<void(ISocketInfoVerify*)> callback) override;
    ISocketReply* DeviceIpsw(ISocketDevice* device, std::function<void(ISocketInfoIpsw*)> callback) override;
    ISocketReply* Feedback(ISocketFeedback* feedback, std::function<void(QString)> callback) override;
    ISocketReply* DeviceKey(std::function<void(ISocketInfoKey*)> callback) override;

    // The session (Session.cpp).
    ISocketReply* TokenCreate(const char* account, const char* password,
                              std::function<void(const wchar_t*, unsigned long long)> callback) override;
    ISocketReply* TokenRefresh(std::function<void(const wchar_t*, unsigned long long)> callback) override;
    ISocketReply* Heartbeat(std::function<void(ISocketInfoHeartbeat*)> callback) override;
    ISocketReply* UserImage(const char* account, std::function<void(ISocketInfoAccount*)> callback) override;
    ISocketReply* ChangePassword(const char* oldPassword, const char* newPassword) override;

    // Look-ups of a device and of the account (DeviceQueries.cpp).
    ISocketReply* QueryBasic(ISocketDevice* device,
                             std::function<void(ISocketQueryBasic*)> callback) override;
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
};
