#include "emulator/emulator.h"

#include "emulator/control.h"
#include "emulator/coverage_site.h"
#include "emulator/handlers.h"
#include "emulator/service.h"

#include <httplib.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace pelmor::emulator {

Emulator::Emulator(Options options)
    : ctx_(std::make_unique<Context>(std::move(options))), server_(std::make_unique<httplib::Server>()) {
    register_handlers(ctx_->router);
    coverage_ = std::make_unique<CoverageSite>(*ctx_);

    const Options& o = ctx_->options;
    const std::size_t threads = o.threads;
    server_->new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
    // Clients reuse connections; the default of five requests per connection would make a keep-alive
    // client reconnect all the time and spoil throughput measurements.
    server_->set_keep_alive_max_count(o.keep_alive_max);
    server_->set_keep_alive_timeout(o.keep_alive_timeout_s);
    server_->set_read_timeout(o.io_timeout_s, 0);
    server_->set_write_timeout(o.io_timeout_s, 0);
    // No SO_REUSEPORT: a second emulator on the same port must fail to bind instead of sharing it.
    // TCP_NODELAY because the head and body of a response go out in separate writes; with Nagle and
    // delayed ACKs a keep-alive client would wait tens of milliseconds per request.
    server_->set_socket_options([](socket_t sock) {
        int yes = 1;
        setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    });
    server_->set_tcp_nodelay(true);

    auto route = [ctx = ctx_.get()](const httplib::Request& req, httplib::Response& res) {
        if (is_control_path(req.path)) {
            control(*ctx, req, res);
        } else {
            serve(*ctx, req, res);
        }
    };
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
