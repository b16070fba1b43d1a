#include "emulator/service/enterprise_book.h"

#include "emulator/core/options.h"
#include "emulator/service/params.h"

#include <utility>

namespace pelmor::emulator::enterprise {

namespace {

json account(const char* password, const char* nickname, const char* merchant, const char* picture,
             std::int64_t balance_cents) {
    const std::string base = std::string("http://") + compiled_service_host() + "/static/";
    return json{{"password", password},
                {"nickname", nickname},
                {"avatar", base + "avatar/" + picture + ".png"},
                {"avatarSmall", base + "avatar/" + picture + "_64.png"},
                {"avatarBig", base + "avatar/" + picture + "_256.png"},
                {"merchantName", merchant},
                {"merchantLogo", base + "merchant/" + picture + ".png"},
                {"balance_cents", balance_cents},
                {"bills", json::object()}};
}

json bill_line(const char* time, const char* serial, const char* used, std::int64_t cents,
               std::int64_t balance_cents) {
    return json{{"date", time},
                {"srnm", serial},
                {"used", used},
                {"cost", yuan(cents)},
                {"balance", yuan(balance_cents)}};
}

json seeded_book() {
    json demo = account(kDemoPassword, "演示账号", "佩莫演示门店", "demo", 10000);
    // A past day with a few paid checks, so that a bill can be read without running checks first.
    demo["bills"]["2026-11-01"] = json::array({
        bill_line("2026-11-01 09:14:03", "F2LZK3XYN72J", "激活锁查询", 50, 10150),
        bill_line("2026-11-01 09:15:47", "F2LZK3XYN72J", "保修查询", 30, 10120),
        bill_line("2026-11-01 11:02:19", "F17ZP9QAN73K", "网络锁查询", 50, 10070),
        bill_line("2026-11-01 11:03:05", "F17ZP9QAN73K", "翻新机查询", 70, 10000),
    });
    json trial = account(kTrialPassword, "试用账号", "佩莫试用门店", "trial", 20);

    json book;
    book["accounts"] = json{{kDemoAccount, std::move(demo)}, {kTrialAccount, std::move(trial)}};
    book["tokens"] = json::object();
    book["feedback"] = json::array();
    return book;
}

}  // namespace

json& book(json& values) {
    auto it = values.find("enterprise");
    if (it == values.end()) it = values.emplace("enterprise", seeded_book()).first;
    return *it;
}

std::string session_account(const Call& call) {
    const std::string token = call.token();
    const auto [account, expires] = call.state.update([&](json& values) {
        const json& tokens = book(values)["tokens"];
        const auto it = token.empty() ? tokens.end() : tokens.find(token);
        if (it == tokens.end()) return std::pair<std::string, std::int64_t>();
        return std::pair((*it)["account"].get<std::string>(), (*it)["expires"].get<std::int64_t>());
    });
    if (account.empty())
        refuse_with(refusal::kTokenInvalid, "TOKEN_INVALID", "未登录或登录已失效，请重新登录");
    if (expires <= call.state.now_ms())
        refuse_with(code::kTokenExpired, "TOKEN_EXPIRED", "登录已过期，请重新登录");
    return account;
}

double yuan(std::int64_t cents) {
    return static_cast<double>(cents) / 100.0;
}

void charge(ServiceState& state, const std::string& account, const std::string& serial, const char* what,
            std::int64_t cents) {
    const std::int64_t now = state.now_ms();
    const bool paid = state.update([&](json& values) {
        json& holder = book(values)["accounts"][account];
        const std::int64_t balance = holder.value("balance_cents", std::int64_t{0});
        if (balance < cents) return false;
        holder["balance_cents"] = balance - cents;
        json& day = holder["bills"][utc_day(now)];
        if (!day.is_array()) day = json::array();
        day.push_back(json{{"date", utc_time(now)},
                           {"srnm", serial},
                           {"used", what},
                           {"cost", yuan(cents)},
                           {"balance", yuan(balance - cents)}});
        return true;
    });
    if (!paid) refuse_with(code::kBalanceTooLow, "BALANCE_NOT_ENOUGH", "账户余额不足，请充值后再查询");
}

std::string utc_day(std::int64_t ms) {
    return utc_text(ms, "%Y-%m-%d");
}

std::string utc_time(std::int64_t ms) {
    return utc_text(ms, "%Y-%m-%d %H:%M:%S");
}

}  // namespace pelmor::emulator::enterprise
