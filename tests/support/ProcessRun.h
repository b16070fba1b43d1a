#pragma once

#include <functional>
#include <string>
#include <vector>

// Runs a program as a separate process with its own environment and a deadline, so that a hang fails
// the test instead of stalling the suite.
struct ProcessOutcome {
    int status = -1;  // exit status; -1 when it had to be killed or died of a signal
    bool timedOut = false;
    std::string out, err;
};

// answer, when given, is asked after each piece of stderr what to write to stdin ("" for nothing yet);
// stdin is closed once it has answered. Without it stdin is /dev/null.
ProcessOutcome RunProcess(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                          int timeoutSeconds = 60,
                          const std::function<std::string(const std::string& err)>& answer = nullptr);
