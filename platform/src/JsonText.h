#pragma once

#include <boost/json/value.hpp>
#include <cstddef>
#include <functional>

// Compact JSON text of a value, byte for byte what boost::json::serialize writes, handed to sink in
// pieces. Strings, where nearly all the bytes of a large document are, are copied in runs between the
// characters that need escaping instead of one character at a time. False when sink stops it.
bool RenderJson(const boost::json::value& value, const std::function<bool(const char*, std::size_t)>& sink);

// Roughly the length of that text, from the sizes of its strings without reading them: enough to size
// a buffer for it once. Short of the truth only by the escapes the strings need.
std::size_t ApproximateJsonLength(const boost::json::value& value) noexcept;
