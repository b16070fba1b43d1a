// Drives the built shared library the way a desktop host does: dlopen(), then every export bound by its
// linker symbol, with nothing of the library linked in.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pelmor/PelmorSocket.h>

#include "EmulatorControl.h"

namespace {

class BoundLibrary {
  public:
    BoundLibrary() {
        handle_ = dlopen(PELMOR_SOCKET_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
        if (!handle_) return;
        create = Bind<PelmorCreateFunction>(PelmorSocketSymbols::kCreate);
        edition = Bind<PelmorEditionFunction>(PelmorSocketSymbols::kEdition);
        instance = Bind<PelmorInstanceFunction>(PelmorSocketSymbols::kInstance);
        destroy = Bind<PelmorDestroyFunction>(PelmorSocketSymbols::kDestroy);
        fetchConfig = Bind<PelmorFetchConfigFunction>(PelmorSocketSymbols::kFetchConfig);
    }
    ~BoundLibrary() {
        if (handle_) dlclose(handle_);
    }
    BoundLibrary(const BoundLibrary&) = delete;
    BoundLibrary& operator=(const BoundLibrary&) = delete;

    bool Complete() const { return handle_ && create && edition && instance && destroy && fetchConfig; }
    void* Symbol(const char* name) const { return handle_ ? dlsym(handle_, name) : nullptr; }

    // A configuration fetch, the one request that needs no service object; returns its reply code.
    int FetchConfig() {
        HalvexReply* reply = fetchConfig([](const QByteArray&) {});
        if (!reply) return -1;
        const int code = reply->Code();
        reply->Release();
        return code;
    }

    PelmorCreateFunction create = nullptr;
    PelmorEditionFunction edition = nullptr;
    PelmorInstanceFunction instance = nullptr;
    PelmorDestroyFunction destroy = nullptr;
    PelmorFetchConfigFunction fetchConfig = nullptr;

  private:
    template <typename Function>
    Function Bind(const char* symbol) {
        return reinterpret_cast<Function>(dlsym(handle_, symbol));
    }

    void* handle_ = nullptr;
};

const XString kSource(L"HostTest");
const XString kVersion(L"5.1.2");

TEST(HostBinding, EveryExportBindsByItsLinkerSymbol) {
    BoundLibrary library;
    ASSERT_TRUE(library.Complete()) << dlerror();
    EXPECT_NE(library.Symbol("Halvex_Dynamic_Library_Init"), nullptr);
    EXPECT_NE(library.Symbol("Halvex_Dynamic_Library_Fini"), nullptr);
    EXPECT_NE(library.Symbol("_StaticInterfaceSocket"), nullptr);
    EXPECT_NE(library.Symbol("_StaticSocketEdition"), nullptr);
    // Internals stay hidden.
    EXPECT_EQ(library.Symbol("_ZN18PelmorSocketHelper14RequestAddressEv"), nullptr);
}

TEST(HostBinding, NothingCreatedRequestsGoToTheStandardAddressWithDefaults) {
    BoundLibrary library;
    ASSERT_TRUE(library.Complete());
    ASSERT_EQ(library.instance(), nullptr) << "run each test in a fresh process (ctest does)";
    EmulatorControl::Reset();
    EXPECT_EQ(library.FetchConfig(), 0);
    const XJson request = EmulatorControl::LastRequest();
    EXPECT_EQ(request.ToString("address"), "standard");
    const XJson document = request["document"];
    EXPECT_EQ(document.ToString("method"), "client.config");
    EXPECT_EQ(document.ToString("source"), "Brisel");
    EXPECT_EQ(document.ToString("token"), "");
    EXPECT_EQ(document.ToString("version"), "4.0.0");
}

TEST(HostBinding, UnknownEditionCreatesNothingButReportsAnEarlierObject) {
    BoundLibrary library;
    ASSERT_TRUE(library.Complete());
    ASSERT_EQ(library.instance(), nullptr) << "run each test in a fresh process (ctest does)";
    EmulatorControl::Reset();

    EXPECT_FALSE(library.create(static_cast<ENUM_PELMOR_SOCKET_EDITION>(2), kSource, kVersion));
    EXPECT_EQ(library.instance(), nullptr);
    EXPECT_EQ(library.edition(), 2);

    ASSERT_TRUE(library.create(PELMOR_SOCKET_EDITION_ENTERPRISE, kSource, kVersion));
    PelmorSocketInterface* enterprise = library.instance();
    ASSERT_NE(enterprise, nullptr);
    EXPECT_EQ(library.edition(), PELMOR_SOCKET_EDITION_ENTERPRISE);

    EXPECT_TRUE(library.create(static_cast<ENUM_PELMOR_SOCKET_EDITION>(2), kSource, kVersion));
    EXPECT_EQ(library.instance(), enterprise) << "the old object is kept";
    EXPECT_EQ(library.edition(), 2) << "the edition export reports what was asked for";
    // ...while requests still use the live object's edition and its settings.
    library.FetchConfig();
    const XJson request = EmulatorControl::LastRequest();
    EXPECT_EQ(request.ToString("address"), "enterprise");
    EXPECT_EQ(request["document"].ToString("source"), "HostTest");
    EXPECT_EQ(request["document"].ToString("version"), "5.1.2");

    library.destroy();
    EXPECT_EQ(library.instance(), nullptr);
    library.destroy();  // nothing to destroy: no effect
    EXPECT_EQ(library.instance(), nullptr);
}

TEST(HostBinding, SecondCreateReplacesTheInstanceWithoutDestroyingTheFirst) {
    BoundLibrary library;
    ASSERT_TRUE(library.Complete());
    ASSERT_TRUE(library.create(PELMOR_SOCKET_EDITION_STANDARD, kSource, kVersion));
    PelmorSocketInterface* first = library.instance();
    ASSERT_TRUE(library.create(PELMOR_SOCKET_EDITION_ENTERPRISE, kSource, kVersion));
    PelmorSocketInterface* second = library.instance();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);

    // The first object is still alive and usable: the host that made it owns it now.
    first->SetToken(XString(L"shared"));
    EXPECT_EQ(second->GetToken(), XString(L"shared"));
    delete first;

    // Destroy frees the live object; the settings outlive it.
    library.destroy();
    EXPECT_EQ(library.instance(), nullptr);
    ASSERT_TRUE(library.create(PELMOR_SOCKET_EDITION_STANDARD, kSource, kVersion));
    EXPECT_EQ(library.instance()->GetToken(), XString(L"shared"));
    library.instance()->SetToken(XString());
    library.destroy();
}

}  // namespace
