#pragma once

#include "emulator/core/service_state.h"

#include <optional>
#include <string>

namespace pelmor::emulator::coverage {

// One visitor of the coverage site, known by its session cookie. The CSRF token belongs to the session
// for its whole life; each captcha fetch replaces the answer, and an answer is good for one attempt.
struct Session {
    std::string id;
    std::string answer;  // "" once used
    std::string token;
    int captchas = 0;  // captchas issued to this session
};

// Kept in the shared service state (so that a reset forgets them), newest last, at most this many.
inline constexpr std::size_t kMaxSessions = 1000;

// A new session with its first captcha.
Session open_session(ServiceState& state);
// A new captcha for a known session; nothing when the session is unknown.
std::optional<Session> renew_captcha(ServiceState& state, const std::string& id);
std::optional<Session> find_session(ServiceState& state, const std::string& id);
// Uses up the session's captcha and tells whether given matched it (letter case does not matter).
bool take_answer(ServiceState& state, const std::string& id, const std::string& given);
// The session whose captcha was issued last; nothing before the first captcha.
std::optional<Session> latest_session(ServiceState& state);

}  // namespace pelmor::emulator::coverage
