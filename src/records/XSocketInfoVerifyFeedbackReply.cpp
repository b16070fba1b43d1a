#include <pelmor/platform/MemoryShortage.h>
#include <pelmor/records/VerifyFeedbackReply.h>

XSocketInfoVerifyFeedbackReply::XSocketInfoVerifyFeedbackReply(XJson data) noexcept {
    try {
        result_ = data.ToBool("result");
        feedbackMessage_ = data.ToXString("feedbackMessage");
        feedbackDate_ = data.ToXString("feedbackDate");
        replyMessage_ = data.ToXString("message");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the reply keeps what it read so far.
    }
}
