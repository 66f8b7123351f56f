/// @file
/// What the program tells on standard error: complaints, and how far it is.
#pragma once

#include <cstddef>
#include <string>

/// Writes `place: what` as a line. On a terminal both have colours, unless the environment variable NO_COLOR is set or TERM is
/// "dumb".
void Complain(std::string const & place, std::string const & what);

/// Shows on a terminal how many of `total` messages are done. In a pipe or a file it shows nothing.
class Progress {
public:
    explicit Progress(std::size_t total);
    /// Removes what it has shown.
    ~Progress();
    Progress(Progress const &) = delete;
    Progress & operator=(Progress const &) = delete;

    /// Counts a message, and shows the count after each thousand. Short work shows nothing.
    void Step();

private:
    std::size_t total_;
    std::size_t done_ = 0;
    bool isTerminal_;
};
