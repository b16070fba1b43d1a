#include "emulator/core/request_log.h"

namespace pelmor::emulator {

std::uint64_t RequestLog::append(LogEntry entry) {
    std::lock_guard<std::mutex> lock(mutex_);
    entry.seq = next_seq_++;
    const auto seq = entry.seq;
    if (limit_ == 0) return seq;
    if (entries_.size() >= limit_) entries_.pop_front();
    entries_.push_back(std::move(entry));
    return seq;
}

nlohmann::ordered_json RequestLog::to_json() const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto out = nlohmann::ordered_json::array();
    for (const auto& e : entries_) {
        nlohmann::ordered_json headers = nlohmann::ordered_json::object();
        for (const auto& [name, value] : e.headers) {
            // A repeated header reads as one value, the way HTTP allows them to be folded.
            auto& slot = headers[name];
            slot = slot.is_null() ? nlohmann::ordered_json(value)
                                  : nlohmann::ordered_json(slot.get<std::string>() + ", " + value);
        }
        nlohmann::ordered_json item;
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
        out.push_back(std::move(item));
    }
    return out;
}

void RequestLog::clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.clear();
    next_seq_ = 1;
}

}  // namespace pelmor::emulator
