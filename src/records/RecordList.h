#pragma once

#include <pelmor/platform/MemoryShortage.h>
#include <pelmor/platform/XJson.h>

#include <new>
#include <vector>

// The owned item arrays of the firmware list and the bill.
namespace RecordList {

template <typename Item>
void DeleteItems(std::vector<Item*>& items) noexcept {
    for (Item* item : items)
        delete item;
    items.clear();
}

// The most items one list keeps; the rest of a longer reply is left out, so that a forged reply cannot
// make the host hold millions of records.
constexpr unsigned kMaxItems = 100000;

// Appends one item per element of array, filled by the item's SetJson, up to kMaxItems. Elements that are
// not objects or are empty, and elements whose item cannot be allocated, are left out without a gap.
template <typename Item>
void AppendItems(std::vector<Item*>& items, const XJson& array) noexcept {
    const unsigned count = array.GetArraySize();
    for (unsigned i = 0; i < count && items.size() < kMaxItems; ++i) {
        XJson element = array[i];
        if (!element.IsObject() || element.IsEmpty()) continue;
        Item* item = new (std::nothrow) Item();
        if (!item) {
            Pelmor::NoteMemoryShortage();
            continue;
        }
        item->SetJson(element);
        try {
            items.push_back(item);
        } catch (...) {
            Pelmor::NoteMemoryShortage();
            delete item;
        }
    }
}

}  // namespace RecordList
