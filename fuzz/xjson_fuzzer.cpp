// XJson: any text parses without a fault; every conversion of every member reads without one; and what
// it renders is JSON that parses back to the same value.
#include <pelmor/platform/XJson.h>

#include <algorithm>
#include <boost/json/parse.hpp>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "FuzzSupport.h"
#include "XJsonValue.h"

using fuzz_support::Touch;

namespace {

constexpr std::size_t kBuiltTextBytes = 256;

// shape is the same value as Boost.JSON reads the rendered text: it names the members to ask XJson for.
void ReadEverything(const XJson& value, const boost::json::value* shape, int depth) {
    Touch(value.AsString());
    Touch(value.AsXString());
    Touch(value.AsInt());
    Touch(value.AsInt64());
    Touch(value.AsBool());
    Touch(value.AsDouble());
    Touch(value.IsEmpty());
    if (depth > 8) return;  // deep documents are read by their first levels, the render walks them all
    if (value.IsObject() && shape && shape->is_object()) {
        for (const auto& member : shape->get_object()) {
            const std::string key(member.key());
            Touch(value.ToString(key));
            Touch(value.ToXString(key));
            Touch(value.ToInt(key));
            Touch(value.ToInt64(key));
            Touch(value.ToBool(key));
            Touch(value.ToDouble(key));
            Touch(value.Contains(key));
            Touch(value.ToObject(key).IsEmpty());
            ReadEverything(value[key], &member.value(), depth + 1);
        }
        Touch(value.ToString("absent"));
    }
    const unsigned size = value.GetArraySize();
    const boost::json::array* items = shape && shape->is_array() ? &shape->get_array() : nullptr;
    for (unsigned i = 0; i < size && i < 64; ++i)
        ReadEverything(value[i], items && i < items->size() ? &(*items)[i] : nullptr, depth + 1);
    ReadEverything(value[size], nullptr, 99);  // past the end
}

// Boost.JSON turns some numbers (1e400, 0e322) into infinity or NaN; the library reads those as the
// largest finite double of their sign and as 0.
double AsRead(double value) {
    if (std::isnan(value)) return 0;
    if (std::isinf(value))
        return value > 0 ? std::numeric_limits<double>::max() : std::numeric_limits<double>::lowest();
    return value;
}

// Equal, except that a double may come back a few units in the last place off: Boost.JSON 1.81 does not
// round every long decimal exactly when it parses (its precise mode came later).
bool SameValue(const boost::json::value& a, const boost::json::value& b) {
    if (a.is_number() && b.is_number()) {
        if (a.is_double() || b.is_double()) {
            const double x = AsRead(a.to_number<double>()), y = AsRead(b.to_number<double>());
            return x == y || std::fabs(x - y) <= 1e-15 * std::max(std::fabs(x), std::fabs(y));
        }
        return a == b;
    }
    if (a.kind() != b.kind()) return false;
    if (a.is_array()) {
        const auto &p = a.get_array(), &q = b.get_array();
        if (p.size() != q.size()) return false;
        for (size_t i = 0; i < p.size(); ++i)
            if (!SameValue(p[i], q[i])) return false;
        return true;
    }
    if (a.is_object()) {
        const auto &p = a.get_object(), &q = b.get_object();
        if (p.size() != q.size()) return false;
        for (auto i = p.begin(), j = q.begin(); i != p.end(); ++i, ++j)
            if (i->key() != j->key() || !SameValue(i->value(), j->value())) return false;
        return true;
    }
    return a == b;
}

// Equal down to the kind of each number, the bits of each double and the order of each member.
bool SameTree(const boost::json::value& a, const boost::json::value& b) {
    if (a.kind() != b.kind()) return false;
    if (a.is_double()) {
        const double x = a.get_double(), y = b.get_double();
        return std::memcmp(&x, &y, sizeof x) == 0;
    }
    if (a.is_array()) {
        const auto &p = a.get_array(), &q = b.get_array();
        if (p.size() != q.size()) return false;
        for (size_t i = 0; i < p.size(); ++i)
            if (!SameTree(p[i], q[i])) return false;
        return true;
    }
    if (a.is_object()) {
        const auto &p = a.get_object(), &q = b.get_object();
        if (p.size() != q.size()) return false;
        for (auto i = p.begin(), j = q.begin(); i != p.end(); ++i, ++j)
            if (i->key() != j->key() || !SameTree(i->value(), j->value())) return false;
        return true;
    }
    return a == b;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    XJson value;
    const bool parsed = value.Parse(text);
    // XJson builds its trees itself: they must be the very trees Boost.JSON's own parser builds.
    boost::json::parse_options options;
    options.allow_invalid_utf8 = true;
    boost::system::error_code notJson;
    const boost::json::value expected = boost::json::parse(text, notJson, {}, options);
    if (parsed == static_cast<bool>(notJson) || (parsed && !SameTree(JsonValue(value), expected)))
        __builtin_trap();
    // A member's text taken as it stands must be what rendering the member writes, and the tree the whole
    // one with a null in the member's place; its first member is asked for, so that most objects have one
    // to give.
    if (parsed && value.IsObject() && !JsonValue(value).get_object().empty()) {
        const std::string key(JsonValue(value).get_object().begin()->key());
        XJson again;
        std::string_view member;
        if (!again.Parse(text.data(), text.size(), key, member)) __builtin_trap();
        boost::json::value whole = expected;
        if (!member.empty()) {
            if (std::string(member) != value.Member(key).ToJson()) __builtin_trap();
            whole.get_object().begin()->value() = nullptr;
        }
        if (!SameTree(JsonValue(again), whole)) __builtin_trap();
    }
    const std::string rendered = value.ToJson();
    boost::system::error_code failed;
    const boost::json::value shape = boost::json::parse(rendered, failed);
    ReadEverything(value, failed ? nullptr : &shape, 0);

    // Building: narrow text of any bytes goes in and still renders as JSON. The repair works sequence by
    // sequence, so a short piece of the input finds what the whole would; the whole took most of each run.
    const std::string piece = text.substr(0, kBuiltTextBytes);
    XJson built;
    built.Add("text", piece);
    built.Append("wide", XString::FromUtf8(piece));
    built.Add("value", value);
    built.Append(value);
    XJson check;
    if (!check.Parse(built.ToJson())) __builtin_trap();

    XJson again;
    if (parsed && !again.Parse(rendered)) __builtin_trap();  // rendered text that is not JSON
    if (!parsed || value.IsNull()) return 0;                 // a null document renders as {} by design
    // The render is stable, and valid input comes back from it as the same value (texts with invalid
    // UTF-8 are repaired when rendered, so they are not compared with the input).
    const boost::json::value back = boost::json::parse(again.ToJson(), failed);
    if (failed || !SameValue(shape, back)) __builtin_trap();
    if (IsValidUtf8(text.data(), text.size())) {
        const boost::json::value original = boost::json::parse(text, failed);
        if (!failed && !SameValue(original, shape)) __builtin_trap();
    }

    return 0;
}
