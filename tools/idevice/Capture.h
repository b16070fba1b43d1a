#pragma once

#include <string>
#include <utility>
#include <vector>

namespace pelmor::idevice {

// One value of a property list, as lockdownd, the diagnostics relay and the recovery-mode reader hand
// them out. Kept free of any plist library so that the mapping and its tests build without one.
struct CaptureValue {
    enum class Kind { Text, Integer, Real, Boolean, Data, Date, Array, Dict };
    Kind kind = Kind::Text;
    std::string text;                // Text; Data as raw bytes; Date as ISO 8601 text
    unsigned long long integer = 0;  // Integer (plist integers of devices are unsigned)
    double real = 0.0;
    bool boolean = false;
    std::vector<CaptureValue> items;                            // Array
    std::vector<std::pair<std::string, CaptureValue>> members;  // Dict, in their order

    static CaptureValue Text(std::string text);
    static CaptureValue Integer(unsigned long long value);
    static CaptureValue Real(double value);
    static CaptureValue Boolean(bool value);
    static CaptureValue Dict();

    const CaptureValue* Find(const std::string& key) const;
    void Set(const std::string& key, CaptureValue value);
};

// Where the records of a device come from: the default lockdownd domain, further lockdownd domains by
// their names, IORegistry entries read through the diagnostics relay, and the recovery-mode reader.
constexpr const char kLockdownDomain[] = "lockdownd";
constexpr const char kBatteryEntry[] = "IORegistry:AppleSmartBattery";
constexpr const char kRecoveryDomain[] = "recovery";

// Everything read from one handset, domain by domain; each domain is a dictionary.
class Capture {
  public:
    // Adds a domain, or merges keys into one already there (later values win).
    void Add(const std::string& domain, const CaptureValue& dict);
    bool Has(const std::string& domain) const { return FindDomain(domain) != nullptr; }
    const CaptureValue* FindDomain(const std::string& domain) const;
    // A key of a domain, or null.
    const CaptureValue* Find(const std::string& domain, const std::string& key) const;
    bool Empty() const { return domains_.empty(); }
    const std::vector<std::pair<std::string, CaptureValue>>& Domains() const { return domains_; }

    // The capture as one XML property list: a dictionary of the domains by name. This is what a device
    // file made from the capture carries as the device's file.
    std::string ToXml() const;

  private:
    std::vector<std::pair<std::string, CaptureValue>> domains_;
};

}  // namespace pelmor::idevice
