#pragma once

#include <pelmor/HalvexReply.h>
#include <pelmor/ISocketDevice.h>
#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>

#include <QByteArray>
#include <initializer_list>
#include <new>
#include <string>
#include <utility>

#include "frame/ServiceCall.h"

// Pieces the standard operations share beyond ServiceCall: wide-text parameters, device identifiers,
// and the ways a reply's data is handed to a callback.
namespace StandardCall {

// A named wide-text parameter, as the account operations take them.
using WideParam = std::pair<const char*, const wchar_t*>;

// True when every text is there (an empty text counts as there).
inline bool AllPresent(std::initializer_list<WideParam> texts) noexcept {
    for (const WideParam& text : texts)
        if (!text.second) return false;
    return true;
}

// The texts as a parameters object, in the order given.
inline XJson WideParams(std::initializer_list<WideParam> texts) {
    XJson params;
    for (const WideParam& text : texts)
        params.Append(text.first, XString(text.second));
    return params;
}

// The device's file record; a missing device has none.
inline const XSocketDeviceFile* FileRecord(ISocketDevice* device) {
    return device ? device->GetFileRecord() : nullptr;
}

// The callback is called with one text of the data as wide text, valid for the call only.
template <typename Callback>
auto WideText(const char* key, const Callback& callback) {
    return [key, &callback](HalvexReply& reply) {
        const XString text = reply.Data().ToXString(key);
        ServiceCall::Deliver(callback, text.c_str());
    };
}

}  // namespace StandardCall
