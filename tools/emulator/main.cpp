#include "emulator/core/emulator.h"
#include "emulator/core/options.h"

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

int main(int argc, char** argv) {
    using namespace pelmor::emulator;
    const std::string program = argc > 0 ? argv[0] : "pelmor-emulator";
    const ParseResult parsed =
        parse_options(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
    if (parsed.outcome == ParseOutcome::help) {
        std::cout << usage_text(program);
        return 0;
    }
    if (parsed.outcome == ParseOutcome::error) {
        std::cerr << "pelmor-emulator: " << parsed.error << "\nTry '" << program << " --help'.\n";
        return 2;
    }

    // Block the stop signals before any thread starts, so that only the sigwait below receives them.
    sigset_t stop_signals;
    sigemptyset(&stop_signals);
    sigaddset(&stop_signals, SIGINT);
    sigaddset(&stop_signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);

    Emulator emulator(parsed.options);
    std::string error;
    if (!emulator.bind(error)) {
        std::cerr << "pelmor-emulator: " << error << "\n";
        return 1;
    }
    std::cout << "listening on http://" << parsed.options.bind_address << ":" << emulator.port() << std::endl;
    if (emulator.coverage_port() >= 0) {
        std::cout << "coverage site on https://" << parsed.options.bind_address << ":"
                  << emulator.coverage_port() << std::endl;
    }

    std::promise<bool> served;
    std::future<bool> done = served.get_future();
    std::thread server([&] {
        served.set_value(emulator.run());
        // Wake the sigwait below if the server ended by itself.
        kill(getpid(), SIGTERM);
    });

    int signal_number = 0;
    sigwait(&stop_signals, &signal_number);
    emulator.stop();

    // Idle keep-alive connections can hold the server's workers for a few seconds after stop(); do not
    // make whoever stops us wait for them.
    if (done.wait_for(std::chrono::seconds(2)) != std::future_status::ready) {
        std::fflush(nullptr);
        std::_Exit(0);
    }
    server.join();
    return done.get() ? 0 : 1;
}
