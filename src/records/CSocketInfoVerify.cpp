#include "records/CSocketInfoVerify.h"
#include <pelmor/platform/MemoryShortage.h>

#include <iterator>
#include <new>
#include <string>
#include <string_view>

#include "records/RecordList.h"
#include "records/RecordText.h"

using RecordText::Copy;

namespace {

// Key texts in the order of EDeviceVerifyKey from 1; matched exactly, case included. Compared as the UTF-8
// the reply carries: no wide copy is made just to be compared.
constexpr std::string_view kKeyTexts[] = {
    "mobName",  "mod",      "rmd",  "regn", "srnm", "mlb",   "wmac",      "bmac",     "emac",
    "wifiCode", "color",    "batt", "ram",  "fcms", "bcms",  "mainboard", "baseband", "imei",
    "hardDisk", "teardown", "lcm",  "nsrn", "nvsn", "iccid", "root",      "meid",
};

// Read from the member's text only: a number or bool spelled out is never one of these.
EDeviceVerifyKey KeyOf(std::string_view text) {
    for (size_t i = 0; i < std::size(kKeyTexts); ++i)
        if (text == kKeyTexts[i]) return static_cast<EDeviceVerifyKey>(i + 1);
    return DEVICE_VERIFY_KEY_UNKNOWN;
}

bool IsLine(const XJson& element) {
    return element.IsObject() && !element.IsEmpty();
}

// Anything that is not one of the four named classes, an unknown or missing tag included, is "other".
EDeviceVerifyClassify ClassifyOf(std::string_view tag) {
    if (tag == "base") return DEVICE_VERIFY_CLASSIFY_BASE;
    if (tag == "hardware") return DEVICE_VERIFY_CLASSIFY_HARDWARE;
    if (tag == "screen") return DEVICE_VERIFY_CLASSIFY_SCREEN;
    if (tag == "fingerprint") return DEVICE_VERIFY_CLASSIFY_FINGERPRINT;
    return DEVICE_VERIFY_CLASSIFY_OTHER;
}

}  // namespace

XString CSocketInfoVerifyItem::GetName() const noexcept {
    return texts_.Wide(kName);
}
XString CSocketInfoVerifyItem::GetResult() const noexcept {
    return texts_.Wide(kResult);
}
XString CSocketInfoVerifyItem::GetOriginal() const noexcept {
    return texts_.Wide(kOriginal);
}
XString CSocketInfoVerifyItem::GetNow() const noexcept {
    return texts_.Wide(kNow);
}
XString CSocketInfoVerifyItem::GetMessage() const noexcept {
    return texts_.Wide(kMessage);
}
XString CSocketInfoVerifyItem::GetURL() const noexcept {
    return texts_.Wide(kUrl);
}
XString CSocketInfoVerifyItem::GetOriginalTime() const noexcept {
    return texts_.Wide(kOriginalTime);
}
XString CSocketInfoVerifyItem::GetNowTime() const noexcept {
    return texts_.Wide(kNowTime);
}

void CSocketInfoVerifyItem::SetJson(EDeviceVerifyClassify classify, XJson& item) noexcept {
    Fill(classify, item, TextKeeping::kCopy);
}

void CSocketInfoVerifyItem::Fill(EDeviceVerifyClassify classify, const XJson& item,
                                 TextKeeping keeping) noexcept {
    classify_ = classify;
    // What the line leaves out reads as empty; the line is then read in one pass over its members, since a
    // search per field costs a scan of the line each (a report has some thirty lines of a dozen members).
    texts_.Clear();
    show_ = false;
    business_ = false;
    key_ = DEVICE_VERIFY_KEY_UNKNOWN;
    try {
        Utf8Texts<kTexts>::Draft draft;
        item.ForEachMember([this, &draft](std::string_view key, const XJson& value) {
            if (key == "name")
                draft.Set(kName, value);
            else if (key == "result")
                draft.Set(kResult, value);
            else if (key == "nowValue")
                draft.Set(kNow, value);
            else if (key == "originalValue")
                draft.Set(kOriginal, value);
            else if (key == "msg")
                draft.Set(kMessage, value);
            else if (key == "url")
                draft.Set(kUrl, value);
            else if (key == "originalProductionDate")
                draft.Set(kOriginalTime, value);
            else if (key == "nowProductionDate")
                draft.Set(kNowTime, value);
            else if (key == "show")
                show_ = value.IsString() ? RecordText::ContainsY(value.TextView())
                                         : RecordText::ContainsY(value.AsString());
            else if (key == "cert")
                business_ = value.AsBool();
            else if (key == "key")
                key_ = KeyOf(value.TextView());
        });
        texts_.Take(draft, keeping);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the line keeps its flags and no texts.
    }
}

CSocketInfoVerify::~CSocketInfoVerify() {
    Clear();
}

XString CSocketInfoVerify::GetRequestMessage() const noexcept {
    return Copy(requestMessage_);
}
XString CSocketInfoVerify::GetVersionMessage() const noexcept {
    return texts_.Wide(kVersionMessage);
}
XString CSocketInfoVerify::GetVerifyMessage() const noexcept {
    return texts_.Wide(kVerifyMessage);
}
XString CSocketInfoVerify::GetTotalResult() const noexcept {
    return texts_.Wide(kTotalResult);
}
XString CSocketInfoVerify::GetCardValue() const noexcept {
    return texts_.Wide(kCardValue);
}
XString CSocketInfoVerify::GetCardState() const noexcept {
    return texts_.Wide(kCardState);
}
XString CSocketInfoVerify::GetOpenValue() const noexcept {
    return texts_.Wide(kOpenValue);
}
XString CSocketInfoVerify::GetOpenState() const noexcept {
    return texts_.Wide(kOpenState);
}
XString CSocketInfoVerify::GetScore() const noexcept {
    return texts_.Wide(kScore);
}
XString CSocketInfoVerify::GetRootValue() const noexcept {
    return texts_.Wide(kRootValue);
}
XString CSocketInfoVerify::GetRootState() const noexcept {
    return texts_.Wide(kRootState);
}
XString CSocketInfoVerify::GetWifiValue() const noexcept {
    return texts_.Wide(kWifiValue);
}
XString CSocketInfoVerify::GetWifiState() const noexcept {
    return texts_.Wide(kWifiState);
}
XString CSocketInfoVerify::GetDiskValue() const noexcept {
    return texts_.Wide(kDiskValue);
}
XString CSocketInfoVerify::GetDiskState() const noexcept {
    return texts_.Wide(kDiskState);
}
XString CSocketInfoVerify::GetMeidValue() const noexcept {
    return texts_.Wide(kMeidValue);
}
XString CSocketInfoVerify::GetMeidState() const noexcept {
    return texts_.Wide(kMeidState);
}
XString CSocketInfoVerify::GetBaseState() const noexcept {
    return states_.Wide(kBaseState);
}
XString CSocketInfoVerify::GetHardwareState() const noexcept {
    return states_.Wide(kHardwareState);
}
XString CSocketInfoVerify::GetScreenState() const noexcept {
    return states_.Wide(kScreenState);
}
XString CSocketInfoVerify::GetFingerMarkState() const noexcept {
    return states_.Wide(kFingerMarkState);
}
XString CSocketInfoVerify::GetOtherState() const noexcept {
    return states_.Wide(kOtherState);
}
XString CSocketInfoVerify::GetMainboardValue() const noexcept {
    return texts_.Wide(kMainboardValue);
}
XString CSocketInfoVerify::GetMainboardState() const noexcept {
    return texts_.Wide(kMainboardState);
}
XString CSocketInfoVerify::GetBasebandValue() const noexcept {
    return texts_.Wide(kBasebandValue);
}
XString CSocketInfoVerify::GetBasebandState() const noexcept {
    return texts_.Wide(kBasebandState);
}
XString CSocketInfoVerify::GetSimValue() const noexcept {
    return texts_.Wide(kSimValue);
}
XString CSocketInfoVerify::GetSimState() const noexcept {
    return texts_.Wide(kSimState);
}
XString CSocketInfoVerify::GetHarddiskValue() const noexcept {
    return texts_.Wide(kHarddiskValue);
}
XString CSocketInfoVerify::GetHarddiskState() const noexcept {
    return texts_.Wide(kHarddiskState);
}

void CSocketInfoVerify::TraverseItem(
    std::function<void(const ISocketInfoVerifyItem*)> function) const noexcept {
    if (!function) return;
    for (const CSocketInfoVerifyItem* item : items_)
        function(item);
}

void CSocketInfoVerify::Clear() noexcept {
    items_.clear();
    lines_.reset();
}

void CSocketInfoVerify::ReadTopic(Texts::Draft& draft, const XJson& data, const char* topic, Text value,
                                  Text state) {
    const XJson& object = data.Member(topic);
    draft.Set(value, object.Member("value"));
    draft.Set(state, object.Member("status"));
}

void CSocketInfoVerify::SetJson(XJson& data) noexcept {
    Read(data, TextKeeping::kCopy);
}

void CSocketInfoVerify::ViewJson(const XJson& data) noexcept {
    Read(data, TextKeeping::kView);
}

void CSocketInfoVerify::Read(const XJson& data, TextKeeping keeping) noexcept {
    // Only the items go; the texts keep their values until read again below.
    Clear();
    try {
        Texts::Draft draft;
        draft.Set(kVersionMessage, data.Member("singleItemsMsg"));
        draft.Set(kVerifyMessage, data.Member("msg"));
        draft.Set(kTotalResult, data.Member("totalResult"));
        ReadTopic(draft, data, "iccid", kCardValue, kCardState);
        ReadTopic(draft, data, "teardown", kOpenValue, kOpenState);
        draft.Set(kScore, data.Member("score"));
        ReadTopic(draft, data, "root", kRootValue, kRootState);
        ReadTopic(draft, data, "wifi", kWifiValue, kWifiState);
        ReadTopic(draft, data, "replaceHD", kDiskValue, kDiskState);
        ReadTopic(draft, data, "meid", kMeidValue, kMeidState);
        ReadTopic(draft, data, "mainboard", kMainboardValue, kMainboardState);
        ReadTopic(draft, data, "baseband", kBasebandValue, kBasebandState);
        ReadTopic(draft, data, "sim", kSimValue, kSimState);
        ReadTopic(draft, data, "hardDisk", kHarddiskValue, kHarddiskState);

        texts_.Take(draft, keeping);

        // A reply without class states leaves the previous ones standing.
        const XJson& states = data.Member("items");
        if (!states.IsEmpty()) {
            States::Draft classes;
            classes.Set(kBaseState, states.Member("base"));
            classes.Set(kHardwareState, states.Member("hardware"));
            classes.Set(kScreenState, states.Member("screen"));
            classes.Set(kFingerMarkState, states.Member("fingerprint"));
            classes.Set(kOtherState, states.Member("other"));
            states_.Assign(classes);
        }

        ReadLines(data.Member("resultList"), keeping);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the texts stay as they were, or the report has no items.
    }
}

void CSocketInfoVerify::ReadLines(const XJson& list, TextKeeping keeping) {
    // A line is an object; anything else would only make an item of empty texts. The lines are counted
    // first and made in one block, instead of one allocation each.
    const unsigned count = list.GetArraySize();
    std::size_t lines = 0;
    for (unsigned i = 0; i < count && lines < RecordList::kMaxItems; ++i)
        if (IsLine(list.Element(i))) ++lines;
    if (lines == 0) return;
    lines_.reset(new (std::nothrow) CSocketInfoVerifyItem[lines]);
    if (!lines_) {
        Pelmor::NoteMemoryShortage();
        return;
    }
    items_.reserve(lines);
    std::size_t next = 0;
    for (unsigned i = 0; i < count && next < lines; ++i) {
        const XJson& element = list.Element(i);
        if (!IsLine(element)) continue;
        CSocketInfoVerifyItem& line = lines_[next++];
        line.Fill(ClassifyOf(element.Member("tag").TextView()), element, keeping);
        items_.push_back(&line);
    }
}

void CSocketInfoVerify::SetError(int error) noexcept {
    error_ = error;
}

void CSocketInfoVerify::SetRequestMessage(XString message) noexcept {
    requestMessage_ = std::move(message);
}
