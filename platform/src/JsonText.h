#pragma once

#include <boost/json/value.hpp>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>

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
bool RenderJson(const boost::json::value& value, const std::function<bool(const char*, std::size_t)>& sink);

// Roughly the length of that text, from the sizes of its strings without reading them: enough to size
// a buffer for it once. Short of the truth only by the escapes the strings need.
std::size_t ApproximateJsonLength(const boost::json::value& value) noexcept;
