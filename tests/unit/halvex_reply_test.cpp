#include <gtest/gtest.h>
#include <pelmor/HalvexReply.h>

#include "SlotCheck.h"

namespace {

QString Q(const char* utf8) {
    return QString::fromUtf8(utf8);
}

TEST(HalvexReplySlots, TableIsInPlace) {
    EXPECT_EQ(SlotOf(&ISocketReply::Release), 0);
    EXPECT_EQ(SlotOf(&ISocketReply::IsSuccess), 1);
    EXPECT_EQ(SlotOf(&ISocketReply::Token), 2);
    EXPECT_EQ(SlotOf(&ISocketReply::Code), 3);
    EXPECT_EQ(SlotOf(&ISocketReply::Error), 4);
    EXPECT_EQ(SlotOf(&ISocketReply::Message), 5);
    EXPECT_EQ(SlotOf(&ISocketReply::Timestamp), 6);
    // 7 and 8 are the destructors.
    EXPECT_EQ((SlotOf<HalvexReply, void(int)>(&HalvexReply::Update)), 9);
    EXPECT_EQ((SlotOf<HalvexReply, void(XJson&)>(&HalvexReply::Update)), 10);
    EXPECT_EQ(SlotOf(&HalvexReply::Data), 11);
    EXPECT_EQ(SlotOf(&HalvexReply::Message), 5);
}

TEST(HalvexReplyLocalCodes, EachCodeCarriesItsNameAndMessage) {
    const std::pair<const char*, const char*> expected[] = {
        {"HALVEX_REPLY_INVALID_ARG", "无效的参数"},
        {"HALVEX_REPLY_ENCRYPT_ERROR", "数据加密失败"},
        {"HALVEX_REPLY_CONNECT_ERROR", "服务器正在维护"},
        {"HALVEX_REPLY_DECRYPT_ERROR", "数据解密失败"},
        {"HALVEX_REPLY_HTTP_ERROR", "服务器连接失败，可能服务正在维护或网络异常，请稍后再试！"},
    };
    for (int code = 1; code <= 5; ++code) {
        HalvexReply reply;
        reply.Update(code);
        EXPECT_EQ(reply.Code(), code);
        EXPECT_FALSE(reply.IsSuccess());
        EXPECT_EQ(reply.Error(), Q(expected[code - 1].first));
        EXPECT_EQ(reply.Message(), Q(expected[code - 1].second));
    }
}

TEST(HalvexReplyLocalCodes, ANewReplyReadsAsInvalidArgumentAndOtherCodesChangeOnlyTheCode) {
    HalvexReply reply;
    EXPECT_EQ(reply.Code(), 1);
    EXPECT_FALSE(reply.IsSuccess());
    EXPECT_EQ(reply.Error(), Q("HALVEX_REPLY_INVALID_ARG"));
    EXPECT_EQ(reply.Timestamp(), 0);
    EXPECT_TRUE(reply.Token().isEmpty());
    EXPECT_TRUE(reply.Data().IsEmpty());
    reply.Update(0);
    EXPECT_TRUE(reply.IsSuccess());
    EXPECT_EQ(reply.Message(), Q("无效的参数")) << "the old texts stay after Update(0)";
    reply.Update(7);
    EXPECT_EQ(reply.Code(), 7);
    EXPECT_EQ(reply.Error(), Q("HALVEX_REPLY_INVALID_ARG"));
    EXPECT_EQ(reply.Message(), Q("无效的参数"));
}

TEST(HalvexReplyService, TakesEveryFieldOfTheDocument) {
    XJson document(std::string(
        R"({"code":0,"token":"tk","error":"","msg":"ok","timestamp":1732000000123,"data":{"a":[1,2]}})"));
    HalvexReply reply(document);
    EXPECT_TRUE(reply.IsSuccess());
    EXPECT_EQ(reply.Token(), Q("tk"));
    EXPECT_EQ(reply.Timestamp(), 1732000000123LL);
    EXPECT_EQ(reply.Data()["a"].GetArraySize(), 2u);
    // The message test is on the error name: a success always shows the fallback, note "稍候".
    EXPECT_EQ(reply.Message(), Q("未知错误，请稍候重试"));
}

TEST(HalvexReplyService, RefusalShowsItsOwnMessageEvenWhenEmpty) {
    HalvexReply reply;
    XJson refusal(std::string(R"({"code":1001,"error":"TOKEN_EXPIRED","msg":""})"));
    reply.Update(refusal);
    EXPECT_EQ(reply.Code(), 1001);
    EXPECT_EQ(reply.Error(), Q("TOKEN_EXPIRED"));
    EXPECT_EQ(reply.Message(), QString());
    EXPECT_TRUE(reply.Data().IsEmpty());

    // Keys are read unconditionally: an update without them clears what was there.
    XJson bare(std::string("{}"));
    reply.Update(bare);
    EXPECT_TRUE(reply.IsSuccess()) << "a document without a code reads as success";
    EXPECT_TRUE(reply.Error().isEmpty());
}

TEST(HalvexReplyService, TextConstructorParsesOrLeavesDefaults) {
    HalvexReply parsed(std::string(R"({"code":3,"error":"E","msg":"m"})"));
    EXPECT_EQ(parsed.Code(), 3);
    EXPECT_EQ(parsed.Message(), Q("m"));
    HalvexReply garbage(std::string("not json"));
    EXPECT_EQ(garbage.Code(), 1);
    EXPECT_TRUE(garbage.Error().isEmpty());
    EXPECT_EQ(garbage.Timestamp(), 0);
    // Release() is how every owner frees a reply; ASan would catch a leak or a double free.
    (new HalvexReply())->Release();
}

}  // namespace
