// Device files: any text is either refused with a reason or becomes a device whose every record reads
// without a fault and whose description, as the library sends it, renders as JSON.
#include <pelmor/platform/XJson.h>

#include <string>

#include "DeviceFile.h"
#include "FuzzSupport.h"
#include "frame/PelmorSocketHelper.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string error;
    std::unique_ptr<CDeviceFile> device = CDeviceFile::FromText(text, "fuzz", error);
    if (!device) {
        if (error.empty()) __builtin_trap();  // refused without a reason
        return 0;
    }
    fuzz_support::Touch(device->Description());
    const XJson description = PelmorSocketHelper::DeviceToJson(device.get());
    XJson again;
    if (!again.Parse(description.ToJson())) __builtin_trap();
    // Requests send the description written straight as text: it must be the tree's text exactly.
    if (PelmorSocketHelper::DeviceDescriptionJson(device.get()) != description.ToJson()) __builtin_trap();
    return 0;
}
