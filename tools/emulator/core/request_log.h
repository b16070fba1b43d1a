#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace pelmor::emulator {

struct LogEntry {
    std::uint64_t seq = 0;  // assigned by RequestLog::append
    std::string http_method;
    std::string target;
    std::string path;
    std::string address;
    std::string operation;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    nlohmann::ordered_json document;  // null when the body did not decode
    std::string decode_error;
};

// Service requests in arrival order, for tests to read back. Bounded so that a long benchmark run does
// not grow the process without limit; seq keeps counting, so dropped entries show as a gap.
class RequestLog {
  public:
    explicit RequestLog(std::size_t limit) : limit_(limit) {}

    std::uint64_t append(LogEntry entry);
    nlohmann::ordered_json to_json() const;
    void clear();

  private:
    mutable std::mutex mutex_;
    std::size_t limit_;
    std::uint64_t next_seq_ = 1;
    std::deque<LogEntry> entries_;
};

}  // namespace pelmor::emulator
