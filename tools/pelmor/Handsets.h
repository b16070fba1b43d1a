#pragma once

#include <memory>
#include <string>
#include <vector>

class CDeviceFile;

namespace pelmor {

// Devices read from handsets rather than written by hand: a live handset ("usb", "usb:<UDID>") or
// capture files (what `ideviceinfo -x` and `idevicediagnostics ioregentry` print). Both come back as the
// device file they make, so that every command treats them alike.

bool IsHandsetName(const std::string& name);  // "usb" or "usb:<UDID>"
bool IsCaptureName(const std::string& name);  // a .plist file, optionally as DOMAIN=FILE

std::unique_ptr<CDeviceFile> LoadHandset(const std::string& selector, std::string& error);

// Reads capture files ("FILE" or "DOMAIN=FILE") into one device; text receives its device file.
std::unique_ptr<CDeviceFile> LoadCaptures(const std::vector<std::string>& files, std::string& text,
                                          std::string& error);

// A device file that names captures ("capture"): the captures' records, with every record the file itself
// gives in place of the captured one (so that what no public interface tells can be filled in by hand).
// Capture paths are relative to the device file.
std::unique_ptr<CDeviceFile> LoadWithCaptures(const std::string& path, const CDeviceFile& file,
                                              std::string& error);

struct Handset {
    std::string name;  // usb:<id>
    std::string description;
};
// The handsets connected now; note is one line telling why there are none (or why the list may be short).
std::vector<Handset> ConnectedHandsets(std::string& note);

}  // namespace pelmor
