#include <pelmor/HalvexHTTP.h>
#include <pelmor/PelmorSocket.h>

#include <QByteArray>
#include <cstddef>

#include "frame/ServiceCall.h"

HalvexReply* _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D(std::function<void(const QByteArray&)> callback) {
    // The data's text as the reply carried it, when that is what rendering it gives.
    QByteArray asReceived;
    return ServiceCall::Standard(
        "client.config", static_cast<bool>(callback), [] { return XJson(); },
        [&](HalvexReply& reply) {
            // The service's code is not checked: a refusal still hands over whatever data it carried.
            // Otherwise rendered straight into the bytes handed over, since the data can be large; never in
            // part.
            QByteArray configuration = asReceived;
            if (configuration.isEmpty() &&
                !reply.Data().Render([&configuration](const char* piece, std::size_t length) {
                    configuration.append(piece, static_cast<int>(length));
                    return true;
                }))
                configuration.clear();
            ServiceCall::Deliver(callback, configuration);
        },
        &asReceived);
}
