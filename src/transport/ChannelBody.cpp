#include "ChannelBody.h"

#include <climits>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t kPiece = 48 * 1024;
// A small request's text passes in one piece of about its own size, not in a buffer made for 8 MiB files.
constexpr std::size_t kSmallestPiece = 1024;
constexpr char kEnvelopeStart[] = R"({"En":1,"data":")";
constexpr char kEnvelopeEnd[] = R"("})";

// The body's length for a text of the given length: two Base64 layers around the padded cipher text.
std::size_t BodyLength(std::size_t textLength) {
    const std::size_t cipher = textLength / 16 * 16 + 16;
    const std::size_t envelope = (cipher + 2) / 3 * 4 + sizeof kEnvelopeStart + sizeof kEnvelopeEnd;
    return (envelope + 2) / 3 * 4;
}

}  // namespace

ChannelBodyWriter::ChannelBodyWriter(const unsigned char* key, const unsigned char* iv,
                                     std::size_t textLength) noexcept
    : cipher_(key, iv) {
    try {
        // A little over, for the escapes the estimate leaves out; should it still fall short, the body grows.
        const std::size_t room = BodyLength(textLength + textLength / 64) + 64;
        if (room < static_cast<std::size_t>(INT_MAX)) body_.reserve(static_cast<int>(room));
        piece_ = textLength < kSmallestPiece ? kSmallestPiece : textLength < kPiece ? textLength : kPiece;
        const std::size_t cipherRoom = XCrypt::AES::CBC::Encryptor::OutputRoom(piece_);
        cipherPiece_.reset(new (std::nothrow) char[cipherRoom]);
        innerPiece_.reset(new (std::nothrow) char[XCrypt::BASE64::Encoder::OutputRoom(cipherRoom)]);
        ok_ = cipherPiece_ && innerPiece_ && PutEnvelope(kEnvelopeStart, sizeof kEnvelopeStart - 1);
    } catch (...) {
        ok_ = false;
    }
}

bool ChannelBodyWriter::Write(const char* text, std::size_t length) noexcept {
    try {
        while (ok_ && length > 0) {
            const std::size_t piece = length < piece_ ? length : piece_;
            std::size_t written = 0;
            ok_ = cipher_.Update(text, piece, cipherPiece_.get(), written) &&
                  PutCipher(cipherPiece_.get(), written);
            text += piece;
            length -= piece;
        }
    } catch (...) {
        ok_ = false;
    }
    return ok_;
}

QByteArray ChannelBodyWriter::Finish() noexcept {
    try {
        std::size_t written = 0;
        ok_ = ok_ && cipher_.Finish(cipherPiece_.get(), written) && PutCipher(cipherPiece_.get(), written);
        if (ok_) {
            written = inner_.Finish(innerPiece_.get());
            ok_ =
                PutEnvelope(innerPiece_.get(), written) && PutEnvelope(kEnvelopeEnd, sizeof kEnvelopeEnd - 1);
        }
        if (ok_) {
            char tail[4];
            const std::size_t count = outer_.Finish(tail);
            body_.append(tail, static_cast<int>(count));
            return body_;
        }
    } catch (...) {
    }
    ok_ = false;
    return QByteArray();
}

QByteArray ChannelBodyOf(const char* text, std::size_t length) noexcept {
    if (length > kSmallChannelText) {
        ChannelBodyWriter writer(ChannelKey(), ChannelIv(), length);
        return writer.Write(text, length) ? writer.Finish() : QByteArray();
    }
    char cipher[XCrypt::AES::CBC::Encryptor::OutputRoom(kSmallChannelText)];
    std::size_t cipherLength = 0;
    if (!XCrypt::AES::CBC::EncryptInto(ChannelKey(), ChannelIv(), text, length, cipher, cipherLength))
        return QByteArray();
    constexpr std::size_t kStart = sizeof kEnvelopeStart - 1;
    constexpr std::size_t kEnd = sizeof kEnvelopeEnd - 1;
    char envelope[kStart + XCrypt::BASE64::Encoder::OutputRoom(sizeof cipher) + kEnd];
    std::memcpy(envelope, kEnvelopeStart, kStart);
    XCrypt::BASE64::Encoder inner;
    std::size_t used = kStart + inner.Update(cipher, cipherLength, envelope + kStart);
    used += inner.Finish(envelope + used);
    std::memcpy(envelope + used, kEnvelopeEnd, kEnd);
    used += kEnd;
    try {
        QByteArray body(static_cast<int>(XCrypt::BASE64::Encoder::OutputRoom(used)), Qt::Uninitialized);
        XCrypt::BASE64::Encoder outer;
        std::size_t written = outer.Update(envelope, used, body.data());
        written += outer.Finish(body.data() + written);
        body.truncate(static_cast<int>(written));
        return body;
    } catch (...) {
        return QByteArray();
    }
}

bool ChannelBodyWriter::PutCipher(const char* cipher, std::size_t length) {
    const std::size_t written = inner_.Update(cipher, length, innerPiece_.get());
    return PutEnvelope(innerPiece_.get(), written);
}

// Envelope text goes through the outer encoder straight into the body.
bool ChannelBodyWriter::PutEnvelope(const char* text, std::size_t length) {
    const std::size_t room = XCrypt::BASE64::Encoder::OutputRoom(length);
    const auto size = static_cast<std::size_t>(body_.size());
    // QByteArray sizes are int.
    if (room > static_cast<std::size_t>(INT_MAX) - size) return false;
    body_.resize(static_cast<int>(size + room));
    const std::size_t written = outer_.Update(text, length, body_.data() + size);
    body_.resize(static_cast<int>(size + written));
    return true;
}
