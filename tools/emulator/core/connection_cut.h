#pragma once

#include <string>

namespace pelmor::emulator {

// Shuts down the accepted socket that carries the connection between these two endpoints, so the
// server's later attempt to write a response fails and the peer sees the connection end with no
// response at all. The HTTP server does not hand its sockets to handlers, so the socket is found among
// the process's descriptors by its addresses. Returns false when no such socket was found.
bool cut_connection(const std::string& local_addr, int local_port, const std::string& remote_addr,
                    int remote_port);

}  // namespace pelmor::emulator
