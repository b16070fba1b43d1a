#include "Output.h"

#include <boost/json/serialize.hpp>
#include <cstdio>
#include <cstring>
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
    if (v.is_double()) {
        char text[32];
        std::snprintf(text, sizeof text, "%.10g", v.get_double());
        return text;
    }
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
            bool known = false;
            for (const auto& n : names)
                known = known || n == name;
            if (!known && IsScalar(member.value())) names.push_back(name);
        }
    std::vector<std::size_t> widths;
    for (const auto& name : names) {
        std::size_t width = DisplayWidth(name);
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
    line([&](std::size_t i) { return names[i]; });
    line([&](std::size_t i) { return std::string(widths[i], '-'); });
    for (const Json& row : rows)
        line([&](std::size_t i) {
            const Json* cell = row.get_object().if_contains(names[i]);
            return cell ? Scalar(*cell) : std::string();
        });
}

void PrintMember(const std::string& name, const Json& value, std::size_t width, const std::string& indent) {
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
        if (IsScalar(member.value())) width = std::max(width, DisplayWidth(std::string(member.key())));
    for (const auto& member : object)
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
