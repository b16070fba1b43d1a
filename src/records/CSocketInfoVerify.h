#pragma once

#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>
#include <pelmor/records/VerifyReport.h>

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "records/Utf8Texts.h"

class CSocketInfoVerifyItem : public ISocketInfoVerifyItem {
  public:
    CSocketInfoVerifyItem() = default;
    CSocketInfoVerifyItem(const CSocketInfoVerifyItem&) = delete;
    CSocketInfoVerifyItem& operator=(const CSocketInfoVerifyItem&) = delete;

    EDeviceVerifyClassify GetClassify() const noexcept override { return classify_; }
    EDeviceVerifyKey GetKey() const noexcept override { return key_; }
    XString GetName() const noexcept override;
    XString GetResult() const noexcept override;
    XString GetOriginal() const noexcept override;
    XString GetNow() const noexcept override;
    XString GetMessage() const noexcept override;
    XString GetURL() const noexcept override;
    XString GetOriginalTime() const noexcept override;
    XString GetNowTime() const noexcept override;
    bool GetShow() const noexcept override { return show_; }
    bool GetBusiness() const noexcept override { return business_; }

    ~CSocketInfoVerifyItem() override = default;

    virtual void SetJson(EDeviceVerifyClassify classify, XJson& item) noexcept;
    // What SetJson does, for a line read where it lives inside the report's data; with kView its texts
    // are viewed there, and that data must outlive the line.
    void Fill(EDeviceVerifyClassify classify, const XJson& item, TextKeeping keeping) noexcept;

  private:
    enum Text : std::size_t {
        kName,
        kResult,
        kOriginal,
        kNow,
        kMessage,
        kUrl,
        kOriginalTime,
        kNowTime,
        kTexts
    };

    EDeviceVerifyClassify classify_ = DEVICE_VERIFY_CLASSIFY_BASE;
    EDeviceVerifyKey key_ = DEVICE_VERIFY_KEY_UNKNOWN;
    Utf8Texts<kTexts> texts_;
    bool show_ = false;
    bool business_ = false;
};

// Built by VerifyDevice of either edition: SetJson with the reply's data, then SetError and
// SetRequestMessage, then handed to the callback and destroyed.
class CSocketInfoVerify : public ISocketInfoVerify {
  public:
    CSocketInfoVerify() = default;
    CSocketInfoVerify(const CSocketInfoVerify&) = delete;
    CSocketInfoVerify& operator=(const CSocketInfoVerify&) = delete;

    bool GetSuccess() const noexcept override { return success_; }
    int GetError() const noexcept override { return error_; }
    XString GetRequestMessage() const noexcept override;
    XString GetVersionMessage() const noexcept override;
    XString GetVerifyMessage() const noexcept override;
    XString GetTotalResult() const noexcept override;
    XString GetCardValue() const noexcept override;
    XString GetCardState() const noexcept override;
    XString GetOpenValue() const noexcept override;
    XString GetOpenState() const noexcept override;
    XString GetScore() const noexcept override;
    XString GetRootValue() const noexcept override;
    XString GetRootState() const noexcept override;
    XString GetWifiValue() const noexcept override;
    XString GetWifiState() const noexcept override;
    XString GetDiskValue() const noexcept override;
    XString GetDiskState() const noexcept override;
    XString GetMeidValue() const noexcept override;
    XString GetMeidState() const noexcept override;
    void TraverseItem(std::function<void(const ISocketInfoVerifyItem*)> function) const noexcept override;
    XString GetBaseState() const noexcept override;
    XString GetHardwareState() const noexcept override;
    XString GetScreenState() const noexcept override;
    XString GetFingerMarkState() const noexcept override;
    XString GetOtherState() const noexcept override;
    XString GetMainboardValue() const noexcept override;
    XString GetMainboardState() const noexcept override;
    XString GetBasebandValue() const noexcept override;
    XString GetBasebandState() const noexcept override;
    XString GetSimValue() const noexcept override;
    XString GetSimState() const noexcept override;
    XString GetHarddiskValue() const noexcept override;
    XString GetHarddiskState() const noexcept override;

    ~CSocketInfoVerify() override;

    virtual void Clear() noexcept;
    // Replaces the items and every text it reads; the five class states survive an empty "items".
    virtual void SetJson(XJson& data) noexcept;
    // What SetJson does without copying its texts: the report views them in data, which must outlive it
    // (a report handed to a callback and destroyed while the reply still holds its data). The class states
    // alone are copied, since a later filling without them keeps them.
    void ViewJson(const XJson& data) noexcept;
    virtual void SetError(int error) noexcept;
    virtual void SetRequestMessage(XString message) noexcept;

  private:
    // The texts read from the reply, in the getters' order.
    enum Text : std::size_t {
        kVersionMessage,
        kVerifyMessage,
        kTotalResult,
        kCardValue,
        kCardState,
        kOpenValue,
        kOpenState,
        kScore,
        kRootValue,
        kRootState,
        kWifiValue,
        kWifiState,
        kDiskValue,
        kDiskState,
        kMeidValue,
        kMeidState,
        kMainboardValue,
        kMainboardState,
        kBasebandValue,
        kBasebandState,
        kSimValue,
        kSimState,
        kHarddiskValue,
        kHarddiskState,
        kTexts
    };
    using Texts = Utf8Texts<kTexts>;
    // The five class states, in the getters' order. Always copied: a reply without them keeps them from
    // the filling before, whose data may be gone.
    enum ClassState : std::size_t {
        kBaseState,
        kHardwareState,
        kScreenState,
        kFingerMarkState,
        kOtherState,
        kStates
    };
    using States = Utf8Texts<kStates>;

    static void ReadTopic(Texts::Draft& draft, const XJson& data, const char* topic, Text value, Text state);
    void Read(const XJson& data, TextKeeping keeping) noexcept;
    // Makes the items from the reply's "resultList"; throws std::bad_alloc.
    void ReadLines(const XJson& list, TextKeeping keeping);

    // Never set: callers judge a report by its error and texts.
    bool success_ = false;
    int error_ = -1;
    XString requestMessage_;
    Texts texts_;
    States states_;
    // The items in the reply's order; they live in lines_.
    std::vector<CSocketInfoVerifyItem*> items_;
    std::unique_ptr<CSocketInfoVerifyItem[]> lines_;
};
