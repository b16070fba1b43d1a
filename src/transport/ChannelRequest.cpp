#include "ChannelRequest.h"

#include <cstring>
#include <functional>
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

using TextSink = std::function<bool(const char*, std::size_t)>;

// Writes the request's text to sink, in pieces: {"method":"…","params": then the params, then the
// settings (which end the document).
bool WriteRequestText(const char* method, const XJson& params, std::string_view paramsInfo,
                      std::string_view settings, const TextSink& sink) {
    const auto write = [&sink](std::string_view text) { return sink(text.data(), text.size()); };
    const std::string_view name = method ? std::string_view(method) : std::string_view();
    bool ok = true;
    if (!method) {
        ok = write("{");
    } else if (IsPlainName(name)) {
        ok = write(R"({"method":")") && write(name) && write("\",");
    } else {
        // {"method":"…"} less its closing brace, then a comma.
        std::string member = XJson::MembersJson({{"method", name}});
        if (member.size() < 2) return false;
        member.back() = ',';
        ok = write(member);
    }
    ok = ok && write(R"("params":)");
    if (params.IsEmpty() && !params.IsArray()) {
        ok = ok && write("{}");  // no parameters (a null value) still sends "params":{}
    } else {
        const XJson none;
        const XJson& info = paramsInfo.empty() ? none : params.Member("info");
        ok = ok && params.Render(sink, info, paramsInfo);
    }
    return ok && write(settings);
}

// Room on the stack for a small request's text; Put fails once it would overflow.
class SmallText {
  public:
    bool Put(const char* piece, std::size_t length) {
        if (length > sizeof text_ - used_) return false;
        std::memcpy(text_ + used_, piece, length);
        used_ += length;
        return true;
    }
    const char* Data() const { return text_; }
    std::size_t Size() const { return used_; }

  private:
    char text_[kSmallChannelText];
    std::size_t used_ = 0;
};

}  // namespace

QByteArray ChannelRequestBody(const char* method, const XJson& params, std::string_view paramsInfo) {
    const std::string_view settings = PelmorSocketHelper::SettingsJson();
    if (settings.empty()) return QByteArray();
    const std::size_t estimate = params.ApproximateJsonLength() + paramsInfo.size() + settings.size() +
                                 (method ? std::strlen(method) : 0) + 24;
    // Most requests are a few hundred bytes: written on the stack and made into a body in one go. One
    // that turns out longer than its estimate is written again, streamed.
    if (estimate <= kSmallChannelText / 2) {
        SmallText text;
        if (WriteRequestText(
                method, params, paramsInfo, settings,
                [&text](const char* piece, std::size_t length) { return text.Put(piece, length); }))
            return ChannelBodyOf(text.Data(), text.Size());
    }
    ChannelBodyWriter writer(ChannelKey(), ChannelIv(), estimate);
    if (!WriteRequestText(
            method, params, paramsInfo, settings,
            [&writer](const char* piece, std::size_t length) { return writer.Write(piece, length); }))
        return QByteArray();
    return writer.Finish();
}
