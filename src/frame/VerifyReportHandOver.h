#pragma once

#include <pelmor/HalvexReply.h>
#include <pelmor/platform/PlatformString.h>
#include <pelmor/platform/XJson.h>

#include <new>

#include "frame/ServiceCall.h"
#include "records/CSocketInfoVerify.h"

namespace ServiceCall {

// How VerifyDevice of either edition hands its report over: filled from the reply's data (the report only
// reads it, so it reads the reply's own instead of a copy that would cost as much as the parse, and views
// its texts there: the reply and its data outlive the report, which is gone when the callback returns),
// marked with error 1 (reaching here means the exchange worked, whatever the service said) and the
// reply's message, handed to the callback and destroyed when it returns.
template <typename Callback>
auto VerifyReport(const Callback& callback) {
    return [&callback](HalvexReply& reply) {
        HandRecord(
            [&]() -> CSocketInfoVerify* {
                auto* report = new (std::nothrow) CSocketInfoVerify();
                if (report) {
                    report->ViewJson(reply.Data());
                    report->SetError(1);
                    report->SetRequestMessage(Platform::String::QW(reply.Message()));
                }
                return report;
            },
            callback);
    };
}

}  // namespace ServiceCall
