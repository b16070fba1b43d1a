#pragma once

#include "../frame/PelmorSocketHelper.h"

// The enterprise edition of the service.
class PelmorSocketEnterprise : public PelmorSocketHelper {
public:
    PelmorSocketEnterprise(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source, const XString& version);
    ~PelmorSocketEnterprise() override;
};
