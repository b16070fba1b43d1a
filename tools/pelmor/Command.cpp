#include "Command.h"

#include <algorithm>
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

int Dispatch(Session& session, const std::vector<std::string>& words) {
    if (words.empty()) {
        PrintHelp();
        return kBadInput;
    }
    const bool enterprise = words[0] == "ent" || words[0] == "enterprise";
    if (enterprise && words.size() < 2)
        return session.Fail("ent", "which enterprise command? (see pelmor --help)");
    const std::string name = enterprise ? words[1] : words[0];
    const auto edition = enterprise ? PELMOR_SOCKET_EDITION_ENTERPRISE : PELMOR_SOCKET_EDITION_STANDARD;
    const std::string typed = (enterprise ? "ent " : "") + name;
    for (const Command& command : AllCommands()) {
        if (command.edition != edition || name != command.name) continue;
        Args args;
        std::string error;
        const std::vector<std::string> rest(words.begin() + (enterprise ? 2 : 1), words.end());
        if (!args.Parse(rest, command.options, error) || args.Count() < command.minArgs ||
            args.Count() > command.maxArgs) {
            if (error.empty())
                error = args.Count() < command.minArgs ? "missing arguments" : "too many arguments";
            return session.Fail(typed, error + "; usage: " + Synopsis(command));
        }
        if (!session.Ready(error)) return session.Fail("", error, kFailed);
        session.SetEdition(edition);
        return command.run(session, args);
    }
    return session.Fail("", "unknown command '" + typed + "' (see pelmor --help)");
}

void PrintHelp() {
    std::cout
        << "Usage: pelmor [--json] [--library PATH] COMMAND [ARGS]\n"
           "\n"
           "Drives libPelmorSocket from the command line, loading it at run time as a desktop host\n"
           "does. DEVICE is a device file (JSON), the name of a sample device (see `pelmor devices`),\n"
           "usb (the one handset on USB), usb:<UDID>, or a capture (.plist) of a handset.\n"
           "The session token is kept in $XDG_CONFIG_HOME/pelmor/state.json between runs.\n"
           "\n"
           "Global options:\n"
           "  --json          print results as JSON instead of tables\n"
           "  --library PATH  the libPelmorSocket to load (also $PELMOR_LIBRARY)\n"
           "  -h, --help      this text\n";
    const char* groups[] = {kGroupConfig,   kGroupLogin,        kGroupUser,
                            kGroupDevices,  kGroupProfessional, kGroupFeedback,
                            kGroupCoverage, kGroupEnterprise,   kGroupDemo};
    for (const char* group : groups) {
        std::cout << '\n' << group << ":\n";
        for (const Command& command : AllCommands())
            if (std::string(group) == command.group)
                std::cout << "  " << Synopsis(command).substr(7) << "\n      " << command.summary << '\n';
    }
    std::cout
        << "\nExit status: 0 success, 1 the operation failed (code, error name and message on stderr),\n"
           "2 bad input, 3 the operation is not offered by the library's edition.\n";
}

}  // namespace pelmor
