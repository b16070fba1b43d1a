#include "emulator/core/connection_cut.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace pelmor::emulator {

namespace {

bool endpoint_is(const sockaddr_storage& ss, const std::string& addr, int port) {
    char text[INET6_ADDRSTRLEN] = {};
    int actual_port = -1;
    if (ss.ss_family == AF_INET) {
        const auto* in = reinterpret_cast<const sockaddr_in*>(&ss);
        inet_ntop(AF_INET, &in->sin_addr, text, sizeof text);
        actual_port = ntohs(in->sin_port);
    } else if (ss.ss_family == AF_INET6) {
        const auto* in6 = reinterpret_cast<const sockaddr_in6*>(&ss);
        inet_ntop(AF_INET6, &in6->sin6_addr, text, sizeof text);
        actual_port = ntohs(in6->sin6_port);
    } else {
        return false;
    }
    return actual_port == port && addr == text;
}

bool is_connection(int fd, const std::string& local_addr, int local_port, const std::string& remote_addr,
                   int remote_port) {
    sockaddr_storage local{}, peer{};
    socklen_t local_len = sizeof local, peer_len = sizeof peer;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&local), &local_len) != 0) return false;
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peer_len) != 0) return false;
    return endpoint_is(local, local_addr, local_port) && endpoint_is(peer, remote_addr, remote_port);
}

// Open descriptors, read from /dev/fd where the system has it (Linux and macOS), else every number up
// to the descriptor limit.
std::vector<int> open_descriptors() {
    std::vector<int> fds;
    if (DIR* dir = opendir("/dev/fd")) {
        const int own = dirfd(dir);
        while (const dirent* entry = readdir(dir)) {
            char* end = nullptr;
            const long fd = std::strtol(entry->d_name, &end, 10);
            if (end != entry->d_name && *end == '\0' && fd != own) fds.push_back(static_cast<int>(fd));
        }
        closedir(dir);
        return fds;
    }
    rlimit limit{};
    const rlim_t max = getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY
                           ? std::min<rlim_t>(limit.rlim_cur, 65536)
                           : 4096;
    for (rlim_t fd = 0; fd < max; ++fd)
        fds.push_back(static_cast<int>(fd));
    return fds;
}

}  // namespace

bool cut_connection(const std::string& local_addr, int local_port, const std::string& remote_addr,
                    int remote_port) {
    for (const int fd : open_descriptors()) {
        if (!is_connection(fd, local_addr, local_port, remote_addr, remote_port)) continue;
        // Shut down rather than close: the server still owns the descriptor and closes it itself.
        return shutdown(fd, SHUT_RDWR) == 0;
    }
    return false;
}

Cut cut_response(bool before_head, const httplib::Request& req, httplib::Response& res, std::string body,
                 const char* content_type) {
    if (before_head && cut_connection(req.local_addr, req.local_port, req.remote_addr, req.remote_port)) {
        // The write of this response fails on the shut-down socket and the server closes it.
        res.status = 200;
        return {0, "connection dropped before the head"};
    }
    auto shared = std::make_shared<std::string>(std::move(body));
    res.status = 200;
    res.set_content_provider(shared->size(), content_type,
                             [shared](std::size_t offset, std::size_t, httplib::DataSink& sink) {
                                 const std::size_t half = shared->size() / 2;
                                 if (offset < half) sink.write(shared->data() + offset, half - offset);
                                 return false;  // cancelling the provider closes the connection
                             });
    return {200, before_head ? "connection dropped after the head (socket not found)"
                             : "connection dropped after the head"};
}

}  // namespace pelmor::emulator
