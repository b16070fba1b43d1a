#include "PelmorSocketStandard.h"

PelmorSocketStandard::PelmorSocketStandard(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source,
                                           const XString& version) {
    Initialize(edition, source, version);
}

PelmorSocketStandard::~PelmorSocketStandard() = default;
