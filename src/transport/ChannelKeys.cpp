#include <pelmor/HalvexHTTP.h>

// Writable, as hosts have always found them; the library only reads them. The trailing NUL is not part
// of the key material (32 bytes of key, 16 of IV).
char _StaticAesKey[33] = "Zt4Kp9WmQ2xLr7VbN8cYh3JdF6gSa1Ue";
char _StaticAesIv[17] = "Mq7Ry2Lk9Pw4Tx6B";
