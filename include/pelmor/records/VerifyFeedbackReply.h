#pragma once

#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>

// The service's answer to a verification feedback (VerifyFeedbackReply), handed to the callback by
// constant reference. Everything but the constructor from reply data is defined here, so that a host
// that only loads the library at run time can still copy it.
class XSocketInfoVerifyFeedbackReply {
  public:
    explicit XSocketInfoVerifyFeedbackReply(XJson data) noexcept;
    XSocketInfoVerifyFeedbackReply(const XSocketInfoVerifyFeedbackReply& other) noexcept { CopyFrom(other); }
    XSocketInfoVerifyFeedbackReply& operator=(const XSocketInfoVerifyFeedbackReply& other) noexcept {
        CopyFrom(other);
        return *this;
    }

    virtual ~XSocketInfoVerifyFeedbackReply() = default;

    // Not a comparison, whatever its name: makes this reply a copy of other and returns it. Hosts built
    // against this behaviour rely on it, so it stays.
    virtual XSocketInfoVerifyFeedbackReply& operator==(const XSocketInfoVerifyFeedbackReply& other) noexcept {
        CopyFrom(other);
        return *this;
    }

    virtual bool GetResult() const noexcept { return result_; }
    virtual XString GetFeedbackMessage() const noexcept { return Copy(feedbackMessage_); }
    virtual XString GetFeedbackDate() const noexcept { return Copy(feedbackDate_); }
    virtual XString GetReplyMessage() const noexcept { return Copy(replyMessage_); }

  private:
    // Out of memory, a text keeps its old value (or comes back empty) rather than throw into the host.
    void CopyFrom(const XSocketInfoVerifyFeedbackReply& other) noexcept {
        result_ = other.result_;
        try {
            feedbackMessage_ = other.feedbackMessage_;
            feedbackDate_ = other.feedbackDate_;
            replyMessage_ = other.replyMessage_;
        } catch (...) {
        }
    }
    static XString Copy(const XString& text) noexcept {
        try {
            return text;
        } catch (...) {
            return XString();
        }
    }

    bool result_ = false;
    XString feedbackMessage_;
    XString feedbackDate_;
    XString replyMessage_;
};
