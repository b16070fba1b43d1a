#pragma once

#include <pelmor/HalvexReply.h>
#include <pelmor/platform/XJson.h>

#include <new>

#include "frame/ServiceCall.h"

namespace EnterpriseRecord {

// The hand-over most enterprise operations share: a default-made record filled by SetJson from a copy of
// the reply's data, handed to the callback, destroyed when it returns.
template <typename Record, typename Callback>
void Fill(HalvexReply& reply, const Callback& callback) noexcept {
    ServiceCall::HandRecord(
        [&]() -> Record* {
            Record* record = new (std::nothrow) Record();
            if (record) {
                XJson data = reply.Data();
                record->SetJson(data);
            }
            return record;
        },
        callback);
}

}  // namespace EnterpriseRecord
