// Runs one command and prints its wall time and peak resident memory, so that bench/run can
// time each stage of the pipeline as a separate process.
//   stagetimer LABEL -- COMMAND [ARGS...]
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

int main(int argc, char** argv)
{
    if (argc < 4 || std::strcmp(argv[2], "--") != 0) {
        std::fprintf(stderr, "usage: stagetimer LABEL -- COMMAND [ARGS...]\n");
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid < 0) {
        std::perror("stagetimer: fork");
        return 1;
    }
    if (pid == 0) {
        dup2(2, 1); // the stage's own output goes to the log, the figures to ours
        execvp(argv[3], argv + 3);
        std::perror("stagetimer: exec");
        _exit(127);
    }
    int status = 0;
    rusage usage {};
    if (wait4(pid, &status, 0, &usage) < 0) {
        std::perror("stagetimer: wait");
        return 1;
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    std::printf("| %-28s | %9.2f s | %9.1f MB | %s |\n", argv[1], seconds,
                usage.ru_maxrss / 1024.0, code == 0 ? "ok" : "FAILED");
    std::fflush(stdout);
    return code;
}
