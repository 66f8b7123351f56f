/// @file
/// Runs code in a child process, for what can only be seen from outside of the process.
#pragma once

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs `body` in a forked child process, whose exit status is the result of `body`. The destructor waits for its
/// end.
class ChildProcess {
public:
    explicit ChildProcess(std::function<int()> const & body) : id_(fork()) {
        if (id_ == 0) _exit(body());
    }
    ~ChildProcess() { Kill(); }
    ChildProcess(ChildProcess const &) = delete;
    ChildProcess & operator=(ChildProcess const &) = delete;

    void Kill() {
        if (id_ > 0) kill(id_, SIGKILL);
        Status();
    }

    /// The exit status, when the child has ended; -1 if it was killed.
    int Status() {
        int status = 0;
        if (id_ <= 0 || waitpid(id_, &status, 0) != id_) return -1;
        id_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t id_;
};

/// Runs `body` in a process whose files can't grow beyond `limit` bytes, as on a full disk; returns its result.
inline int RunWithSmallFiles(unsigned long limit, std::function<int()> const & body) {
    return ChildProcess([&] {
               std::signal(SIGXFSZ, SIG_IGN);
               rlimit const room{limit, limit};
               return setrlimit(RLIMIT_FSIZE, &room) == 0 ? body() : -1;
           })
        .Status();
}
