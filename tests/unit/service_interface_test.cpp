#include <gtest/gtest.h>
#include <pelmor/HalvexReply.h>
#include <pelmor/PelmorSocketInterface.h>

#include "SlotCheck.h"
#include "enterprise/PelmorSocketEnterprise.h"
#include "frame/PelmorSocketHelper.h"
#include "standard/PelmorSocketStandard.h"

namespace {

struct ExpectedSlot {
    std::ptrdiff_t expected;
    std::ptrdiff_t actual;
    const char* name;
};

// The host calls through this table; slots 51 and 52 are the destructors.
TEST(ServiceInterfaceSlots, EveryOperationKeepsItsSlot) {
    const ExpectedSlot slots[] = {
        {0, SlotOf(&PelmorSocketInterface::Initialize), "Initialize"},
        {1, SlotOf(&PelmorSocketInterface::SetToken), "SetToken"},
        {2, SlotOf(&PelmorSocketInterface::GetToken), "GetToken"},
        {3, SlotOf(&PelmorSocketInterface::CensusOperation), "CensusOperation"},
        {4, SlotOf(&PelmorSocketInterface::PhoneQueryVerify), "PhoneQueryVerify"},
        {5, SlotOf(&PelmorSocketInterface::PhoneLogin), "PhoneLogin"},
        {6, SlotOf(&PelmorSocketInterface::WecharReplyQRCode), "WecharReplyQRCode"},
        {7, SlotOf(&PelmorSocketInterface::WecharQueryToken), "WecharQueryToken"},
        {8, SlotOf(&PelmorSocketInterface::WecharBindPhone), "WecharBindPhone"},
        {9, SlotOf(&PelmorSocketInterface::WecharLogin), "WecharLogin"},
        {10, SlotOf(&PelmorSocketInterface::TokenLogin), "TokenLogin"},
        {11, SlotOf(&PelmorSocketInterface::TokenHeartbeat), "TokenHeartbeat"},
        {12, SlotOf(&PelmorSocketInterface::TokenUpdateSpread), "TokenUpdateSpread"},
        {13, SlotOf(&PelmorSocketInterface::TokenQueryUser), "TokenQueryUser"},
        {14, SlotOf(&PelmorSocketInterface::TokenQueryPower), "TokenQueryPower"},
        {15, SlotOf(&PelmorSocketInterface::TokenQueryNotifyList), "TokenQueryNotifyList"},
        {16, SlotOf(&PelmorSocketInterface::TokenQueryNotify), "TokenQueryNotify"},
        {17, SlotOf(&PelmorSocketInterface::TokenModifyPhone), "TokenModifyPhone"},
        {18, SlotOf(&PelmorSocketInterface::PaymentPicture), "PaymentPicture"},
        {19, SlotOf(&PelmorSocketInterface::PaymentResult), "PaymentResult"},
        {20, SlotOf(&PelmorSocketInterface::ProfessionalCheck), "ProfessionalCheck"},
        {21, SlotOf(&PelmorSocketInterface::ProfessionalVerify), "ProfessionalVerify"},
        {22, SlotOf(&PelmorSocketInterface::UploadIdlock), "UploadIdlock"},
        {23, SlotOf(&PelmorSocketInterface::UploadIcloud), "UploadIcloud"},
        {24, SlotOf(&PelmorSocketInterface::DeviceBackup), "DeviceBackup"},
        {25, SlotOf(&PelmorSocketInterface::VerifyAirPods), "VerifyAirPods"},
        {26, SlotOf(&PelmorSocketInterface::VerifyDevice), "VerifyDevice"},
        {27, SlotOf(&PelmorSocketInterface::VerifyImage), "VerifyImage"},
        {28, SlotOf(&PelmorSocketInterface::DeviceIpsw), "DeviceIpsw"},
        {29, SlotOf(&PelmorSocketInterface::Feedback), "Feedback"},
        {30, SlotOf(&PelmorSocketInterface::DeviceKey), "DeviceKey"},
        {31, SlotOf(&PelmorSocketInterface::VerifyFeedback), "VerifyFeedback"},
        {32, SlotOf(&PelmorSocketInterface::VerifyFeedbackReply), "VerifyFeedbackReply"},
        {33, SlotOf(&PelmorSocketInterface::RequestVerifyCode), "RequestVerifyCode"},
        {34, SlotOf(&PelmorSocketInterface::WarrantyVerify), "WarrantyVerify"},
        {35, SlotOf(&PelmorSocketInterface::WarrantySelect), "WarrantySelect"},
        {36, SlotOf(&PelmorSocketInterface::TokenCreate), "TokenCreate"},
        {37, SlotOf(&PelmorSocketInterface::TokenRefresh), "TokenRefresh"},
        {38, SlotOf(&PelmorSocketInterface::Heartbeat), "Heartbeat"},
        {39, SlotOf(&PelmorSocketInterface::UserImage), "UserImage"},
        {40, SlotOf(&PelmorSocketInterface::ChangePassword), "ChangePassword"},
        {41, SlotOf(&PelmorSocketInterface::QueryBasic), "QueryBasic"},
        {42, SlotOf(&PelmorSocketInterface::QueryColor), "QueryColor"},
        {43, SlotOf(&PelmorSocketInterface::QueryScreen), "QueryScreen"},
        {44, SlotOf(&PelmorSocketInterface::QueryDetails), "QueryDetails"},
        {45, SlotOf(&PelmorSocketInterface::QueryIdlock), "QueryIdlock"},
        {46, SlotOf(&PelmorSocketInterface::QueryWarranty), "QueryWarranty"},
        {47, SlotOf(&PelmorSocketInterface::QueryRefurbish), "QueryRefurbish"},
        {48, SlotOf(&PelmorSocketInterface::QuerySimlock), "QuerySimlock"},
        {49, SlotOf(&PelmorSocketInterface::QueryInvoice), "QueryInvoice"},
        {50, SlotOf(&PelmorSocketInterface::QueryPower), "QueryPower"},
        {53, SlotOf(&PelmorSocketInterface::SetSource), "SetSource"},
    };
    ASSERT_EQ(std::size(slots), 52u);
    for (const auto& slot : slots)
        EXPECT_EQ(slot.actual, slot.expected) << slot.name;
    // The implementations must not add or move slots either.
    EXPECT_EQ(SlotOf(&PelmorSocketHelper::SetSource), 53);
    EXPECT_EQ(SlotOf(&PelmorSocketStandard::QueryPower), 50);
    EXPECT_EQ(SlotOf(&PelmorSocketEnterprise::TokenCreate), 36);
    EXPECT_EQ(sizeof(PelmorSocketStandard), sizeof(void*)) << "objects carry nothing but their table";
    EXPECT_EQ(sizeof(PelmorSocketEnterprise), sizeof(void*));
}

template <typename Edition>
Edition Make(ENUM_PELMOR_SOCKET_EDITION edition) {
    return Edition(edition, XString(L"Brisel"), XString(L"4.0.0"));
}

TEST(ServiceInterfaceDefaults, OperationsAnEditionDoesNotOfferAnswerNull) {
    PelmorSocketStandard standard = Make<PelmorSocketStandard>(PELMOR_SOCKET_EDITION_STANDARD);
    PelmorSocketEnterprise enterprise = Make<PelmorSocketEnterprise>(PELMOR_SOCKET_EDITION_ENTERPRISE);
    PelmorSocketInterface& s = standard;
    PelmorSocketInterface& e = enterprise;
    bool called = false;

    EXPECT_EQ(
        s.TokenCreate("account", "password", [&](const wchar_t*, unsigned long long) { called = true; }),
        nullptr);
    EXPECT_EQ(e.PhoneLogin(L"13800000000", L"1234", L"no", L"key", [&](const wchar_t*) { called = true; }),
              nullptr);
    for (PelmorSocketInterface* object : {&s, &e})
        EXPECT_EQ(object->QueryPower("a", "b", [&](ISocketQueryPower*) { called = true; }), nullptr);
    EXPECT_FALSE(called);

    // The base answers null (or false) from every service slot without touching its arguments.
    PelmorSocketHelper helper;
    PelmorSocketInterface& h = helper;
    EXPECT_FALSE(h.CensusOperation(XString(L"f"), XString(), true));
    EXPECT_FALSE(h.WarrantyVerify(nullptr, [&](const char*, const char*) { called = true; }));
    EXPECT_EQ(h.VerifyDevice(nullptr, QByteArray(), [&](ISocketInfoVerify*) { called = true; }), nullptr);
    EXPECT_EQ(h.QueryInvoice("2026-11-23", [&](ISocketQueryInvoice*) { called = true; }), nullptr);
    EXPECT_FALSE(called);
}

TEST(ServiceInterfaceSettings, TokenAndSourceAreSharedByTheProcess) {
    PelmorSocketStandard standard = Make<PelmorSocketStandard>(PELMOR_SOCKET_EDITION_STANDARD);
    PelmorSocketEnterprise enterprise = Make<PelmorSocketEnterprise>(PELMOR_SOCKET_EDITION_ENTERPRISE);
    standard.SetToken(XString(L"from-standard"));
    EXPECT_EQ(enterprise.GetToken(), XString(L"from-standard"));
    enterprise.SetToken(XString(L"from-enterprise"));
    EXPECT_EQ(standard.GetToken(), XString(L"from-enterprise"));

    // Initialize sets the service edition (and so the address) but leaves the token alone.
    standard.Initialize(PELMOR_SOCKET_EDITION_ENTERPRISE, XString(L"src"), XString(L"9.9"));
    EXPECT_EQ(standard.GetToken(), XString(L"from-enterprise"));
    const std::string host = PELMOR_SERVICE_HOST;
    EXPECT_EQ(PelmorSocketHelper::RequestAddress().ToUtf8(), "http://" + host + "/brisel-ent/api");
    standard.Initialize(PELMOR_SOCKET_EDITION_STANDARD, XString(L"src"), XString(L"9.9"));
    EXPECT_EQ(PelmorSocketHelper::RequestAddress().ToUtf8(), "http://" + host + "/modules/app/api.do?");
    standard.Initialize(static_cast<ENUM_PELMOR_SOCKET_EDITION>(7), XString(L"src"), XString(L"9.9"));
    EXPECT_EQ(PelmorSocketHelper::RequestAddress().ToUtf8(), "http://" + host + "/");
    standard.Initialize(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"), XString(L"4.0.0"));
    standard.SetToken(XString());
}

}  // namespace
