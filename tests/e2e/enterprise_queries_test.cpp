// The enterprise device queries end to end: the three lock checks, the warranty, the paid checks read back
// as the day's bill, the balance that limits them, and the verification report.
#include <algorithm>
#include <ctime>
#include <vector>

#include "EmulatorControl.h"
#include "enterprise_support.h"

namespace {

using namespace enterprise_test;

class EnterpriseQueries : public EnterpriseTest {
  protected:
    void SetUp() override {
        EnterpriseTest::SetUp();
        LogIn();
    }

    static std::string TodayUtc() {
        const std::time_t now = std::time(nullptr);
        std::tm parts{};
        gmtime_r(&now, &parts);
        char day[16] = {};
        std::strftime(day, sizeof day, "%Y-%m-%d", &parts);
        return day;
    }
};

// One checked line as "key name result show".
template <typename Record>
std::string Line(Record* r) {
    return std::string(r->GetKey()) + " " + r->GetName() + " " + r->GetResult() +
           (r->GetShow() ? " y" : " n");
}

TEST_F(EnterpriseQueries, LockChecksAndWarrantyOfKnownDevices) {
    struct Case {
        const char* device;
        std::string idlock, refurbish, simlock;
        bool covered;
    } cases[] = {
        {"normal-complete", "idlock 激活锁 已关闭 n", "refurbish 翻新机 非翻新机 n", "simlock 网络锁 无锁 n",
         false},
        {"replaced-screen-battery", "idlock 激活锁 已开启 y", "refurbish 翻新机 非翻新机 n",
         "simlock 网络锁 无锁 n", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.device);
        const auto device = LoadDevice(c.device);
        std::string idlock, refurbish, simlock;
        int days = -1;
        Reply(service->QueryIdlock(device.get(), [&](ISocketQueryIdlock* r) { idlock = Line(r); }));
        Reply(service->QueryRefurbish(device.get(), [&](ISocketQueryRefurbish* r) { refurbish = Line(r); }));
        Reply(service->QuerySimlock(device.get(), [&](ISocketQuerySimlock* r) { simlock = Line(r); }));
        Reply(service->QueryWarranty(device.get(),
                                     [&](const ISocketQueryWarranty* w) { days = w->GetDaysleft(); }));
        EXPECT_EQ(idlock, c.idlock);
        EXPECT_EQ(refurbish, c.refurbish);
        EXPECT_EQ(simlock, c.simlock);
        // Under this edition the days are read from "daysleft"; the emulator sends no other spelling.
        if (c.covered)
            EXPECT_GT(days, 0);
        else
            EXPECT_EQ(days, 0);
    }
}

TEST_F(EnterpriseQueries, PaidChecksComeBackAsTheDaysBill) {
    const std::string today = TodayUtc();
    const auto device = LoadDevice("replaced-screen-battery");
    Reply(service->QueryIdlock(device.get(), [](ISocketQueryIdlock*) {}));
    Reply(service->QueryWarranty(device.get(), [](const ISocketQueryWarranty*) {}));
    Reply(service->QuerySimlock(device.get(), [](ISocketQuerySimlock*) {}));

    auto text = [](ISocketQueryInvoiceItem* item) {
        return std::string(item->GetDate()).substr(0, 10) + " " + item->GetSerial() + " " +
               item->GetTarget() + " " + QString::number(item->GetAmount()).toStdString() + " " +
               QString::number(item->GetBalance()).toStdString();
    };
    std::vector<std::string> byIndex, byVisit;
    int visits = 0;
    Reply reply(service->QueryInvoice(today.c_str(), [&](ISocketQueryInvoice* bill) {
        for (unsigned i = 0; i <= bill->GetCount(); ++i)
            byIndex.push_back(bill->GetItem(i) ? text(bill->GetItem(i)) : "null");
        EXPECT_TRUE(bill->Traverse([&](ISocketQueryInvoiceItem* item) {
            byVisit.push_back(text(item));
            return true;
        }));
        EXPECT_TRUE(bill->Traverse([&](ISocketQueryInvoiceItem*) { return ++visits < 2; }));
    }));
    ASSERT_TRUE(reply->IsSuccess());
    // The lines as the service sent them (prices are the emulator's business, checked in its own tests).
    const XJson sent = EmulatorControl::LastRequest()["response"]["reply"]["data"];
    std::vector<std::string> lines;
    for (unsigned i = 0; i < sent.GetArraySize(); ++i) {
        const XJson line = sent[i];
        lines.push_back(line.ToString("date").substr(0, 10) + " " + line.ToString("srnm") + " " +
                        line.ToString("used") + " " + QString::number(line.ToDouble("cost")).toStdString() +
                        " " + QString::number(line.ToDouble("balance")).toStdString());
    }
    ASSERT_EQ(lines.size(), 3u) << "one line per paid check";
    for (const std::string& line : lines)
        EXPECT_EQ(line.rfind(today + " F17ZP9QAN73K ", 0), 0u) << line;
    EXPECT_EQ(byVisit, lines);
    byVisit.push_back("null");
    EXPECT_EQ(byIndex, byVisit) << "the same lines by index, and none past the end";
    EXPECT_EQ(visits, 2) << "the walk stops when the visitor says so";

    double left = 0;
    Reply(service->QueryDetails([&](ISocketQueryDetails* details) { left = details->GetBalance(); }));
    EXPECT_DOUBLE_EQ(left, sent[2u].ToDouble("balance"));

    bool traversed = true;
    Reply(service->QueryInvoice("2001-01-01", [&](ISocketQueryInvoice* bill) {
        traversed = bill->Traverse([](ISocketQueryInvoiceItem*) { return true; });
    }));
    EXPECT_FALSE(traversed) << "a day without checks is an empty bill";
}

TEST_F(EnterpriseQueries, VerificationReportFlagsReplacedParts) {
    struct Seen {
        int error = 0;
        std::wstring requestMessage;
        std::vector<EDeviceVerifyKey> abnormal;
    };
    auto verify = [&](const char* name, Reply& reply) {
        const auto device = LoadDevice(name);
        Seen seen;
        reply.reset(service->VerifyDevice(device.get(), QByteArray("file"), [&](ISocketInfoVerify* report) {
            seen.error = report->GetError();
            seen.requestMessage = report->GetRequestMessage();
            report->TraverseItem([&](const ISocketInfoVerifyItem* item) {
                if (item->GetResult() == L"异常") seen.abnormal.push_back(item->GetKey());
            });
        }));
        return seen;
    };
    Reply reply;
    const Seen clean = verify("normal-complete", reply);
    EXPECT_TRUE(reply->IsSuccess());
    EXPECT_EQ(clean.error, 1) << "always 1 on this path";
    EXPECT_EQ(clean.requestMessage, reply->Message().toStdWString());
    EXPECT_TRUE(clean.abnormal.empty());

    const Seen repaired = verify("replaced-screen-battery", reply);
    EXPECT_NE(std::find(repaired.abnormal.begin(), repaired.abnormal.end(), DEVICE_VERIFY_KEY_BATT),
              repaired.abnormal.end());
    EXPECT_NE(std::find(repaired.abnormal.begin(), repaired.abnormal.end(), DEVICE_VERIFY_KEY_LCM),
              repaired.abnormal.end());

    // A device whose description cannot be built (no battery record) is refused by the service, and the
    // report of the refusal still reaches the callback, carrying the refusal's message.
    const Seen incomplete = verify("no-battery", reply);
    EXPECT_EQ(reply->Code(), 40005);
    EXPECT_EQ(incomplete.error, 1);
    EXPECT_EQ(incomplete.requestMessage, L"设备信息读取不完整，请重新连接设备");
}

}  // namespace
