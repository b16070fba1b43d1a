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

// Anything that is not one of the four named classes, an unknown or missing tag included, is "other".
EDeviceVerifyClassify ClassifyOf(std::string_view tag) {
    if (tag == "base") return DEVICE_VERIFY_CLASSIFY_BASE;
    if (tag == "hardware") return DEVICE_VERIFY_CLASSIFY_HARDWARE;
    if (tag == "screen") return DEVICE_VERIFY_CLASSIFY_SCREEN;
    if (tag == "fingerprint") return DEVICE_VERIFY_CLASSIFY_FINGERPRINT;
    return DEVICE_VERIFY_CLASSIFY_OTHER;
}

void ReadTopic(const XJson& data, const char* topic, XString& value, XString& state) {
    const XJson& object = data.Member(topic);
    value = object.Member("value").AsXString();
    state = object.Member("status").AsXString();
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
    Fill(classify, item);
}

void CSocketInfoVerifyItem::Fill(EDeviceVerifyClassify classify, const XJson& item) noexcept {
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
        texts_.Assign(draft);
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
    return Copy(versionMessage_);
}
XString CSocketInfoVerify::GetVerifyMessage() const noexcept {
    return Copy(verifyMessage_);
}
XString CSocketInfoVerify::GetTotalResult() const noexcept {
    return Copy(totalResult_);
}
XString CSocketInfoVerify::GetCardValue() const noexcept {
    return Copy(cardValue_);
}
XString CSocketInfoVerify::GetCardState() const noexcept {
    return Copy(cardState_);
}
XString CSocketInfoVerify::GetOpenValue() const noexcept {
    return Copy(openValue_);
}
XString CSocketInfoVerify::GetOpenState() const noexcept {
    return Copy(openState_);
}
XString CSocketInfoVerify::GetScore() const noexcept {
    return Copy(score_);
}
XString CSocketInfoVerify::GetRootValue() const noexcept {
    return Copy(rootValue_);
}
XString CSocketInfoVerify::GetRootState() const noexcept {
    return Copy(rootState_);
}
XString CSocketInfoVerify::GetWifiValue() const noexcept {
    return Copy(wifiValue_);
}
XString CSocketInfoVerify::GetWifiState() const noexcept {
    return Copy(wifiState_);
}
XString CSocketInfoVerify::GetDiskValue() const noexcept {
    return Copy(diskValue_);
}
XString CSocketInfoVerify::GetDiskState() const noexcept {
    return Copy(diskState_);
}
XString CSocketInfoVerify::GetMeidValue() const noexcept {
    return Copy(meidValue_);
}
XString CSocketInfoVerify::GetMeidState() const noexcept {
    return Copy(meidState_);
}
XString CSocketInfoVerify::GetBaseState() const noexcept {
    return Copy(baseState_);
}
XString CSocketInfoVerify::GetHardwareState() const noexcept {
    return Copy(hardwareState_);
}
XString CSocketInfoVerify::GetScreenState() const noexcept {
    return Copy(screenState_);
}
XString CSocketInfoVerify::GetFingerMarkState() const noexcept {
    return Copy(fingerMarkState_);
}
XString CSocketInfoVerify::GetOtherState() const noexcept {
    return Copy(otherState_);
}
XString CSocketInfoVerify::GetMainboardValue() const noexcept {
    return Copy(mainboardValue_);
}
XString CSocketInfoVerify::GetMainboardState() const noexcept {
    return Copy(mainboardState_);
}
XString CSocketInfoVerify::GetBasebandValue() const noexcept {
    return Copy(basebandValue_);
}
XString CSocketInfoVerify::GetBasebandState() const noexcept {
    return Copy(basebandState_);
}
XString CSocketInfoVerify::GetSimValue() const noexcept {
    return Copy(simValue_);
}
XString CSocketInfoVerify::GetSimState() const noexcept {
    return Copy(simState_);
}
XString CSocketInfoVerify::GetHarddiskValue() const noexcept {
    return Copy(harddiskValue_);
}
XString CSocketInfoVerify::GetHarddiskState() const noexcept {
    return Copy(harddiskState_);
}

void CSocketInfoVerify::TraverseItem(
    std::function<void(const ISocketInfoVerifyItem*)> function) const noexcept {
    if (!function) return;
    for (const CSocketInfoVerifyItem* item : items_)
        function(item);
}

void CSocketInfoVerify::Clear() noexcept {
    for (CSocketInfoVerifyItem* item : items_)
        delete item;
    items_.clear();
}

void CSocketInfoVerify::SetJson(XJson& data) noexcept {
    // Only the items go; the texts keep their values until read again below.
    Clear();
    try {
        versionMessage_ = data.Member("singleItemsMsg").AsXString();
        verifyMessage_ = data.Member("msg").AsXString();
        totalResult_ = data.Member("totalResult").AsXString();
        ReadTopic(data, "iccid", cardValue_, cardState_);
        ReadTopic(data, "teardown", openValue_, openState_);
        score_ = data.Member("score").AsXString();
        ReadTopic(data, "root", rootValue_, rootState_);
        ReadTopic(data, "wifi", wifiValue_, wifiState_);
        ReadTopic(data, "replaceHD", diskValue_, diskState_);
        ReadTopic(data, "meid", meidValue_, meidState_);

        // A reply without class states leaves the previous ones standing.
        const XJson& states = data.Member("items");
        if (!states.IsEmpty()) {
            baseState_ = states.Member("base").AsXString();
            hardwareState_ = states.Member("hardware").AsXString();
            screenState_ = states.Member("screen").AsXString();
            fingerMarkState_ = states.Member("fingerprint").AsXString();
            otherState_ = states.Member("other").AsXString();
        }

        const XJson& list = data.Member("resultList");
        const unsigned count = list.GetArraySize();
        for (unsigned i = 0; i < count && items_.size() < RecordList::kMaxItems; ++i) {
            const XJson& element = list.Element(i);
            // A line is an object; anything else would only make an item of empty texts.
            if (!element.IsObject() || element.IsEmpty()) continue;
            const EDeviceVerifyClassify classify = ClassifyOf(element.Member("tag").TextView());
            CSocketInfoVerifyItem* item = new (std::nothrow) CSocketInfoVerifyItem();
            if (!item) {
                Pelmor::NoteMemoryShortage();
                continue;
            }
            item->Fill(classify, element);
            try {
                items_.push_back(item);
            } catch (...) {
                Pelmor::NoteMemoryShortage();
                delete item;
            }
        }

        ReadTopic(data, "mainboard", mainboardValue_, mainboardState_);
        ReadTopic(data, "baseband", basebandValue_, basebandState_);
        ReadTopic(data, "sim", simValue_, simState_);
        ReadTopic(data, "hardDisk", harddiskValue_, harddiskState_);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the report keeps what it read so far.
    }
}

void CSocketInfoVerify::SetError(int error) noexcept {
    error_ = error;
}

void CSocketInfoVerify::SetRequestMessage(XString message) noexcept {
    requestMessage_ = std::move(message);
}
