#pragma once

#include <string>

namespace pelmor {

// What pelmor keeps between invocations, so that a log-in carries over: per edition the session token,
// the SMS serial of the last code asked for, and a client key sent with log-ins and heartbeats.
// Kept in $XDG_CONFIG_HOME/pelmor/state.json (or ~/.config/...), readable by the user only.
struct State {
    std::string key;
    std::string token;            // standard edition
    std::string mobile, serial;   // last SMS code asked for
    std::string enterpriseToken;  // enterprise edition
    std::string enterpriseAccount;
    unsigned long long enterpriseExpires = 0;

    // Forget one edition's session: its token and what belongs to it.
    void ForgetStandard() { token.clear(), serial.clear(); }
    void ForgetEnterprise() { enterpriseToken.clear(), enterpriseAccount.clear(), enterpriseExpires = 0; }

    // The file's path, or "" when no home directory is known.
    static std::string DefaultPath();

    // A missing file is an empty state; a damaged one is reported and then treated as empty.
    bool Load(const std::string& path, std::string& error);
    bool Save(const std::string& path, std::string& error) const;
};

}  // namespace pelmor
