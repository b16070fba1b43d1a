#pragma once

#include <boost/json/value.hpp>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>
#include <string_view>

using JsonSink = std::function<bool(const char*, std::size_t)>;

// Collects small writes into pieces for a sink; long runs go to the sink directly.
class JsonPieceWriter {
  public:
    explicit JsonPieceWriter(const JsonSink& sink) : sink_(sink) {}
    JsonPieceWriter(const JsonPieceWriter&) = delete;
    JsonPieceWriter& operator=(const JsonPieceWriter&) = delete;

    void Put(const char* text, std::size_t length) {
        if (!ok_) return;
        if (length > sizeof buffer_ / 2) {
            Flush();
            ok_ = ok_ && sink_(text, length);
            return;
        }
        if (used_ + length > sizeof buffer_) Flush();
        std::memcpy(buffer_ + used_, text, length);
        used_ += length;
    }
    // Single characters (quotes, commas, colons) are a third of all writes: no call of memcpy for them.
    void Put(char c) {
        if (used_ == sizeof buffer_) Flush();
        buffer_[used_++] = c;
    }

    bool Finish() {
        Flush();
        return ok_;
    }

  private:
    void Flush() {
        if (ok_ && used_ > 0) ok_ = sink_(buffer_, used_);
        used_ = 0;
    }

    const JsonSink& sink_;
    char buffer_[16 * 1024];
    std::size_t used_ = 0;
    bool ok_ = true;
};

// A JSON string of text, escaped as RenderJson escapes: invalid UTF-8 becomes U+FFFD, a check skipped when
// the caller knows the text is valid.
void WriteJsonString(JsonPieceWriter& out, std::string_view text, bool knownValid);
void WriteJsonInteger(JsonPieceWriter& out, long long number);

// The JSON library reads 1e400 as infinity and can make NaN of others; neither is a JSON number, so they are
// read (and rendered) as the nearest finite value: the largest double of the sign, and 0.
inline double FiniteDouble(double value) {
    if (std::isnan(value)) return 0.0;
    if (std::isinf(value))
        return value > 0 ? std::numeric_limits<double>::max() : std::numeric_limits<double>::lowest();
    return value;
}

// Compact JSON text of a value, byte for byte what boost::json::serialize writes, handed to sink in
// pieces. What it writes is always valid JSON: invalid UTF-8 in a string or key becomes U+FFFD (keys that
// then coincide are one member) and a number that is not finite is written as FiniteDouble makes it. Strings,
// where nearly all the bytes of a large document are, are copied in runs between the characters that need
// escaping instead of one character at a time. False when sink stops it.
bool RenderJson(const boost::json::value& value, const JsonSink& sink);
// The same with verbatimText, JSON text, written as it stands in place of the value at verbatimAt (a value
// inside value, found by its address; not looked for inside an object whose keys need mending).
bool RenderJson(const boost::json::value& value, const JsonSink& sink, const boost::json::value* verbatimAt,
                std::string_view verbatimText);

// Roughly the length of that text, from the sizes of its strings without reading them: enough to size
// a buffer for it once. Short of the truth only by the escapes the strings need.
std::size_t ApproximateJsonLength(const boost::json::value& value) noexcept;
