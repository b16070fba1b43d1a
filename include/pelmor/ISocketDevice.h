#pragma once

#include <pelmor/platform/XString.h>

#include <QByteArray>

// One connected handset as the host's device layer presents it. The device owns every record it hands
// out: the caller neither copies nor frees them, and a record stays valid as long as the device does.
// A record the device could not read (or that does not exist in the device's current mode) is null.
//
// The records are plain values; texts are wide (XString). Their field order is the order in which the
// device layer fills them and must be kept, like the order of the virtual members below.

// Properties read from a handset in normal mode.
struct XSocketDeviceInfo {
    XString ecid;         // chip id, as text
    XString name;         // the name the owner gave the device
    XString productType;  // model identifier, e.g. iPhone12,1
    XString serialNumber;
    XString udid;  // unique device id
    XString hardwareVersion;
    XString mod;
    XString region;        // e.g. CH/A, LL/A
    XString buildVersion;  // system build, e.g. 19G71
    XString firmwareVersion;
    XString hardwareModel;  // board name, e.g. N104AP
    XString phoneNumber;
    XString mlb;    // main logic board serial
    XString iccid;  // SIM card id
    XString ethernetMac;
    XString timeZone;
    XString basebandVersion;
    XString esn;
    XString colour;
    XString enclosureColour;
    XString rmd;
    XString meid;
    XString imei;   // first SIM
    XString imei2;  // second SIM
    XString simStatus;
    long long basebandCertId = 0;
    long long basebandChipId = 0;
    long long boardId = 0;
};

// The file the host keeps for the device, with the identifiers it was saved under.
struct XSocketDeviceFile {
    XString ecid;
    XString name;
    QByteArray data;  // the file's bytes
    XString productType;
};

struct XSocketDeviceBattery {
    int cycleCount = 0;
    double health = 0.0;  // per cent of the design capacity
    XString batt;         // the battery's own identification text
};

struct XSocketDeviceVersion {
    int major = 0;
    int minor = 0;
    int patch = 0;
};

struct XSocketDeviceStorage {
    int diskType = 0;
    XString diskManufacturer;
    XString diskSerial;
    unsigned long long memorySize = 0;  // bytes of RAM
    long long memoryUsed = 0;
};

struct XSocketDeviceWifi {
    int type = 0;
    XString producer;
    XString id;
    XString mac;
};

// Camera and sensor modules.
struct XSocketDeviceComponent {
    XString fcms;
    XString bcms;
    XString frontCameraSerial;
    XString backCameraSerial;
    XString irs;
};

struct XSocketDeviceBluetooth {
    XString mac;
};

struct XSocketDeviceFingerprint {
    int state = 0;
    XString nsrn;
    XString nvsn;
};

// What can be read from a handset in any mode, recovery included.
struct XSocketDeviceLowLevel {
    unsigned long long ecid = 0;
    XString productType;
};

struct XSocketDeviceDisplay {
    XString lcd;
    XString lcm;
};

struct XSocketDeviceProcessor {
    XString type;
    XString frame;
    long long coreCount = 0;
    int clock = 0;
    int handler = 0;  // processor number, sent as M<handler>
};

// The host's handle on a device. The order of the virtual members is the table of slots the library
// calls through: never reorder, insert or remove one. The operations only read; they may be called
// any number of times.
class ISocketDevice {
  public:
    virtual const XSocketDeviceInfo* GetDeviceRecord() = 0;  // normal mode only
    virtual const XSocketDeviceFile* GetFileRecord() = 0;
    virtual const XSocketDeviceBattery* GetBatteryRecord() = 0;
    virtual const XSocketDeviceVersion* GetSystemVersion() = 0;
    virtual const XSocketDeviceStorage* GetStorageRecord() = 0;
    virtual const XSocketDeviceWifi* GetWifiRecord() = 0;
    virtual const XSocketDeviceComponent* GetComponentRecord() = 0;
    virtual const XSocketDeviceBluetooth* GetBluetoothRecord() = 0;
    virtual const XSocketDeviceFingerprint* GetFingerprintRecord() = 0;
    virtual const XSocketDeviceLowLevel* GetLowLevelRecord() = 0;  // any mode
    virtual const XSocketDeviceDisplay* GetDisplayRecord() = 0;
    virtual const XSocketDeviceProcessor* GetProcessorRecord() = 0;
    virtual bool IsRoot() = 0;
    virtual bool IsActive() = 0;
    virtual bool IsFiveCode() = 0;

    virtual ~ISocketDevice() = default;
};
