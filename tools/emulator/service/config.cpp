#include "emulator/core/envelope.h"
#include "emulator/core/options.h"
#include "emulator/service/handlers.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;

constexpr const char kLatestVersion[] = "4.2.0";
constexpr const char kMinimumVersion[] = "4.0.0";

std::vector<long> version_parts(const std::string& text) {
    std::vector<long> parts;
    std::istringstream in(text);
    std::string piece;
    while (std::getline(in, piece, '.'))
        parts.push_back(std::strtol(piece.c_str(), nullptr, 10));
    return parts;
}

// Dotted numeric comparison; missing parts count as 0, so "4.2" equals "4.2.0".
bool older_than(const std::string& a, const std::string& b) {
    auto x = version_parts(a), y = version_parts(b);
    x.resize(std::max(x.size(), y.size()));
    y.resize(x.size());
    return x < y;
}

Reply client_config(const Call& call) {
    const std::string version = call.document.value("version", std::string());
    const std::string download_base = std::string("http://") + compiled_service_host() + "/download/";

    json data;
    data["version"] = kLatestVersion;
    data["minVersion"] = kMinimumVersion;
    data["hasUpdate"] = older_than(version, kLatestVersion);
    data["forceUpdate"] = older_than(version, kMinimumVersion);
    data["downloadUrl"] = download_base + "PelmorAssistant-" + kLatestVersion + ".dmg";
    data["md5"] = "3f2a9c1e7b4d5a6f8e0c2b1d4a7f9e3c";
    data["releaseNotes"] = "1. 新增企业版批量查询\n2. 优化验机报告加载速度\n3. 修复部分机型识别问题";
    data["notice"] = json{{"id", 20240101},
                          {"title", "服务公告"},
                          {"content", "专业验机报告限时八折，详情请咨询客服。"},
                          {"show", true}};
    data["switch"] = json{{"wechatLogin", true},  {"professionalCheck", true}, {"coverageQuery", true},
                          {"airpodsCheck", true}, {"feedback", true},          {"census", false}};
    data["support"] = json{{"phone", "400-820-0000"},
                           {"qq", "800012345"},
                           {"wechat", "PelmorService"},
                           {"email", "support@pelmor.example"},
                           {"hours", "09:00-21:00"}};
    data["serverTime"] = call.state.now_ms();

    Reply reply = success(std::move(data), "获取成功");
    reply.token = call.token();
    return reply;
}

}  // namespace

void register_config_handlers(Router& router) {
    router.add_method("client.config", client_config);
}

}  // namespace pelmor::emulator
