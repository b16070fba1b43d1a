#include "DeviceFile.h"

#include <pelmor/platform/XCrypt.h>

#include <boost/json/parser.hpp>
#include <boost/json/value.hpp>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

namespace json = boost::json;

namespace {

// Raised while reading a file's members and turned into the caller's error text; never leaves this file.
struct FormatError {
    std::string problem;
};

std::string KindName(const json::value& value) {
    switch (value.kind()) {
        case json::kind::null:
            return "null";
        case json::kind::bool_:
            return "a boolean";
        case json::kind::int64:
        case json::kind::uint64:
            return "an integer";
        case json::kind::double_:
            return "a fractional number";
        case json::kind::string:
            return "a text";
        case json::kind::array:
            return "an array";
        case json::kind::object:
            return "an object";
    }
    return "an unknown value";
}

std::string ValueText(const json::value& value) {
    if (value.is_int64()) return std::to_string(value.get_int64());
    if (value.is_uint64()) return std::to_string(value.get_uint64());
    return KindName(value);
}

// "0x" and one to sixteen hexadecimal digits: how chip ids are usually written, and safe from JSON tools
// that keep numbers as doubles.
bool ParseHex64(json::string_view text, unsigned long long& out) {
    if (text.size() < 3 || text.size() > 18 || text[0] != '0' || (text[1] != 'x' && text[1] != 'X'))
        return false;
    unsigned long long value = 0;
    for (size_t i = 2; i < text.size(); ++i) {
        const char c = text[i];
        unsigned digit;
        if (c >= '0' && c <= '9')
            digit = static_cast<unsigned>(c - '0');
        else if (c >= 'a' && c <= 'f')
            digit = static_cast<unsigned>(c - 'a' + 10);
        else if (c >= 'A' && c <= 'F')
            digit = static_cast<unsigned>(c - 'A' + 10);
        else
            return false;
        value = value << 4 | digit;
    }
    out = value;
    return true;
}

// The members of one JSON object, read strictly: a member that is there must have the right type, while
// a missing or null member leaves the field at its default.
class Members {
  public:
    Members(const json::object& object, std::string where) : object_(object), where_(std::move(where)) {}

    // Every member the reader did not ask for is an error: a misspelt key would otherwise leave its field
    // silently empty.
    void RejectUnread() const {
        for (const auto& member : object_) {
            bool read = false;
            for (const std::string& key : read_)
                read = read || member.key() == key;
            if (!read) Fail(std::string(member.key()), "unknown member");
        }
    }

    const json::value* Find(const char* key) const {
        read_.emplace_back(key);
        const json::value* value = object_.if_contains(key);
        return value && !value->is_null() ? value : nullptr;
    }

    void Text(const char* key, XString& out) const {
        if (const json::value* value = Find(key)) out = XString::FromUtf8(ExpectText(key, *value));
    }

    void Text(const char* key, std::string& out) const {
        if (const json::value* value = Find(key)) out = ExpectText(key, *value);
    }

    void Int(const char* key, int& out) const {
        if (const json::value* value = Find(key)) {
            const long long n = ExpectSigned(key, *value);
            if (n < std::numeric_limits<int>::min() || n > std::numeric_limits<int>::max())
                Fail(key, std::to_string(n) + " is out of range for a 32-bit integer");
            out = static_cast<int>(n);
        }
    }

    void Int64(const char* key, long long& out) const {
        if (const json::value* value = Find(key)) out = ExpectSigned(key, *value);
    }

    void Uint64(const char* key, unsigned long long& out) const {
        const json::value* value = Find(key);
        if (!value) return;
        if (value->is_uint64()) {
            out = value->get_uint64();
        } else if (value->is_int64()) {
            if (value->get_int64() < 0) Fail(key, "must not be negative");
            out = static_cast<unsigned long long>(value->get_int64());
        } else if (!value->is_string() || !ParseHex64(value->get_string(), out)) {
            Fail(key, "expected a non-negative integer or a text 0x<hex digits>, found " +
                          (value->is_string() ? "\"" + std::string(value->get_string()) + "\""
                                              : KindName(*value)));
        }
    }

    void Number(const char* key, double& out) const {
        if (const json::value* value = Find(key)) {
            if (value->is_double())
                out = value->get_double();
            else if (value->is_int64())
                out = static_cast<double>(value->get_int64());
            else if (value->is_uint64())
                out = static_cast<double>(value->get_uint64());
            else
                Fail(key, "expected a number, found " + KindName(*value));
        }
    }

    void Bool(const char* key, bool& out) const {
        if (const json::value* value = Find(key)) {
            if (!value->is_bool()) Fail(key, "expected true or false, found " + KindName(*value));
            out = value->get_bool();
        }
    }

    [[noreturn]] void Fail(const std::string& key, const std::string& problem) const {
        throw FormatError{(where_.empty() ? key : where_ + "." + key) + ": " + problem};
    }

  private:
    std::string ExpectText(const char* key, const json::value& value) const {
        if (!value.is_string()) Fail(key, "expected a text, found " + KindName(value));
        return std::string(value.get_string());
    }

    long long ExpectSigned(const char* key, const json::value& value) const {
        if (value.is_int64()) return value.get_int64();
        if (value.is_uint64()) Fail(key, ValueText(value) + " is out of range for a 64-bit integer");
        Fail(key, "expected an integer, found " + KindName(value));
    }

    const json::object& object_;
    std::string where_;
    mutable std::vector<std::string> read_;
};

// Reads the record under key into out, leaving out empty when the member is missing or null.
template <typename Record, typename Fill>
void ReadRecord(const Members& top, const char* key, std::optional<Record>& out, Fill fill) {
    const json::value* value = top.Find(key);
    if (!value) return;
    if (!value->is_object()) top.Fail(key, "expected an object or null, found " + KindName(*value));
    const Members members(value->get_object(), key);
    Record record;
    fill(members, record);
    members.RejectUnread();
    out = std::move(record);
}

std::string LineAndColumn(const std::string& text, size_t offset) {
    size_t line = 1, column = 1;
    for (size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

}  // namespace

class DeviceFileReader {
  public:
    static void Read(const json::object& root, CDeviceFile& device) {
        const Members top(root, "");
        top.Text("description", device.description_);
        if (const json::value* capture = top.Find("capture")) {
            const json::array single{*capture};
            for (const json::value& path : capture->is_array() ? capture->get_array() : single) {
                if (!path.is_string() || path.get_string().empty())
                    top.Fail("capture", "expected a path or a list of paths, found " + KindName(path));
                device.captures_.emplace_back(path.get_string());
            }
        }

        ReadRecord(top, "device", device.info_, [](const Members& m, XSocketDeviceInfo& r) {
            m.Text("ecid", r.ecid);
            m.Text("name", r.name);
            m.Text("productType", r.productType);
            m.Text("serialNumber", r.serialNumber);
            m.Text("udid", r.udid);
            m.Text("hardwareVersion", r.hardwareVersion);
            m.Text("mod", r.mod);
            m.Text("region", r.region);
            m.Text("buildVersion", r.buildVersion);
            m.Text("firmwareVersion", r.firmwareVersion);
            m.Text("hardwareModel", r.hardwareModel);
            m.Text("phoneNumber", r.phoneNumber);
            m.Text("mlb", r.mlb);
            m.Text("iccid", r.iccid);
            m.Text("ethernetMac", r.ethernetMac);
            m.Text("timeZone", r.timeZone);
            m.Text("basebandVersion", r.basebandVersion);
            m.Text("esn", r.esn);
            m.Text("colour", r.colour);
            m.Text("enclosureColour", r.enclosureColour);
            m.Text("rmd", r.rmd);
            m.Text("meid", r.meid);
            m.Text("imei", r.imei);
            m.Text("imei2", r.imei2);
            m.Text("simStatus", r.simStatus);
            m.Int64("basebandCertId", r.basebandCertId);
            m.Int64("basebandChipId", r.basebandChipId);
            m.Int64("boardId", r.boardId);
        });

        ReadRecord(top, "file", device.file_, [](const Members& m, XSocketDeviceFile& r) {
            m.Text("ecid", r.ecid);
            m.Text("name", r.name);
            m.Text("productType", r.productType);
            if (m.Find("data") && m.Find("dataBase64"))
                m.Fail("data", "give either data or dataBase64, not both");
            std::string bytes;
            m.Text("data", bytes);
            if (m.Find("dataBase64")) {
                std::string text;
                m.Text("dataBase64", text);
                const QByteArray decoded = XCrypt::BASE64::Decode(text.data(), text.size());
                if (decoded.isEmpty() && !text.empty()) m.Fail("dataBase64", "not valid Base64");
                r.data = decoded;
            } else {
                if (bytes.size() > static_cast<size_t>(std::numeric_limits<int>::max()))
                    m.Fail("data", "too large for a byte array");
                r.data = QByteArray(bytes.data(), static_cast<int>(bytes.size()));
            }
        });

        ReadRecord(top, "battery", device.battery_, [](const Members& m, XSocketDeviceBattery& r) {
            m.Int("cycleCount", r.cycleCount);
            m.Number("health", r.health);
            m.Text("batt", r.batt);
        });

        ReadRecord(top, "systemVersion", device.version_, [](const Members& m, XSocketDeviceVersion& r) {
            m.Int("major", r.major);
            m.Int("minor", r.minor);
            m.Int("patch", r.patch);
        });

        ReadRecord(top, "storage", device.storage_, [](const Members& m, XSocketDeviceStorage& r) {
            m.Int("diskType", r.diskType);
            m.Text("diskManufacturer", r.diskManufacturer);
            m.Text("diskSerial", r.diskSerial);
            m.Uint64("memorySize", r.memorySize);
            m.Int64("memoryUsed", r.memoryUsed);
        });

        ReadRecord(top, "wifi", device.wifi_, [](const Members& m, XSocketDeviceWifi& r) {
            m.Int("type", r.type);
            m.Text("producer", r.producer);
            m.Text("id", r.id);
            m.Text("mac", r.mac);
        });

        ReadRecord(top, "component", device.component_, [](const Members& m, XSocketDeviceComponent& r) {
            m.Text("fcms", r.fcms);
            m.Text("bcms", r.bcms);
            m.Text("frontCameraSerial", r.frontCameraSerial);
            m.Text("backCameraSerial", r.backCameraSerial);
            m.Text("irs", r.irs);
        });

        ReadRecord(top, "bluetooth", device.bluetooth_,
                   [](const Members& m, XSocketDeviceBluetooth& r) { m.Text("mac", r.mac); });

        ReadRecord(top, "fingerprint", device.fingerprint_,
                   [](const Members& m, XSocketDeviceFingerprint& r) {
                       m.Int("state", r.state);
                       m.Text("nsrn", r.nsrn);
                       m.Text("nvsn", r.nvsn);
                   });

        ReadRecord(top, "lowLevel", device.lowLevel_, [](const Members& m, XSocketDeviceLowLevel& r) {
            m.Uint64("ecid", r.ecid);
            m.Text("productType", r.productType);
        });

        ReadRecord(top, "display", device.display_, [](const Members& m, XSocketDeviceDisplay& r) {
            m.Text("lcd", r.lcd);
            m.Text("lcm", r.lcm);
        });

        ReadRecord(top, "processor", device.processor_, [](const Members& m, XSocketDeviceProcessor& r) {
            m.Text("type", r.type);
            m.Text("frame", r.frame);
            m.Int64("coreCount", r.coreCount);
            m.Int("clock", r.clock);
            m.Int("handler", r.handler);
        });

        top.Bool("root", device.root_);
        top.Bool("active", device.active_);
        top.Bool("fiveCode", device.fiveCode_);
        top.RejectUnread();
    }
};

std::unique_ptr<CDeviceFile> CDeviceFile::FromText(const std::string& text, const std::string& name,
                                                   std::string& error) noexcept {
    try {
        error.clear();
        if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
            error = name + ": the file is empty";
            return nullptr;
        }
        json::parser parser;
        json::error_code ec;
        const size_t consumed = parser.write(text.data(), text.size(), ec);
        if (ec) {
            error = name + ": not JSON (" + ec.message() + " at " + LineAndColumn(text, consumed) + ")";
            return nullptr;
        }
        const json::value root = parser.release();
        if (!root.is_object()) {
            error = name + ": expected a JSON object at the top, found " + KindName(root);
            return nullptr;
        }
        auto device = std::unique_ptr<CDeviceFile>(new CDeviceFile());
        DeviceFileReader::Read(root.get_object(), *device);
        return device;
    } catch (const FormatError& e) {
        error = name + ": " + e.problem;
    } catch (const std::bad_alloc&) {
        error = name + ": out of memory";
    } catch (const std::exception& e) {
        error = name + ": " + e.what();
    } catch (...) {
        error = name + ": unexpected failure";
    }
    return nullptr;
}

std::unique_ptr<CDeviceFile> CDeviceFile::Load(const std::string& path, std::string& error) noexcept {
    try {
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                                   &std::fclose);
        if (!file) {
            error = path + ": cannot open (" + std::generic_category().message(errno) + ")";
            return nullptr;
        }
        std::string text;
        char buffer[65536];
        size_t count;
        while ((count = std::fread(buffer, 1, sizeof buffer, file.get())) > 0)
            text.append(buffer, count);
        // A directory opens on some systems and only fails here.
        if (std::ferror(file.get())) {
            error = path + ": cannot read (" + std::generic_category().message(errno) + ")";
            return nullptr;
        }
        return FromText(text, path, error);
    } catch (...) {
        error = path + ": out of memory";
        return nullptr;
    }
}
