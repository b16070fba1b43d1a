#pragma once

#include <pelmor/ISocketReply.h>
#include <pelmor/platform/XJson.h>

#include <QString>
#include <string>

// Codes the library itself raises; any other non-zero code is the service's own.
enum HalvexReplyCode : int {
    HALVEX_REPLY_SUCCESS = 0,
    HALVEX_REPLY_INVALID_ARG = 1,
    HALVEX_REPLY_ENCRYPT_ERROR = 2,
    HALVEX_REPLY_CONNECT_ERROR = 3,
    HALVEX_REPLY_DECRYPT_ERROR = 4,
    HALVEX_REPLY_HTTP_ERROR = 5,
};

// The reply envelope: the service's code, token, error name, message, time stamp and data, or one of the
// library's own failure codes with a fixed name and message. Every member is virtual, so a host may call
// any of them on a reply it was handed without linking against the library.
class HalvexReply : public ISocketReply {
  public:
    // A reply not yet answered reads as HALVEX_REPLY_INVALID_ARG: unanswered and bad arguments look alike.
    HalvexReply();
    explicit HalvexReply(XJson& reply);
    explicit HalvexReply(std::string text);

    void Release() override;
    bool IsSuccess() const override;
    QString Token() const override;
    int Code() const override;
    QString Error() const override;
    // The message, or a fixed fallback when the error name is empty (so a success shows the fallback).
    QString Message() const override;
    long long Timestamp() const override;

    ~HalvexReply() override;

    // Codes 1 to 5 also set their name and message; any other code changes only the code.
    virtual void Update(int code);
    // Takes token, code, error, msg, timestamp and data from a reply document, present or not. The data
    // is moved out of the document, which keeps the rest.
    virtual void Update(XJson& reply);
    virtual XJson& Data();

  private:
    int code_ = HALVEX_REPLY_INVALID_ARG;
    QString token_;
    QString error_;
    QString message_;
    long long timestamp_ = 0;
    XJson data_;
};
