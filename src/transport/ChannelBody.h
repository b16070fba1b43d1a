#pragma once

#include <pelmor/HalvexHTTP.h>
#include <pelmor/platform/XCrypt.h>

#include <QByteArray>
#include <cstddef>
#include <memory>

// The channel's key and IV, as the cipher takes them.
inline const unsigned char* ChannelKey() {
    return reinterpret_cast<const unsigned char*>(_StaticAesKey);
}
inline const unsigned char* ChannelIv() {
    return reinterpret_cast<const unsigned char*>(_StaticAesIv);
}

// The body for a whole text at once. A small text's layers are made on the stack, so that the body itself
// is the only allocation; a larger one goes through ChannelBodyWriter. Empty on failure.
QByteArray ChannelBodyOf(const char* text, std::size_t length) noexcept;
// Texts up to this long take ChannelBodyOf's small way.
constexpr std::size_t kSmallChannelText = 2048;

// The encrypted channel's request body, Base64 of {"En":1,"data":"<Base64 of AES-256-CBC of the text>"},
// written while the document's text arrives in pieces. Only the body itself is ever held whole: the
// text, the cipher text and the envelope pass through buffers the size of one piece.
class ChannelBodyWriter {
  public:
    // textLength: about how long the text will be, so that the body is sized once.
    ChannelBodyWriter(const unsigned char* key, const unsigned char* iv, std::size_t textLength) noexcept;

    // The next piece of the document's text; false once anything has failed.
    bool Write(const char* text, std::size_t length) noexcept;
    // The whole body; empty when anything failed.
    QByteArray Finish() noexcept;

  private:
    bool PutCipher(const char* cipher, std::size_t length);
    bool PutEnvelope(const char* text, std::size_t length);

    XCrypt::AES::CBC::Encryptor cipher_;
    XCrypt::BASE64::Encoder inner_;
    XCrypt::BASE64::Encoder outer_;
    // Scratch for one piece; never zero-filled, since every byte read back has been written first.
    std::size_t piece_ = 0;
    std::unique_ptr<char[]> cipherPiece_;
    std::unique_ptr<char[]> innerPiece_;
    QByteArray body_;
    bool ok_ = true;
};
