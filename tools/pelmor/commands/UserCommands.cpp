// The logged-in user: profile, privileges and notifications.
#include <pelmor/records/AccountRecords.h>

#include <climits>

#include "Command.h"

namespace pelmor {

namespace {

int User(Session& s, const Args&) {
    return s.Exchange("user", [&](JsonObject& out) {
        return s.S().TokenQueryUser([&](ISocketInfoUser* u) {
            out = {{"id", u->GetID()},
                   {"name", Utf8(u->GetName())},
                   {"phone", Utf8(u->GetPhone())},
                   {"headImage", Utf8(u->GetHeadImage())}};
        });
    });
}

int Privileges(Session& s, const Args&) {
    return s.Exchange("privileges", [&](JsonObject& out) {
        return s.S().TokenQueryPower([&](ISocketQueryPower* p) {
            out = {{"networkVerification", p->GetVerifyNetwork()}, {"overGreen", p->GetOverGreen()}};
        });
    });
}

JsonObject Notification(ISocketInfoNotify* n) {
    JsonObject out{{"id", n->GetID()}, {"title", Utf8(n->GetTitle())}};
    PutTime(out, "time", n->GetTime());
    out["system"] = n->IsSystem();
    out["popup"] = n->IsPopup();
    out["url"] = Utf8(n->GetURL());
    PutTime(out, "updated", n->GetUpdateTime());
    return out;
}

int NotificationOne(Session& s, const Args& a) {
    long long id = 0;
    if (!ReadInteger(a[0], 0, LLONG_MAX, id)) return s.Fail("notification", "ID must be a number: " + a[0]);
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
        JsonObject row{{"id", id}};
        PutTime(row, "updated", updated);
        if (a.Has("--details")) {
            status = s.Call("notifications", [&, id = id] {
                return s.S().TokenQueryNotify(id, [&](ISocketInfoNotify* n) { row = Notification(n); });
            });
            if (status != kOk) return status;
        }
        rows.push_back(std::move(row));
    }
    s.Show(JsonObject{{"notifications", std::move(rows)}});
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
