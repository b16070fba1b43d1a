#include "pelmor/platform/XJson.h"

#include <boost/json/parse.hpp>
#include <charconv>
#include <cmath>
#include <limits>

#include "JsonText.h"

namespace json = boost::json;

namespace {

// A text that is wholly a decimal number, read as a number: exact for integers, else via double.
bool TextToDouble(json::string_view text, double& out) {
    if (text.empty()) return false;
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data(), end, out, std::chars_format::general);
    return result.ec == std::errc() && result.ptr == end && std::isfinite(out);
}

bool TextToInt64(json::string_view text, long long& out) {
    if (text.empty()) return false;
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data(), end, out, 10);
    return result.ec == std::errc() && result.ptr == end;
}

// Cuts toward zero and clamps, so that no out-of-range cast can happen.
template <typename Int>
Int DoubleToInt(double value) {
    if (std::isnan(value)) return 0;
    if (value <= static_cast<double>(std::numeric_limits<Int>::min())) return std::numeric_limits<Int>::min();
    if (value >= static_cast<double>(std::numeric_limits<Int>::max())) return std::numeric_limits<Int>::max();
    return static_cast<Int>(std::trunc(value));
}

long long ValueToInt64(const json::value* v) {
    if (!v) return 0;
    switch (v->kind()) {
        case json::kind::int64:
            return v->get_int64();
        case json::kind::uint64: {
            const auto u = v->get_uint64();
            return u > static_cast<unsigned long long>(std::numeric_limits<long long>::max())
                       ? std::numeric_limits<long long>::max()
                       : static_cast<long long>(u);
        }
        case json::kind::double_:
            return DoubleToInt<long long>(v->get_double());
        case json::kind::bool_:
            return v->get_bool() ? 1 : 0;
        case json::kind::string: {
            long long n = 0;
            if (TextToInt64(v->get_string(), n)) return n;
            double d = 0;
            if (TextToDouble(v->get_string(), d)) return DoubleToInt<long long>(d);
            return 0;
        }
        default:
            return 0;
    }
}

double ValueToDouble(const json::value* v) {
    if (!v) return 0.0;
    switch (v->kind()) {
        case json::kind::int64:
            return static_cast<double>(v->get_int64());
        case json::kind::uint64:
            return static_cast<double>(v->get_uint64());
        case json::kind::double_:
            return v->get_double();
        case json::kind::bool_:
            return v->get_bool() ? 1.0 : 0.0;
        case json::kind::string: {
            double d = 0;
            return TextToDouble(v->get_string(), d) ? d : 0.0;
        }
        default:
            return 0.0;
    }
}

bool EqualsIgnoringCase(json::string_view text, const char* word) {
    size_t i = 0;
    for (; i < text.size() && word[i]; ++i) {
        char c = text[i];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != word[i]) return false;
    }
    return i == text.size() && word[i] == '\0';
}

bool ValueToBool(const json::value* v) {
    if (!v) return false;
    switch (v->kind()) {
        case json::kind::bool_:
            return v->get_bool();
        case json::kind::int64:
            return v->get_int64() != 0;
        case json::kind::uint64:
            return v->get_uint64() != 0;
        case json::kind::double_:
            return v->get_double() != 0.0;
        case json::kind::string:
            return EqualsIgnoringCase(v->get_string(), "true");
        default:
            return false;
    }
}

// Numbers as text: the shortest form that reads back to the same number.
std::string NumberText(double d) {
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, d);
    return std::string(buffer, result.ptr);
}

std::string ValueToString(const json::value* v) {
    if (!v) return std::string();
    switch (v->kind()) {
        case json::kind::string:
            return std::string(v->get_string().data(), v->get_string().size());
        case json::kind::int64:
            return std::to_string(v->get_int64());
        case json::kind::uint64:
            return std::to_string(v->get_uint64());
        case json::kind::double_:
            return NumberText(v->get_double());
        case json::kind::bool_:
            return v->get_bool() ? "true" : "false";
        default:
            return std::string();
    }
}

json::string_view View(const std::string& s) {
    return json::string_view(s.data(), s.size());
}

bool NeedsSanitizing(const json::value& v) {
    switch (v.kind()) {
        case json::kind::string:
            return !IsValidUtf8(v.get_string().data(), v.get_string().size());
        case json::kind::array:
            for (const auto& e : v.get_array())
                if (NeedsSanitizing(e)) return true;
            return false;
        case json::kind::object:
            for (const auto& m : v.get_object())
                if (!IsValidUtf8(m.key().data(), m.key().size()) || NeedsSanitizing(m.value())) return true;
            return false;
        default:
            return false;
    }
}

json::value Sanitized(const json::value& v) {
    switch (v.kind()) {
        case json::kind::string:
            return json::value(View(SanitizeUtf8(std::string(v.get_string()))));
        case json::kind::array: {
            json::array out;
            out.reserve(v.get_array().size());
            for (const auto& e : v.get_array())
                out.push_back(Sanitized(e));
            return out;
        }
        case json::kind::object: {
            json::object out;
            out.reserve(v.get_object().size());
            for (const auto& m : v.get_object())
                out.insert_or_assign(View(SanitizeUtf8(std::string(m.key()))), Sanitized(m.value()));
            return out;
        }
        default:
            return v;
    }
}

json::value ParseText(json::string_view text, bool& ok) noexcept {
    ok = false;
    try {
        json::parse_options options;
        options.allow_invalid_utf8 = true;
        json::error_code ec;
        json::value v = json::parse(text, ec, json::storage_ptr(), options);
        if (ec) return json::value();
        ok = true;
        return v;
    } catch (...) {
        return json::value();
    }
}

}  // namespace

XJson::XJson(const std::string& text) noexcept {
    bool ok;
    value_ = ParseText(View(text), ok);
}

XJson::XJson(const boost::json::value& value) noexcept {
    try {
        value_ = value;
    } catch (...) {
    }
}

XJson::XJson(boost::json::value&& value) noexcept : value_(std::move(value)) {}

XJson::XJson(const XJson& other) noexcept {
    try {
        value_ = other.value_;
    } catch (...) {
    }
}

XJson::XJson(XJson&& other) noexcept : value_(std::move(other.value_)) {}

XJson& XJson::operator=(const XJson& other) noexcept {
    if (this != &other) {
        try {
            value_ = other.value_;
        } catch (...) {
        }
    }
    return *this;
}

XJson& XJson::operator=(XJson&& other) noexcept {
    value_ = std::move(other.value_);
    return *this;
}

XJson::~XJson() = default;

bool XJson::Parse(const std::string& text) noexcept {
    return Parse(text.data(), text.size());
}

bool XJson::Parse(const char* text, std::size_t length) noexcept {
    bool ok = false;
    value_ = text ? ParseText(json::string_view(text, length), ok) : json::value();
    return ok;
}

boost::json::object* XJson::MakeObject() noexcept {
    if (!value_.is_object()) value_.emplace_object();
    return &value_.get_object();
}

void XJson::Put(const std::string& key, boost::json::value&& value) noexcept {
    try {
        MakeObject()->insert_or_assign(View(SanitizeUtf8(key)), std::move(value));
    } catch (...) {
    }
}

void XJson::Add(const std::string& key, const std::string& value) noexcept {
    Add(key, std::string_view(value));
}

void XJson::Add(const std::string& key, std::string_view value) noexcept {
    try {
        // Valid text, by far the usual case, is copied once, straight into the value.
        if (IsValidUtf8(value.data(), value.size()))
            Put(key, json::value(json::string_view(value.data(), value.size())));
        else
            Put(key, json::value(View(SanitizeUtf8(std::string(value)))));
    } catch (...) {
    }
}

void XJson::Add(const std::string& key, const char* value) noexcept {
    Add(key, std::string_view(value ? value : ""));
}

void XJson::Add(const std::string& key, int value) noexcept {
    Put(key, json::value(static_cast<std::int64_t>(value)));
}
void XJson::Add(const std::string& key, long long value) noexcept {
    Put(key, json::value(static_cast<std::int64_t>(value)));
}
void XJson::Add(const std::string& key, unsigned long long value) noexcept {
    Put(key, json::value(static_cast<std::uint64_t>(value)));
}
void XJson::Add(const std::string& key, double value) noexcept {
    Put(key, json::value(value));
}
void XJson::Add(const std::string& key, bool value) noexcept {
    Put(key, json::value(value));
}

void XJson::Add(const std::string& key, const XJson& value) noexcept {
    try {
        // An empty value stands for "no parameters" and goes on the wire as {}.
        Put(key, value.value_.is_null() ? json::value(json::object()) : json::value(value.value_));
    } catch (...) {
    }
}

void XJson::Add(const std::string& key, XJson&& value) noexcept {
    try {
        Put(key, value.value_.is_null() ? json::value(json::object()) : std::move(value.value_));
    } catch (...) {
    }
}

void XJson::Append(const std::string& key, const XJson& value) noexcept {
    Add(key, value);
}

void XJson::Append(const std::string& key, const XString& value) noexcept {
    try {
        Put(key, json::value(View(value.ToUtf8())));
    } catch (...) {
    }
}

void XJson::Append(const XJson& element) noexcept {
    try {
        if (!value_.is_array()) value_.emplace_array();
        value_.get_array().push_back(element.value_);
    } catch (...) {
    }
}

const boost::json::value* XJson::Member(const std::string& key) const noexcept {
    if (!value_.is_object()) return nullptr;
    return value_.get_object().if_contains(View(key));
}

std::string XJson::ToString(const std::string& key) const noexcept {
    try {
        return ValueToString(Member(key));
    } catch (...) {
        return std::string();
    }
}

XString XJson::ToXString(const std::string& key) const noexcept {
    try {
        return XString::FromUtf8(ValueToString(Member(key)));
    } catch (...) {
        return XString();
    }
}

int XJson::ToInt(const std::string& key) const noexcept {
    const long long n = ValueToInt64(Member(key));
    if (n < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
    if (n > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(n);
}

long long XJson::ToInt64(const std::string& key) const noexcept {
    return ValueToInt64(Member(key));
}
bool XJson::ToBool(const std::string& key) const noexcept {
    return ValueToBool(Member(key));
}
double XJson::ToDouble(const std::string& key) const noexcept {
    return ValueToDouble(Member(key));
}

XJson XJson::ToObject(const std::string& key) const noexcept {
    return (*this)[key];
}

XJson XJson::Take(const std::string& key) noexcept {
    if (!value_.is_object()) return XJson();
    const auto member = value_.get_object().find(View(key));
    if (member == value_.get_object().end()) return XJson();
    return XJson(std::move(member->value()));
}

std::string XJson::AsString() const noexcept {
    try {
        return ValueToString(&value_);
    } catch (...) {
        return std::string();
    }
}

XString XJson::AsXString() const noexcept {
    try {
        return XString::FromUtf8(ValueToString(&value_));
    } catch (...) {
        return XString();
    }
}

int XJson::AsInt() const noexcept {
    const long long n = ValueToInt64(&value_);
    if (n < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
    if (n > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(n);
}

long long XJson::AsInt64() const noexcept {
    return ValueToInt64(&value_);
}
bool XJson::AsBool() const noexcept {
    return ValueToBool(&value_);
}
double XJson::AsDouble() const noexcept {
    return ValueToDouble(&value_);
}

XJson XJson::operator[](const std::string& key) const noexcept {
    const json::value* member = Member(key);
    return member ? XJson(*member) : XJson();
}

XJson XJson::operator[](unsigned index) const noexcept {
    if (!value_.is_array() || index >= value_.get_array().size()) return XJson();
    return XJson(value_.get_array()[index]);
}

unsigned XJson::GetArraySize() const noexcept {
    return value_.is_array() ? static_cast<unsigned>(value_.get_array().size()) : 0u;
}

bool XJson::IsEmpty() const noexcept {
    if (value_.is_null()) return true;
    if (value_.is_object()) return value_.get_object().empty();
    if (value_.is_array()) return value_.get_array().empty();
    return false;
}

bool XJson::Contains(const std::string& key) const noexcept {
    return Member(key) != nullptr;
}

std::string XJson::ToJson() const noexcept {
    try {
        std::string text;
        if (Render([&text](const char* piece, std::size_t length) {
                text.append(piece, length);
                return true;
            }))
            return text;
    } catch (...) {
    }
    return std::string();
}

bool XJson::Render(const std::function<bool(const char*, std::size_t)>& sink) const noexcept {
    try {
        if (value_.is_null()) return sink("{}", 2);
        // Parsed replies may carry invalid UTF-8; what we render is always valid JSON.
        if (NeedsSanitizing(value_)) return RenderJson(Sanitized(value_), sink);
        return RenderJson(value_, sink);
    } catch (...) {
        return false;
    }
}

std::size_t XJson::ApproximateJsonLength() const noexcept {
    return value_.is_null() ? 2 : ::ApproximateJsonLength(value_);
}
