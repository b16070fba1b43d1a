#include "emulator/core/request_log.h"

#include <algorithm>

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;

json response_json(const LogEntry& e) {
    if (!e.answered) return nullptr;
    return json{{"status", e.response.status}, {"reply", e.response.reply}, {"note", e.response.note}};
}

}  // namespace

bool LogFilter::matches(const LogEntry& e) const {
    return e.seq > after_seq && (http_method.empty() || e.http_method == http_method) &&
           (path.empty() || e.path == path) && (operation.empty() || e.operation == operation) &&
           (address.empty() || e.address == address);
}

RequestLog::Logged RequestLog::append(LogEntry entry) {
    std::lock_guard<std::mutex> lock(mutex_);
    entry.seq = next_seq_++;
    entry.ticket = next_ticket_++;
    const Logged logged{entry.seq, entry.ticket};
    if (limit_ == 0) return logged;
    if (entries_.size() >= limit_) entries_.pop_front();
    entries_.push_back(std::move(entry));
    return logged;
}

void RequestLog::answer(std::uint64_t ticket, LogResponse response) {
    std::lock_guard<std::mutex> lock(mutex_);
    // Entries are kept in ticket order, so the one wanted is found by halving.
    const auto it =
        std::lower_bound(entries_.begin(), entries_.end(), ticket,
                         [](const LogEntry& e, std::uint64_t wanted) { return e.ticket < wanted; });
    if (it == entries_.end() || it->ticket != ticket) return;
    it->answered = true;
    it->response = std::move(response);
}

nlohmann::ordered_json RequestLog::to_json(const LogFilter& filter) const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto out = json::array();
    for (const auto& e : entries_) {
        if (!filter.matches(e)) continue;
        json headers = json::object();
        for (const auto& [name, value] : e.headers) {
            // A repeated header reads as one value, the way HTTP allows them to be folded.
            auto& slot = headers[name];
            slot = slot.is_null() ? json(value) : json(slot.get<std::string>() + ", " + value);
        }
        json item;
        item["seq"] = e.seq;
        item["http_method"] = e.http_method;
        item["target"] = e.target;
        item["path"] = e.path;
        item["address"] = e.address;
        item["operation"] = e.operation;
        item["headers"] = std::move(headers);
        item["body"] = e.body;
        item["document"] = e.document;
        item["decode_error"] = e.decode_error;
        item["script"] = e.answered && e.response.script != 0 ? json(e.response.script) : json(nullptr);
        item["response"] = response_json(e);
        out.push_back(std::move(item));
    }
    return out;
}

void RequestLog::clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.clear();
    next_seq_ = 1;
}

LogEntry entry_of(const httplib::Request& req, std::string address, std::string operation) {
    LogEntry entry;
    entry.http_method = req.method;
    entry.target = req.target;
    entry.path = req.path;
    entry.address = std::move(address);
    entry.operation = std::move(operation);
    for (const auto& [name, value] : req.headers) {
        // The server adds these itself; they did not come over the wire.
        if (name == "REMOTE_ADDR" || name == "REMOTE_PORT" || name == "LOCAL_ADDR" || name == "LOCAL_PORT")
            continue;
        entry.headers.emplace_back(name, value);
    }
    entry.body = req.body;
    return entry;
}

}  // namespace pelmor::emulator
