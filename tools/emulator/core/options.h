#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace pelmor::emulator {

// Command-line settings of the emulator. The defaults suit the library's own build: the port is the one
// compiled into the library as its service host, so a fresh build talks to the emulator without flags.
struct Options {
    std::string bind_address = "127.0.0.1";
    int port = 0;  // set from the compiled service host by default_options()
    // HTTPS port of the warranty-coverage site: -1 serves no site, 0 picks a free port; default_options()
    // sets the compiled coverage host's port.
    int coverage_port = -1;
    bool quiet = false;
    std::size_t threads = 32;  // each open keep-alive connection holds one worker
    std::size_t keep_alive_max = 100000;
    int keep_alive_timeout_s = 5;
    int io_timeout_s = 30;
    std::size_t log_limit = 10000;  // most recent service requests kept for /_emulator/log
};

// The service host the library is compiled against ("host:port") and the coverage-site host.
const char* compiled_service_host();
const char* compiled_coverage_host();

// Port part of a "host:port" value; 80 when there is none.
int port_of_host(const std::string& host_port);

Options default_options();

enum class ParseOutcome { run, help, error };

struct ParseResult {
    ParseOutcome outcome = ParseOutcome::run;
    Options options;
    std::string error;  // set with ParseOutcome::error
};

ParseResult parse_options(const std::vector<std::string>& args);

std::string usage_text(const std::string& program);

}  // namespace pelmor::emulator
