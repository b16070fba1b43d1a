#include <pelmor/PelmorSocket.h>
#include <pelmor/platform/MemoryShortage.h>

#include <new>

#include "../enterprise/PelmorSocketEnterprise.h"
#include "../standard/PelmorSocketStandard.h"

// What the host last asked create for, even a value that names no edition. The service edition the
// live object uses is a separate setting (see PelmorSocketHelper.cpp).
PELMOR_SOCKET_API ENUM_PELMOR_SOCKET_EDITION _StaticSocketEdition = PELMOR_SOCKET_EDITION_STANDARD;
PELMOR_SOCKET_API PelmorSocketInterface* _StaticInterfaceSocket = nullptr;

bool _07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source,
                                           const XString& version) {
    _StaticSocketEdition = edition;
    if (edition != PELMOR_SOCKET_EDITION_STANDARD && edition != PELMOR_SOCKET_EDITION_ENTERPRISE)
        return _StaticInterfaceSocket != nullptr;
    const unsigned long long shortagesBefore = Pelmor::MemoryShortages();
    PelmorSocketInterface* created = nullptr;
    if (edition == PELMOR_SOCKET_EDITION_STANDARD)
        created = new (std::nothrow) PelmorSocketStandard(edition, source, version);
    else
        created = new (std::nothrow) PelmorSocketEnterprise(edition, source, version);
    if (created && Pelmor::MemoryShortages() != shortagesBefore) {
        // Storing the source or version ran out of memory: an object with the old settings is no success.
        delete created;
        created = nullptr;
    }
    // An earlier object is replaced, not destroyed: the host may still hold its pointer.
    _StaticInterfaceSocket = created;
    return _StaticInterfaceSocket != nullptr;
}

ENUM_PELMOR_SOCKET_EDITION _C85033D6_B71F_41CC_B878_9489F17BD26C() {
    return _StaticSocketEdition;
}

PelmorSocketInterface* _402FB360_0FB0_4ECD_B608_D2D254A998B7() {
    return _StaticInterfaceSocket;
}

void _3038522B_2CCC_469F_A114_481207ED3475() {
    if (_StaticInterfaceSocket) {
        delete _StaticInterfaceSocket;
        _StaticInterfaceSocket = nullptr;
    }
}
