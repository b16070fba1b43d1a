#include "CapturePlist.h"

#include <plist/plist.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>

namespace pelmor::idevice {

namespace {

// Property-list dates count seconds from 2001-01-01.
constexpr long long kPlistEpoch = 978307200;

// Strings libplist hands out are the caller's to free.
struct Freed {
    void operator()(char* p) const { std::free(p); }
};
using PlistText = std::unique_ptr<char, Freed>;

std::string DateText(plist_t node) {
    int32_t sec = 0, usec = 0;
    plist_get_date_val(node, &sec, &usec);
    const std::time_t when = static_cast<std::time_t>(kPlistEpoch + sec);
    std::tm utc{};
    gmtime_r(&when, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

bool IsDict(const CaptureValue* v) {
    return v && v->kind == CaptureValue::Kind::Dict;
}

// Handsets nest a few levels at most; a deeper file is hostile and is cut off there rather than allowed
// to exhaust the stack.
constexpr int kMaxDepth = 32;

CaptureValue FromPlistAt(plist_t node, int depth) {
    CaptureValue value;
    if (depth > kMaxDepth) return value;
    switch (plist_get_node_type(node)) {
        case PLIST_STRING:
        case PLIST_KEY: {
            char* raw = nullptr;
            plist_get_string_val(node, &raw);
            const PlistText text(raw);
            value.text = text ? text.get() : "";
            break;
        }
        case PLIST_UINT:
        case PLIST_UID: {
            uint64_t n = 0;
            plist_get_uint_val(node, &n);
            value = CaptureValue::Integer(n);
            break;
        }
        case PLIST_REAL: {
            double n = 0;
            plist_get_real_val(node, &n);
            value = CaptureValue::Real(n);
            break;
        }
        case PLIST_BOOLEAN: {
            uint8_t flag = 0;
            plist_get_bool_val(node, &flag);
            value = CaptureValue::Boolean(flag != 0);
            break;
        }
        case PLIST_DATA: {
            char* raw = nullptr;
            uint64_t length = 0;
            plist_get_data_val(node, &raw, &length);
            const PlistText bytes(raw);
            value.kind = CaptureValue::Kind::Data;
            if (bytes) value.text.assign(bytes.get(), static_cast<size_t>(length));
            break;
        }
        case PLIST_DATE:
            value.kind = CaptureValue::Kind::Date;
            value.text = DateText(node);
            break;
        case PLIST_ARRAY:
            value.kind = CaptureValue::Kind::Array;
            for (uint32_t i = 0, n = plist_array_get_size(node); i < n; ++i)
                value.items.push_back(FromPlistAt(plist_array_get_item(node, i), depth + 1));
            break;
        case PLIST_DICT: {
            value = CaptureValue::Dict();
            plist_dict_iter iter = nullptr;
            plist_dict_new_iter(node, &iter);
            for (;;) {
                char* rawKey = nullptr;
                plist_t item = nullptr;
                plist_dict_next_item(node, iter, &rawKey, &item);
                const PlistText key(rawKey);
                if (!item) break;
                value.members.emplace_back(key ? key.get() : "", FromPlistAt(item, depth + 1));
            }
            std::free(iter);
            break;
        }
        default:
            break;
    }
    return value;
}

}  // namespace

CaptureValue FromPlist(plist_t node) {
    return FromPlistAt(node, 0);
}

bool AddCaptureFile(Capture& capture, const std::string& bytes, const std::string& domain,
                    std::string& error) {
    if (bytes.size() > 64u * 1024 * 1024) {
        error = "too large for a capture";
        return false;
    }
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    if (!root) {
        error = "not a property list (expected what ideviceinfo -x or idevicediagnostics print)";
        return false;
    }
    const CaptureValue value = FromPlist(root);
    plist_free(root);
    if (value.kind != CaptureValue::Kind::Dict) {
        error = "expected a dictionary at the top of the property list";
        return false;
    }
    // idevicediagnostics wraps the entry's keys in an "IORegistry" dictionary.
    const CaptureValue* registry = value.Find("IORegistry");
    if (!domain.empty()) {
        capture.Add(domain, IsDict(registry) && value.members.size() == 1 ? *registry : value);
        return true;
    }
    if (IsDict(registry)) {
        if (!registry->Find("CycleCount") && !registry->Find("DesignCapacity")) {
            error = "an IORegistry entry that is not the battery; name it as IORegistry:<entry>=FILE";
            return false;
        }
        capture.Add(kBatteryEntry, *registry);
        return true;
    }
    // The capture a device file carries: every domain by name.
    if (IsDict(value.Find(kLockdownDomain)) || IsDict(value.Find(kRecoveryDomain))) {
        for (const auto& entry : value.members)
            if (IsDict(&entry.second)) capture.Add(entry.first, entry.second);
        return true;
    }
    if (value.Find("UniqueChipID") || value.Find("ProductType")) {
        capture.Add(kLockdownDomain, value);
        return true;
    }
    error =
        "cannot tell which domain this is from; name it as DOMAIN=FILE (e.g. "
        "com.apple.disk_usage=disk.plist)";
    return false;
}

}  // namespace pelmor::idevice
