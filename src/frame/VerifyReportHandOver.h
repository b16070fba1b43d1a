#pragma once

#include <pelmor/HalvexReply.h>
#include <pelmor/platform/PlatformString.h>
#include <pelmor/platform/XJson.h>

#include <new>

#include "frame/ServiceCall.h"
#include "records/CSocketInfoVerify.h"

namespace ServiceCall {

// How VerifyDevice of either edition hands its report over: filled from a copy of the reply's data,
// marked with error 1 (reaching here means the exchange worked, whatever the service said) and the
// reply's message, handed to the callback and destroyed when it returns.
template <typename Callback>
auto VerifyReport(const Callback& callback) {
    return [&callback](HalvexReply& reply) {
        HandRecord(
            [&]() -> CSocketInfoVerify* {
                auto* report = new (std::nothrow) CSocketInfoVerify();
                if (report) {
                    XJson data(reply.Data());
                    report->SetJson(data);
                    report->SetError(1);
                    report->SetRequestMessage(Platform::String::QW(reply.Message()));
                }
                return report;
            },
            callback);
    };
}

}  // namespace ServiceCall
