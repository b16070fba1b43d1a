#pragma once

#include <httplib.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// A server on 127.0.0.1 and a port of the system's choosing, for tests that need one of their own. It is
// either an HTTP server (routes set on an httplib::Server) or a raw one that hands every accepted socket to
// a function, for answers no HTTP server would give (cut connections, short bodies, drips). Either way it
// listens when constructed and stops, closing every connection, when destroyed.
class LoopbackServer {
  public:
    using Routes = std::function<void(httplib::Server&)>;
    using Connection = std::function<void(int socket)>;

    static std::unique_ptr<LoopbackServer> Http(const Routes& routes);
    // port 0: any free port; another: that one (to listen again where a stopped server was).
    static std::unique_ptr<LoopbackServer> Raw(Connection onConnection, int port = 0);

    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    int Port() const { return port_; }
    std::string Address() const;                     // "127.0.0.1:<port>"
    std::string Url(const std::string& path) const;  // "http://127.0.0.1:<port>" + path

  private:
    LoopbackServer() = default;
    void AcceptLoop();

    int port_ = 0;
    std::unique_ptr<httplib::Server> http_;
    int listener_ = -1;
    Connection onConnection_;
    std::atomic<bool> stopping_{false};
    std::mutex mutex_;
    std::vector<int> open_;
    std::vector<std::thread> handlers_;
    std::thread thread_;
};

// For raw servers: reads one request (head and the body its Content-Length announces); "" when the peer
// closed first.
std::string ReadHttpRequest(int socket);

// Writes all of text; false once the peer is gone.
bool WriteAll(int socket, const std::string& text);

// A port on which nothing listens (bound, then released).
int UnusedLoopbackPort();
