#pragma once

// Every time-out of the library's requests, in one place. A build configured with PELMOR_TEST_TIMEOUTS
// compiles short values so that tests of hanging servers finish in seconds; shipped builds never set it.
namespace NetworkTimeouts {

#ifndef PELMOR_TEST_TIMEOUTS
// Every request: how long to wait for the connection.
constexpr long kConnectSeconds = 10;
// The encrypted channel: the whole exchange.
constexpr long kChannelTotalSeconds = 30;
// The plain POST helper and the coverage-site form POST keep their own pair.
constexpr long kPlainPostConnectSeconds = 30;
constexpr long kPlainPostTotalSeconds = 30;
// The GET family has no total limit (a host may fetch large files with it) but gives up when fewer than
// kStallBytesPerSecond arrive per second for kStallSeconds.
constexpr long kStallBytesPerSecond = 1;
constexpr long kStallSeconds = 30;
#else
constexpr long kConnectSeconds = 2;
constexpr long kChannelTotalSeconds = 3;
constexpr long kPlainPostConnectSeconds = 2;
constexpr long kPlainPostTotalSeconds = 3;
// A floor above the tests' one-byte-a-second drip, so that the drip counts as a stall without waiting
// on timing that sits exactly at the limit.
constexpr long kStallBytesPerSecond = 8;
constexpr long kStallSeconds = 2;
#endif

}  // namespace NetworkTimeouts
