#pragma once

// Records about the user and the session. Text pointers stay valid while the record lives, that is for
// the duration of the callback that received it; copy what you keep.

// The enterprise account's profile (UserImage).
class ISocketInfoAccount {
  public:
    virtual const wchar_t* GetNickName() = 0;
    virtual const wchar_t* GetAvatar() = 0;
    virtual const wchar_t* GetAvatarSmall() = 0;
    virtual const wchar_t* GetAvatarBig() = 0;
    virtual const wchar_t* GetMerchantName() = 0;
    virtual const wchar_t* GetMerchantLogo() = 0;

    virtual ~ISocketInfoAccount() = default;
};

// The standard edition's user (TokenQueryUser).
class ISocketInfoUser {
  public:
    virtual long long GetID() = 0;
    virtual const wchar_t* GetName() = 0;
    virtual const wchar_t* GetHeadImage() = 0;
    virtual const wchar_t* GetPhone() = 0;

    virtual ~ISocketInfoUser() = default;
};

// The WeChat profile found by a QR log-in (WecharQueryToken). Its identifier is text.
class ISocketInfoWechar {
  public:
    virtual const wchar_t* GetID() = 0;
    virtual const wchar_t* GetName() = 0;
    virtual const wchar_t* GetHeadImage() = 0;
    virtual const wchar_t* GetPhone() = 0;

    virtual ~ISocketInfoWechar() = default;
};

// The enterprise heartbeat's answer: the server's date and the address it saw (UTF-8).
class ISocketInfoHeartbeat {
  public:
    virtual const char* GetTime() = 0;
    virtual const char* GetAddress() = 0;

    virtual ~ISocketInfoHeartbeat() = default;
};

// One notification (TokenQueryNotify). A notification counts as a system one until its data says not.
class ISocketInfoNotify {
  public:
    virtual long long GetID() = 0;
    virtual bool IsSystem() = 0;
    virtual const wchar_t* GetTitle() = 0;
    virtual long long GetTime() = 0;
    virtual const wchar_t* GetURL() = 0;
    virtual bool IsPopup() = 0;
    virtual long long GetUpdateTime() = 0;

    virtual ~ISocketInfoNotify() = default;
};

// A raw byte buffer and its length.
class ISocketInfoPicture {
  public:
    virtual char* GetData() = 0;
    virtual int GetLength() = 0;

    virtual ~ISocketInfoPicture() = default;
};

// A named report image (VerifyImage), as the service sends it: the image is text, not decoded.
class ISocketInfoImage {
  public:
    virtual const char* GetName() = 0;
    virtual const char* GetImage() = 0;

    virtual ~ISocketInfoImage() = default;
};

// The user's rights (TokenQueryPower). The network-verification right is the service's "IMEID", the
// other its "HARDDISK".
class ISocketQueryPower {
  public:
    virtual bool GetVerifyNetwork() = 0;
    virtual bool GetOverGreen() = 0;

    virtual ~ISocketQueryPower() = default;
};

// The enterprise account's balance (QueryDetails).
class ISocketQueryDetails {
  public:
    virtual double GetBalance() = 0;

    virtual ~ISocketQueryDetails() = default;
};
