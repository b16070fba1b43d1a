#pragma once

#include <nlohmann/json.hpp>

#include <mutex>
#include <utility>

namespace pelmor::emulator {

// State that handlers keep between requests (issued tokens, orders, ...). Handlers run on the server's
// worker threads, so every access goes through update(), which holds the lock for the whole change.
class ServiceState {
  public:
    template <class F>
    auto update(F&& change) {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::forward<F>(change)(values_);
    }

    void clear() {
        std::lock_guard<std::mutex> lock(mutex_);
        values_ = nlohmann::ordered_json::object();
    }

  private:
    std::mutex mutex_;
    nlohmann::ordered_json values_ = nlohmann::ordered_json::object();
};

}  // namespace pelmor::emulator
