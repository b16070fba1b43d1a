#pragma once

#include <map>
#include <string>
#include <vector>

#include "Session.h"

namespace pelmor {

// A command's words after its name: its options (as its table row allows them) and its positionals.
class Args {
  public:
    const std::string& operator[](std::size_t index) const { return positionals_[index]; }
    std::size_t Count() const { return positionals_.size(); }
    // The positional at index, or fallback when there are fewer.
    std::string At(std::size_t index, const std::string& fallback = "") const {
        return index < positionals_.size() ? positionals_[index] : fallback;
    }
    bool Has(const std::string& option) const { return options_.count(option) != 0; }
    std::string Get(const std::string& option, const std::string& fallback = "") const {
        auto found = options_.find(option);
        return found == options_.end() ? fallback : found->second;
    }

    // Splits words by the option list ("--serial= --wait": '=' marks an option that takes a value).
    // Returns false with a reason on an unknown option or a missing value.
    bool Parse(const std::vector<std::string>& words, const std::string& allowed, std::string& error);

  private:
    std::vector<std::string> positionals_;
    std::map<std::string, std::string> options_;
};

// The groups of the help, in the order it shows them.
constexpr const char kGroupConfig[] = "Configuration and session";
constexpr const char kGroupLogin[] = "Log-in (standard edition)";
constexpr const char kGroupUser[] = "User (standard edition)";
constexpr const char kGroupDevices[] = "Devices";
constexpr const char kGroupProfessional[] = "Professional report (standard edition)";
constexpr const char kGroupFeedback[] = "Feedback";
constexpr const char kGroupCoverage[] = "Warranty-coverage site";
constexpr const char kGroupEnterprise[] = "Enterprise edition";
constexpr const char kGroupDemo[] = "Demo";

struct Command {
    const char* group;  // heading in the help
    const char* name;   // as typed; enterprise commands are typed after "ent"
    ENUM_PELMOR_SOCKET_EDITION edition;
    const char* usage;    // arguments, for the help and usage errors
    const char* options;  // options it takes, see Args::Parse
    unsigned minArgs, maxArgs;
    const char* summary;
    int (*run)(Session& session, const Args& args);
};

// The command groups, one source file each.
std::vector<Command> ConfigCommands();
std::vector<Command> LoginCommands();
std::vector<Command> UserCommands();
std::vector<Command> DeviceCommands();
std::vector<Command> ProfessionalCommands();
std::vector<Command> FeedbackCommands();
std::vector<Command> CoverageCommands();
std::vector<Command> EnterpriseCommands();
std::vector<Command> DemoCommands();

// Finds the command that words name and runs it. words[0] is the command name ("ent" takes the next).
int Dispatch(Session& session, const std::vector<std::string>& words);
void PrintHelp();
// The help of the command words name (or of the enterprise group for "ent"); false when none is named.
bool PrintCommandHelp(const std::vector<std::string>& words);

// A whole decimal number within [min, max]; false (value untouched) for anything else.
bool ReadInteger(const std::string& text, long long min, long long max, long long& value);
// Reads option as such a number, fallback when it is absent. A bad value is refused as bad input: returns
// the exit status to end the command with, kOk when value is good.
int IntegerOption(Session& session, const Args& args, const std::string& option, long long fallback,
                  long long min, long long max, long long& value);

}  // namespace pelmor
