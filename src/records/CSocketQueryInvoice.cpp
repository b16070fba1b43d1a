#include "records/CSocketQueryInvoice.h"
#include <pelmor/platform/MemoryShortage.h>

#include "records/RecordList.h"

void CSocketQueryInvoiceItem::SetJson(XJson& item) noexcept {
    try {
        date_ = item.ToString("date");
        serial_ = item.ToString("srnm");
        target_ = item.ToString("used");
        amount_ = item.ToDouble("cost");
        balance_ = item.ToDouble("balance");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the line keeps what it read so far.
    }
}

CSocketQueryInvoice::~CSocketQueryInvoice() {
    Clear();
}

ISocketQueryInvoiceItem* CSocketQueryInvoice::GetItem(unsigned int index) noexcept {
    return index < items_.size() ? items_[index] : nullptr;
}

bool CSocketQueryInvoice::Traverse(std::function<bool(ISocketQueryInvoiceItem*)> visitor) noexcept {
    if (items_.empty()) return false;
    // A stopped walk still counts as a walk: true means only that there was something to visit.
    for (CSocketQueryInvoiceItem* item : items_) {
        if (!visitor) continue;
        if (!visitor(item)) break;
    }
    return true;
}

void CSocketQueryInvoice::Clear() noexcept {
    RecordList::DeleteItems(items_);
}

void CSocketQueryInvoice::SetJson(XJson array) noexcept {
    Clear();
    RecordList::AppendItems(items_, array);
}
