#include <pelmor/HalvexReply.h>
#include <pelmor/platform/MemoryShortage.h>
#include <pelmor/platform/PlatformString.h>

#include <new>
#include <utility>

#include <cstddef>
#include <iterator>

namespace {

struct LocalFailure {
    const wchar_t* name;
    const wchar_t* message;
};

// Names and user-facing messages of the library's own codes 1 to 5.
constexpr LocalFailure kLocalFailures[] = {
    {L"HALVEX_REPLY_INVALID_ARG", L"无效的参数"},
    {L"HALVEX_REPLY_ENCRYPT_ERROR", L"数据加密失败"},
    {L"HALVEX_REPLY_CONNECT_ERROR", L"服务器正在维护"},
    {L"HALVEX_REPLY_DECRYPT_ERROR", L"数据解密失败"},
    {L"HALVEX_REPLY_HTTP_ERROR", L"服务器连接失败，可能服务正在维护或网络异常，请稍后再试！"},
};

// Shown when the error name is empty. It writes "稍候" where the code-5 text writes "稍后": both are kept.
constexpr const wchar_t kFallbackMessage[] = L"未知错误，请稍候重试";

QString Wide(const wchar_t* text) {
    return Platform::String::WQ(XString(text));
}

// Every reply starts at code 1 and every success reads the fallback: convert those texts once, then
// share them (QString copies are reference-counted).
struct LocalTexts {
    QString names[std::size(kLocalFailures)];
    QString messages[std::size(kLocalFailures)];
    QString fallback = Wide(kFallbackMessage);

    LocalTexts() {
        const unsigned long long shortagesBefore = Pelmor::MemoryShortages();
        for (std::size_t i = 0; i < std::size(kLocalFailures); ++i) {
            names[i] = Wide(kLocalFailures[i].name);
            messages[i] = Wide(kLocalFailures[i].message);
        }
        // Texts left empty by a shortage must not stay for the life of the process: throwing leaves the
        // static unmade, and the next reply tries again.
        if (Pelmor::MemoryShortages() != shortagesBefore || fallback.isEmpty()) throw std::bad_alloc();
    }
};

const LocalTexts& Texts() {
    static const LocalTexts texts;
    return texts;
}

}  // namespace

HalvexReply::HalvexReply() {
    Update(HALVEX_REPLY_INVALID_ARG);
}

HalvexReply::HalvexReply(XJson& reply) {
    Update(reply);
}

// A text that does not parse leaves the fields as constructed: code 1, no texts, time stamp 0.
HalvexReply::HalvexReply(std::string text) {
    XJson parsed;
    if (parsed.Parse(text)) Update(parsed);
}

HalvexReply::~HalvexReply() = default;

void HalvexReply::Release() {
    delete this;
}

bool HalvexReply::IsSuccess() const {
    return code_ == HALVEX_REPLY_SUCCESS;
}

QString HalvexReply::Token() const {
    return token_;
}

int HalvexReply::Code() const {
    return code_;
}

QString HalvexReply::Error() const {
    return error_;
}

QString HalvexReply::Message() const {
    try {
        return error_.isEmpty() ? Texts().fallback : message_;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return QString();
    }
}

long long HalvexReply::Timestamp() const {
    return timestamp_;
}

void HalvexReply::Update(int code) {
    code_ = code;
    if (code >= HALVEX_REPLY_INVALID_ARG && code <= HALVEX_REPLY_HTTP_ERROR) {
        const std::size_t index = static_cast<std::size_t>(code - HALVEX_REPLY_INVALID_ARG);
        try {
            const LocalTexts& texts = Texts();
            error_ = texts.names[index];
            message_ = texts.messages[index];
        } catch (...) {
            Pelmor::NoteMemoryShortage();
            // Out of memory: the code alone still tells the failure.
        }
    }
}

void HalvexReply::Update(XJson& reply) {
    // Everything is read first and the fields change only when all of it was read, so that running out of
    // memory leaves the reply as it was instead of a success with half its texts.
    const unsigned long long shortagesBefore = Pelmor::MemoryShortages();
    try {
        QString token = Platform::String::WQ(reply.ToXString("token"));
        const int code = reply.ToInt("code");
        QString error = Platform::String::WQ(reply.ToXString("error"));
        QString message = Platform::String::WQ(reply.ToXString("msg"));
        const long long timestamp = reply.ToInt64("timestamp");
        // Moved, not copied: the document is the channel's own, and the data may be most of a large reply.
        XJson data = reply.Take("data");
        if (Pelmor::MemoryShortages() != shortagesBefore) return;
        token_.swap(token);
        code_ = code;
        error_.swap(error);
        message_.swap(message);
        timestamp_ = timestamp;
        data_ = std::move(data);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

XJson& HalvexReply::Data() {
    return data_;
}
