#pragma once

#include <cstdint>

// Which edition of the service an object talks to. Its name and 32-bit size are part of the exported
// symbols a host binds.
enum ENUM_PELMOR_SOCKET_EDITION : std::int32_t {
    PELMOR_SOCKET_EDITION_STANDARD = 0,
    PELMOR_SOCKET_EDITION_ENTERPRISE = 1,
};
