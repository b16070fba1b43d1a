#pragma once

#include <string>
#include <vector>

// A blocking request from a test to a server of its own; certificates go unchecked and it gives up after
// 20 s. method "" sends a GET, or a POST when there is a body; a POST without a body goes out as
// curl -X POST sends it, with no Content-Length at all.
struct HttpAnswer {
    long status = 0;  // 0: no HTTP response
    std::string body;
};

HttpAnswer HttpRequest(const std::string& url, const std::vector<std::string>& headers,
                       const std::string* body, const std::string& method = "");
