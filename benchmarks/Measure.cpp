// Runs a command some times in a row, its output thrown away, and prints the seconds that one run took and
// the peak of resident memory in KiB. A small program of its own, because a process starts with the peak of
// the one it came from.

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

int main(int argumentCount, char** arguments) {
    if (argumentCount < 3) {
        std::cerr << "usage: measure TIMES COMMAND [ARGUMENT...]\n";
        return 2;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    const int times = std::stoi(arguments[1]);
    long peak = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (int run = 0; run < times; ++run) {
        pid_t process = 0;
        int status = 0;
        rusage usage{};
        const bool isStarted =
            posix_spawnp(&process, arguments[2], &actions, nullptr, arguments + 2, environ) == 0;
        if (!isStarted || wait4(process, &status, 0, &usage) != process || status != 0) {
            std::cerr << "measure: " << arguments[2] << " failed with wait status " << status << '\n';
            return 1;
        }
        peak = std::max(peak, usage.ru_maxrss);
    }
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
    std::cout << spent.count() / times << ' ' << peak << '\n';
}
