#pragma once

#include "emulator/core/router.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace pelmor::emulator {

// A canned answer queued by a test through /_emulator/script.
struct Script {
    enum class Action {
        normal,         // only a delay: answer as the handlers would
        reply,          // encrypt `reply` exactly as given
        status,         // raw HTTP status and unencrypted body
        undecryptable,  // 200, body not Base64 of an envelope
        not_json,       // 200, valid envelope around text that is not JSON
        drop,           // send the head and half the body, then close
        drop_empty,     // close the connection before any byte of the response
    };

    std::uint64_t id = 0;
    std::string match;  // operation as received, or "*"
    int remaining = 1;
    int delay_ms = 0;
    Action action = Action::normal;
    nlohmann::ordered_json reply;
    int status = 200;
    std::string body;
    nlohmann::ordered_json posted;  // the object as the test sent it, for /_emulator/scripts
};

const char* action_name(Script::Action action);

struct ScriptParse {
    std::optional<Script> script;
    std::string error;
};

// Validates strictly: an unknown member, a match that names no operation of the router, or two actions at
// once is refused, so a typo in a test fails loudly instead of silently answering normally. Steps of the
// coverage site take only the actions that make sense for a web page: status, drop and delay.
ScriptParse parse_script(const nlohmann::ordered_json& object, const Router& router);

class ScriptQueue {
  public:
    std::uint64_t push(Script script);  // returns the script's id

    // The first pending script that matches, with its count already used up by one. "*" matches only
    // service requests, so that the coverage site is scripted only by name.
    std::optional<Script> take(const std::string& operation, bool service_request);
    // Drops a pending script; false when there is none of that id.
    bool remove(std::uint64_t id);

    nlohmann::ordered_json to_json() const;
    std::size_t size() const;
    void clear();

  private:
    mutable std::mutex mutex_;
    std::uint64_t next_id_ = 1;
    std::deque<Script> pending_;
};

}  // namespace pelmor::emulator
