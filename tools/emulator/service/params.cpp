#include "emulator/service/params.h"

#include "emulator/core/options.h"

#include <random>

namespace pelmor::emulator {

using json = nlohmann::ordered_json;

void refuse_with(int code, const std::string& error, const std::string& msg, json data) {
    Reply reply = refuse(code, error, msg);
    reply.data = std::move(data);
    throw Refused(std::move(reply));
}

Handler guarded(Reply (*handler)(const Call&)) {
    return [handler](const Call& call) {
        try {
            return handler(call);
        } catch (const Refused& refused) {
            return refused.reply();
        }
    };
}

namespace {

const json& member(const Call& call, const char* key) {
    const json& params = call.params();
    const auto it = params.is_object() ? params.find(key) : params.end();
    if (it == params.end() || it->is_null())
        refuse_with(refusal::kParamMissing, "PARAM_MISSING", std::string("缺少参数: ") + key);
    return *it;
}

[[noreturn]] void invalid(const char* key) {
    refuse_with(refusal::kParamInvalid, "PARAM_INVALID", std::string("参数格式错误: ") + key);
}

}  // namespace

std::string text_param(const Call& call, const char* key, bool may_be_empty) {
    const json& value = member(call, key);
    if (!value.is_string()) invalid(key);
    std::string text = value.get<std::string>();
    if (text.empty() && !may_be_empty)
        refuse_with(refusal::kParamMissing, "PARAM_MISSING", std::string("缺少参数: ") + key);
    return text;
}

long long integer_param(const Call& call, const char* key) {
    const json& value = member(call, key);
    if (!value.is_number_integer()) invalid(key);
    return value.get<long long>();
}

const json& object_param(const Call& call, const char* key) {
    const json& value = member(call, key);
    if (!value.is_object()) invalid(key);
    return value;
}

std::string random_hex(std::size_t length) {
    static thread_local std::mt19937_64 engine{std::random_device{}()};
    static const char digits[] = "0123456789abcdef";
    std::string text(length, '0');
    for (char& c : text)
        c = digits[engine() & 15];
    return text;
}

std::string service_base_url() {
    return std::string("http://") + compiled_service_host();
}

}  // namespace pelmor::emulator
