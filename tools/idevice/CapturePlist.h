#pragma once

#include <string>

#include "Capture.h"

typedef void* plist_t;

namespace pelmor::idevice {

// A property-list node as a capture value (dictionaries and arrays whole).
CaptureValue FromPlist(plist_t node);

// Adds one capture file (XML or binary property list) to capture. The domain is recognised from the
// content (lockdownd's default domain, an IORegistry battery entry, or a capture a device file carries);
// domain, when not empty, names it instead, for `ideviceinfo -q <domain>` output. Returns false with a
// one-line reason.
bool AddCaptureFile(Capture& capture, const std::string& bytes, const std::string& domain,
                    std::string& error);

}  // namespace pelmor::idevice
