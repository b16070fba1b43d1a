// The coverage-site client's handling of a response: the write callback fed the bytes in blocks of sizes
// the input chooses, then the cookie text and the CSRF token cut from what was collected.
#include <cstring>
#include <string>

#include "FuzzSupport.h"
#include "transport/HalvexCurl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    // First byte: the block size; a block of 0 is fed as 1.
    const size_t block = data[0] ? data[0] : 1;
    const char* bytes = reinterpret_cast<const char*>(data) + 1;
    const size_t length = size - 1;

    HalvexCurl curl;
    size_t expected = 0;
    for (size_t at = 0; at < length; at += block) {
        const size_t count = std::min(block, length - at);
        // libcurl's blocks are not terminated: hand over a copy with nothing after it.
        std::string piece(bytes + at, count);
        const size_t taken = HalvexCurl::CallBack_HTTP(piece.data(), 1, count, &curl);
        if (taken != count) __builtin_trap();
        expected += strnlen(piece.data(), count);
    }
    const std::string& response = curl.Response();
    if (response.size() != expected) __builtin_trap();
    if (response.find('\0') != std::string::npos) __builtin_trap();

    const std::string cookie = CookieTextOf(response);
    // The cookie is sent as one header: no line break may survive into it.
    if (cookie.find_first_of("\r\n") != std::string::npos) __builtin_trap();
    const std::string token = CsrfTokenOf(response);
    if (token.find('"') != std::string::npos) __builtin_trap();
    if (!token.empty() && response.find("csrfToken: \"" + token + "\"") == std::string::npos)
        __builtin_trap();
    fuzz_support::Touch(cookie);
    return 0;
}
