#pragma once

#include <QString>

#include "Export.h"
#include "XString.h"

namespace Platform {
namespace String {
// XString to QString; code units that are not Unicode scalar values become U+FFFD.
PELMOR_PLATFORM_API QString WQ(const XString& text);
// QString to XString (the reverse of WQ); unpaired surrogates become U+FFFD.
PELMOR_PLATFORM_API XString QW(const QString& text);
}  // namespace String
}  // namespace Platform
