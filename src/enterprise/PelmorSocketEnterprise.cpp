#include "PelmorSocketEnterprise.h"

PelmorSocketEnterprise::PelmorSocketEnterprise(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source,
                                               const XString& version) {
    Initialize(edition, source, version);
}

PelmorSocketEnterprise::~PelmorSocketEnterprise() = default;
