#pragma once

// The host's feedback form, read by Feedback(). Every operation returns UTF-8 text, zero-terminated and
// never null, that stays valid for the duration of the call it is passed to. The order of the virtual
// members is the table of slots the library calls through: never reorder, insert or remove one.
class ISocketFeedback {
  public:
    virtual const char* GetContactId() = 0;
    virtual const char* GetMessage() = 0;
    virtual const char* GetOsVersion() = 0;
    virtual const char* GetItunesVersion() = 0;
    virtual const char* GetMobileName() = 0;
    virtual const char* GetEcid() = 0;

    virtual ~ISocketFeedback() = default;
};
