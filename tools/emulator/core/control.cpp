#include "emulator/core/control.h"

#include "emulator/core/codec.h"
#include "emulator/core/http_probes.h"

#include <exception>
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
        ScriptParse parsed = parse_script(item);
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

// Control endpoints that a service area registered with its handlers.
void serve_area_control(Context& ctx, const ControlHandler& handler, const httplib::Request& req,
                        httplib::Response& res) {
    const bool post = req.method == "POST";
    json input = json::object();
    if (post) {
        input = req.body.empty() ? json::object() : json::parse(req.body, nullptr, false);
        if (input.is_discarded()) return send_error(res, 400, "the body is not JSON");
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
        send_json(res, 200, ctx.log.to_json());
    } else if (name == "scripts") {
        if (!get) return send_error(res, 405, "use GET");
        send_json(res, 200, ctx.scripts.to_json());
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
