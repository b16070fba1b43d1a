#include "emulator/core/router.h"

#include <algorithm>
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

std::vector<std::string> Router::control_names() const {
    std::vector<std::string> names;
    for (const auto& item : controls_)
        names.push_back(item.first);
    std::sort(names.begin(), names.end());
    return names;
}

void Router::add_site_step(std::string name) {
    site_steps_.push_back(std::move(name));
}

bool Router::is_site_step(const std::string& name) const {
    return std::find(site_steps_.begin(), site_steps_.end(), name) != site_steps_.end();
}

bool Router::knows(const std::string& name) const {
    return methods_.count(name) != 0 || paths_.count(name) != 0 || is_site_step(name);
}

nlohmann::ordered_json Router::names() const {
    auto sorted = [](std::vector<std::string> list) {
        std::sort(list.begin(), list.end());
        return list;
    };
    std::vector<std::string> methods, paths;
    for (const auto& item : methods_)
        methods.push_back(item.first);
    for (const auto& item : paths_)
        paths.push_back(item.first);
    return nlohmann::ordered_json{
        {"standard", sorted(methods)}, {"enterprise", sorted(paths)}, {"coverage", sorted(site_steps_)}};
}

}  // namespace pelmor::emulator
