#pragma once

#include <pelmor/platform/MemoryShortage.h>
#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>
#include <pelmor/records/DeviceQueries.h>

#include <QString>
#include <string>

#include "records/RecordText.h"

// Answers of the per-device look-ups. The colour, screen and warranty records are built whole by their
// constructor; the others are filled by SetJson.

class CSocketInfoColor : public ISocketInfoColor {
  public:
    explicit CSocketInfoColor(XJson& data) noexcept;

    XString GetFrontColor() const noexcept override;
    XString GetBackColor() const noexcept override;

    ~CSocketInfoColor() override = default;

  private:
    XString frontColor_;
    XString backColor_;
};

class CSocketInfoScreen : public ISocketInfoScreen {
  public:
    explicit CSocketInfoScreen(XJson& data) noexcept;

    XString GetFactory() const noexcept override;
    XString GetDate() const noexcept override;

    ~CSocketInfoScreen() override = default;

  private:
    XString factory_;
    XString date_;
};

class CSocketInfoAirPods : public ISocketInfoAirPods {
  public:
    CSocketInfoAirPods() noexcept;

    QString GetModel() noexcept override { return model_; }
    QString GetSerialNumber() noexcept override { return serialNumber_; }
    QString GetDescribe() noexcept override { return describe_; }
    bool IsApple() noexcept override { return apple_; }

    ~CSocketInfoAirPods() override = default;

    virtual void SetJson(XJson& data) noexcept;

  private:
    QString model_;
    QString serialNumber_;
    QString describe_;
    bool apple_ = false;
};

class CSocketQueryBasic : public ISocketQueryBasic {
  public:
    CSocketQueryBasic() = default;

    const char* GetColorFront() noexcept override { return colorFront_.c_str(); }
    const char* GetColorBack() noexcept override { return colorBack_.c_str(); }

    ~CSocketQueryBasic() override = default;

    virtual void SetJson(XJson data) noexcept;

  private:
    std::string colorFront_;
    std::string colorBack_;
};

// One checked line, shared by the activation-lock, refurbishment and SIM-lock records.
template <typename Interface>
class CSocketQueryCheckLine : public Interface {
  public:
    const char* GetKey() noexcept override { return key_.c_str(); }
    const char* GetName() noexcept override { return name_.c_str(); }
    bool GetShow() noexcept override { return show_; }
    const char* GetResult() noexcept override { return result_.c_str(); }

    ~CSocketQueryCheckLine() override = default;

    // A "show" holding a y of either case sets the flag; nothing ever clears it, so a line refilled
    // with another answer stays shown.
    virtual void SetJson(XJson data) noexcept {
        try {
            key_ = data.ToString("key");
            name_ = data.ToString("name");
            result_ = data.ToString("result");
            if (RecordText::ContainsY(data.ToString("show"))) show_ = true;
        } catch (...) {
            Pelmor::NoteMemoryShortage();
            // Out of memory: the line keeps what it read so far.
        }
    }

  private:
    std::string key_;
    std::string name_;
    bool show_ = false;
    std::string result_;
};

class CSocketQueryIdlock : public CSocketQueryCheckLine<ISocketQueryIdlock> {};
class CSocketQueryRefurbish : public CSocketQueryCheckLine<ISocketQueryRefurbish> {};
class CSocketQuerySimlock : public CSocketQueryCheckLine<ISocketQuerySimlock> {};

class CSocketQueryWarranty : public ISocketQueryWarranty {
  public:
    // Reads the remaining days under the key of the library's edition at this moment: the enterprise
    // service says "daysleft", the standard one "leftDays".
    explicit CSocketQueryWarranty(XJson data) noexcept;

    XString GetPurchase() const noexcept override;
    XString GetWarranty() const noexcept override;
    int GetDaysleft() const noexcept override { return daysleft_; }

    ~CSocketQueryWarranty() override = default;

  private:
    XString purchase_;
    XString warranty_;
    int daysleft_ = 0;
};
