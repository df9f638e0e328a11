// mwcollect as a process of its own.
#ifndef COLLECT_PROGRAM_H
#define COLLECT_PROGRAM_H

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <map>
#include <thread>

#include "tree.h"

namespace collect {

inline bool Soon(const std::function<bool()> &condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

struct Ended {
    int code = -1;  // -1: by a signal
    std::string out;
    std::string err;
};

class Program {
  public:
    explicit Program(std::vector<std::string> arguments, const std::string &root = {},
                     const std::map<std::string, std::string> &environment = {}) {
        arguments.insert(arguments.begin(), MWCOLLECT);
        std::vector<char *> argv;
        for (std::string &argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            if (!root.empty()) setenv("MIDWARE_ROOT", root.c_str(), 1);
            for (const auto &[name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
            for (const auto &[fd, name] : {std::pair{1, "/out"}, {2, "/err"}}) {
                dup2(open((output_.top() + name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), fd);
            }
            execv(MWCOLLECT, argv.data());
            _exit(127);
        }
    }
    ~Program() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }

    void Signal(int number) { kill(pid_, number); }
    bool Runs() { return waitpid(pid_, nullptr, WNOHANG) == 0; }

    Ended Wait() {
        int status = 0;
        // One that does not end by itself is ended: its code is then that of a signal.
        if (!Soon([&] { return waitpid(pid_, &status, WNOHANG) == pid_; })) {
            kill(pid_, SIGKILL);
            EXPECT_EQ(waitpid(pid_, &status, 0), pid_);
        }
        pid_ = -1;
        HeardHost host(output_);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, host->File("/out").value_or(""),
                host->File("/err").value_or("")};
    }

  private:
    Tree output_;
    pid_t pid_ = -1;
};

inline Ended RunProgram(const std::vector<std::string> &arguments, const std::string &root = {},
                        const std::map<std::string, std::string> &environment = {}) {
    return Program(arguments, root, environment).Wait();
}

}  // namespace collect

#endif
