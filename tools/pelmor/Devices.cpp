#include "Devices.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>

#include "DeviceFile.h"
#include "Handsets.h"
#include "Library.h"

namespace pelmor {

namespace {

bool IsFile(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool EndsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

std::vector<std::string> SampleDirectories() {
    std::vector<std::string> dirs;
    const std::string here = ExecutableDirectory();
    if (!here.empty()) {
        dirs.push_back(here + "/devices");
        dirs.push_back(here + "/../" PELMOR_INSTALL_DATADIR "/pelmor/devices");
    }
#ifdef PELMOR_SOURCE_DEVICES_DIR
    dirs.push_back(PELMOR_SOURCE_DEVICES_DIR);
#endif
    return dirs;
}

std::vector<SampleDevice> SampleDevices() {
    std::vector<SampleDevice> samples;
    for (const std::string& dir : SampleDirectories()) {
        DIR* listing = opendir(dir.c_str());
        if (!listing) continue;
        while (const dirent* entry = readdir(listing)) {
            const std::string file = entry->d_name;
            if (!EndsWith(file, ".json") || EndsWith(file, ".expected.json")) continue;
            const std::string name = file.substr(0, file.size() - 5);
            if (std::any_of(samples.begin(), samples.end(), [&](const auto& s) { return s.name == name; }))
                continue;
            std::string error;
            auto device = CDeviceFile::Load(dir + "/" + file, error);
            samples.push_back({name, dir + "/" + file, device ? device->Description() : error});
        }
        closedir(listing);
        if (!samples.empty()) break;  // the first directory that has samples is the one in use
    }
    std::sort(samples.begin(), samples.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return samples;
}

std::unique_ptr<CDeviceFile> LoadDevice(const std::string& nameOrPath, std::string& error) {
    if (IsHandsetName(nameOrPath)) return LoadHandset(nameOrPath, error);
    if (IsCaptureName(nameOrPath)) {
        std::string text;
        return LoadCaptures({nameOrPath}, text, error);
    }
    std::string path = nameOrPath;
    if (!IsFile(path) && nameOrPath.find('/') == std::string::npos) {
        for (const std::string& dir : SampleDirectories()) {
            const std::string candidate =
                dir + "/" + nameOrPath + (EndsWith(nameOrPath, ".json") ? "" : ".json");
            if (IsFile(candidate)) {
                path = candidate;
                break;
            }
        }
    }
    if (!IsFile(path)) {
        error = nameOrPath + ": no such device file (or sample device; `pelmor devices` lists the samples)";
        return nullptr;
    }
    auto device = CDeviceFile::Load(path, error);
    if (device && !device->Captures().empty()) return LoadWithCaptures(path, *device, error);
    return device;
}

}  // namespace pelmor
