#include "LibraryHooks.h"

#include <curl/curl.h>
#include <pelmor/platform/XStream.h>

void Halvex_Dynamic_Library_Init() {
    XStream::Info("%s", "Halvex_Dynamic_Library_Init");
    curl_global_init(CURL_GLOBAL_ALL);
}

void Halvex_Dynamic_Library_Fini() {
    XStream::Info("%s", "Halvex_Dynamic_Library_Fini");
    curl_global_cleanup();
}
