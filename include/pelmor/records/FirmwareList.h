#pragma once

#include <pelmor/platform/XString.h>

// The firmware images offered for a device (DeviceIpsw).

class ISocketInfoIpswItem {
  public:
    virtual XString GetVersion() const = 0;
    virtual XString GetName() const = 0;
    // The size as the service words it for display; GetBytes is the exact count.
    virtual XString GetSize() const = 0;
    virtual XString GetUrl() const = 0;
    virtual bool GetBeta() const = 0;
    virtual XString GetBuildId() const = 0;
    virtual XString GetMD5() const = 0;
    virtual long long GetBytes() const = 0;

    virtual ~ISocketInfoIpswItem() = default;
};

// The list owns its items; they live as long as the list.
class ISocketInfoIpsw {
  public:
    virtual unsigned int GetCount() = 0;
    // Throws std::out_of_range for an index at or past GetCount(), unlike the bill, which returns null.
    virtual ISocketInfoIpswItem* GetItem(unsigned int index) = 0;

    virtual ~ISocketInfoIpsw() = default;
};
