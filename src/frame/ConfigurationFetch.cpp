#include <pelmor/HalvexHTTP.h>
#include <pelmor/PelmorSocket.h>

#include <QByteArray>
#include <string>

#include "frame/ServiceCall.h"

HalvexReply* _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D(std::function<void(const QByteArray&)> callback) {
    return ServiceCall::Standard(
        "client.config", static_cast<bool>(callback), [] { return XJson(); },
        [&](HalvexReply& reply) {
            // The service's code is not checked: a refusal still hands over whatever data it carried.
            const std::string text = reply.Data().ToJson();
            const QByteArray configuration(text.data(), static_cast<int>(text.size()));
            ServiceCall::Deliver(callback, configuration);
        });
}
