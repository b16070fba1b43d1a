#include "LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <chrono>
#include <cstdlib>

namespace {

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    return address;
}

int BoundPort(int socket) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

}  // namespace

std::unique_ptr<LoopbackServer> LoopbackServer::Http(const Routes& routes) {
    std::unique_ptr<LoopbackServer> server(new LoopbackServer);
    server->http_ = std::make_unique<httplib::Server>();
    server->http_->set_keep_alive_timeout(1);  // stop() waits for idle keep-alive connections
    routes(*server->http_);
    server->port_ = server->http_->bind_to_any_port("127.0.0.1");
    if (server->port_ <= 0) std::abort();
    httplib::Server* http = server->http_.get();
    server->thread_ = std::thread([http] { http->listen_after_bind(); });
    while (!http->is_running())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return server;
}

std::unique_ptr<LoopbackServer> LoopbackServer::Raw(Connection onConnection, int port) {
    std::unique_ptr<LoopbackServer> server(new LoopbackServer);
    server->onConnection_ = std::move(onConnection);
    server->listener_ = socket(AF_INET, SOCK_STREAM, 0);
    const int reuse = 1;
    setsockopt(server->listener_, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    sockaddr_in address = Loopback(port);
    if (server->listener_ < 0 ||
        bind(server->listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(server->listener_, 64) != 0)
        std::abort();
    server->port_ = BoundPort(server->listener_);
    LoopbackServer* self = server.get();
    server->thread_ = std::thread([self] { self->AcceptLoop(); });
    return server;
}

void LoopbackServer::AcceptLoop() {
    while (!stopping_) {
        pollfd waiting{listener_, POLLIN, 0};
        if (poll(&waiting, 1, 50) <= 0) continue;
        const int client = accept(listener_, nullptr, nullptr);
        if (client < 0) continue;
        std::lock_guard<std::mutex> lock(mutex_);
        open_.push_back(client);
        handlers_.emplace_back([this, client] { onConnection_(client); });
    }
}

LoopbackServer::~LoopbackServer() {
    if (http_) {
        http_->stop();
        thread_.join();
        return;
    }
    stopping_ = true;
    thread_.join();
    {
        // Wakes handlers still blocked on their sockets.
        std::lock_guard<std::mutex> lock(mutex_);
        for (int client : open_)
            shutdown(client, SHUT_RDWR);
    }
    for (std::thread& handler : handlers_)
        handler.join();
    for (int client : open_)
        close(client);
    close(listener_);
}

std::string LoopbackServer::Address() const {
    return "127.0.0.1:" + std::to_string(port_);
}

std::string LoopbackServer::Url(const std::string& path) const {
    return "http://" + Address() + path;
}

std::string ReadHttpRequest(int socket) {
    std::string request;
    char block[4096];
    size_t headEnd = std::string::npos;
    size_t wanted = 0;
    for (;;) {
        if (headEnd != std::string::npos && request.size() >= headEnd + 4 + wanted) return request;
        const ssize_t got = recv(socket, block, sizeof block, 0);
        if (got <= 0) return std::string();
        request.append(block, static_cast<size_t>(got));
        if (headEnd == std::string::npos && (headEnd = request.find("\r\n\r\n")) != std::string::npos) {
            std::string head = request.substr(0, headEnd);
            for (char& c : head)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            const size_t at = head.find("content-length:");
            if (at != std::string::npos) wanted = std::strtoul(head.c_str() + at + 15, nullptr, 10);
        }
    }
}

bool WriteAll(int socket, const std::string& text) {
    size_t sent = 0;
    while (sent < text.size()) {
        const ssize_t wrote = send(socket, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (wrote <= 0) return false;
        sent += static_cast<size_t>(wrote);
    }
    return true;
}

int UnusedLoopbackPort() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = Loopback(0);
    bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    const int port = BoundPort(fd);
    close(fd);
    return port;
}
