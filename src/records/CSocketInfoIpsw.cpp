#include "records/CSocketInfoIpsw.h"
#include <pelmor/platform/MemoryShortage.h>

#include "records/RecordList.h"

#include "records/RecordText.h"

using RecordText::Copy;

XString CSocketInfoIpswItem::GetVersion() const noexcept {
    return Copy(version_);
}
XString CSocketInfoIpswItem::GetName() const noexcept {
    return Copy(name_);
}
XString CSocketInfoIpswItem::GetSize() const noexcept {
    return Copy(size_);
}
XString CSocketInfoIpswItem::GetUrl() const noexcept {
    return Copy(url_);
}
XString CSocketInfoIpswItem::GetBuildId() const noexcept {
    return Copy(buildId_);
}
XString CSocketInfoIpswItem::GetMD5() const noexcept {
    return Copy(md5_);
}

void CSocketInfoIpswItem::SetJson(XJson& item) noexcept {
    try {
        version_ = item.ToXString("version");
        name_ = item.ToXString("fileName");
        size_ = item.ToXString("size");
        url_ = item.ToXString("url");
        beta_ = item.ToXString("beta").compare(L"y", CaseInsensitive) == 0;
        buildId_ = item.ToXString("buildId");
        md5_ = item.ToXString("md5sum");
        bytes_ = item.ToInt64("byteSize");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the item keeps what it read so far.
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
