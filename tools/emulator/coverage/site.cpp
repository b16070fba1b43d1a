#include "emulator/coverage/site.h"

#include "emulator/core/connection_cut.h"
#include "emulator/core/server_settings.h"
#include "emulator/coverage/cert.h"
#include "emulator/coverage/pages.h"
#include "emulator/coverage/sessions.h"
#include "emulator/service/warranty.h"

#include <httplib.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <thread>

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;
using namespace coverage;

constexpr char kSessionCookie[] = "cv_sid";

std::string trim(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// name=value pairs of the Cookie header. Clients that echo attributes back ("path=/") add harmless pairs.
std::map<std::string, std::string> cookies_of(const httplib::Request& req) {
    std::map<std::string, std::string> cookies;
    const std::string header = req.get_header_value("Cookie");
    std::size_t start = 0;
    while (start <= header.size()) {
        const auto end = std::min(header.find(';', start), header.size());
        const std::string pair = trim(header.substr(start, end - start));
        const auto eq = pair.find('=');
        if (eq != std::string::npos) cookies.emplace(trim(pair.substr(0, eq)), trim(pair.substr(eq + 1)));
        start = end + 1;
    }
    return cookies;
}

std::string session_id(const httplib::Request& req) {
    const auto cookies = cookies_of(req);
    const auto it = cookies.find(kSessionCookie);
    return it == cookies.end() ? std::string() : it->second;
}

int hex_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::string form_decode(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            out += ' ';
        } else if (text[i] == '%' && i + 2 < text.size() && hex_value(text[i + 1]) >= 0 &&
                   hex_value(text[i + 2]) >= 0) {
            out += static_cast<char>(hex_value(text[i + 1]) * 16 + hex_value(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

// An application/x-www-form-urlencoded body; the first of repeated fields counts.
std::map<std::string, std::string> form_of(const std::string& body) {
    std::map<std::string, std::string> fields;
    std::size_t start = 0;
    while (start < body.size()) {
        const auto end = std::min(body.find('&', start), body.size());
        const std::string pair = body.substr(start, end - start);
        const auto eq = pair.find('=');
        if (eq != std::string::npos)
            fields.emplace(form_decode(pair.substr(0, eq)), form_decode(pair.substr(eq + 1)));
        start = end + 1;
    }
    return fields;
}

bool plausible_serial(const std::string& serial) {
    if (serial.size() < 8 || serial.size() > 20) return false;
    for (const char c : serial)
        if (!std::isdigit(static_cast<unsigned char>(c)) && !std::isupper(static_cast<unsigned char>(c)))
            return false;
    return true;
}

std::optional<Region> region_of(const std::string& path) {
    if (path == "/cn/zh/") return Region::cn;
    if (path == "/us/eh/") return Region::us;
    return std::nullopt;
}

void send(httplib::Response& res, Page page) {
    res.status = page.status;
    res.set_content(std::move(page.body), page.content_type.c_str());
}

// The site's steps as the log and the scripts name them.
constexpr char kCaptcha[] = "captcha";
constexpr char kPage[] = "page";
constexpr char kAnswer[] = "answer";
constexpr char kOther[] = "other";
constexpr char kScriptPrefix[] = "coverage:";

std::string serve_captcha(Context& ctx, const httplib::Request& req, httplib::Response& res) {
    std::optional<Session> session;
    if (const std::string id = session_id(req); !id.empty()) session = renew_captcha(ctx.state, id);
    if (session) {
        send(res, captcha_page(session->answer));
        return "captcha for session " + session->id;
    }
    const Session fresh = open_session(ctx.state);
    // The attributes come in the spellings real sites mix: some are cut by clients, some stay.
    res.set_header("Set-Cookie", std::string(kSessionCookie) + "=" + fresh.id + "; Path=/; HttpOnly");
    res.set_header("Set-Cookie", "cv_lb=node2;Path=/;Secure");
    res.set_header("Set-Cookie", "cv_geo=CN; path=/; Max-Age=1800");
    res.set_header("Set-Cookie", "cv_ab=b; Secure; SameSite=None");
    send(res, captcha_page(fresh.answer));
    return "new session " + fresh.id;
}

std::string serve_form(Context& ctx, const httplib::Request& req, httplib::Response& res, Region region) {
    std::optional<Session> session;
    if (const std::string id = session_id(req); !id.empty()) session = find_session(ctx.state, id);
    const std::string serial = req.get_param_value("sn");
    send(res,
         form_page(region, plausible_serial(serial) ? serial : std::string(), session ? session->token : ""));
    return session ? "page with token" : "page without token (no session)";
}

std::optional<Refusal> check_answer(Context& ctx, const httplib::Request& req, std::string& serial) {
    const std::string host = compiled_coverage_host();
    if (req.get_header_value("Host") != host) return Refusal::host;
    if (req.get_header_value("Referer").rfind("https://" + host + "/", 0) != 0) return Refusal::referer;
    const std::optional<Session> session = find_session(ctx.state, session_id(req));
    if (!session) return Refusal::session;

    const auto form = form_of(req.body);
    auto field = [&form](const char* name) -> std::optional<std::string> {
        const auto it = form.find(name);
        return it == form.end() ? std::nullopt : std::optional<std::string>(it->second);
    };
    const auto sno = field("sno"), ans = field("ans"), mode = field("captchaMode"),
               token = field("CSRFToken");
    if (!sno || !ans || !token || mode != std::optional<std::string>("image")) return Refusal::form;
    if (*token != session->token) return Refusal::token;
    if (!plausible_serial(*sno) || *sno != req.get_param_value("sn")) return Refusal::serial;
    if (!take_answer(ctx.state, session->id, *ans)) return Refusal::captcha;
    serial = *sno;
    return std::nullopt;
}

std::string serve_answer(Context& ctx, const httplib::Request& req, httplib::Response& res, Region region) {
    std::string serial;
    if (const auto refusal = check_answer(ctx, req, serial)) {
        send(res, refusal_page(region, *refusal));
        return std::string("refused: ") + refusal_name(*refusal);
    }
    send(res, result_page(region, serial, warranty_of(serial), ctx.state.now_ms()));
    return "coverage of " + serial;
}

std::string step_of(const httplib::Request& req) {
    const bool get = req.method == "GET" || req.method == "HEAD";
    if (req.path == "/gc" && get) return kCaptcha;
    if (region_of(req.path)) {
        if (get) return kPage;
        if (req.method == "POST") return kAnswer;
    }
    return kOther;
}

// Answers one request as the site would; returns what the log says about it.
std::string dispatch(Context& ctx, const std::string& step, const httplib::Request& req,
                     httplib::Response& res) {
    const auto region = region_of(req.path);
    if (step == kCaptcha) return serve_captcha(ctx, req, res);
    if (step == kPage) return serve_form(ctx, req, res, *region);
    if (step == kAnswer) return serve_answer(ctx, req, res, *region);
    send(res, not_found_page());
    return "status 404";
}

LogResponse apply_script(Context& ctx, const Script& script, const std::string& step,
                         const httplib::Request& req, httplib::Response& res) {
    LogResponse response;
    if (script.action == Script::Action::status) {
        res.status = script.status;
        res.set_content(script.body, "text/html; charset=utf-8");
        response.status = script.status;
        response.note = "status " + std::to_string(script.status);
        return response;
    }
    if (script.action == Script::Action::drop || script.action == Script::Action::drop_empty) {
        std::string page;
        if (script.action == Script::Action::drop) {
            // The site did its work (a captcha used up, a session opened); only the page is lost.
            dispatch(ctx, step, req, res);
            page = std::move(res.body);
            res.body.clear();
        }
        const Cut cut = cut_response(script.action == Script::Action::drop_empty, req, res, std::move(page),
                                     "text/html; charset=utf-8");
        response.status = cut.status;
        response.note = cut.note;
        return response;
    }
    // Only a delay: answer as the site would.
    response.note = dispatch(ctx, step, req, res);
    response.status = res.status;
    return response;
}

void serve(Context& ctx, const httplib::Request& req, httplib::Response& res) {
    const std::string step = step_of(req);
    const auto logged = ctx.log.append(entry_of(req, "coverage", step));
    LogResponse response;
    if (auto script = ctx.scripts.take(kScriptPrefix + step, false)) {
        if (script->delay_ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(script->delay_ms));
        response = apply_script(ctx, *script, step, req, res);
        response.script = script->id;
    } else {
        response.note = dispatch(ctx, step, req, res);
        response.status = res.status;
    }
    const std::string outcome =
        response.note + (response.script ? " (script " + std::to_string(response.script) + ")" : "");
    ctx.log.answer(logged.ticket, std::move(response));
    if (!ctx.options.quiet) {
        std::fprintf(stderr, "pelmor-emulator: #%llu %s coverage %s -> %s\n",
                     static_cast<unsigned long long>(logged.seq), req.method.c_str(), step.c_str(),
                     outcome.c_str());
    }
}

ControlAnswer captcha_control(bool, const json& input, ServiceState& state) {
    const std::string wanted = input.value("session", "");
    const std::optional<Session> session =
        wanted.empty() ? latest_session(state) : find_session(state, wanted);
    if (!session) return {404, json{{"error", "no such session; fetch /gc first"}}};
    return {200, json{{"session", session->id},
                      {"cookie", std::string(kSessionCookie) + "=" + session->id},
                      {"answer", session->answer},
                      {"token", session->token},
                      {"captchas", session->captchas}}};
}

}  // namespace

CoverageSite::CoverageSite(Context& ctx) : ctx_(ctx) {
    ctx_.router.add_control("coverage/captcha", captcha_control);
    for (const char* step : {kCaptcha, kPage, kAnswer})
        ctx_.router.add_site_step(std::string(kScriptPrefix) + step);
}

CoverageSite::~CoverageSite() {
    stop();
    join();
}

bool CoverageSite::bind(const std::string& address, int port, std::string& error) {
    // The certificate names the compiled host without its port ("host:port", "[v6]:port").
    std::string host = compiled_coverage_host();
    if (!host.empty() && host.front() == '[') {
        host = host.substr(1, host.find(']') - 1);
    } else if (host.find(':') == host.rfind(':') && host.find(':') != std::string::npos) {
        host.erase(host.find(':'));
    }
    std::string why;
    const Certificate certificate = make_self_signed_certificate(host, why);
    if (!certificate.cert) {
        error = "cannot make the coverage site's certificate: " + why;
        return false;
    }
    // The server takes its own references to the certificate and key.
    server_ = std::make_unique<httplib::SSLServer>(certificate.cert.get(), certificate.key.get());
    if (!server_->is_valid()) {
        error = "cannot set up TLS for the coverage site";
        return false;
    }
    // A handful of browser-like clients at most.
    apply_server_settings(*server_, ctx_.options, 8);
    auto route = [ctx = &ctx_](const httplib::Request& req, httplib::Response& res) {
        serve(*ctx, req, res);
    };
    const std::string any = R"([\s\S]*)";
    server_->Get(any, route);
    server_->Post(any, route);
    server_->Put(any, route);
    server_->Delete(any, route);

    errno = 0;
    if (port == 0) {
        port_ = server_->bind_to_any_port(address);
        if (port_ > 0) return true;
    } else if (server_->bind_to_port(address, port)) {
        port_ = port;
        return true;
    }
    const int err = errno;
    error = "cannot listen for the coverage site on " + address + ":" + std::to_string(port) +
            (err != 0 ? std::string(": ") + std::strerror(err) : std::string());
    return false;
}

void CoverageSite::start() {
    if (!server_ || thread_.joinable()) return;
    thread_ = std::thread([server = server_.get()] { server->listen_after_bind(); });
    // A stop() before the server runs would be lost, so wait until it does (or gave up).
    for (int i = 0; i < 5000 && !server_->is_running(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void CoverageSite::stop() {
    if (server_) server_->stop();
}

void CoverageSite::join() {
    if (thread_.joinable()) thread_.join();
}

}  // namespace pelmor::emulator
