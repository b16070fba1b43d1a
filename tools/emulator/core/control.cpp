#include "emulator/core/control.h"

#include "emulator/core/codec.h"
#include "emulator/core/http_probes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <optional>
#include <vector>

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;

void send_json(httplib::Response& res, int status, const json& value) {
    res.status = status;
    res.set_content(codec::render(value), "application/json");
}

void send_error(httplib::Response& res, int status, const std::string& message) {
    json body;
    body["error"] = message;
    send_json(res, status, body);
}

// Accepts one script object or an array of them; nothing is queued unless all of them are valid.
void queue_scripts(Context& ctx, const httplib::Request& req, httplib::Response& res) {
    const json posted = json::parse(req.body, nullptr, false);
    if (posted.is_discarded()) return send_error(res, 400, "the body is not JSON");

    std::vector<Script> scripts;
    const bool many = posted.is_array();
    for (const json& item : many ? posted : json::array({posted})) {
        ScriptParse parsed = parse_script(item, ctx.router);
        if (!parsed.script) return send_error(res, 400, parsed.error);
        scripts.push_back(std::move(*parsed.script));
    }
    json ids = json::array();
    for (auto& script : scripts)
        ids.push_back(ctx.scripts.push(std::move(script)));

    json body;
    if (many) {
        body["ids"] = std::move(ids);
    } else {
        body["id"] = ids.empty() ? json(nullptr) : ids.front();
    }
    body["pending"] = ctx.scripts.size();
    send_json(res, 200, body);
}

// GET /_emulator/log[?http_method=&path=&method=&address=&after=]: a filter member per parameter;
// "method" is the operation (standard method, enterprise suffix or site step).
void send_log(Context& ctx, const httplib::Request& req, httplib::Response& res) {
    LogFilter filter;
    for (const auto& [key, value] : req.params) {
        if (key == "http_method") {
            filter.http_method = value;
        } else if (key == "path") {
            filter.path = value;
        } else if (key == "method" || key == "operation") {
            filter.operation = value;
        } else if (key == "address") {
            filter.address = value;
        } else if (key == "after") {
            char* end = nullptr;
            filter.after_seq = std::strtoull(value.c_str(), &end, 10);
            if (value.empty() || *end != '\0')
                return send_error(res, 400, "\"after\" must be a sequence number");
        } else {
            return send_error(res, 400,
                              "unknown filter \"" + key + "\" (http_method, path, method, address, after)");
        }
    }
    send_json(res, 200, ctx.log.to_json(filter));
}

// DELETE /_emulator/scripts/<id>
void remove_script(Context& ctx, const std::string& id_text, httplib::Response& res) {
    char* end = nullptr;
    const std::uint64_t id = std::strtoull(id_text.c_str(), &end, 10);
    if (id_text.empty() || *end != '\0')
        return send_error(res, 400, "give a script id: /_emulator/scripts/<id>");
    if (!ctx.scripts.remove(id)) return send_error(res, 404, "no pending script " + id_text);
    send_json(res, 200, json{{"removed", id}, {"pending", ctx.scripts.size()}});
}

json clock_json(const Clock& clock) {
    const std::int64_t now = clock.now_ms();
    char millis[8];
    std::snprintf(millis, sizeof millis, ".%03d", static_cast<int>(((now % 1000) + 1000) % 1000));
    return json{{"now", now},
                {"utc", utc_text(now, "%Y-%m-%dT%H:%M:%S") + millis + "Z"},
                {"offsetMs", clock.offset_ms()}};
}

// POST /_emulator/clock {"now": ms or "YYYY-MM-DD[Thh:mm:ss][Z]"} or {"real": true}.
void set_clock(Context& ctx, const json& input, httplib::Response& res) {
    Clock& clock = ctx.state.clock();
    if (input.is_object() && input.size() == 1 && input.contains("real") && input["real"] == true) {
        clock.back_to_real_time();
    } else if (input.is_object() && input.size() == 1 && input.contains("now")) {
        const json& now = input["now"];
        std::optional<std::int64_t> ms;
        if (now.is_number_integer()) ms = now.get<std::int64_t>();
        if (now.is_string()) ms = parse_utc_ms(now.get<std::string>());
        if (!ms) return send_error(res, 400, "\"now\" must be ms since the epoch or a UTC date and time");
        clock.set(*ms);
    } else {
        return send_error(res, 400, "give {\"now\": ms or \"YYYY-MM-DDThh:mm:ssZ\"} or {\"real\": true}");
    }
    send_json(res, 200, clock_json(clock));
}

// POST /_emulator/clock/advance {"ms"?, "seconds"?, "minutes"?, "hours"?, "days"?}: the sum, not negative.
void advance_clock(Context& ctx, const json& input, httplib::Response& res) {
    static const std::pair<const char*, std::int64_t> kUnits[] = {
        {"ms", 1}, {"seconds", 1000}, {"minutes", 60000}, {"hours", 3600000}, {"days", 86400000}};
    if (!input.is_object() || input.empty())
        return send_error(res, 400, "give {\"hours\": 2} or another unit");
    std::int64_t total = 0;
    for (const auto& item : input.items()) {
        const auto unit = std::find_if(std::begin(kUnits), std::end(kUnits),
                                       [&](const auto& u) { return item.key() == u.first; });
        if (unit == std::end(kUnits)) return send_error(res, 400, "unknown unit \"" + item.key() + "\"");
        // Up to 100 years in any unit, so that the sum cannot overflow.
        const std::int64_t limit = 3650000LL * 86400000 / unit->second;
        if (!item.value().is_number_integer() || item.value().get<std::int64_t>() < 0 ||
            item.value().get<std::int64_t>() > limit)
            return send_error(
                res, 400, "\"" + item.key() + "\" must be a whole number from 0 to " + std::to_string(limit));
        total += item.value().get<std::int64_t>() * unit->second;
    }
    ctx.state.clock().advance(total);
    send_json(res, 200, clock_json(ctx.state.clock()));
}

// The body of a control POST as JSON; no body reads as {}.
bool body_json(const httplib::Request& req, httplib::Response& res, json& out) {
    out = req.body.empty() ? json::object() : json::parse(req.body, nullptr, false);
    if (!out.is_discarded()) return true;
    send_error(res, 400, "the body is not JSON");
    return false;
}

// Control endpoints that a service area registered with its handlers.
void serve_area_control(Context& ctx, const ControlHandler& handler, const httplib::Request& req,
                        httplib::Response& res) {
    const bool post = req.method == "POST";
    json input = json::object();
    if (post) {
        if (!body_json(req, res, input)) return;
    } else {
        for (const auto& [key, value] : req.params)
            input[key] = value;
    }
    try {
        ControlAnswer answer = handler(post, input, ctx.state);
        send_json(res, answer.status, answer.body);
    } catch (const std::exception& e) {
        send_error(res, 500, e.what());
    }
}

}  // namespace

bool is_control_path(const std::string& path) {
    return path.rfind(kControlPrefix, 0) == 0 || path == "/_emulator";
}

void control(Context& ctx, const httplib::Request& req, httplib::Response& res) {
    const std::string name =
        req.path.size() > sizeof kControlPrefix - 1 ? req.path.substr(sizeof kControlPrefix - 1) : "";
    const bool get = req.method == "GET" || req.method == "HEAD";
    const bool post = req.method == "POST";

    if (name == "health") {
        if (!get) return send_error(res, 405, "use GET");
        res.status = 200;
        res.set_content("ok", "text/plain");
    } else if (name == "log") {
        if (!get) return send_error(res, 405, "use GET");
        send_log(ctx, req, res);
    } else if (name == "log/clear") {
        if (!post) return send_error(res, 405, "use POST");
        ctx.log.clear();
        send_json(res, 200, json{{"ok", true}});
    } else if (name == "scripts") {
        if (!get) return send_error(res, 405, "use GET");
        send_json(res, 200, ctx.scripts.to_json());
    } else if (name.rfind("scripts/", 0) == 0) {
        if (req.method != "DELETE") return send_error(res, 405, "use DELETE");
        remove_script(ctx, name.substr(8), res);
    } else if (name == "operations") {
        if (!get) return send_error(res, 405, "use GET");
        send_json(res, 200, ctx.router.names());
    } else if (name == "clock" || name == "clock/advance") {
        json input;
        if (get && name == "clock") return send_json(res, 200, clock_json(ctx.state.clock()));
        if (!post) return send_error(res, 405, name == "clock" ? "use GET or POST" : "use POST");
        if (!body_json(req, res, input)) return;
        return name == "clock" ? set_clock(ctx, input, res) : advance_clock(ctx, input, res);
    } else if (name == "reset") {
        if (!post) return send_error(res, 405, "use POST");
        ctx.log.clear();
        ctx.scripts.clear();
        ctx.state.clear();
        send_json(res, 200, json{{"ok", true}});
    } else if (name == "script") {
        if (!post) return send_error(res, 405, "use POST");
        queue_scripts(ctx, req, res);
    } else if (is_http_probe(name)) {
        serve_http_probe(ctx, name, req, res);
    } else if (const ControlHandler* handler = ctx.router.find_control(name)) {
        serve_area_control(ctx, *handler, req, res);
    } else {
        send_error(res, 404, "unknown control endpoint; see --help");
    }
}

}  // namespace pelmor::emulator
