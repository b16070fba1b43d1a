#pragma once

#include "emulator/core/envelope.h"
#include "emulator/core/service_state.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace pelmor::emulator {

enum class Address { standard, enterprise, fallback, other };

const char* address_name(Address address);

// One decoded service request as a handler sees it.
struct Call {
    Address address;
    const std::string& operation;  // standard method name or enterprise suffix
    const nlohmann::ordered_json& document;
    ServiceState& state;
    std::string client_address = {};  // the peer address the request came from, as the server saw it

    const nlohmann::ordered_json& params() const;
    std::string token() const;  // the request's "token", "" when absent or not a string
};

using Handler = std::function<Reply(const Call&)>;

// An extra control endpoint of one service area, served under /_emulator/<name> (a scan to simulate, an
// order to pay, ...). input is the POST body as JSON, or for a GET an object of the query parameters.
struct ControlAnswer {
    int status = 200;
    nlohmann::ordered_json body = nlohmann::ordered_json::object();
};
using ControlHandler =
    std::function<ControlAnswer(bool post, const nlohmann::ordered_json& input, ServiceState& state)>;

// Handlers by standard method name and by enterprise suffix. Filled once before the server starts and
// only read afterwards, so lookups need no lock.
class Router {
  public:
    void add_method(std::string method, Handler handler);
    void add_path(std::string suffix, Handler handler);  // suffix exactly as the client appends it

    const Handler* find(Address address, const std::string& operation) const;

    void add_control(std::string name, ControlHandler handler);
    const ControlHandler* find_control(const std::string& name) const;
    std::vector<std::string> control_names() const;

    // Steps of the coverage site that scripts may name; the site answers them itself.
    void add_site_step(std::string name);
    bool is_site_step(const std::string& name) const;
    // A name a script can match: a standard method, an enterprise suffix or a site step.
    bool knows(const std::string& name) const;
    // Every such name, by kind, sorted, for /_emulator/operations.
    nlohmann::ordered_json names() const;

  private:
    std::vector<std::string> site_steps_;
    std::unordered_map<std::string, ControlHandler> controls_;
    std::unordered_map<std::string, Handler> methods_;
    std::unordered_map<std::string, Handler> paths_;
};

}  // namespace pelmor::emulator
