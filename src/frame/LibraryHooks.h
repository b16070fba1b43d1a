#pragma once

#define PELMOR_SOCKET_HOOK __attribute__((visibility("default")))

// Run by the loader, never by the host: the load hook once the settings exist, the unload hook when the
// library is unloaded or the process ends.
extern "C" PELMOR_SOCKET_HOOK void Halvex_Dynamic_Library_Init();
extern "C" PELMOR_SOCKET_HOOK void Halvex_Dynamic_Library_Fini();
