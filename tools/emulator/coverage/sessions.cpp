#include "emulator/coverage/sessions.h"

#include <openssl/rand.h>

#include <algorithm>
#include <cctype>

namespace pelmor::emulator::coverage {

namespace {

using json = nlohmann::ordered_json;

// Characters that cannot be mistaken for one another on a captcha, and that need no escaping in a form
// body or a cookie.
constexpr char kCaptchaAlphabet[] = "ABCDEFGHJKLMNPQRSTUVWXYZ23456789";
constexpr char kTokenAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

std::string random_text(const char* alphabet, std::size_t alphabet_size, std::size_t length) {
    std::string bytes(length, '\0');
    RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(length));
    std::string text;
    for (const char byte : bytes)
        text += alphabet[static_cast<unsigned char>(byte) % alphabet_size];
    return text;
}

std::string new_answer() {
    return random_text(kCaptchaAlphabet, sizeof kCaptchaAlphabet - 1, 4);
}

json& site(json& values) {
    json& coverage = values["coverage"];
    if (!coverage.is_object()) coverage = json{{"sessions", json::object()}, {"latest", ""}};
    return coverage;
}

Session to_session(const std::string& id, const json& stored) {
    return Session{id, stored.value("answer", ""), stored.value("token", ""), stored.value("captchas", 0)};
}

json* stored_session(json& values, const std::string& id) {
    json& sessions = site(values)["sessions"];
    const auto it = sessions.find(id);
    return it == sessions.end() ? nullptr : &*it;
}

}  // namespace

Session open_session(ServiceState& state) {
    const std::string id = random_text(kTokenAlphabet, 62, 24);  // letters and digits only
    const std::string token = random_text(kTokenAlphabet, sizeof kTokenAlphabet - 1, 43);
    const std::string answer = new_answer();
    state.update([&](json& values) {
        json& coverage = site(values);
        json& sessions = coverage["sessions"];
        // Objects keep insertion order, so the first member is the oldest session.
        while (sessions.size() >= kMaxSessions)
            sessions.erase(sessions.begin());
        sessions[id] = json{{"answer", answer}, {"token", token}, {"captchas", 1}};
        coverage["latest"] = id;
    });
    return Session{id, answer, token, 1};
}

std::optional<Session> renew_captcha(ServiceState& state, const std::string& id) {
    const std::string answer = new_answer();
    return state.update([&](json& values) -> std::optional<Session> {
        json* stored = stored_session(values, id);
        if (!stored) return std::nullopt;
        (*stored)["answer"] = answer;
        (*stored)["captchas"] = stored->value("captchas", 0) + 1;
        site(values)["latest"] = id;
        return to_session(id, *stored);
    });
}

std::optional<Session> find_session(ServiceState& state, const std::string& id) {
    return state.update([&](json& values) -> std::optional<Session> {
        const json* stored = stored_session(values, id);
        return stored ? std::optional<Session>(to_session(id, *stored)) : std::nullopt;
    });
}

bool take_answer(ServiceState& state, const std::string& id, const std::string& given) {
    return state.update([&](json& values) {
        json* stored = stored_session(values, id);
        if (!stored) return false;
        const std::string answer = stored->value("answer", "");
        (*stored)["answer"] = "";
        return !answer.empty() && answer.size() == given.size() &&
               std::equal(answer.begin(), answer.end(), given.begin(), [](char a, char b) {
                   return std::toupper(static_cast<unsigned char>(a)) ==
                          std::toupper(static_cast<unsigned char>(b));
               });
    });
}

std::optional<Session> latest_session(ServiceState& state) {
    return state.update([&](json& values) -> std::optional<Session> {
        const std::string id = site(values).value("latest", "");
        const json* stored = id.empty() ? nullptr : stored_session(values, id);
        return stored ? std::optional<Session>(to_session(id, *stored)) : std::nullopt;
    });
}

}  // namespace pelmor::emulator::coverage
