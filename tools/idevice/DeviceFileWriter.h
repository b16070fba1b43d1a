#pragma once

#include <pelmor/ISocketDevice.h>

#include <string>

namespace pelmor::idevice {

// A device as a device file (the format CDeviceFile reads): every record the device has, absent ones
// left out, indented JSON text ending in a newline.
std::string ToDeviceFile(ISocketDevice& device, const std::string& description);

}  // namespace pelmor::idevice
