#pragma once

#include <chrono>
#include <string>

namespace kqdb {

/// Says on standard error what takes so long, when that is a terminal, and takes it back at the end of its scope. Shows
/// nothing of work that is over in an instant.
class Progress
{
public:
    /// @param what  such as "loading scene.json". @param isLong  known to take long, so it is shown at once.
    explicit Progress(std::string what, bool isLong = false);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// @param fraction  of the work that is done, 0 to 1.
    void update(double fraction);

private:
    void show(const std::string& line);

    std::string what_;
    std::chrono::steady_clock::time_point begin_;
    bool isTerminal_;
    bool isShown_ = false;
    int percent_ = -1; ///< as shown
};

} // namespace kqdb
