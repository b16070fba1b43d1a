#include "pelmor/platform/XSystem.h"

#include <sys/utsname.h>

namespace XSystem {

XString NativeString() {
    struct utsname names {};
    if (uname(&names) != 0) return XString();
    return XString::FromUtf8(std::string(names.sysname) + " " + names.release);
}

}  // namespace XSystem

namespace XApple {

// No platform we build for ships the program; hosts on one that does supply their own core library.
XString ITunesVersionString() {
    return XString();
}

}  // namespace XApple
