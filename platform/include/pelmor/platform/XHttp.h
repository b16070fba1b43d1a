#pragma once

#include <QByteArray>
#include <functional>

#include "Export.h"
#include "NetworkTimeouts.h"
#include "XString.h"

namespace XHttp {

// Limits of every POST; fixed so that no call can hang or grow without bound.
constexpr long kConnectTimeoutSeconds = NetworkTimeouts::kConnectSeconds;
constexpr long kRequestTimeoutSeconds = NetworkTimeouts::kChannelTotalSeconds;
constexpr long long kMaxResponseBytes = 64LL * 1024 * 1024;

// Blocking HTTP POST of body with "Content-Type: text/plain". Calls callback with the response body
// (empty on failure) before it returns, then returns the HTTP status, or 0 when no complete response
// came (no connection, time-out, a response over kMaxResponseBytes). Redirects are not followed.
// Each thread keeps one connection handle, so consecutive calls reuse the connection.
PELMOR_PLATFORM_API int POST(const XString& url, const QByteArray& body,
                             std::function<void(QByteArray)> callback);

}  // namespace XHttp
