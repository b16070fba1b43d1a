#include "Handsets.h"

#include <fstream>
#include <sstream>

#include "DeviceFile.h"
#include "DeviceFileWriter.h"
#include "FieldMap.h"
#include "LiveDevices.h"
#ifdef PELMOR_HAVE_CAPTURES
#include "CapturePlist.h"
#endif

namespace pelmor {

namespace {

using namespace pelmor::idevice;

// The device file a capture makes, loaded back through the same reader as any device file, so that a
// capture cannot give the library anything a device file could not.
std::unique_ptr<CDeviceFile> FromCapture(const Capture& capture, const std::string& description,
                                         const std::string& name, std::string& text, std::string& error) {
    CCapturedDevice device(RecordsFromCapture(capture));
    text = ToDeviceFile(device, description);
    return CDeviceFile::FromText(text, name, error);
}

bool ReadFile(const std::string& path, std::string& bytes) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::ostringstream all;
    all << in.rdbuf();
    bytes = all.str();
    return !in.bad();
}

}  // namespace

bool IsHandsetName(const std::string& name) {
    return IsUsbSelector(name);
}

bool IsCaptureName(const std::string& name) {
    return name.size() > 6 && name.compare(name.size() - 6, 6, ".plist") == 0;
}

std::unique_ptr<CDeviceFile> LoadHandset(const std::string& selector, std::string& error) {
    const auto link = SystemDeviceLink();
    Capture capture;
    if (!ReadHandset(*link, selector, capture, error)) return nullptr;
    std::string text;
    return FromCapture(capture, "read from " + selector, selector, text, error);
}

std::unique_ptr<CDeviceFile> LoadCaptures(const std::vector<std::string>& files, std::string& text,
                                          std::string& error) {
#ifdef PELMOR_HAVE_CAPTURES
    Capture capture;
    std::string names;
    for (const std::string& file : files) {
        // DOMAIN=FILE names the lockdownd domain a file came from; a path itself may hold '='.
        const auto eq = file.find('=');
        const bool named = eq != std::string::npos && eq > 0 && file.find('/') > eq;
        const std::string domain = named ? file.substr(0, eq) : "";
        const std::string path = named ? file.substr(eq + 1) : file;
        std::string bytes;
        if (!ReadFile(path, bytes)) {
            error = path + ": cannot read";
            return nullptr;
        }
        if (!AddCaptureFile(capture, bytes, domain, error)) {
            error = path + ": " + error;
            return nullptr;
        }
        names += (names.empty() ? "" : ", ") + path;
    }
    if (!capture.Has(kLockdownDomain) && !capture.Has(kRecoveryDomain)) {
        error = names + ": no lockdownd values (the output of `ideviceinfo -x`) among the captures";
        return nullptr;
    }
    return FromCapture(capture, "imported from " + names, names, text, error);
#else
    (void)files;
    (void)text;
    error = "this pelmor was built without libplist, so it cannot read captures";
    return nullptr;
#endif
}

std::vector<Handset> ConnectedHandsets(std::string& note) {
    const auto link = SystemDeviceLink();
    std::vector<Handset> out;
    for (const ConnectedHandset& handset : ListHandsets(*link, note)) {
        std::string description = "connected by USB, " + handset.mode + " mode";
        if (!handset.productType.empty()) description += ", " + handset.productType;
        out.push_back({"usb:" + handset.id, description});
    }
    return out;
}

}  // namespace pelmor
