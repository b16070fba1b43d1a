#include "JsonSchemaCheck.h"

#include <boost/json/serialize.hpp>
#include <regex>

namespace json = boost::json;

namespace {

bool HasType(const json::value& value, const std::string& type) {
    if (type == "null") return value.is_null();
    if (type == "boolean") return value.is_bool();
    if (type == "string") return value.is_string();
    if (type == "object") return value.is_object();
    if (type == "array") return value.is_array();
    if (type == "number") return value.is_number();
    if (type == "integer") return value.is_int64() || value.is_uint64();
    return false;
}

std::string Type(const json::value& value) {
    switch (value.kind()) {
        case json::kind::null:
            return "null";
        case json::kind::bool_:
            return "boolean";
        case json::kind::string:
            return "string";
        case json::kind::object:
            return "object";
        case json::kind::array:
            return "array";
        case json::kind::double_:
            return "number";
        default:
            return "integer";
    }
}

}  // namespace

const json::value* JsonSchemaCheck::Resolve(const std::string& ref) const {
    if (ref == "#") return &root_;
    if (ref.rfind("#/", 0) != 0) return nullptr;
    boost::system::error_code ec;
    return root_.find_pointer(ref.substr(1), ec);
}

std::vector<std::string> JsonSchemaCheck::Check(const json::value& document,
                                                const json::value& schema) const {
    std::vector<std::string> problems;
    Walk(document, schema, "", problems);
    return problems;
}

void JsonSchemaCheck::Walk(const json::value& value, const json::value& schema, const std::string& path,
                           std::vector<std::string>& problems) const {
    const std::string at = path.empty() ? "/" : path;
    if (!schema.is_object()) return;
    const json::object& s = schema.get_object();
    if (const json::value* ref = s.if_contains("$ref")) {
        const json::value* target = Resolve(std::string(ref->get_string()));
        if (!target) {
            problems.push_back(at + ": unresolved $ref " + json::serialize(*ref));
            return;
        }
        Walk(value, *target, path, problems);
    }
    if (const json::value* type = s.if_contains("type")) {
        bool matches = false;
        if (type->is_string()) {
            matches = HasType(value, std::string(type->get_string()));
        } else {
            for (const json::value& one : type->get_array())
                matches = matches || HasType(value, std::string(one.get_string()));
        }
        if (!matches) {
            problems.push_back(at + ": " + Type(value) + " where the schema wants " + json::serialize(*type));
            return;
        }
    }
    if (const json::value* constant = s.if_contains("const"); constant && *constant != value)
        problems.push_back(at + ": " + json::serialize(value) + " is not " + json::serialize(*constant));
    if (const json::value* choices = s.if_contains("enum")) {
        bool found = false;
        for (const json::value& choice : choices->get_array())
            found = found || choice == value;
        if (!found)
            problems.push_back(at + ": " + json::serialize(value) + " is none of " +
                               json::serialize(*choices));
    }
    if (const json::value* pattern = s.if_contains("pattern"); pattern && value.is_string()) {
        if (!std::regex_search(std::string(value.get_string()),
                               std::regex(std::string(pattern->get_string()))))
            problems.push_back(at + ": " + json::serialize(value) + " does not match " +
                               json::serialize(*pattern));
    }
    if (const json::value* choices = s.if_contains("oneOf")) {
        std::size_t matching = 0;
        for (const json::value& choice : choices->get_array())
            matching += Check(value, choice).empty() ? 1 : 0;
        if (matching != 1)
            problems.push_back(at + ": matches " + std::to_string(matching) +
                               " of the oneOf choices, not one");
    }
    if (value.is_object()) {
        const json::object& object = value.get_object();
        const json::value* properties = s.if_contains("properties");
        if (const json::value* required = s.if_contains("required"))
            for (const json::value& name : required->get_array())
                if (!object.contains(name.get_string()))
                    problems.push_back(at + ": lacks required member " + json::serialize(name));
        const json::value* additional = s.if_contains("additionalProperties");
        for (const auto& member : object) {
            const std::string memberPath = path + "/" + std::string(member.key());
            const json::value* known = properties && properties->is_object()
                                           ? properties->get_object().if_contains(member.key())
                                           : nullptr;
            if (known)
                Walk(member.value(), *known, memberPath, problems);
            else if (additional && additional->is_bool() && !additional->get_bool())
                problems.push_back(at + ": undocumented member \"" + std::string(member.key()) + "\"");
            else if (additional && additional->is_object())
                Walk(member.value(), *additional, memberPath, problems);
        }
    }
    if (const json::value* items = s.if_contains("items"); items && value.is_array()) {
        std::size_t index = 0;
        for (const json::value& item : value.get_array())
            Walk(item, *items, path + "/" + std::to_string(index++), problems);
    }
}
