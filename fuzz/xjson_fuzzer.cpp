// XJson: any text parses without a fault; every conversion of every member reads without one; and what
// it renders is JSON that parses back to the same value.
#include <pelmor/platform/XJson.h>

#include <boost/json/parse.hpp>
#include <string>

#include "FuzzSupport.h"

using fuzz_support::Touch;

namespace {

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    XJson value;
    const bool parsed = value.Parse(text);
    const std::string rendered = value.ToJson();
    boost::system::error_code failed;
    const boost::json::value shape = boost::json::parse(rendered, failed);
    ReadEverything(value, failed ? nullptr : &shape, 0);

    XJson again;
    if (parsed && !again.Parse(rendered)) __builtin_trap();  // rendered text that is not JSON
    // Texts with invalid UTF-8 are repaired when rendered, so only valid input must come back unchanged;
    // any render must be a fixed point.
    if (parsed && IsValidUtf8(text.data(), text.size()) && again != value) __builtin_trap();
    if (parsed && again.ToJson() != rendered) __builtin_trap();

    // Building: narrow text of any bytes goes in and still renders as JSON.
    XJson built;
    built.Add("text", text);
    built.Append("wide", XString::FromUtf8(text));
    built.Add("value", value);
    built.Append(value);
    if (!again.Parse(built.ToJson())) __builtin_trap();
    return 0;
}
