// The logged-in user: profile, privileges and notifications.
#include <pelmor/records/AccountRecords.h>

#include "Command.h"

namespace pelmor {

namespace {

int User(Session& s, const Args&) {
    return s.Exchange("user", [&](JsonObject& out) {
        return s.S().TokenQueryUser([&](ISocketInfoUser* u) {
            out = {{"id", u->GetID()},
                   {"name", Utf8(u->GetName())},
                   {"phone", Utf8(u->GetPhone())},
                   {"head image", Utf8(u->GetHeadImage())}};
        });
    });
}

int Privileges(Session& s, const Args&) {
    return s.Exchange("privileges", [&](JsonObject& out) {
        return s.S().TokenQueryPower([&](ISocketQueryPower* p) {
            out = {{"network verification", p->GetVerifyNetwork()}, {"over green", p->GetOverGreen()}};
        });
    });
}

JsonObject Notification(ISocketInfoNotify* n) {
    return {{"id", n->GetID()},
            {"title", Utf8(n->GetTitle())},
            {"time", n->GetTime()},
            {"system", n->IsSystem()},
            {"popup", n->IsPopup()},
            {"url", Utf8(n->GetURL())},
            {"updated", n->GetUpdateTime()}};
}

int NotificationOne(Session& s, const Args& a) {
    char* end = nullptr;
    const long long id = std::strtoll(a[0].c_str(), &end, 10);
    if (a[0].empty() || *end) return s.Fail("notification", "ID must be a number: " + a[0]);
    return s.Exchange("notification", [&](JsonObject& out) {
        return s.S().TokenQueryNotify(id, [&](ISocketInfoNotify* n) { out = Notification(n); });
    });
}

// The list holds ids only; --details fetches each notification as well.
int Notifications(Session& s, const Args& a) {
    std::vector<std::pair<long long, long long>> ids;
    int status = s.Call("notifications", [&] {
        return s.S().TokenQueryNotifyList(
            [&](long long id, long long updated) { ids.emplace_back(id, updated); });
    });
    if (status != kOk) return status;
    JsonArray rows;
    for (const auto& [id, updated] : ids) {
        JsonObject row{{"id", id}, {"updated", updated}};
        if (a.Has("--details")) {
            status = s.Call("notifications", [&, id = id] {
                return s.S().TokenQueryNotify(id, [&](ISocketInfoNotify* n) { row = Notification(n); });
            });
            if (status != kOk) return status;
        }
        rows.push_back(std::move(row));
    }
    s.Show(rows);
    return kOk;
}

}  // namespace

std::vector<Command> UserCommands() {
    const auto e = PELMOR_SOCKET_EDITION_STANDARD;
    const char* g = kGroupUser;
    return {
        {g, "user", e, "", "", 0, 0, "the logged-in user's profile", User},
        {g, "privileges", e, "", "", 0, 0, "the user's privileges", Privileges},
        {g, "notifications", e, "[--details]", "--details", 0, 0, "the user's notifications", Notifications},
        {g, "notification", e, "ID", "", 1, 1, "one notification", NotificationOne},
    };
}

}  // namespace pelmor
