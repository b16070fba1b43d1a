#include "pelmor/platform/XJson.h"
#include "pelmor/platform/MemoryShortage.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>

#include "JsonParse.h"
#include "JsonText.h"
#include "ParseArena.h"
#include "Utf8Encoding.h"
#include "XJsonValue.h"

namespace json = boost::json;

// The value is built in place in XJson's storage, which must fit it.
static_assert(sizeof(json::value) <= sizeof(XJson), "XJson's storage is too small for the JSON value");
static_assert(alignof(json::value) <= alignof(XJson), "XJson's storage is not aligned for the JSON value");

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
            return DoubleToInt<long long>(FiniteDouble(v->get_double()));
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
            return FiniteDouble(v->get_double());
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
            return FiniteDouble(v->get_double()) != 0.0;
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
            return NumberText(FiniteDouble(v->get_double()));
        case json::kind::bool_:
            return v->get_bool() ? "true" : "false";
        default:
            return std::string();
    }
}

// Texts, the usual case, go straight from the value to wide text without a narrow copy between.
XString ValueToXString(const json::value* v) {
    if (v && v->is_string()) return XString::FromUtf8(v->get_string().data(), v->get_string().size());
    return XString::FromUtf8(ValueToString(v));
}

json::string_view View(const std::string& s) {
    return json::string_view(s.data(), s.size());
}

// Holds the arena a value lives in (nothing for any other value): every XJson whose value lives in a
// parse's arena holds it once, so that the arena goes with the last of them.
void HoldArenaOf(const json::value& value) noexcept {
    if (ParseArena* arena = ParseArena::Of(value)) arena->Hold();
}

// Replaces target with source, which keeps its memory resource: assigning a value that lives on another
// resource (a parse's arena) would copy the whole tree, and could fail half-way.
void Adopt(json::value& target, json::value&& source) noexcept {
    ParseArena* const before = ParseArena::Of(target);
    target.~value();
    new (&target) json::value(std::move(source));
    HoldArenaOf(target);
    if (before) before->Drop();
}

// Parses text into target, in an arena of its own. Text that is not JSON, or whose tree would outgrow
// the arena's budget, leaves target null.
bool ParseInto(json::value& target, json::string_view text, RenderedMember* member = nullptr) noexcept {
    ParseArena* arena = ParseArena::Create(text.size());
    if (!arena) {
        Pelmor::NoteMemoryShortage();
        Adopt(target, json::value());
        return false;
    }
    bool ok = false;
    try {
        // May move the parse to a fresh arena.
        json::value parsed = ParseJson(text, arena, ok, JsonReader::kFastFirst, nullptr, member);
        if (ok) Adopt(target, std::move(parsed));
    } catch (const ParseArena::OverBudget&) {
        ok = false;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        ok = false;
    }
    if (!ok) Adopt(target, json::value());
    if (arena) arena->Drop();
    return ok;
}

const json::value* FindMember(const json::value& value, const std::string& key) noexcept {
    if (!value.is_object()) return nullptr;
    return value.get_object().if_contains(View(key));
}

json::object* MakeObject(json::value& value) noexcept {
    if (!value.is_object()) value.emplace_object();
    return &value.get_object();
}

void Put(json::value& target, const std::string& key, json::value&& value) noexcept {
    try {
        json::object* object = MakeObject(target);
        if (IsValidUtf8(key.data(), key.size()))
            object->insert_or_assign(View(key), std::move(value));
        else
            object->insert_or_assign(View(SanitizeUtf8(key)), std::move(value));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

// A value inside a tree seen as the XJson it would be: XJson is nothing but the value's storage, so the
// value's address is the address of an XJson holding it. No copy is made.
static_assert(std::is_standard_layout_v<XJson>, "an XJson must be its storage and nothing else");

const XJson& InPlace(const json::value& value) noexcept {
    return *reinterpret_cast<const XJson*>(&value);
}

const XJson& NoValue() noexcept {
    static const XJson empty;
    return empty;
}

// A copy of value as an XJson; empty when the copy cannot be made.
XJson FromValue(const json::value& value) noexcept {
    XJson out;
    try {
        JsonValue(out) = value;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
    return out;
}

}  // namespace

XJson::XJson() noexcept {
    new (storage_) json::value();
}

XJson::XJson(const std::string& text) noexcept : XJson() {
    ParseInto(JsonValue(*this), View(text));
}

XJson::XJson(const XJson& other) noexcept : XJson() {
    try {
        JsonValue(*this) = JsonValue(other);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

XJson::XJson(XJson&& other) noexcept {
    new (storage_) json::value(std::move(JsonValue(other)));
    HoldArenaOf(JsonValue(*this));  // other, left null, still lives in the arena and holds it too
}

XJson& XJson::operator=(const XJson& other) noexcept {
    if (this != &other) {
        try {
            JsonValue(*this) = JsonValue(other);
        } catch (...) {
            Pelmor::NoteMemoryShortage();
        }
    }
    return *this;
}

XJson& XJson::operator=(XJson&& other) noexcept {
    if (this != &other) Adopt(JsonValue(*this), std::move(JsonValue(other)));
    return *this;
}

XJson::~XJson() {
    ParseArena* const arena = ParseArena::Of(JsonValue(*this));
    JsonValue(*this).~value();
    if (arena) arena->Drop();
}

bool XJson::Parse(const std::string& text) noexcept {
    return Parse(text.data(), text.size());
}

bool XJson::Parse(const char* text, std::size_t length) noexcept {
    if (text) return ParseInto(JsonValue(*this), json::string_view(text, length));
    Adopt(JsonValue(*this), json::value());
    return false;
}

bool XJson::Parse(const char* text, std::size_t length, std::string_view member,
                  std::string_view& memberText) noexcept {
    memberText = std::string_view();
    if (!text) return Parse(text, length);
    RenderedMember rendered{json::string_view(member.data(), member.size()), json::string_view()};
    const bool ok = ParseInto(JsonValue(*this), json::string_view(text, length), &rendered);
    if (ok) memberText = std::string_view(rendered.text.data(), rendered.text.size());
    return ok;
}

void XJson::Add(const std::string& key, const std::string& value) noexcept {
    Add(key, std::string_view(value));
}

void XJson::Add(const std::string& key, std::string_view value) noexcept {
    try {
        // Valid text, by far the usual case, is copied once, straight into the value.
        if (IsValidUtf8(value.data(), value.size()))
            Put(JsonValue(*this), key, json::value(json::string_view(value.data(), value.size())));
        else
            Put(JsonValue(*this), key, json::value(View(SanitizeUtf8(std::string(value)))));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

void XJson::Add(const std::string& key, const char* value) noexcept {
    Add(key, std::string_view(value ? value : ""));
}

void XJson::Add(const std::string& key, int value) noexcept {
    Put(JsonValue(*this), key, json::value(static_cast<std::int64_t>(value)));
}
void XJson::Add(const std::string& key, long long value) noexcept {
    Put(JsonValue(*this), key, json::value(static_cast<std::int64_t>(value)));
}
void XJson::Add(const std::string& key, unsigned long long value) noexcept {
    Put(JsonValue(*this), key, json::value(static_cast<std::uint64_t>(value)));
}
void XJson::Add(const std::string& key, double value) noexcept {
    Put(JsonValue(*this), key, json::value(FiniteDouble(value)));
}
void XJson::Add(const std::string& key, bool value) noexcept {
    Put(JsonValue(*this), key, json::value(value));
}

void XJson::Add(const std::string& key, XJson&& value) noexcept {
    try {
        json::value& moved = JsonValue(value);
        Put(JsonValue(*this), key, moved.is_null() ? json::value(json::object()) : std::move(moved));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

void XJson::Add(const std::string& key, const XJson& value) noexcept {
    try {
        // An empty value stands for "no parameters" and goes on the wire as {}.
        Put(JsonValue(*this), key,
            JsonValue(value).is_null() ? json::value(json::object()) : json::value(JsonValue(value)));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

void XJson::Append(const std::string& key, const XJson& value) noexcept {
    Add(key, value);
}

// Wide text as a JSON string, encoded straight into it: measured first so that the string is sized once,
// then written without a narrow copy between (ASCII, nearly every text a request carries, one character
// to one byte).
json::value WideText(const XString& text) {
    const std::size_t bytes = Utf8::Length(text.data(), text.size());
    json::string out;
    out.reserve(bytes);
    Utf8::Encode(out.data(), text.data(), text.size(), bytes);
    out.grow(bytes);
    return json::value(std::move(out));
}

void XJson::Append(const std::string& key, const XString& value) noexcept {
    try {
        Put(JsonValue(*this), key, WideText(value));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

void XJson::Append(const XJson& element) noexcept {
    try {
        if (!JsonValue(*this).is_array()) JsonValue(*this).emplace_array();
        JsonValue(*this).get_array().push_back(JsonValue(element));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

std::string XJson::ToString(const std::string& key) const noexcept {
    try {
        return ValueToString(FindMember(JsonValue(*this), key));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return std::string();
    }
}

XString XJson::ToXString(const std::string& key) const noexcept {
    try {
        return ValueToXString(FindMember(JsonValue(*this), key));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return XString();
    }
}

int XJson::ToInt(const std::string& key) const noexcept {
    const long long n = ValueToInt64(FindMember(JsonValue(*this), key));
    if (n < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
    if (n > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(n);
}

long long XJson::ToInt64(const std::string& key) const noexcept {
    return ValueToInt64(FindMember(JsonValue(*this), key));
}
bool XJson::ToBool(const std::string& key) const noexcept {
    return ValueToBool(FindMember(JsonValue(*this), key));
}
double XJson::ToDouble(const std::string& key) const noexcept {
    return ValueToDouble(FindMember(JsonValue(*this), key));
}

XJson XJson::ToObject(const std::string& key) const noexcept {
    return (*this)[key];
}

std::string XJson::AsString() const noexcept {
    try {
        return ValueToString(&JsonValue(*this));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return std::string();
    }
}

XString XJson::AsXString() const noexcept {
    try {
        return ValueToXString(&JsonValue(*this));
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return XString();
    }
}

int XJson::AsInt() const noexcept {
    const long long n = ValueToInt64(&JsonValue(*this));
    if (n < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
    if (n > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(n);
}

long long XJson::AsInt64() const noexcept {
    return ValueToInt64(&JsonValue(*this));
}
bool XJson::AsBool() const noexcept {
    return ValueToBool(&JsonValue(*this));
}
double XJson::AsDouble() const noexcept {
    return ValueToDouble(&JsonValue(*this));
}

std::string_view XJson::TextView() const noexcept {
    const json::value& value = JsonValue(*this);
    if (!value.is_string()) return std::string_view();
    return std::string_view(value.get_string().data(), value.get_string().size());
}

XJson XJson::Take(const std::string& key) noexcept {
    XJson out;
    json::value& value = JsonValue(*this);
    if (!value.is_object()) return out;
    if (json::value* member = value.get_object().if_contains(View(key)))
        Adopt(JsonValue(out), std::move(*member));  // a parsed member stays in its parse's arena: no copy
    return out;
}

XJson XJson::operator[](const std::string& key) const noexcept {
    const json::value* member = FindMember(JsonValue(*this), key);
    return member ? FromValue(*member) : XJson();
}

XJson XJson::operator[](unsigned index) const noexcept {
    if (!JsonValue(*this).is_array() || index >= JsonValue(*this).get_array().size()) return XJson();
    return FromValue(JsonValue(*this).get_array()[index]);
}

const XJson& XJson::Member(std::string_view key) const noexcept {
    const json::value& value = JsonValue(*this);
    if (!value.is_object()) return NoValue();
    const json::value* member = value.get_object().if_contains(json::string_view(key.data(), key.size()));
    return member ? InPlace(*member) : NoValue();
}

const XJson& XJson::Element(unsigned index) const noexcept {
    const json::value& value = JsonValue(*this);
    if (!value.is_array() || index >= value.get_array().size()) return NoValue();
    return InPlace(value.get_array()[index]);
}

void XJson::ForEachMember(const std::function<void(std::string_view key, const XJson& value)>& visit) const {
    const json::value& value = JsonValue(*this);
    if (!value.is_object()) return;
    for (const json::key_value_pair& member : value.get_object()) {
        const json::string_view key = member.key();
        visit(std::string_view(key.data(), key.size()), InPlace(member.value()));
    }
}

void XJson::Reserve(std::size_t members) noexcept {
    try {
        MakeObject(JsonValue(*this))->reserve(members);
    } catch (...) {
        // Without the room the members are still added, one growth at a time.
    }
}

unsigned XJson::GetArraySize() const noexcept {
    return JsonValue(*this).is_array() ? static_cast<unsigned>(JsonValue(*this).get_array().size()) : 0u;
}

bool XJson::IsEmpty() const noexcept {
    if (JsonValue(*this).is_null()) return true;
    if (JsonValue(*this).is_object()) return JsonValue(*this).get_object().empty();
    if (JsonValue(*this).is_array()) return JsonValue(*this).get_array().empty();
    return false;
}

bool XJson::Contains(const std::string& key) const noexcept {
    return FindMember(JsonValue(*this), key) != nullptr;
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
        Pelmor::NoteMemoryShortage();
    }
    return std::string();
}

bool XJson::Render(const std::function<bool(const char*, std::size_t)>& sink) const noexcept {
    return Render(sink, NoValue(), std::string_view());
}

bool XJson::Render(const std::function<bool(const char*, std::size_t)>& sink, const XJson& at,
                   std::string_view verbatim) const noexcept {
    try {
        const json::value& value = JsonValue(*this);
        if (value.is_null()) return sink("{}", 2);
        // Parsed replies may carry invalid UTF-8; what we render is always valid JSON.
        return RenderJson(value, sink, &JsonValue(at), verbatim);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return false;
    }
}

std::size_t XJson::ApproximateJsonLength() const noexcept {
    const json::value& value = JsonValue(*this);
    return value.is_null() ? 2 : ::ApproximateJsonLength(value);
}

bool XJson::IsObject() const noexcept {
    return JsonValue(*this).is_object();
}
bool XJson::IsArray() const noexcept {
    return JsonValue(*this).is_array();
}
bool XJson::IsString() const noexcept {
    return JsonValue(*this).is_string();
}
bool XJson::IsNull() const noexcept {
    return JsonValue(*this).is_null();
}

bool XJson::operator==(const XJson& other) const noexcept {
    return JsonValue(*this) == JsonValue(other);
}
