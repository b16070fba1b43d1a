#pragma once

// The JSON value inside an XJson, for the platform layer's own sources and their tests. Not installed:
// hosts see XJson only through its member functions.

#include <boost/json/value.hpp>
#include <new>

#include "pelmor/platform/XJson.h"

struct XJsonAccess {
    static boost::json::value* Storage(XJson& json) noexcept {
        return std::launder(reinterpret_cast<boost::json::value*>(json.storage_));
    }
    static const boost::json::value* Storage(const XJson& json) noexcept {
        return std::launder(reinterpret_cast<const boost::json::value*>(json.storage_));
    }
};

inline boost::json::value& JsonValue(XJson& json) noexcept {
    return *XJsonAccess::Storage(json);
}

inline const boost::json::value& JsonValue(const XJson& json) noexcept {
    return *XJsonAccess::Storage(json);
}
