#include "emulator/core/emulator.h"

#include "emulator/core/control.h"
#include "emulator/core/dispatch.h"
#include "emulator/core/server_settings.h"
#include "emulator/coverage/site.h"
#include "emulator/service/handlers.h"

#include <httplib.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace pelmor::emulator {

Emulator::Emulator(Options options)
    : ctx_(std::make_unique<Context>(std::move(options))), server_(std::make_unique<httplib::Server>()) {
    register_handlers(ctx_->router);
    coverage_ = std::make_unique<CoverageSite>(*ctx_);

    apply_server_settings(*server_, ctx_->options, ctx_->options.threads);

    auto route = [ctx = ctx_.get()](const httplib::Request& req, httplib::Response& res) {
        if (is_control_path(req.path)) {
            control(*ctx, req, res);
        } else {
            serve(*ctx, req, res);
        }
    };
    // A request with neither Content-Length nor Transfer-Encoding has no body. The HTTP server would
    // instead wait for one until the connection closes (and answer 400), so such requests, which
    // `curl -X POST` sends, are answered before it tries to read.
    server_->set_pre_routing_handler([route](const httplib::Request& req, httplib::Response& res) {
        const bool may_have_body =
            req.method == "POST" || req.method == "PUT" || req.method == "PATCH" || req.method == "DELETE";
        if (!may_have_body || req.has_header("Content-Length") || req.has_header("Transfer-Encoding"))
            return httplib::Server::HandlerResponse::Unhandled;
        route(req, res);
        return httplib::Server::HandlerResponse::Handled;
    });
    // One catch-all per HTTP method, so every path and suffix reaches our own dispatch.
    const std::string any = R"([\s\S]*)";
    server_->Get(any, route);
    server_->Post(any, route);
    server_->Put(any, route);
    server_->Patch(any, route);
    server_->Delete(any, route);
    server_->Options(any, route);
}

Emulator::~Emulator() = default;

bool Emulator::bind(std::string& error) {
    const Options& o = ctx_->options;
    errno = 0;
    if (o.port == 0) {
        port_ = server_->bind_to_any_port(o.bind_address);
        if (port_ > 0) return o.coverage_port < 0 || coverage_->bind(o.bind_address, o.coverage_port, error);
    } else if (server_->bind_to_port(o.bind_address, o.port)) {
        port_ = o.port;
        return o.coverage_port < 0 || coverage_->bind(o.bind_address, o.coverage_port, error);
    }
    const int err = errno;
    error = "cannot listen on " + o.bind_address + ":" + std::to_string(o.port) +
            (err != 0 ? std::string(": ") + std::strerror(err) : std::string());
    return false;
}

bool Emulator::run() {
    // A client that goes away mid-response (or a dropped connection) must not kill the process.
    std::signal(SIGPIPE, SIG_IGN);
    coverage_->start();
    const bool served = server_->listen_after_bind();
    coverage_->stop();
    coverage_->join();
    return served;
}

void Emulator::stop() {
    server_->stop();
    coverage_->stop();
}

int Emulator::coverage_port() const {
    return ctx_->options.coverage_port < 0 ? -1 : coverage_->port();
}

bool Emulator::is_running() const {
    return server_->is_running();
}

}  // namespace pelmor::emulator
