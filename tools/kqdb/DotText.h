#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace kqdb {

/// A graph in Graphviz's language, line by line.
class DotText
{
public:
    /// @param take  receives the text in pieces, so that a large graph is never in memory as a whole.
    explicit DotText(std::function<void(std::string_view)> take) : take_(std::move(take)) {}

    void begin(std::string_view name);
    void end();

    void beginCluster(std::size_t number, std::string_view label);
    void endCluster() { out_ += "  }\n"; }

    /// @param attributes  such as "shape=ellipse"; may be empty.
    void node(std::string_view id, std::string_view label, std::string_view attributes = {});
    void edge(std::string_view from, std::string_view to, std::string_view label = {},
              std::string_view attributes = {});

private:
    void quote(std::string_view text);

    void spill(std::size_t kept);

    std::function<void(std::string_view)> take_;
    std::string out_; ///< what is not handed out yet
};

} // namespace kqdb
