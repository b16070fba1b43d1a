#pragma once

#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>
#include <pelmor/records/AccountRecords.h>

#include <string>

// Records about the user and the session. Each is filled by SetJson from one reply's data, every field
// from its own key whether present or not.

class CSocketInfoAccount : public ISocketInfoAccount {
  public:
    CSocketInfoAccount() = default;

    const wchar_t* GetNickName() noexcept override { return nickName_.c_str(); }
    const wchar_t* GetAvatar() noexcept override { return avatar_.c_str(); }
    const wchar_t* GetAvatarSmall() noexcept override { return avatarSmall_.c_str(); }
    const wchar_t* GetAvatarBig() noexcept override { return avatarBig_.c_str(); }
    const wchar_t* GetMerchantName() noexcept override { return merchantName_.c_str(); }
    const wchar_t* GetMerchantLogo() noexcept override { return merchantLogo_.c_str(); }

    ~CSocketInfoAccount() override = default;

    virtual void SetJson(XJson& data) noexcept;

  private:
    XString nickName_;
    XString avatar_;
    XString avatarSmall_;
    XString avatarBig_;
    XString merchantName_;
    XString merchantLogo_;
};

class CSocketInfoUser : public ISocketInfoUser {
  public:
    CSocketInfoUser() = default;

    long long GetID() noexcept override { return id_; }
    const wchar_t* GetName() noexcept override { return name_.c_str(); }
    const wchar_t* GetHeadImage() noexcept override { return headImage_.c_str(); }
    const wchar_t* GetPhone() noexcept override { return phone_.c_str(); }

    ~CSocketInfoUser() override = default;

    virtual void SetJson(XJson& data) noexcept;

  private:
    long long id_ = 0;
    XString name_;
    XString headImage_;
    XString phone_;
};

class CSocketInfoWechar : public ISocketInfoWechar {
  public:
    CSocketInfoWechar() = default;

    const wchar_t* GetID() noexcept override { return id_.c_str(); }
    const wchar_t* GetName() noexcept override { return name_.c_str(); }
    const wchar_t* GetHeadImage() noexcept override { return headImage_.c_str(); }
    const wchar_t* GetPhone() noexcept override { return phone_.c_str(); }

    ~CSocketInfoWechar() override = default;

    virtual void SetJson(XJson& data) noexcept;

  private:
    XString id_;
    XString name_;
    XString headImage_;
    XString phone_;
};

class CSocketInfoHeartbeat : public ISocketInfoHeartbeat {
  public:
    CSocketInfoHeartbeat() = default;

    const char* GetTime() noexcept override { return time_.c_str(); }
    const char* GetAddress() noexcept override { return address_.c_str(); }

    ~CSocketInfoHeartbeat() override = default;

    virtual void SetJson(XJson& data) noexcept;

  private:
    std::string time_;
    std::string address_;
};

class CSocketInfoNotify : public ISocketInfoNotify {
  public:
    CSocketInfoNotify() = default;

    long long GetID() noexcept override { return id_; }
    bool IsSystem() noexcept override { return system_; }
    const wchar_t* GetTitle() noexcept override { return title_.c_str(); }
    long long GetTime() noexcept override { return time_; }
    const wchar_t* GetURL() noexcept override { return url_.c_str(); }
    bool IsPopup() noexcept override { return popup_; }
    long long GetUpdateTime() noexcept override { return updateTime_; }

    ~CSocketInfoNotify() override = default;

    virtual void SetJson(XJson& data) noexcept;

  private:
    long long id_ = 0;
    bool system_ = true;
    XString title_;
    long long time_ = 0;
    XString url_;
    // Meaningless until SetJson; false rather than indeterminate so that reading it early is harmless.
    bool popup_ = false;
    long long updateTime_ = 0;
};

// A byte buffer. No service operation builds one; SetMemory keeps its long-standing behaviour of
// allocating a single zeroed byte and reporting a length of 0.
class CSocketInfoPicture : public ISocketInfoPicture {
  public:
    CSocketInfoPicture() = default;
    CSocketInfoPicture(const CSocketInfoPicture&) = delete;
    CSocketInfoPicture& operator=(const CSocketInfoPicture&) = delete;

    char* GetData() noexcept override { return data_; }
    int GetLength() noexcept override { return length_; }

    ~CSocketInfoPicture() override;

    // Drops the buffer, whatever the object holds.
    virtual void SetJson(XJson data) noexcept;
    virtual void SetMemory(const char* data, int length) noexcept;

  private:
    void Release() noexcept;

    char* data_ = nullptr;
    int length_ = 0;
};

class CSocketInfoImage : public ISocketInfoImage {
  public:
    CSocketInfoImage() = default;

    const char* GetName() noexcept override { return name_.c_str(); }
    const char* GetImage() noexcept override { return image_.c_str(); }

    ~CSocketInfoImage() override = default;

    virtual void SetJson(XJson& data) noexcept;

  private:
    std::string name_;
    std::string image_;
};

class CSocketQueryPower : public ISocketQueryPower {
  public:
    CSocketQueryPower() = default;

    bool GetVerifyNetwork() noexcept override { return verifyNetwork_; }
    bool GetOverGreen() noexcept override { return overGreen_; }

    ~CSocketQueryPower() override = default;

    virtual void SetJson(XJson data) noexcept;

  private:
    bool verifyNetwork_ = false;
    bool overGreen_ = false;
};

class CSocketQueryDetails : public ISocketQueryDetails {
  public:
    CSocketQueryDetails() = default;

    double GetBalance() noexcept override { return balance_; }

    ~CSocketQueryDetails() override = default;

    virtual void SetJson(XJson data) noexcept;

  private:
    double balance_ = 0.0;
};
