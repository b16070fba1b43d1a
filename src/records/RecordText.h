#pragma once

#include <pelmor/platform/MemoryShortage.h>
#include <pelmor/platform/PlatformString.h>
#include <pelmor/platform/XJson.h>

#include <QString>
#include <string>

// Helpers shared by the records. Records are filled and read inside a host's process, so nothing they do
// may throw into it: filling catches running out of memory and stops there, and a getter's copy that
// runs out of memory comes back empty.
namespace RecordText {

template <typename Text>
Text Copy(const Text& text) noexcept {
    try {
        return text;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return Text();
    }
}

// A member as Qt text.
inline QString ToQString(const XJson& json, const std::string& key) {
    return Platform::String::WQ(json.ToXString(key));
}

// Whether text holds a 'y' of either case, which is how the service marks a line to be shown.
template <typename Text>
bool ContainsY(const Text& text) noexcept {
    for (auto c : text)
        if (c == 'y' || c == 'Y') return true;
    return false;
}

}  // namespace RecordText
