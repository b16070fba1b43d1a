// XJson::AddMembers: an object of many members built in one go instead of one insertion at a time; and
// XJson::MembersJson, the text of such an object written without building it.
#include <boost/json/value_stack.hpp>
#include <string>
#include <string_view>

#include "JsonText.h"
#include "Utf8Encoding.h"
#include "XJsonValue.h"
#include "pelmor/platform/MemoryShortage.h"
#include "pelmor/platform/XJson.h"

namespace json = boost::json;

namespace {

// Room on the stack for the builder's own work, enough for a device description.
constexpr std::size_t kBuildRoom = 4096;
// Wide texts up to this many bytes of UTF-8 are encoded on the stack.
constexpr std::size_t kTextRoom = 256;

// Short ASCII, every key of a device description, told without a call of the general check.
bool IsShortAscii(std::string_view text) {
    if (text.size() > 32) return false;
    unsigned bits = 0;
    for (const char c : text)
        bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

// UTF-8 that may be invalid, handed on mended: valid text, by far the usual case, as it is.
template <typename Push>
void PushUtf8(std::string_view text, const Push& push) {
    if (IsShortAscii(text) || IsValidUtf8(text.data(), text.size()))
        return push(json::string_view(text.data(), text.size()));
    const std::string mended = SanitizeUtf8(std::string(text));
    push(json::string_view(mended.data(), mended.size()));
}

// Wide text handed on as UTF-8, which the encoding makes valid.
template <typename Push>
void PushWide(const XString& text, const Push& push) {
    const std::size_t bytes = Utf8::Length(text.data(), text.size());
    if (bytes <= kTextRoom) {
        char room[kTextRoom];
        Utf8::Encode(room, text.data(), text.size(), bytes);
        return push(std::string_view(room, bytes));
    }
    std::string encoded(bytes, '\0');
    Utf8::Encode(&encoded[0], text.data(), text.size(), bytes);
    push(std::string_view(encoded));
}

}  // namespace

void XJson::AddMembers(std::initializer_list<XJsonMember> members) noexcept {
    try {
        json::value& target = JsonValue(*this);
        // Built where the value lives, so that taking it over moves it rather than copying it.
        unsigned char room[kBuildRoom];
        json::value_stack stack(json::storage_ptr(), room, sizeof room);
        stack.reset(target.storage());
        for (const XJsonMember& member : members) {
            PushUtf8(member.key_, [&stack](json::string_view key) { stack.push_key(key); });
            switch (member.kind_) {
                case XJsonMember::Kind::kWide:
                    PushWide(*member.wide_, [&stack](std::string_view text) {
                        stack.push_string(json::string_view(text.data(), text.size()));
                    });
                    break;
                case XJsonMember::Kind::kUtf8:
                    PushUtf8(member.utf8_, [&stack](json::string_view text) { stack.push_string(text); });
                    break;
                case XJsonMember::Kind::kInteger:
                    stack.push_int64(member.number_);
                    break;
            }
        }
        // A key given twice keeps its first place and takes the last value, as with Add.
        stack.push_object(members.size());
        json::value built = stack.release();
        if (!target.is_object() || target.get_object().empty()) {
            target = std::move(built);
            return;
        }
        // Added to members already there: merged in a copy, so that running out of memory adds nothing.
        json::object merged(target.get_object(), target.storage());
        merged.reserve(merged.size() + built.get_object().size());
        for (json::key_value_pair& member : built.get_object())
            merged.insert_or_assign(member.key(), std::move(member.value()));
        target.get_object().swap(merged);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

std::string XJson::MembersJson(std::initializer_list<XJsonMember> members) noexcept {
    try {
        std::string text;
        const JsonSink sink = [&text](const char* piece, std::size_t length) {
            text.append(piece, length);
            return true;
        };
        JsonPieceWriter out(sink);
        out.Put('{');
        bool first = true;
        for (const XJsonMember& member : members) {
            if (!first) out.Put(',');
            first = false;
            // Keys and narrow texts are mended as they are written, as rendering a built object mends them.
            WriteJsonString(out, member.key_, false);
            out.Put(':');
            switch (member.kind_) {
                case XJsonMember::Kind::kWide:
                    PushWide(*member.wide_,
                             [&out](std::string_view utf8) { WriteJsonString(out, utf8, true); });
                    break;
                case XJsonMember::Kind::kUtf8:
                    WriteJsonString(out, member.utf8_, false);
                    break;
                case XJsonMember::Kind::kInteger:
                    WriteJsonInteger(out, member.number_);
                    break;
            }
        }
        out.Put('}');
        if (out.Finish()) return text;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
    return std::string();
}
