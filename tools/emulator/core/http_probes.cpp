#include "emulator/core/http_probes.h"

#include "emulator/core/codec.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace pelmor::emulator {

namespace {

constexpr char kPrefix[] = "http/";
constexpr char kText[] = "text/plain";

long number_param(const httplib::Request& req, const char* name, long fallback, long min, long max) {
    if (!req.has_param(name)) return fallback;
    const long value = std::strtol(req.get_param_value(name).c_str(), nullptr, 10);
    return value < min ? min : value > max ? max : value;
}

// What the client sent, as JSON text, for tests to compare with what they asked for.
std::string echo_of(const httplib::Request& req) {
    nlohmann::ordered_json headers = nlohmann::ordered_json::object();
    for (const auto& [name, value] : req.headers)
        if (name != "REMOTE_ADDR" && name != "REMOTE_PORT" && name != "LOCAL_ADDR" && name != "LOCAL_PORT")
            headers[name] = value;
    return codec::render(nlohmann::ordered_json{
        {"method", req.method}, {"target", req.target}, {"headers", headers}, {"body", req.body}});
}

// Answers one probe; returns what the log line says about it.
std::string answer(const std::string& probe, const httplib::Request& req, httplib::Response& res) {
    if (probe == "echo") {
        res.set_content(echo_of(req), kText);
        return "echo";
    }
    if (probe == "final") {
        res.set_content("final body", kText);
        return "final";
    }
    if (probe == "redirect") {
        // A body of its own, so that a client that does not follow has something to show.
        res.set_redirect("/_emulator/http/final", 302);
        res.set_content("redirect body", kText);
        return "status 302";
    }
    if (probe == "empty") {
        res.set_content("", kText);
        return "zero bytes";
    }
    if (probe == "zero") {
        res.set_content(std::string("before\0after", 12), kText);
        return "zero byte inside";
    }
    if (probe == "slow") {
        const long ms = number_param(req, "ms", 1000, 0, 60000);
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
        res.set_content("slow body", kText);
        return "after " + std::to_string(ms) + " ms";
    }
    if (probe == "status") {
        res.status = static_cast<int>(number_param(req, "code", 500, 200, 599));
        res.set_content("status " + std::to_string(res.status), kText);
        return "status " + std::to_string(res.status);
    }
    res.status = 404;
    res.set_content("unknown probe; see --help\n", kText);
    return "status 404";
}

}  // namespace

bool is_http_probe(const std::string& control_name) {
    return control_name.rfind(kPrefix, 0) == 0;
}

void serve_http_probe(Context& ctx, const std::string& control_name, const httplib::Request& req,
                      httplib::Response& res) {
    const std::string probe = control_name.substr(sizeof kPrefix - 1);
    // Logged before answering, so that a client that gives up on a slow answer still left its trace.
    const auto logged = ctx.log.append(entry_of(req, "http", probe));
    const std::string outcome = answer(probe, req, res);
    LogResponse response;
    response.status = res.status == -1 ? 200 : res.status;
    response.note = outcome;
    ctx.log.answer(logged.ticket, std::move(response));
    if (!ctx.options.quiet) {
        std::fprintf(stderr, "pelmor-emulator: #%llu %s http %s -> %s\n",
                     static_cast<unsigned long long>(logged.seq), req.method.c_str(), probe.c_str(),
                     outcome.c_str());
    }
}

}  // namespace pelmor::emulator
