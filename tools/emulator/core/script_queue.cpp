#include "emulator/core/script_queue.h"

#include <algorithm>
#include <set>

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;

bool read_int(const json& object, const char* key, long long min, long long max, long long& out,
              std::string& error) {
    const auto it = object.find(key);
    if (it == object.end()) return true;
    if (!it->is_number_integer() || it->get<long long>() < min || it->get<long long>() > max) {
        error = std::string("\"") + key + "\" must be an integer from " + std::to_string(min) + " to " +
                std::to_string(max);
        return false;
    }
    out = it->get<long long>();
    return true;
}

}  // namespace

const char* action_name(Script::Action action) {
    switch (action) {
        case Script::Action::normal:
            return "normal";
        case Script::Action::reply:
            return "reply";
        case Script::Action::status:
            return "status";
        case Script::Action::undecryptable:
            return "undecryptable";
        case Script::Action::not_json:
            return "not_json";
        case Script::Action::drop:
            return "drop";
        case Script::Action::drop_empty:
            return "drop_empty";
    }
    return "normal";
}

ScriptParse parse_script(const json& object, const Router& router) {
    ScriptParse result;
    if (!object.is_object()) {
        result.error = "a script must be a JSON object";
        return result;
    }
    static const std::set<std::string> kKnown = {"match", "times",         "delay_ms", "reply", "status",
                                                 "body",  "undecryptable", "not_json", "drop"};
    for (const auto& item : object.items()) {
        if (!kKnown.count(item.key())) {
            result.error = "unknown member \"" + item.key() + "\"";
            return result;
        }
    }

    Script script;
    script.posted = object;
    const auto match = object.find("match");
    if (match == object.end() || !match->is_string() || match->get_ref<const std::string&>().empty()) {
        result.error = "\"match\" must be a non-empty string (a method, an enterprise suffix or \"*\")";
        return result;
    }
    script.match = match->get<std::string>();
    if (script.match != "*" && !router.knows(script.match)) {
        result.error = "\"match\": no operation is called \"" + script.match +
                       "\" (GET /_emulator/operations lists them; \"*\" matches any service request)";
        return result;
    }

    long long times = 1, delay = 0, status = 0;
    if (!read_int(object, "times", 1, 1000000, times, result.error)) return result;
    if (!read_int(object, "delay_ms", 0, 600000, delay, result.error)) return result;
    if (!read_int(object, "status", 100, 599, status, result.error)) return result;
    script.remaining = static_cast<int>(times);
    script.delay_ms = static_cast<int>(delay);

    int actions = 0;
    if (const auto it = object.find("reply"); it != object.end()) {
        ++actions;
        script.action = Script::Action::reply;
        script.reply = *it;
    }
    if (object.contains("status")) {
        ++actions;
        script.action = Script::Action::status;
        script.status = static_cast<int>(status);
    }
    if (const auto it = object.find("body"); it != object.end()) {
        if (!object.contains("status") || !it->is_string()) {
            result.error = "\"body\" must be a string and goes with \"status\"";
            return result;
        }
        script.body = it->get<std::string>();
    }
    for (const auto& [key, action] : {std::pair{"undecryptable", Script::Action::undecryptable},
                                      std::pair{"not_json", Script::Action::not_json}}) {
        if (const auto it = object.find(key); it != object.end()) {
            if (*it != true) {
                result.error = std::string("\"") + key + "\" can only be true";
                return result;
            }
            ++actions;
            script.action = action;
        }
    }
    if (const auto it = object.find("drop"); it != object.end()) {
        if (*it == true) {
            script.action = Script::Action::drop;
        } else if (*it == "empty") {
            script.action = Script::Action::drop_empty;
        } else {
            result.error = "\"drop\" must be true or \"empty\"";
            return result;
        }
        ++actions;
    }

    if (actions > 1) {
        result.error = "give only one of \"reply\", \"status\", \"undecryptable\", \"not_json\", \"drop\"";
        return result;
    }
    const bool site = router.is_site_step(script.match);
    if (site && (script.action == Script::Action::reply || script.action == Script::Action::undecryptable ||
                 script.action == Script::Action::not_json)) {
        result.error = std::string("\"") + action_name(script.action) + "\" answers a service request; \"" +
                       script.match + "\" takes \"status\", \"drop\" or \"delay_ms\"";
        return result;
    }
    if (actions == 0 && !object.contains("delay_ms")) {
        result.error = "a script needs an action or \"delay_ms\"";
        return result;
    }
    result.script = std::move(script);
    return result;
}

std::uint64_t ScriptQueue::push(Script script) {
    std::lock_guard<std::mutex> lock(mutex_);
    script.id = next_id_++;
    pending_.push_back(std::move(script));
    return pending_.back().id;
}

std::optional<Script> ScriptQueue::take(const std::string& operation, bool service_request) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = pending_.begin(); it != pending_.end(); ++it) {
        if (it->match == "*" ? !service_request : it->match != operation) continue;
        Script used = *it;
        if (--it->remaining <= 0) pending_.erase(it);
        used.remaining -= 1;  // what is left after this use, as /_emulator/scripts would show it
        return used;
    }
    return std::nullopt;
}

nlohmann::ordered_json ScriptQueue::to_json() const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto out = json::array();
    for (const auto& s : pending_) {
        json item;
        item["id"] = s.id;
        item["remaining"] = s.remaining;
        item["action"] = action_name(s.action);
        item["script"] = s.posted;
        out.push_back(std::move(item));
    }
    return out;
}

bool ScriptQueue::remove(std::uint64_t id) {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it =
        std::find_if(pending_.begin(), pending_.end(), [id](const Script& s) { return s.id == id; });
    if (it == pending_.end()) return false;
    pending_.erase(it);
    return true;
}

std::size_t ScriptQueue::size() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return pending_.size();
}

void ScriptQueue::clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    pending_.clear();
    next_id_ = 1;
}

}  // namespace pelmor::emulator
