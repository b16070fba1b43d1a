#include "HttpClient.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace pelmor {

namespace {

using Clock = std::chrono::steady_clock;

int Remaining(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

bool WaitFor(int fd, short events, Clock::time_point deadline) {
    pollfd entry{fd, events, 0};
    for (;;) {
        const int ready = poll(&entry, 1, Remaining(deadline));
        if (ready > 0) return true;
        if (ready == 0 || errno != EINTR) return false;
    }
}

int Connect(const std::string& hostPort, Clock::time_point deadline) {
    const auto colon = hostPort.rfind(':');
    const std::string host = colon == std::string::npos ? hostPort : hostPort.substr(0, colon);
    const std::string port = colon == std::string::npos ? "80" : hostPort.substr(colon + 1);
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), port.c_str(), &hints, &found) != 0) return -1;
    int fd = -1;
    for (addrinfo* ai = found; ai && fd < 0; ai = ai->ai_next) {
        fd = socket(ai->ai_family, ai->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, ai->ai_protocol);
        if (fd < 0) continue;
        if (connect(fd, ai->ai_addr, ai->ai_addrlen) == 0) break;
        int error = errno;
        socklen_t length = sizeof error;
        if (error != EINPROGRESS || !WaitFor(fd, POLLOUT, deadline) ||
            getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0 || error != 0) {
            close(fd);
            fd = -1;
        }
    }
    freeaddrinfo(found);
    return fd;
}

}  // namespace

HttpAnswer HttpRequest(const std::string& hostPort, const std::string& method, const std::string& target,
                       const std::string& body, int timeoutMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    HttpAnswer answer;
    const int fd = Connect(hostPort, deadline);
    if (fd < 0) return answer;

    const std::string request =
        method + " " + target + " HTTP/1.0\r\nHost: " + hostPort +
        "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
        "\r\nConnection: close\r\n\r\n" + body;
    std::size_t sent = 0;
    while (sent < request.size()) {
        if (!WaitFor(fd, POLLOUT, deadline)) break;
        const ssize_t n = send(fd, request.data() + sent, request.size() - sent, MSG_NOSIGNAL);
        if (n <= 0 && errno != EAGAIN && errno != EINTR) break;
        if (n > 0) sent += static_cast<std::size_t>(n);
    }
    std::string response;
    char buffer[8192];
    while (sent == request.size() && WaitFor(fd, POLLIN, deadline)) {
        const ssize_t n = recv(fd, buffer, sizeof buffer, 0);
        if (n == 0) break;
        if (n < 0) {
            if (errno == EAGAIN || errno == EINTR) continue;
            break;
        }
        response.append(buffer, static_cast<std::size_t>(n));
    }
    close(fd);

    // "HTTP/1.1 200 OK\r\n...\r\n\r\nbody"
    const auto space = response.find(' ');
    const auto head = response.find("\r\n\r\n");
    if (response.compare(0, 5, "HTTP/") != 0 || space == std::string::npos || head == std::string::npos)
        return answer;
    answer.status = std::atoi(response.c_str() + space + 1);
    answer.body = response.substr(head + 4);
    return answer;
}

}  // namespace pelmor
