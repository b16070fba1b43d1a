#include "Handsets.h"

#include <boost/json.hpp>
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

// "DOMAIN=FILE" names the lockdownd domain a file came from; a path itself may hold '=' after a '/'.
void SplitCaptureName(const std::string& name, std::string& domain, std::string& path) {
    const auto eq = name.find('=');
    const bool named = eq != std::string::npos && eq > 0 && name.find('/') > eq;
    domain = named ? name.substr(0, eq) : "";
    path = named ? name.substr(eq + 1) : name;
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
        std::string domain, path, bytes;
        SplitCaptureName(file, domain, path);
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

std::unique_ptr<CDeviceFile> LoadWithCaptures(const std::string& path, const CDeviceFile& file,
                                              std::string& error) {
    const auto slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    std::vector<std::string> captures;
    for (const std::string& name : file.Captures()) {
        std::string domain, capture;
        SplitCaptureName(name, domain, capture);
        if (!capture.empty() && capture[0] != '/') capture = dir + capture;
        captures.push_back(domain.empty() ? capture : domain + "=" + capture);
    }
    std::string captured, own;
    if (!LoadCaptures(captures, captured, error)) {
        error = path + ": capture: " + error;
        return nullptr;
    }
    if (!ReadFile(path, own)) {
        error = path + ": cannot read";
        return nullptr;
    }
    boost::system::error_code ec;
    boost::json::value merged = boost::json::parse(captured, ec);
    const boost::json::value mine = boost::json::parse(own, ec);
    if (ec || !merged.is_object() || !mine.is_object()) {
        error = path + ": cannot merge its captures";
        return nullptr;
    }
    for (const auto& member : mine.get_object())
        if (member.key() != "capture") merged.get_object()[member.key()] = member.value();
    return CDeviceFile::FromText(boost::json::serialize(merged), path, error);
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
