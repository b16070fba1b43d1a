#include "emulator/core/server_settings.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace pelmor::emulator {

void apply_server_settings(httplib::Server& server, const Options& o, std::size_t threads) {
    server.new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
    // Clients reuse connections; the default of five requests per connection would make a keep-alive
    // client reconnect all the time and spoil throughput measurements.
    server.set_keep_alive_max_count(o.keep_alive_max);
    server.set_keep_alive_timeout(o.keep_alive_timeout_s);
    server.set_read_timeout(o.io_timeout_s, 0);
    server.set_write_timeout(o.io_timeout_s, 0);
    // No SO_REUSEPORT: a second emulator on the same port must fail to bind instead of sharing it.
    // TCP_NODELAY because the head and body of a response go out in separate writes; with Nagle and
    // delayed ACKs a keep-alive client would wait tens of milliseconds per request.
    server.set_socket_options([](socket_t sock) {
        int yes = 1;
        setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    });
    server.set_tcp_nodelay(true);
}

}  // namespace pelmor::emulator
