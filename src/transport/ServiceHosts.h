#pragma once

#include <string>

// Where requests go: "host" or "host:port". The build fixes the production hosts (CMake:
// PELMOR_SERVICE_HOST, PELMOR_COVERAGE_HOST); the environment variables of the same names, read once when
// the library is loaded, replace them, so that one installed build can be pointed at an emulator on any
// port. A value that is not of that form is ignored.
namespace ServiceHosts {

const std::string& Service() noexcept;
const std::string& Coverage() noexcept;

// The host a request uses: fromEnvironment when it is a plain "host[:port]", else compiled.
std::string Choose(const char* fromEnvironment, const char* compiled);

}  // namespace ServiceHosts
