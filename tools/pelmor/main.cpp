// pelmor: the command-line host of libPelmorSocket.
#include <iostream>
#include <string>
#include <vector>

#include "Command.h"

#if defined(__SANITIZE_ADDRESS__)
// In sanitizer builds pelmor skips the leak check at exit: the USB libraries it links (libusb under
// libirecovery) leak on their own and keep threads that the leak checker's tracer crashes on. The library
// pelmor loads is leak-checked by its own tests.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off() {
    return 1;
}
#endif

int main(int argc, char** argv) {
    pelmor::Options options;
    options.statePath = pelmor::State::DefaultPath();
    std::vector<std::string> words;
    bool help = false, libraryMissing = false;
    // Global options may stand anywhere on the line; everything else belongs to the command.
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--json") {
            options.json = true;
        } else if (word == "--library" || word.rfind("--library=", 0) == 0) {
            if (word.size() > 9) {
                options.library = word.substr(10);
            } else if (i + 1 < argc) {
                options.library = argv[++i];
            } else {
                libraryMissing = true;
            }
        } else if (word == "-h" || word == "--help") {
            help = true;
        } else if (word == "--version") {
            words.insert(words.begin(), "version");
        } else {
            words.push_back(word);
        }
    }
    if (!words.empty() && words[0] == "help") {
        help = true;
        words.erase(words.begin());
    }
    if (help) {
        if (!words.empty() && words[0] == "--") words.erase(words.begin());
        if (!pelmor::PrintCommandHelp(words)) pelmor::PrintHelp();
        return pelmor::kOk;
    }
    pelmor::Session session(options);
    if (libraryMissing) return session.Fail("", "--library needs a path");
    session.Open();
    return pelmor::Dispatch(session, words);
}
