#pragma once

#include <pelmor/platform/XString.h>

#include <cstdint>
#include <functional>

// The device verification report handed to the callback of VerifyDevice: per topic a value and a state,
// a total result and score, and the single comparisons grouped into five classes.

// The class of one comparison, from its "tag".
enum EDeviceVerifyClassify : std::int32_t {
    DEVICE_VERIFY_CLASSIFY_BASE = 0,
    DEVICE_VERIFY_CLASSIFY_HARDWARE = 1,
    DEVICE_VERIFY_CLASSIFY_SCREEN = 2,
    DEVICE_VERIFY_CLASSIFY_FINGERPRINT = 3,
    DEVICE_VERIFY_CLASSIFY_OTHER = 4,
};

// What one comparison is about, from its "key" (matched exactly, case included).
enum EDeviceVerifyKey : std::int32_t {
    DEVICE_VERIFY_KEY_UNKNOWN = 0,
    DEVICE_VERIFY_KEY_MOBNAME = 1,
    DEVICE_VERIFY_KEY_MOD = 2,
    DEVICE_VERIFY_KEY_RMD = 3,
    DEVICE_VERIFY_KEY_REGN = 4,
    DEVICE_VERIFY_KEY_SRNM = 5,
    DEVICE_VERIFY_KEY_MLB = 6,
    DEVICE_VERIFY_KEY_WMAC = 7,
    DEVICE_VERIFY_KEY_BMAC = 8,
    DEVICE_VERIFY_KEY_EMAC = 9,
    DEVICE_VERIFY_KEY_WIFICODE = 10,
    DEVICE_VERIFY_KEY_COLOR = 11,
    DEVICE_VERIFY_KEY_BATT = 12,
    DEVICE_VERIFY_KEY_RAM = 13,
    DEVICE_VERIFY_KEY_FCMS = 14,
    DEVICE_VERIFY_KEY_BCMS = 15,
    DEVICE_VERIFY_KEY_MAINBOARD = 16,
    DEVICE_VERIFY_KEY_BASEBAND = 17,
    DEVICE_VERIFY_KEY_IMEI = 18,
    DEVICE_VERIFY_KEY_HARDDISK = 19,
    DEVICE_VERIFY_KEY_TEARDOWN = 20,
    DEVICE_VERIFY_KEY_LCM = 21,
    DEVICE_VERIFY_KEY_NSRN = 22,
    DEVICE_VERIFY_KEY_NVSN = 23,
    DEVICE_VERIFY_KEY_ICCID = 24,
    DEVICE_VERIFY_KEY_ROOT = 25,
    DEVICE_VERIFY_KEY_MEID = 26,
};

// One comparison of the report: the value on file against the value read from the handset now.
class ISocketInfoVerifyItem {
  public:
    virtual EDeviceVerifyClassify GetClassify() const = 0;
    virtual EDeviceVerifyKey GetKey() const = 0;
    virtual XString GetName() const = 0;
    virtual XString GetResult() const = 0;
    virtual XString GetOriginal() const = 0;
    virtual XString GetNow() const = 0;
    virtual XString GetMessage() const = 0;
    virtual XString GetURL() const = 0;
    virtual XString GetOriginalTime() const = 0;
    virtual XString GetNowTime() const = 0;
    virtual bool GetShow() const = 0;
    virtual bool GetBusiness() const = 0;

    virtual ~ISocketInfoVerifyItem() = default;
};

// The report. Its items belong to it and live as long as the callback that received it.
// GetSuccess never reports true: read GetError and the texts instead.
class ISocketInfoVerify {
  public:
    virtual bool GetSuccess() const = 0;
    virtual int GetError() const = 0;
    virtual XString GetRequestMessage() const = 0;
    // The service's per-item message ("singleItemsMsg"), whatever the name suggests.
    virtual XString GetVersionMessage() const = 0;
    virtual XString GetVerifyMessage() const = 0;
    virtual XString GetTotalResult() const = 0;
    // SIM card ("iccid").
    virtual XString GetCardValue() const = 0;
    virtual XString GetCardState() const = 0;
    // Opened case ("teardown").
    virtual XString GetOpenValue() const = 0;
    virtual XString GetOpenState() const = 0;
    virtual XString GetScore() const = 0;
    virtual XString GetRootValue() const = 0;
    virtual XString GetRootState() const = 0;
    virtual XString GetWifiValue() const = 0;
    virtual XString GetWifiState() const = 0;
    // Replaced disk ("replaceHD"); the hard disk itself is GetHarddisk...
    virtual XString GetDiskValue() const = 0;
    virtual XString GetDiskState() const = 0;
    virtual XString GetMeidValue() const = 0;
    virtual XString GetMeidState() const = 0;
    // Calls function once per comparison, in the service's order. Do not keep the pointers.
    virtual void TraverseItem(std::function<void(const ISocketInfoVerifyItem*)> function) const = 0;
    virtual XString GetBaseState() const = 0;
    virtual XString GetHardwareState() const = 0;
    virtual XString GetScreenState() const = 0;
    virtual XString GetFingerMarkState() const = 0;
    virtual XString GetOtherState() const = 0;
    virtual XString GetMainboardValue() const = 0;
    virtual XString GetMainboardState() const = 0;
    virtual XString GetBasebandValue() const = 0;
    virtual XString GetBasebandState() const = 0;
    virtual XString GetSimValue() const = 0;
    virtual XString GetSimState() const = 0;
    // Hard disk ("hardDisk").
    virtual XString GetHarddiskValue() const = 0;
    virtual XString GetHarddiskState() const = 0;

    virtual ~ISocketInfoVerify() = default;
};
