#include "DeviceCheck.h"

#include <algorithm>

#include "FieldMap.h"

namespace pelmor::idevice {

namespace {

// The records the description is built from: one of them missing and the description is empty.
const char* const kDescriptionRecords[] = {"device",    "battery",   "systemVersion", "storage", "wifi",
                                           "component", "bluetooth", "fingerprint",   "display", "processor"};

bool Contains(const std::vector<std::string>& list, const std::string& name) {
    return std::find(list.begin(), list.end(), name) != list.end();
}

}  // namespace

DeviceCheck CheckDevice(ISocketDevice& device) {
    DeviceCheck check;
    for (const Field& field : FieldMap()) {
        if (check.records.empty() || check.records.back().record != field.record) {
            RecordCheck record;
            record.record = field.record;
            record.present = true;
            check.records.push_back(std::move(record));
        }
        RecordCheck& record = check.records.back();
        const std::string member = field.member;
        // A member read in more than one way (normal and recovery mode) is listed once.
        if (Contains(record.filled, member) || Contains(record.empty, member) ||
            Contains(record.unobtainable, member))
            continue;
        const std::optional<std::string> value = field.read(device);
        if (!value) {
            record.present = false;
        } else if (!value->empty()) {
            record.filled.push_back(member);
        } else if (field.source == Source::None) {
            record.unobtainable.push_back(member);
        } else {
            record.empty.push_back(member);
        }
    }
    for (const RecordCheck& record : check.records) {
        const bool needed = std::find_if(std::begin(kDescriptionRecords), std::end(kDescriptionRecords),
                                         [&](const char* name) { return record.record == name; }) !=
                            std::end(kDescriptionRecords);
        if (needed && !record.present)
            check.gaps.push_back("the " + record.record + " record is missing, so no description is sent");
    }
    const XSocketDeviceInfo* info = device.GetDeviceRecord();
    if (info && info->serialNumber.empty()) check.gaps.push_back("no serial number");
    if (info && info->ecid.empty()) check.gaps.push_back("no chip id (ECID)");
    const XSocketDeviceFile* file = device.GetFileRecord();
    if (!file)
        check.gaps.push_back("no file record, which verification sends");
    else if (file->data.isEmpty())
        check.gaps.push_back("the file record holds no data");
    return check;
}

}  // namespace pelmor::idevice
