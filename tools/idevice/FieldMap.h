#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Capture.h"
#include "DeviceRecords.h"

namespace pelmor::idevice {

// Where a record member comes from on a real handset.
enum class Source {
    Lockdown,       // a lockdownd domain, read with pairing
    IORegistry,     // an IORegistry entry, read through the diagnostics relay
    Recovery,       // what a handset in recovery or DFU mode tells libirecovery
    CaptureItself,  // the capture the record was made from
    None,           // not available through public interfaces
};

// One member of one record and how it is read: the single map that fills records from captures, that
// `device check` judges devices by, and that the field table in the docs is rendered from.
struct Field {
    const char* record;  // the record's name in device files ("device", "battery", ...)
    const char* member;  // the member's name in device files
    Source source;
    const char* domain;      // capture domain read (kLockdownDomain, kBatteryEntry, kRecoveryDomain, ...)
    const char* keys;        // the key read; for the table, the keys a conversion combines
    const char* conversion;  // how the value is converted, for the table
    // Makes the record present and sets the member from the capture (a missing key leaves it empty).
    void (*fill)(const Capture& capture, const Field& field, DeviceRecords& records);
    // The member of a device as text: nullopt when the record is absent, "" when empty or zero.
    std::optional<std::string> (*read)(ISocketDevice& device);
};

const std::vector<Field>& FieldMap();

// The records a capture gives. A record is present when the capture holds the domain its members are
// read from; records with nothing public to read are present (and empty) for a handset in normal mode,
// so that the description can still be complete.
DeviceRecords RecordsFromCapture(const Capture& capture);

// The map as the Markdown table the docs show.
std::string FieldMapTable();

}  // namespace pelmor::idevice
