#pragma once

#include "Export.h"
#include "XString.h"

namespace XSystem {
// The operating system's name and version, e.g. "Linux 6.1.0-18-amd64".
PELMOR_PLATFORM_API XString NativeString();
}  // namespace XSystem

namespace XApple {
// The version of the installed iTunes, "" where no such program is installed.
PELMOR_PLATFORM_API XString ITunesVersionString();
}  // namespace XApple
