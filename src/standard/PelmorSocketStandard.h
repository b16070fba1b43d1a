#pragma once

#include "../frame/PelmorSocketHelper.h"

// The standard edition of the service.
class PelmorSocketStandard : public PelmorSocketHelper {
public:
    PelmorSocketStandard(ENUM_PELMOR_SOCKET_EDITION edition, const XString& source, const XString& version);
    ~PelmorSocketStandard() override;
};
