#pragma once

#include "frame/PelmorSocketHelper.h"

// The standard edition: every operation is a method name inside one request document posted to one
// address. Each group of operations lives in its own source file.
class PelmorSocketStandard : public PelmorSocketHelper {
  public:
    PelmorSocketStandard(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source, const XString& version);
    ~PelmorSocketStandard() override;

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
