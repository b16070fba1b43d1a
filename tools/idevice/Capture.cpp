#include "Capture.h"

#include <pelmor/platform/XCrypt.h>

#include <cstdio>

namespace pelmor::idevice {

CaptureValue CaptureValue::Text(std::string text) {
    CaptureValue value;
    value.text = std::move(text);
    return value;
}

CaptureValue CaptureValue::Integer(unsigned long long number) {
    CaptureValue value;
    value.kind = Kind::Integer;
    value.integer = number;
    return value;
}

CaptureValue CaptureValue::Real(double number) {
    CaptureValue value;
    value.kind = Kind::Real;
    value.real = number;
    return value;
}

CaptureValue CaptureValue::Boolean(bool flag) {
    CaptureValue value;
    value.kind = Kind::Boolean;
    value.boolean = flag;
    return value;
}

CaptureValue CaptureValue::Dict() {
    CaptureValue value;
    value.kind = Kind::Dict;
    return value;
}

const CaptureValue* CaptureValue::Find(const std::string& key) const {
    if (kind != Kind::Dict) return nullptr;
    for (const auto& member : members)
        if (member.first == key) return &member.second;
    return nullptr;
}

void CaptureValue::Set(const std::string& key, CaptureValue value) {
    for (auto& member : members)
        if (member.first == key) {
            member.second = std::move(value);
            return;
        }
    members.emplace_back(key, std::move(value));
}

void Capture::Add(const std::string& domain, const CaptureValue& dict) {
    for (auto& entry : domains_)
        if (entry.first == domain) {
            for (const auto& member : dict.members)
                entry.second.Set(member.first, member.second);
            return;
        }
    CaptureValue copy = dict;
    copy.kind = CaptureValue::Kind::Dict;
    domains_.emplace_back(domain, std::move(copy));
}

const CaptureValue* Capture::FindDomain(const std::string& domain) const {
    for (const auto& entry : domains_)
        if (entry.first == domain) return &entry.second;
    return nullptr;
}

const CaptureValue* Capture::Find(const std::string& domain, const std::string& key) const {
    const CaptureValue* dict = FindDomain(domain);
    return dict ? dict->Find(key) : nullptr;
}

namespace {

std::string Escaped(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string Base64(const std::string& bytes) {
    return XCrypt::BASE64::Encode(bytes.data(), bytes.size()).toStdString();
}

void WriteValue(const CaptureValue& value, const std::string& indent, std::string& out) {
    using Kind = CaptureValue::Kind;
    switch (value.kind) {
        case Kind::Text:
            out += indent + "<string>" + Escaped(value.text) + "</string>\n";
            break;
        case Kind::Integer:
            out += indent + "<integer>" + std::to_string(value.integer) + "</integer>\n";
            break;
        case Kind::Real: {
            char number[40];
            std::snprintf(number, sizeof number, "%.17g", value.real);
            out += indent + "<real>" + number + "</real>\n";
            break;
        }
        case Kind::Boolean:
            out += indent + (value.boolean ? "<true/>\n" : "<false/>\n");
            break;
        case Kind::Data:
            out += indent + "<data>" + Base64(value.text) + "</data>\n";
            break;
        case Kind::Date:
            out += indent + "<date>" + Escaped(value.text) + "</date>\n";
            break;
        case Kind::Array:
            out += indent + "<array>\n";
            for (const CaptureValue& item : value.items)
                WriteValue(item, indent + "\t", out);
            out += indent + "</array>\n";
            break;
        case Kind::Dict:
            out += indent + "<dict>\n";
            for (const auto& member : value.members) {
                out += indent + "\t<key>" + Escaped(member.first) + "</key>\n";
                WriteValue(member.second, indent + "\t", out);
            }
            out += indent + "</dict>\n";
            break;
    }
}

}  // namespace

std::string Capture::ToXml() const {
    CaptureValue root = CaptureValue::Dict();
    root.members = domains_;
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n";
    WriteValue(root, "", out);
    out += "</plist>\n";
    return out;
}

}  // namespace pelmor::idevice
