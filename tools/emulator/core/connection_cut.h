#pragma once

#include <httplib.h>

#include <string>

namespace pelmor::emulator {

// Shuts down the accepted socket that carries the connection between these two endpoints, so the
// server's later attempt to write a response fails and the peer sees the connection end with no
// response at all. The HTTP server does not hand its sockets to handlers, so the socket is found among
// the process's descriptors by its addresses. Returns false when no such socket was found.
bool cut_connection(const std::string& local_addr, int local_port, const std::string& remote_addr,
                    int remote_port);

struct Cut {
    int status = 0;  // the status the head promised; 0 when nothing was sent
    std::string note;
};

// Breaks the response to req on purpose. before_head: the connection is shut down before any byte goes
// out. Otherwise the head promises all of body, half of it is sent, then the connection is closed (also
// the fallback when the socket cannot be found).
Cut cut_response(bool before_head, const httplib::Request& req, httplib::Response& res, std::string body,
                 const char* content_type);

}  // namespace pelmor::emulator
