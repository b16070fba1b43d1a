// Links the installed library by name and checks that the settings reach the service object.
#include <pelmor/PelmorSocket.h>

#include <cstdio>

int main() {
    if (!_07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(ENUM_PELMOR_SOCKET_EDITION(0), XString(L"Consumer"),
                                               XString(L"1.2.3"))) {
        std::puts("create failed");
        return 1;
    }
    PelmorSocketInterface* socket = _402FB360_0FB0_4ECD_B608_D2D254A998B7();
    if (!socket || _C85033D6_B71F_41CC_B878_9489F17BD26C() != ENUM_PELMOR_SOCKET_EDITION(0)) {
        std::puts("no standard service object");
        return 1;
    }
    socket->SetToken(XString(L"consumer-token"));
    const bool tokenKept = socket->GetToken() == XString(L"consumer-token");
    _3038522B_2CCC_469F_A114_481207ED3475();
    if (!tokenKept || _402FB360_0FB0_4ECD_B608_D2D254A998B7() != nullptr) {
        std::puts("token or destroy misbehaved");
        return 1;
    }
    std::puts("consumer ok");
    return 0;
}
