#pragma once

#include "emulator/core/context.h"
#include "emulator/core/options.h"

#include <memory>
#include <string>

namespace httplib {
class Server;
}

namespace pelmor::emulator {

class CoverageSite;

// The HTTP server with the service routes, the handlers and the control surface wired in. Tests can
// run one in process on a free port (options.port = 0); set options.coverage_port to 0 (free port) or -1
// (no coverage site) too, or it takes the compiled coverage port that the shared test emulator uses.
class Emulator {
  public:
    explicit Emulator(Options options);
    ~Emulator();
    Emulator(const Emulator&) = delete;
    Emulator& operator=(const Emulator&) = delete;

    // Binds the listening socket; on failure says why in `error`.
    bool bind(std::string& error);
    int port() const { return port_; }
    // The HTTPS port of the coverage site; -1 when it is not served.
    int coverage_port() const;

    // Serves until stop(); returns false if the server could not run.
    bool run();
    void stop();
    bool is_running() const;

    Context& context() { return *ctx_; }

  private:
    std::unique_ptr<Context> ctx_;
    std::unique_ptr<httplib::Server> server_;
    std::unique_ptr<CoverageSite> coverage_;
    int port_ = 0;
};

}  // namespace pelmor::emulator
