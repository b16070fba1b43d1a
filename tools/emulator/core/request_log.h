#pragma once

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace pelmor::emulator {

// What went back for one logged request.
struct LogResponse {
    int status = 0;                // HTTP status; 0 when the connection was cut before any
    nlohmann::ordered_json reply;  // the reply envelope as it was encrypted; null when none was
    std::string note;              // what happened, in words ("code 0", "status 503", "captcha for ...")
    std::uint64_t script = 0;      // id of the script that answered; 0 for the built-in behaviour
};

struct LogEntry {
    std::uint64_t seq = 0;     // assigned by RequestLog::append; restarts at 1 when the log is cleared
    std::uint64_t ticket = 0;  // assigned by RequestLog::append; never restarts
    std::string http_method;
    std::string target;
    std::string path;
    std::string address;
    std::string operation;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    nlohmann::ordered_json document;  // null when the body did not decode
    std::string decode_error;
    bool answered = false;  // false while the answer is being made (a delayed script, a slow probe)
    LogResponse response;
};

// Which entries a reader wants; an empty member does not filter.
struct LogFilter {
    std::string http_method;
    std::string path;
    std::string operation;  // compared as scripts compare it: exactly
    std::string address;
    std::uint64_t after_seq = 0;

    bool matches(const LogEntry& entry) const;
};

// Service requests in arrival order, for tests to read back. Bounded so that a long benchmark run does
// not grow the process without limit; seq keeps counting, so dropped entries show as a gap.
class RequestLog {
  public:
    explicit RequestLog(std::size_t limit) : limit_(limit) {}

    struct Logged {
        std::uint64_t seq;     // what the log shows
        std::uint64_t ticket;  // what answer() takes
    };
    // Requests are logged on arrival, so that one whose answer never comes still leaves its trace.
    Logged append(LogEntry entry);
    // Adds the response to the entry of ticket, if it is still kept. Tickets, unlike seq, never restart,
    // so an answer that comes after a clear cannot land on a newer entry.
    void answer(std::uint64_t ticket, LogResponse response);

    nlohmann::ordered_json to_json(const LogFilter& filter = {}) const;
    void clear();

  private:
    mutable std::mutex mutex_;
    std::size_t limit_;
    std::uint64_t next_seq_ = 1;
    std::uint64_t next_ticket_ = 1;
    std::deque<LogEntry> entries_;
};

// An entry with what every logged request has: method, target, path, the headers as they came over the
// wire, and the raw body.
LogEntry entry_of(const httplib::Request& req, std::string address, std::string operation);

}  // namespace pelmor::emulator
