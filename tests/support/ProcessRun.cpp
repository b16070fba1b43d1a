#include "ProcessRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

ProcessOutcome RunProcess(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                          int timeoutSeconds,
                          const std::function<std::string(const std::string& err)>& answer) {
    std::vector<char*> args, envp;
    for (const auto& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    for (const auto& e : env)
        envp.push_back(const_cast<char*>(e.c_str()));
    args.push_back(nullptr);
    envp.push_back(nullptr);
    int out[2], err[2], in[2] = {-1, -1};
    ProcessOutcome run;
    if (pipe(out) || pipe(err) || (answer && pipe(in))) return run;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (answer) {
        posix_spawn_file_actions_adddup2(&actions, in[0], 0);
        posix_spawn_file_actions_addclose(&actions, in[1]);
    } else {
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    }
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    pid_t pid = 0;
    const int failed = posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, args.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);
    if (answer) close(in[0]);
    int input = answer ? in[1] : -1;

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
    pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    std::string* sinks[2] = {&run.out, &run.err};
    for (int open = failed ? 0 : 2; open > 0;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0 || poll(fds, 2, static_cast<int>(left.count())) <= 0) break;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !fds[i].revents) continue;
            char buffer[4096];
            const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                sinks[i]->append(buffer, static_cast<std::size_t>(n));
            } else {
                fds[i].fd = -1;
                --open;
            }
        }
        if (input >= 0) {
            const std::string text = answer(run.err);
            if (!text.empty()) {
                (void)!write(input, text.data(), text.size());
                close(input);
                input = -1;
            }
        }
    }
    if (input >= 0) close(input);
    close(out[0]);
    close(err[0]);
    if (failed) return run;
    int status = 0;
    pid_t done = 0;
    while ((done = waitpid(pid, &status, WNOHANG)) == 0 && std::chrono::steady_clock::now() < deadline)
        usleep(10000);
    if (done == 0) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        run.timedOut = true;
        return run;
    }
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}
