#pragma once

#include <memory>
#include <string>
#include <vector>

class CDeviceFile;

namespace pelmor {

// Directories that hold the sample devices: beside the executable, the installed share directory, and
// the source tree pelmor was built from.
std::vector<std::string> SampleDirectories();

// A device by file path, or by the name of a sample device ("replaced-screen-battery"). On failure
// returns null with a one-line reason in error.
std::unique_ptr<CDeviceFile> LoadDevice(const std::string& nameOrPath, std::string& error);

struct SampleDevice {
    std::string name, path, description;
};
std::vector<SampleDevice> SampleDevices();

}  // namespace pelmor
