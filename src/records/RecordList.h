#pragma once

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

// Appends one item per element of array, filled by the item's SetJson. Empty elements, and elements
// whose item cannot be allocated, are left out without a gap.
template <typename Item>
void AppendItems(std::vector<Item*>& items, const XJson& array) noexcept {
    const int count = static_cast<int>(array.GetArraySize());
    if (count < 1) return;
    for (unsigned i = 0; i < array.GetArraySize(); ++i) {
        XJson element = array[i];
        if (element.IsEmpty()) continue;
        Item* item = new (std::nothrow) Item();
        if (!item) continue;
        item->SetJson(element);
        try {
            items.push_back(item);
        } catch (...) {
            delete item;
        }
    }
}

}  // namespace RecordList
