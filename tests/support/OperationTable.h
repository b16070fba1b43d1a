#pragma once

// Table-driven checks of service operations against the running emulator. Each row names one call of an
// operation, the "params" its request must carry (compact JSON, so names, order and JSON types all count),
// the reply data to answer it with, and what its callback should make of that data.
#include <gtest/gtest.h>
#include <pelmor/ISocketReply.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/PelmorSocketInterface.h>
#include <pelmor/Records.h>
#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>

#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "EmulatorControl.h"
#include "SampleDevices.h"

struct OperationCase {
    std::string name;
    std::string method;
    std::string params;
    std::string data;
    // Calls the operation; its callback appends what it received to seen.
    std::function<ISocketReply*(PelmorSocketInterface&, std::string& seen)> call;
    // What the callback saw; "" for operations without one.
    std::string seen;
};

inline std::string Narrow(const wchar_t* text) {
    return text ? XString(text).ToUtf8() : std::string("<null>");
}

inline std::string Narrow(const XString& text) {
    return text.ToUtf8();
}

inline std::string Narrow(const QString& text) {
    return text.toStdString();
}

// Answers the row's request with the given code and the row's data, then checks the request document
// and what the callback saw. A refusal (non-zero code) must reach the callback just as a success does.
inline void ExpectExchange(PelmorSocketInterface& service, const OperationCase& row, int code) {
    SCOPED_TRACE(row.name + ", answered with code " + std::to_string(code));
    EmulatorControl::Reset();
    EmulatorControl::Script(R"({"match":")" + row.method + R"(","reply":{"code":)" + std::to_string(code) +
                            R"(,"error":")" + (code ? "REFUSED" : "") + R"(","msg":"no","data":)" + row.data +
                            "}}");
    std::string seen;
    ISocketReply* reply = row.call(service, seen);
    ASSERT_NE(reply, nullptr);
    EXPECT_EQ(reply->Code(), code);
    reply->Release();
    EXPECT_EQ(seen, row.seen);

    const XJson log = EmulatorControl::Log();
    ASSERT_EQ(log.GetArraySize(), 1u);
    const XJson document = log[0u]["document"];
    EXPECT_EQ(document.ToString("method"), row.method);
    EXPECT_EQ(document["params"].ToJson(), row.params);
    EXPECT_EQ(document.ToXString("token"), service.GetToken()) << "every request carries the current token";
}

// A failed exchange returns its code and calls nothing back.
inline void ExpectFailedExchangeCallsNothing(PelmorSocketInterface& service, const OperationCase& row) {
    SCOPED_TRACE(row.name);
    EmulatorControl::Reset();
    EmulatorControl::Script(R"({"match":")" + row.method + R"(","status":502})");
    std::string seen;
    ISocketReply* reply = row.call(service, seen);
    ASSERT_NE(reply, nullptr);
    EXPECT_EQ(reply->Code(), 3) << "connection error";
    reply->Release();
    EXPECT_EQ(seen, "");
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), 1u);
}

// Each row answered, refused (a refusal must reach the callback just as a success does) and failed.
inline void ExpectEveryExchange(PelmorSocketInterface& service, const std::vector<OperationCase>& rows) {
    for (const OperationCase& row : rows) {
        ExpectExchange(service, row, 0);
        ExpectExchange(service, row, 40107);
        ExpectFailedExchangeCallsNothing(service, row);
    }
}

// A standard service object made through the create export, as a host makes it, with a session token set.
class StandardServiceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        EmulatorControl::Reset();
        ASSERT_TRUE(_07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"),
                                                          XString(L"4.0.0")));
        service_ = _402FB360_0FB0_4ECD_B608_D2D254A998B7();
        ASSERT_NE(service_, nullptr);
        service_->SetToken(XString(L"session-7"));
    }
    void TearDown() override { _3038522B_2CCC_469F_A114_481207ED3475(); }

    PelmorSocketInterface& Service() { return *service_; }
    // The complete sample handset, read when first asked for.
    ISocketDevice* Device() {
        if (!device_) device_ = LoadDevice("normal-complete");
        return device_.get();
    }

  private:
    PelmorSocketInterface* service_ = nullptr;
    std::unique_ptr<CDeviceFile> device_;
};

using NamedCall = std::pair<std::string, std::function<ISocketReply*()>>;

// Calls whose arguments are incomplete return a reply at the invalid-argument code and send nothing.
inline void ExpectNothingSent(const std::vector<NamedCall>& calls) {
    EmulatorControl::Reset();
    for (const NamedCall& call : calls) {
        SCOPED_TRACE(call.first);
        ISocketReply* reply = call.second();
        ASSERT_NE(reply, nullptr);
        EXPECT_EQ(reply->Code(), 1);
        reply->Release();
        EXPECT_EQ(EmulatorControl::Log().GetArraySize(), 0u);
    }
}
