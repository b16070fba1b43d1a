// Which host a request goes to when the environment names one: only a plain host[:port] may replace the
// compiled host, since the text lands in URLs and in a Host header line.
#include <gtest/gtest.h>

#include <string>

#include "transport/ServiceHosts.h"

namespace {

const char kCompiled[] = "service.example.com";

TEST(ServiceHosts, PlainHostsFromTheEnvironmentReplaceTheCompiledOne) {
    for (const char* host : {"127.0.0.1:40123", "emulator", "svc-2.internal_lan:8080", "[::1]:18090"})
        EXPECT_EQ(ServiceHosts::Choose(host, kCompiled), host);
}

TEST(ServiceHosts, AnythingMoreThanAHostKeepsTheCompiledOne) {
    const std::string tooLong(256, 'a');
    for (const char* value : {"", "http://127.0.0.1:1", "host/path", "host?x=1", "two words",
                              "host\r\nX-Evil: 1", "user@host", tooLong.c_str()})
        EXPECT_EQ(ServiceHosts::Choose(value, kCompiled), kCompiled) << value;
    EXPECT_EQ(ServiceHosts::Choose(nullptr, kCompiled), kCompiled);
}

}  // namespace
