#pragma once

#include <utility>

namespace db2 {

/// Sets a flag for the time of a call, and puts it back as it was.
class Setting
{
public:
    explicit Setting(bool& flag) : flag_(flag), former_(std::exchange(flag, true)) {}
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;
    ~Setting() { flag_ = former_; }

private:
    bool& flag_;
    bool former_;
};

} // namespace db2
