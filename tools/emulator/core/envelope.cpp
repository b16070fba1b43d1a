#include "emulator/core/envelope.h"

namespace pelmor::emulator {

Reply success(nlohmann::ordered_json data, std::string msg) {
    Reply reply;
    reply.data = std::move(data);
    reply.msg = std::move(msg);
    return reply;
}

Reply refuse(int code, std::string error, std::string msg) {
    Reply reply;
    reply.code = code;
    reply.error = std::move(error);
    reply.msg = std::move(msg);
    reply.data = nullptr;
    return reply;
}

nlohmann::ordered_json render_envelope(const Reply& reply, std::int64_t timestamp_ms) {
    nlohmann::ordered_json envelope;
    envelope["code"] = reply.code;
    envelope["token"] = reply.token;
    envelope["error"] = reply.error;
    envelope["msg"] = reply.msg;
    envelope["timestamp"] = timestamp_ms;
    envelope["data"] = reply.data;
    return envelope;
}

}  // namespace pelmor::emulator
