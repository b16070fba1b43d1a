#include <gtest/gtest.h>

#include "frame/PelmorSocketHelper.h"

namespace {

// Settings are process-wide: every test puts back the defaults it found.
class RequestDocument : public ::testing::Test {
  protected:
    void TearDown() override {
        helper_.Initialize(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"), XString(L"4.0.0"));
        helper_.SetToken(XString());
    }
    PelmorSocketHelper helper_;
};

TEST_F(RequestDocument, BothFormsCarryTheDefaultsInOrder) {
    XJson params;
    params.Add("mobile", std::string("13800000000"));
    params.Add("way", 1);
    EXPECT_EQ(
        PelmorSocketHelper::BuildJson("sms.code", params).ToJson(),
        R"({"method":"sms.code","params":{"mobile":"13800000000","way":1},"source":"Brisel","token":"","version":"4.0.0"})");
    EXPECT_EQ(
        PelmorSocketHelper::BuildJson(params).ToJson(),
        R"({"params":{"mobile":"13800000000","way":1},"source":"Brisel","token":"","version":"4.0.0"})");
    // No parameters still sends "params": {}.
    EXPECT_EQ(PelmorSocketHelper::BuildJson("client.config", XJson()).ToJson(),
              R"({"method":"client.config","params":{},"source":"Brisel","token":"","version":"4.0.0"})");
    EXPECT_EQ(PelmorSocketHelper::BuildJson(XJson()).ToJson(),
              R"({"params":{},"source":"Brisel","token":"","version":"4.0.0"})");
}

TEST_F(RequestDocument, SettingsAreReadWhenTheDocumentIsBuilt) {
    const XJson before = PelmorSocketHelper::BuildJson("user.info", XJson());
    helper_.SetToken(XString(L"令牌-1"));
    helper_.SetSource(XString(L"Shop"));
    const XJson after = PelmorSocketHelper::BuildJson("user.info", XJson());
    EXPECT_EQ(before.ToString("token"), "") << "a document already built keeps the old token";
    EXPECT_EQ(after.ToString("token"), "令牌-1");
    EXPECT_EQ(after.ToString("source"), "Shop");
    EXPECT_EQ(PelmorSocketHelper::BuildJson(XJson()).ToString("token"), "令牌-1");

    helper_.Initialize(PELMOR_SOCKET_EDITION_ENTERPRISE, XString(L"Ent"), XString(L"6.0"));
    const XJson path = PelmorSocketHelper::BuildJson(XJson());
    EXPECT_EQ(path.ToJson(), R"({"params":{},"source":"Ent","token":"令牌-1","version":"6.0"})");
}

TEST_F(RequestDocument, ParamsAreCopiedWhole) {
    XJson params(std::string(R"({"info":{"a":[1,{"b":null}]},"n":-1.5})"));
    const XJson document = PelmorSocketHelper::BuildJson("equipment.check", params);
    params.Add("late", 1);
    EXPECT_EQ(document["params"].ToJson(), R"({"info":{"a":[1,{"b":null}]},"n":-1.5E0})");
    // A method name with an embedded NUL ends there.
    EXPECT_EQ(PelmorSocketHelper::BuildJson("a\0b", XJson()).ToString("method"), "a");
}

}  // namespace
