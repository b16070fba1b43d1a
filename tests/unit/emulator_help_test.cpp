// The emulator's two descriptions of itself, --help and its README, name the same control endpoints, and
// every endpoint a service area serves is described.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "TestData.h"
#include "emulator/core/emulator.h"
#include "emulator/core/options.h"

namespace {

using namespace pelmor::emulator;

// "/_emulator/name" as written, without a query or a placeholder: "/_emulator/sms[?mobile=M]" gives
// "/_emulator/sms", "/_emulator/scripts/ID" gives "/_emulator/scripts/".
std::set<std::string> EndpointsIn(const std::string& text) {
    static const std::regex kEndpoint(R"(/_emulator/[a-z/]*)");
    std::set<std::string> found;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), kEndpoint); it != std::sregex_iterator();
         ++it)
        found.insert(it->str());
    return found;
}

TEST(EmulatorHelp, TheReadmeDescribesEveryEndpointOfTheHelp) {
    const std::string readme = ReadFile(PELMOR_TEST_DATA_DIR "/../../tools/emulator/README.md");
    ASSERT_FALSE(readme.empty()) << "README.md not found";
    const std::set<std::string> help = EndpointsIn(usage_text("pelmor-emulator"));
    EXPECT_GT(help.size(), 20u);
    for (const std::string& endpoint : help)
        EXPECT_NE(readme.find(endpoint), std::string::npos)
            << endpoint << " is in --help but not in README.md";
}

TEST(EmulatorHelp, EveryEndpointOfAServiceAreaIsInTheHelp) {
    Options options = default_options();
    options.port = 0;
    options.coverage_port = -1;
    Emulator emulator(options);
    const std::string help = usage_text("pelmor-emulator");
    const auto names = emulator.context().router.control_names();
    EXPECT_FALSE(names.empty());
    for (const std::string& name : names)
        EXPECT_NE(help.find("/_emulator/" + name), std::string::npos)
            << name << " is served but not in --help";
}

}  // namespace
