#pragma once

#include <pelmor/platform/XString.h>

#include <QString>

// Answers of the per-device look-ups. Narrow texts are UTF-8; every pointer stays valid while the record
// lives, that is for the duration of the callback that received it.

// The handset's colours (QueryColor).
class ISocketInfoColor {
  public:
    virtual XString GetFrontColor() const = 0;
    virtual XString GetBackColor() const = 0;

    virtual ~ISocketInfoColor() = default;
};

// The screen's maker and date of manufacture (QueryScreen).
class ISocketInfoScreen {
  public:
    virtual XString GetFactory() const = 0;
    virtual XString GetDate() const = 0;

    virtual ~ISocketInfoScreen() = default;
};

// An AirPods check (VerifyAirPods).
class ISocketInfoAirPods {
  public:
    virtual QString GetModel() = 0;
    virtual QString GetSerialNumber() = 0;
    virtual QString GetDescribe() = 0;
    virtual bool IsApple() = 0;

    virtual ~ISocketInfoAirPods() = default;
};

// The enterprise basic query (QueryBasic): the handset's colours.
class ISocketQueryBasic {
  public:
    virtual const char* GetColorFront() = 0;
    virtual const char* GetColorBack() = 0;

    virtual ~ISocketQueryBasic() = default;
};

// One checked line of the activation-lock (QueryIdlock), refurbishment (QueryRefurbish) and SIM-lock
// (QuerySimlock) reports. The three are alike in all but name.
class ISocketQueryIdlock {
  public:
    virtual const char* GetKey() = 0;
    virtual const char* GetName() = 0;
    virtual bool GetShow() = 0;
    virtual const char* GetResult() = 0;

    virtual ~ISocketQueryIdlock() = default;
};

class ISocketQueryRefurbish {
  public:
    virtual const char* GetKey() = 0;
    virtual const char* GetName() = 0;
    virtual bool GetShow() = 0;
    virtual const char* GetResult() = 0;

    virtual ~ISocketQueryRefurbish() = default;
};

class ISocketQuerySimlock {
  public:
    virtual const char* GetKey() = 0;
    virtual const char* GetName() = 0;
    virtual bool GetShow() = 0;
    virtual const char* GetResult() = 0;

    virtual ~ISocketQuerySimlock() = default;
};

// Purchase and warranty dates (QueryWarranty).
class ISocketQueryWarranty {
  public:
    virtual XString GetPurchase() const = 0;
    virtual XString GetWarranty() const = 0;
    virtual int GetDaysleft() const = 0;

    virtual ~ISocketQueryWarranty() = default;
};
