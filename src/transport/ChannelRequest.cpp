#include "ChannelRequest.h"

#include <string>

#include "ChannelBody.h"
#include "frame/PelmorSocketHelper.h"

namespace {

// A method name that goes between quotes as it stands; any other is written by the JSON writer.
bool IsPlainName(std::string_view name) {
    for (const char c : name)
        if (c < 0x20 || c > 0x7e || c == '"' || c == '\\') return false;
    return true;
}

}  // namespace

QByteArray ChannelRequestBody(const char* method, const XJson& params, std::string_view paramsInfo) {
    const std::string_view settings = PelmorSocketHelper::SettingsJson();
    if (settings.empty()) return QByteArray();
    const std::string_view name = method ? std::string_view(method) : std::string_view();
    ChannelBodyWriter writer(
        ChannelKey(), ChannelIv(),
        params.ApproximateJsonLength() + paramsInfo.size() + settings.size() + name.size() + 24);
    const auto write = [&writer](std::string_view text) { return writer.Write(text.data(), text.size()); };
    bool ok = true;
    if (!method) {
        ok = write("{");
    } else if (IsPlainName(name)) {
        ok = write(R"({"method":")") && write(name) && write("\",");
    } else {
        // {"method":"…"} less its closing brace, then a comma.
        std::string member = XJson::MembersJson({{"method", name}});
        if (member.size() < 2) return QByteArray();
        member.back() = ',';
        ok = write(member);
    }
    ok = ok && write(R"("params":)");
    if (params.IsEmpty() && !params.IsArray()) {
        ok = ok && write("{}");  // no parameters (a null value) still sends "params":{}
    } else {
        const XJson none;
        const XJson& info = paramsInfo.empty() ? none : params.Member("info");
        ok = ok && params.Render([&writer](const char* piece,
                                           std::size_t length) { return writer.Write(piece, length); },
                                 info, paramsInfo);
    }
    if (!ok || !write(settings)) return QByteArray();
    return writer.Finish();
}
