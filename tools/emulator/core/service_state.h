#pragma once

#include "emulator/core/clock.h"

#include <nlohmann/json.hpp>

#include <mutex>
#include <utility>

namespace pelmor::emulator {

// State that handlers keep between requests (issued tokens, orders, ...). Handlers run on the server's
// worker threads, so every access goes through update(), which holds the lock for the whole change.
// The clock lives here too, so that every handler reads the same time and a reset brings back real time.
class ServiceState {
  public:
    std::int64_t now_ms() const { return clock_.now_ms(); }
    Clock& clock() { return clock_; }

    template <class F>
    auto update(F&& change) {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::forward<F>(change)(values_);
    }

    void clear() {
        std::lock_guard<std::mutex> lock(mutex_);
        values_ = nlohmann::ordered_json::object();
        clock_.back_to_real_time();
    }

  private:
    std::mutex mutex_;
    Clock clock_;
    nlohmann::ordered_json values_ = nlohmann::ordered_json::object();
};

}  // namespace pelmor::emulator
