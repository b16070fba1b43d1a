#pragma once

// Marks what libPelmorSocket exports to hosts; everything else is hidden.
#define PELMOR_SOCKET_API __attribute__((visibility("default")))
