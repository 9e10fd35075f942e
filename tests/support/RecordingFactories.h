#pragma once

#include <db2/db2.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <deque>

namespace db2test {

using namespace db2;

/// Makes an object of its own for each node, and says which it made last.
class RecordingNodeFactory : public APIBaseFactory
{
public:
    void* createNodeAPI(Node* node, void* userData) override
    {
        EXPECT_NE(node, nullptr);
        EXPECT_EQ(userData, this);
        return &made_.emplace_back();
    }
    void* last() { return &made_.back(); }
    [[nodiscard]] std::size_t count() const { return made_.size(); }

private:
    std::deque<char> made_;
};

class RecordingUnknownNodeFactory : public UnknownAPINodeFactory
{
public:
    /// @param firstTypeId  0 leaves the type id alone.
    RecordingUnknownNodeFactory(unsigned int firstTypeId, void* userData)
        : firstTypeId_(firstTypeId), userData_(userData)
    {
    }

    void* createNodeAPI(Node* node, void* userData, unsigned int* outTypeId) override
    {
        EXPECT_NE(node, nullptr);
        EXPECT_EQ(userData, userData_);
        if (firstTypeId_ != 0)
            *outTypeId = nextTypeId();
        return &made_.emplace_back();
    }
    [[nodiscard]] unsigned int nextTypeId() const
    {
        return firstTypeId_ != 0 ? firstTypeId_ + static_cast<unsigned int>(made_.size() % 5) : 0;
    }
    void* last() { return &made_.back(); }
    [[nodiscard]] std::size_t count() const { return made_.size(); }

private:
    unsigned int firstTypeId_;
    void* userData_;
    std::deque<char> made_;
};

} // namespace db2test
