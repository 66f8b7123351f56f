/// @file
/// Runs the test host in a process of its own and collects what it writes.
#pragma once

#include "files/TemporaryDirectory.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

/// A temporary directory whose files are named by bytes, not by units.
class TestDirectory : public TemporaryDirectory {
public:
    std::string Path(std::string const & name = "") const {
        return name.empty() ? Root().string() : (Root() / name).string();
    }
    std::string Write(std::string const & name, std::string const & text) const {
        std::ofstream(Path(name), std::ios::binary) << text;
        return Path(name);
    }
    std::string Read(std::string const & name) const {
        return TemporaryDirectory::Read(std::filesystem::path(name).u16string().c_str());
    }
};

/// Sets an environment variable for the processes that are started while this object exists.
struct TestVariable {
    TestVariable(char const * variable, std::string const & value) : name(variable) {
        setenv(name, value.c_str(), 1);
    }
    ~TestVariable() { unsetenv(name); }
    char const * name;
};

struct HostResult {
    int status = -1; ///< the exit status, or minus the number of the signal that ended it
    std::string console;
};

/// Runs `program` with `arguments` in `directory`. `watch` is called with the console's text as it grows, and may
/// send the process a signal.
inline HostResult RunHost(std::string const & program, std::vector<std::string> arguments,
                          std::string const & directory,
                          std::function<void(std::string const &, pid_t)> const & watch = {}) {
    int pipe[2];
    if (::pipe(pipe) != 0) return {};
    pid_t const child = fork();
    if (child == 0) {
        dup2(pipe[1], STDOUT_FILENO);
        close(pipe[0]);
        close(pipe[1]);
        if (chdir(directory.c_str()) != 0) _exit(126);
        arguments.insert(arguments.begin(), program);
        std::vector<char *> argv;
        for (std::string & argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    close(pipe[1]);
    HostResult result;
    char buffer[4096];
    for (ssize_t got; (got = read(pipe[0], buffer, sizeof buffer)) > 0;) {
        result.console.append(buffer, static_cast<std::size_t>(got));
        if (watch) watch(result.console, child);
    }
    close(pipe[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return result;
}
