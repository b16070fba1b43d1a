#include "State.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>

namespace pelmor {

namespace {

std::string Text(const boost::json::object& object, const char* key) {
    const boost::json::value* value = object.if_contains(key);
    return value && value->is_string() ? std::string(value->get_string()) : std::string();
}

std::string RandomKey() {
    std::random_device device;
    std::string key;
    const char digits[] = "0123456789abcdef";
    for (int i = 0; i < 32; ++i)
        key += digits[device() % 16];
    return key;
}

bool MakeDirectories(const std::string& path) {
    for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) return false;
        if (slash == std::string::npos) return true;
    }
}

}  // namespace

std::string State::DefaultPath() {
    if (const char* config = std::getenv("XDG_CONFIG_HOME"); config && *config == '/')
        return std::string(config) + "/pelmor/state.json";
    if (const char* home = std::getenv("HOME"); home && *home)
        return std::string(home) + "/.config/pelmor/state.json";
    return "";
}

bool State::Load(const std::string& path, std::string& error) {
    *this = State();
    std::ifstream in(path, std::ios::binary);
    if (in) {
        std::stringstream text;
        text << in.rdbuf();
        boost::system::error_code ec;
        const boost::json::value document = boost::json::parse(text.str(), ec);
        if (ec || !document.is_object()) {
            error = path + ": not a pelmor state file; starting afresh";
        } else {
            const auto& root = document.get_object();
            key = Text(root, "key");
            if (const auto* standard = root.if_contains("standard"); standard && standard->is_object()) {
                token = Text(standard->get_object(), "token");
                mobile = Text(standard->get_object(), "mobile");
                serial = Text(standard->get_object(), "serial");
            }
            if (const auto* ent = root.if_contains("enterprise"); ent && ent->is_object()) {
                enterpriseToken = Text(ent->get_object(), "token");
                enterpriseAccount = Text(ent->get_object(), "account");
                if (const auto* expires = ent->get_object().if_contains("expires");
                    expires && expires->is_number())
                    enterpriseExpires = expires->to_number<unsigned long long>();
            }
        }
    }
    if (key.empty()) key = RandomKey();
    return error.empty();
}

bool State::Save(const std::string& path, std::string& error) const {
    if (path.empty()) return true;
    const auto slash = path.rfind('/');
    if (slash != std::string::npos && slash > 0 && !MakeDirectories(path.substr(0, slash))) {
        error = path + ": cannot create its directory: " + std::strerror(errno);
        return false;
    }
    boost::json::object root;
    root["key"] = key;
    root["standard"] = {{"token", token}, {"mobile", mobile}, {"serial", serial}};
    root["enterprise"] = {
        {"token", enterpriseToken}, {"account", enterpriseAccount}, {"expires", enterpriseExpires}};
    const std::string text = boost::json::serialize(root) + "\n";

    // Written beside the file and renamed over it, so that an interrupted write never loses a log-in.
    const std::string temporary = path + ".tmp";
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    bool written = fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (fd >= 0) written = close(fd) == 0 && written;
    if (!written || rename(temporary.c_str(), path.c_str()) != 0) {
        error = path + ": cannot write: " + std::strerror(errno);
        unlink(temporary.c_str());
        return false;
    }
    return true;
}

}  // namespace pelmor
