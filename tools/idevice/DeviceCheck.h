#pragma once

#include <pelmor/ISocketDevice.h>

#include <string>
#include <vector>

namespace pelmor::idevice {

// What a device holds, record by record, judged by the field map.
struct RecordCheck {
    std::string record;
    bool present = false;
    std::vector<std::string> filled, empty, unobtainable;  // member names
};

struct DeviceCheck {
    std::vector<RecordCheck> records;
    // Why the service could not verify the device; empty when the description is complete enough.
    std::vector<std::string> gaps;
    bool CompleteForVerification() const { return gaps.empty(); }
};

DeviceCheck CheckDevice(ISocketDevice& device);

}  // namespace pelmor::idevice
