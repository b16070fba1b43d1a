#pragma once

// Host names are fixed when the library is built (CMake: PELMOR_SERVICE_HOST, PELMOR_COVERAGE_HOST), as
// narrow string literals of the form "host" or "host:port".
#ifndef PELMOR_SERVICE_HOST
#error "PELMOR_SERVICE_HOST must be defined by the build"
#endif
#ifndef PELMOR_COVERAGE_HOST
#error "PELMOR_COVERAGE_HOST must be defined by the build"
#endif
