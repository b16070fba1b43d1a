#include "emulator/core/router.h"

#include <stdexcept>

namespace pelmor::emulator {

const char* address_name(Address address) {
    switch (address) {
        case Address::standard:
            return "standard";
        case Address::enterprise:
            return "enterprise";
        case Address::fallback:
            return "fallback";
        case Address::other:
            break;
    }
    return "other";
}

const nlohmann::ordered_json& Call::params() const {
    static const nlohmann::ordered_json kNone;
    if (!document.is_object()) return kNone;
    const auto it = document.find("params");
    return it == document.end() ? kNone : *it;
}

std::string Call::token() const {
    if (!document.is_object()) return {};
    const auto it = document.find("token");
    return it != document.end() && it->is_string() ? it->get<std::string>() : std::string();
}

void Router::add_method(std::string method, Handler handler) {
    if (!methods_.emplace(std::move(method), std::move(handler)).second)
        throw std::logic_error("standard method registered twice");
}

void Router::add_path(std::string suffix, Handler handler) {
    if (!paths_.emplace(std::move(suffix), std::move(handler)).second)
        throw std::logic_error("enterprise path registered twice");
}

const Handler* Router::find(Address address, const std::string& operation) const {
    if (address != Address::standard && address != Address::enterprise) return nullptr;
    const auto& table = address == Address::standard ? methods_ : paths_;
    const auto it = table.find(operation);
    return it == table.end() ? nullptr : &it->second;
}

void Router::add_control(std::string name, ControlHandler handler) {
    if (!controls_.emplace(std::move(name), std::move(handler)).second)
        throw std::logic_error("control endpoint registered twice");
}

const ControlHandler* Router::find_control(const std::string& name) const {
    const auto it = controls_.find(name);
    return it == controls_.end() ? nullptr : &it->second;
}

}  // namespace pelmor::emulator
