#pragma once

// The library's entry points. A host that loads the library at run time binds them with dlsym() by the
// symbols below; a host that links the library may call them by name.

#include <pelmor/HalvexReply.h>
#include <pelmor/PelmorSocketEdition.h>
#include <pelmor/PelmorSocketInterface.h>
#include <pelmor/platform/XString.h>

#include <QByteArray>
#include <functional>

#include <pelmor/Export.h>

// Creates the one service object of the process for edition 0 (standard) or 1 (enterprise), storing
// source and version in the process-wide settings. Any other edition creates nothing and reports whether
// an object made earlier exists. A second create replaces the instance without destroying the first.
PELMOR_SOCKET_API bool _07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(ENUM_PELMOR_SOCKET_EDITION edition,
                                                             const XString& source, const XString& version);
// The edition the host last asked create for, whatever its value.
PELMOR_SOCKET_API ENUM_PELMOR_SOCKET_EDITION _C85033D6_B71F_41CC_B878_9489F17BD26C();
// The live service object, or null.
PELMOR_SOCKET_API PelmorSocketInterface* _402FB360_0FB0_4ECD_B608_D2D254A998B7();
// Destroys the live service object; the settings keep their values.
PELMOR_SOCKET_API void _3038522B_2CCC_469F_A114_481207ED3475();
// Fetches the service's client configuration and hands its data, as JSON text, to callback. The host owns
// the returned reply (Release()); it is null only when memory ran out.
PELMOR_SOCKET_API HalvexReply* _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D(
    std::function<void(const QByteArray&)> callback);

// Linker symbols of the exports, for dlsym().
namespace PelmorSocketSymbols {
constexpr const char kCreate[] =
    "_Z37_07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F26ENUM_PELMOR_SOCKET_EDITIONRK7XStringS2_";
constexpr const char kEdition[] = "_Z37_C85033D6_B71F_41CC_B878_9489F17BD26Cv";
constexpr const char kInstance[] = "_Z37_402FB360_0FB0_4ECD_B608_D2D254A998B7v";
constexpr const char kDestroy[] = "_Z37_3038522B_2CCC_469F_A114_481207ED3475v";
constexpr const char kFetchConfig[] =
    "_Z37_7374312F_0CF9_4A1A_B7C5_2B98C48CA64DSt8functionIFvRK10QByteArrayEE";
}  // namespace PelmorSocketSymbols

// Signatures of the exports as bound with dlsym().
using PelmorCreateFunction = bool (*)(ENUM_PELMOR_SOCKET_EDITION, const XString&, const XString&);
using PelmorEditionFunction = ENUM_PELMOR_SOCKET_EDITION (*)();
using PelmorInstanceFunction = PelmorSocketInterface* (*)();
using PelmorDestroyFunction = void (*)();
using PelmorFetchConfigFunction = HalvexReply* (*)(std::function<void(const QByteArray&)>);
