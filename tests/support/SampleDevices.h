#pragma once

#include <memory>
#include <string>

#include "DeviceFile.h"

// One of the sample handsets under tests/data/devices, by name; fails the current test (and returns
// null) when it cannot be read.
std::unique_ptr<CDeviceFile> LoadDevice(const std::string& name);
