#include "Output.h"

#include <boost/json/serialize.hpp>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <vector>

namespace pelmor {

std::string Utf8(const wchar_t* text) {
    return text ? XString(text).ToUtf8() : std::string();
}
std::string Utf8(const XString& text) {
    return text.ToUtf8();
}
std::string Utf8(const QString& text) {
    return text.toUtf8().toStdString();
}
std::string Utf8(const char* text) {
    return text ? SanitizeUtf8(text) : std::string();
}
XString Wide(const std::string& utf8) {
    return XString::FromUtf8(utf8);
}

std::string OneLine(std::string text) {
    for (char& c : text)
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    return text;
}

std::string NumberText(double number) {
    // JSON has no infinities or NaN; the library never hands them out, but a number shown must be JSON.
    if (number != number) return "null";
    if (number > 1.7976931348623157e308) number = 1.7976931348623157e308;
    if (number < -1.7976931348623157e308) number = -1.7976931348623157e308;
    char text[32];
    for (int digits = 15; digits <= 17; ++digits) {
        std::snprintf(text, sizeof text, "%.*g", digits, number);
        if (std::strtod(text, nullptr) == number) break;
    }
    return text;
}

std::string Label(const std::string& key) {
    std::string label;
    for (std::size_t i = 0; i < key.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(key[i]);
        const bool upper = std::isupper(c) != 0;
        // A run of capitals is one word ("qrURL" -> "qr url"): break before its first letter only.
        const bool startsWord = i > 0 && upper && !std::isupper(static_cast<unsigned char>(key[i - 1]));
        if (startsWord) label += ' ';
        label += upper ? static_cast<char>(std::tolower(c)) : static_cast<char>(c);
    }
    return label;
}

namespace {

bool IsRawTime(const std::string& key) {
    static const std::string suffix = "EpochMs";
    return key.size() > suffix.size() && key.compare(key.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

Json IsoTime(long long epochMs) {
    if (epochMs <= 0) return nullptr;
    const std::time_t seconds = static_cast<std::time_t>(epochMs / 1000);
    std::tm utc{};
    if (!gmtime_r(&seconds, &utc)) return nullptr;
    char text[40];
    const std::size_t n = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc);
    if (epochMs % 1000)
        std::snprintf(text + n, sizeof text - n, ".%03dZ", static_cast<int>(epochMs % 1000));
    else
        std::snprintf(text + n, sizeof text - n, "Z");
    return Json(text);
}

void PutTime(JsonObject& object, const std::string& key, long long epochMs) {
    object[key] = IsoTime(epochMs);
    object[key + "EpochMs"] = epochMs;
}

namespace {

// text has count digits from position from.
bool DigitsAt(const std::string& text, std::size_t from, std::size_t count) {
    for (std::size_t i = from; i < from + count; ++i)
        if (i >= text.size() || !std::isdigit(static_cast<unsigned char>(text[i]))) return false;
    return true;
}

bool StartsWithDay(const std::string& text) {
    return DigitsAt(text, 0, 4) && text[4] == '-' && DigitsAt(text, 5, 2) && text[7] == '-' &&
           DigitsAt(text, 8, 2);
}

}  // namespace

bool IsDay(const std::string& text) {
    return text.size() == 10 && StartsWithDay(text);
}

Json ServiceTime(const std::string& text) {
    if (text.empty()) return nullptr;
    if (text.size() == 19 && StartsWithDay(text) && text[10] == ' ' && DigitsAt(text, 11, 2) &&
        text[13] == ':' && DigitsAt(text, 14, 2) && text[16] == ':' && DigitsAt(text, 17, 2))
        return Json(text.substr(0, 10) + "T" + text.substr(11));
    return Json(text);
}

Json NumberFromText(const std::string& text) {
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) return nullptr;
    char* end = nullptr;
    errno = 0;
    const long long whole = std::strtoll(text.c_str(), &end, 10);
    if (*end == '\0' && errno == 0) return whole;
    const double number = std::strtod(text.c_str(), &end);
    if (*end != '\0' || number != number || number > 1e308 || number < -1e308) return nullptr;
    return number;
}

namespace {

bool Wide2(char32_t c) {
    return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) || (c >= 0xAC00 && c <= 0xD7A3) ||
           (c >= 0xF900 && c <= 0xFAFF) || (c >= 0xFE30 && c <= 0xFE4F) || (c >= 0xFF00 && c <= 0xFF60) ||
           (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x20000 && c <= 0x3FFFD);
}

}  // namespace

std::size_t DisplayWidth(const std::string& text) {
    std::size_t width = 0;
    for (wchar_t c : XString::FromUtf8(text))
        width += Wide2(static_cast<char32_t>(c)) ? 2 : 1;
    return width;
}

namespace {

std::string Pad(const std::string& text, std::size_t width) {
    const std::size_t used = DisplayWidth(text);
    return used >= width ? text : text + std::string(width - used, ' ');
}

bool IsScalar(const Json& v) {
    return !v.is_object() && !v.is_array();
}

std::string Scalar(const Json& v) {
    if (v.is_string()) return OneLine(std::string(v.get_string()));
    if (v.is_null()) return "";
    if (v.is_bool()) return v.get_bool() ? "yes" : "no";
    if (v.is_double()) return NumberText(v.get_double());
    return boost::json::serialize(v);
}

bool AllObjects(const JsonArray& array) {
    for (const Json& item : array)
        if (!item.is_object()) return false;
    return !array.empty();
}

void PrintObject(const JsonObject& object, const std::string& indent);

// An array of objects as a table with one column per member name, in order of first appearance.
void PrintColumns(const JsonArray& rows, const std::string& indent) {
    std::vector<std::string> names;
    for (const Json& row : rows)
        for (const auto& member : row.get_object()) {
            const std::string name(member.key());
            if (IsRawTime(name)) continue;
            bool known = false;
            for (const auto& n : names)
                known = known || n == name;
            if (!known && IsScalar(member.value())) names.push_back(name);
        }
    std::vector<std::size_t> widths;
    for (const auto& name : names) {
        std::size_t width = DisplayWidth(Label(name));
        for (const Json& row : rows)
            if (const Json* cell = row.get_object().if_contains(name))
                width = std::max(width, DisplayWidth(Scalar(*cell)));
        widths.push_back(width);
    }
    auto line = [&](auto cell) {
        std::string out = indent;
        for (std::size_t i = 0; i < names.size(); ++i)
            out += i + 1 < names.size() ? Pad(cell(i), widths[i] + 2) : cell(i);
        std::cout << out << '\n';
    };
    line([&](std::size_t i) { return Label(names[i]); });
    line([&](std::size_t i) { return std::string(widths[i], '-'); });
    for (const Json& row : rows)
        line([&](std::size_t i) {
            const Json* cell = row.get_object().if_contains(names[i]);
            return cell ? Scalar(*cell) : std::string();
        });
}

void PrintMember(const std::string& key, const Json& value, std::size_t width, const std::string& indent) {
    const std::string name = Label(key);
    if (IsScalar(value)) {
        std::cout << indent << Pad(name, width + 2) << Scalar(value) << '\n';
    } else if (value.is_object()) {
        std::cout << indent << name << ":\n";
        PrintObject(value.get_object(), indent + "  ");
    } else if (AllObjects(value.get_array())) {
        std::cout << indent << name << ":\n";
        PrintColumns(value.get_array(), indent + "  ");
    } else {
        std::string joined;
        for (const Json& item : value.get_array())
            joined +=
                (joined.empty() ? "" : ", ") + (IsScalar(item) ? Scalar(item) : boost::json::serialize(item));
        std::cout << indent << Pad(name, width + 2) << (joined.empty() ? "(none)" : joined) << '\n';
    }
}

void PrintObject(const JsonObject& object, const std::string& indent) {
    std::size_t width = 0;
    for (const auto& member : object)
        if (IsScalar(member.value()) && !IsRawTime(std::string(member.key())))
            width = std::max(width, DisplayWidth(Label(std::string(member.key()))));
    for (const auto& member : object)
        if (!IsRawTime(std::string(member.key())))
            PrintMember(std::string(member.key()), member.value(), width, indent);
}

void PrintJson(const Json& value, const std::string& indent, std::ostream& out) {
    const std::string inner = indent + "  ";
    if (value.is_object() && !value.get_object().empty()) {
        out << "{\n";
        bool first = true;
        for (const auto& member : value.get_object()) {
            out << (first ? "" : ",\n") << inner << boost::json::serialize(Json(member.key())) << ": ";
            PrintJson(member.value(), inner, out);
            first = false;
        }
        out << '\n' << indent << '}';
    } else if (value.is_array() && !value.get_array().empty()) {
        out << "[\n";
        bool first = true;
        for (const Json& item : value.get_array()) {
            out << (first ? "" : ",\n") << inner;
            PrintJson(item, inner, out);
            first = false;
        }
        out << '\n' << indent << ']';
    } else if (value.is_double()) {
        out << NumberText(value.get_double());
    } else {
        out << boost::json::serialize(value);
    }
}

}  // namespace

void PrintResult(const Json& value, bool json) {
    if (json) {
        PrintJson(value, "", std::cout);
        std::cout << '\n';
    } else if (value.is_object()) {
        PrintObject(value.get_object(), "");
    } else if (value.is_array() && AllObjects(value.get_array())) {
        PrintColumns(value.get_array(), "");
    } else if (value.is_array() && value.get_array().empty()) {
        std::cout << "(none)\n";
    } else {
        std::cout << Scalar(value) << '\n';
    }
    std::cout.flush();
}

}  // namespace pelmor
