#include "records/CSocketInfoIpsw.h"
#include <pelmor/platform/MemoryShortage.h>

#include <string_view>

#include "records/RecordList.h"

XString CSocketInfoIpswItem::GetVersion() const noexcept {
    return texts_.Wide(kVersion);
}
XString CSocketInfoIpswItem::GetName() const noexcept {
    return texts_.Wide(kName);
}
XString CSocketInfoIpswItem::GetSize() const noexcept {
    return texts_.Wide(kSize);
}
XString CSocketInfoIpswItem::GetUrl() const noexcept {
    return texts_.Wide(kUrl);
}
XString CSocketInfoIpswItem::GetBuildId() const noexcept {
    return texts_.Wide(kBuildId);
}
XString CSocketInfoIpswItem::GetMD5() const noexcept {
    return texts_.Wide(kMD5);
}

void CSocketInfoIpswItem::SetJson(XJson& item) noexcept {
    try {
        Utf8Texts<kTexts>::Draft draft;
        draft.Set(kVersion, item.Member("version"));
        draft.Set(kName, item.Member("fileName"));
        draft.Set(kSize, item.Member("size"));
        draft.Set(kUrl, item.Member("url"));
        draft.Set(kBuildId, item.Member("buildId"));
        draft.Set(kMD5, item.Member("md5sum"));
        texts_.Assign(draft);
        // Only a text can be "y"; a number or bool spelled out never is.
        const std::string_view beta = item.Member("beta").TextView();
        beta_ = beta == "y" || beta == "Y";
        bytes_ = item.ToInt64("byteSize");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the item keeps what it had.
    }
}

CSocketInfoIpsw::~CSocketInfoIpsw() {
    Clear();
}

void CSocketInfoIpsw::Clear() noexcept {
    RecordList::DeleteItems(items_);
}

void CSocketInfoIpsw::SetJson(XJson array) noexcept {
    Clear();
    RecordList::AppendItems(items_, array);
}
