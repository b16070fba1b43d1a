#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

// The service's wire format, written independently of the library's own crypto and JSON code so that
// the two sides check each other:
//   body = Base64( {"En":1,"data": Base64( AES-256-CBC/PKCS#7( document text ) )} )
// with one fixed key and IV for both directions.
namespace pelmor::emulator::codec {

inline constexpr std::string_view kAesKey = "Zt4Kp9WmQ2xLr7VbN8cYh3JdF6gSa1Ue";
inline constexpr std::string_view kAesIv = "Mq7Ry2Lk9Pw4Tx6B";

// Standard alphabet with '=' padding, no line breaks.
std::string base64_encode(std::string_view bytes);

// Strict: rejects characters outside the alphabet, whitespace, missing or misplaced padding and
// non-zero bits after the last full byte, so a sloppy encoder on the other side shows up.
std::optional<std::string> base64_decode(std::string_view text);

std::string aes_encrypt(std::string_view plaintext);

// Empty when the length is not a multiple of the block size or the padding is wrong.
std::optional<std::string> aes_decrypt(std::string_view ciphertext);

// Wraps a plaintext into a complete body.
std::string seal(std::string_view plaintext);

struct Opened {
    std::string plaintext;
    std::string error;  // empty on success; says which layer failed
    bool ok() const { return error.empty(); }
};

// Undoes seal(). Requires the envelope to be a JSON object with "En" 1 and a string "data".
Opened open(std::string_view body);

struct Decoded {
    nlohmann::ordered_json document;  // null unless decoding worked
    std::string error;
    bool ok() const { return error.empty(); }
};

// open() followed by parsing the plaintext as JSON. Member order is kept as received.
Decoded decode_document(std::string_view body);

// Compact rendering; invalid UTF-8 in strings is replaced rather than thrown on.
std::string render(const nlohmann::ordered_json& value);

inline std::string encode_document(const nlohmann::ordered_json& document) {
    return seal(render(document));
}

}  // namespace pelmor::emulator::codec
