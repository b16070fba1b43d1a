#include "Command.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <sstream>

namespace pelmor {

namespace {

const std::vector<Command>& AllCommands() {
    static const std::vector<Command> all = [] {
        std::vector<Command> list;
        // The enterprise session's own rows first, so that its group opens with the log-in.
        for (auto group : {ConfigCommands, LoginCommands, UserCommands, EnterpriseCommands, DeviceCommands,
                           ProfessionalCommands, FeedbackCommands, CoverageCommands, DemoCommands})
            for (const Command& command : group())
                list.push_back(command);
        return list;
    }();
    return all;
}

std::string Prefix(const Command& command) {
    return command.edition == PELMOR_SOCKET_EDITION_ENTERPRISE ? "ent " : "";
}

std::string Synopsis(const Command& command) {
    std::string text = "pelmor " + Prefix(command) + command.name;
    if (*command.usage) text += std::string(" ") + command.usage;
    return text;
}

}  // namespace

bool Args::Parse(const std::vector<std::string>& words, const std::string& allowed, std::string& error) {
    std::istringstream list(allowed);
    std::map<std::string, bool> takesValue;
    for (std::string option; list >> option;) {
        const bool value = option.back() == '=';
        takesValue[value ? option.substr(0, option.size() - 1) : option] = value;
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--") {
            positionals_.insert(positionals_.end(), words.begin() + static_cast<long>(i) + 1, words.end());
            break;
        }
        if (word.size() < 2 || word.compare(0, 2, "--") != 0) {
            positionals_.push_back(word);
            continue;
        }
        const auto eq = word.find('=');
        const std::string name = word.substr(0, eq);
        auto found = takesValue.find(name);
        if (found == takesValue.end()) {
            error = "unknown option " + name;
            return false;
        }
        if (!found->second) {
            if (eq != std::string::npos) {
                error = name + " takes no value";
                return false;
            }
            options_[name] = "1";
        } else if (eq != std::string::npos) {
            options_[name] = word.substr(eq + 1);
        } else if (i + 1 < words.size()) {
            options_[name] = words[++i];
        } else {
            error = name + " needs a value";
            return false;
        }
    }
    return true;
}

namespace {

// The command words name, or null; enterprise commands are named after "ent".
const Command* Find(const std::string& name, ENUM_PELMOR_SOCKET_EDITION edition) {
    for (const Command& command : AllCommands())
        if (command.edition == edition && name == command.name) return &command;
    return nullptr;
}

bool IsEnterpriseWord(const std::string& word) {
    return word == "ent" || word == "enterprise";
}

void PrintGlobalOptions() {
    std::cout << "Global options:\n"
                 "  --json          print one JSON document instead of tables (docs/pelmor-json.md)\n"
                 "  --library PATH  the libPelmorSocket to load (also $PELMOR_LIBRARY)\n"
                 "  -h, --help      help; after a command, that command's help\n"
                 "  --version       the versions of pelmor and of the library it loads\n";
}

void PrintExitStatuses() {
    std::cout << "Exit status: 0 success, 1 the operation failed (code, error name and message on stderr),\n"
                 "2 bad input, 3 the operation is not offered by the library's edition.\n";
}

}  // namespace

bool PrintCommandHelp(const std::vector<std::string>& words) {
    if (words.empty()) return false;
    const bool enterprise = IsEnterpriseWord(words[0]);
    if (enterprise && words.size() < 2) {
        std::cout << "Usage: pelmor ent COMMAND [ARGS]\n\n" << kGroupEnterprise << ":\n";
        for (const Command& command : AllCommands())
            if (command.edition == PELMOR_SOCKET_EDITION_ENTERPRISE)
                std::cout << "  " << Synopsis(command).substr(7) << "\n      " << command.summary << '\n';
        return true;
    }
    const Command* command =
        Find(enterprise ? words[1] : words[0],
             enterprise ? PELMOR_SOCKET_EDITION_ENTERPRISE : PELMOR_SOCKET_EDITION_STANDARD);
    if (!command) return false;
    std::cout << "Usage: " << Synopsis(*command) << "\n\n" << command->summary << "\n";
    const std::string usage = command->usage;
    if (usage.find("DEVICE") != std::string::npos)
        std::cout
            << "\nDEVICE is a device file (JSON) or the name of a sample device (see `pelmor devices`).\n";
    std::cout << '\n';
    PrintGlobalOptions();
    std::cout << '\n';
    PrintExitStatuses();
    return true;
}

int Dispatch(Session& session, const std::vector<std::string>& words) {
    if (words.empty()) {
        if (session.options().json) return session.Fail("", "no command given (see pelmor --help)");
        PrintHelp();
        return kBadInput;
    }
    const bool enterprise = IsEnterpriseWord(words[0]);
    session.SetCommand(enterprise ? "ent" : words[0]);
    if (enterprise && words.size() < 2)
        return session.Fail("ent", "which enterprise command? (see pelmor ent --help)");
    const std::string name = enterprise ? words[1] : words[0];
    const auto edition = enterprise ? PELMOR_SOCKET_EDITION_ENTERPRISE : PELMOR_SOCKET_EDITION_STANDARD;
    const std::string typed = (enterprise ? "ent " : "") + name;
    session.SetCommand(typed);
    const Command* command = Find(name, edition);
    if (!command) return session.Fail("", "unknown command '" + typed + "' (see pelmor --help)");
    Args args;
    std::string error;
    const std::vector<std::string> rest(words.begin() + (enterprise ? 2 : 1), words.end());
    if (!args.Parse(rest, command->options, error) || args.Count() < command->minArgs ||
        args.Count() > command->maxArgs) {
        if (error.empty())
            error = args.Count() < command->minArgs ? "missing arguments" : "too many arguments";
        return session.Fail(typed, error + "; usage: " + Synopsis(*command));
    }
    if (!session.Ready(error)) return session.Fail("", error, kFailed);
    session.SetEdition(edition);
    return command->run(session, args);
}

bool ReadInteger(const std::string& text, long long min, long long max, long long& value) {
    if (text.empty() || text.size() > 19) return false;
    std::size_t i = text[0] == '-' ? 1 : 0;
    if (i == text.size()) return false;
    for (std::size_t j = i; j < text.size(); ++j)
        if (text[j] < '0' || text[j] > '9') return false;
    errno = 0;
    const long long read = std::strtoll(text.c_str(), nullptr, 10);
    if (errno == ERANGE || read < min || read > max) return false;
    value = read;
    return true;
}

int IntegerOption(Session& session, const Args& args, const std::string& option, long long fallback,
                  long long min, long long max, long long& value) {
    value = fallback;
    if (!args.Has(option)) return kOk;
    if (ReadInteger(args.Get(option), min, max, value)) return kOk;
    return session.Fail(session.Command(), option + " takes a whole number from " + std::to_string(min) +
                                               " to " + std::to_string(max) + ", not '" + args.Get(option) +
                                               "'");
}

void PrintHelp() {
    std::cout << "Usage: pelmor [--json] [--library PATH] COMMAND [ARGS]\n"
                 "       pelmor COMMAND --help\n"
                 "\n"
                 "Drives libPelmorSocket from the command line, loading it at run time as a desktop host\n"
                 "does. DEVICE is a device file (JSON), the name of a sample device (see `pelmor devices`),\n"
                 "usb (the one handset on USB), usb:<UDID>, or a capture (.plist) of a handset.\n"
                 "The session token is kept in $XDG_CONFIG_HOME/pelmor/state.json between runs.\n"
                 "\n";
    PrintGlobalOptions();
    const char* groups[] = {kGroupConfig,   kGroupLogin,        kGroupUser,
                            kGroupDevices,  kGroupProfessional, kGroupFeedback,
                            kGroupCoverage, kGroupEnterprise,   kGroupDemo};
    for (const char* group : groups) {
        std::cout << '\n' << group << ":\n";
        for (const Command& command : AllCommands())
            if (std::string(group) == command.group)
                std::cout << "  " << Synopsis(command).substr(7) << "\n      " << command.summary << '\n';
    }
    std::cout << '\n';
    PrintExitStatuses();
}

}  // namespace pelmor
