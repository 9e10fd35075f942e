#pragma once

#include "support/ComputeScene.h"

#include <db2/ComputeManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace db2test {

/// How often each way of running was chosen.
struct RunCounts
{
    unsigned int flushes = 0;
    unsigned int replays = 0;
    unsigned int queueRuns = 0;

    bool operator==(const RunCounts&) const = default;
};

inline void PrintTo(const RunCounts& counts, std::ostream* out)
{
    *out << counts.flushes << " flushes, " << counts.replays << " replays, " << counts.queueRuns << " queue runs";
}

/// A ComputeManager right before the core, and a node type that adds two numbers. Tests edit through the manager.
class ComputeManagerTest : public ::testing::Test
{
protected:
    using Runs = ComputeScene::Runs;

    Node* create(unsigned int typeId, const wchar_t* name, Node* parent = nullptr)
    {
        Node* node = nullptr;
        EXPECT_EQ(computed.db_createNode(typeId, name, parent, nullptr, &node), Status::kSuccess);
        return node;
    }

    /// @return what ran.
    Runs commit()
    {
        EXPECT_EQ(computed.db_commit(L"test", L"Fixture.h", 1), Status::kSuccess);
        return scene.takeRuns();
    }

    void write(Node* node, const wchar_t* name, int value)
    {
        db2test::write(computed, node->findAttributeByName(name), value);
    }

    void connect(Attribute* referenced, Attribute* referencer)
    {
        EXPECT_EQ(computed.db_createReference(referenced, referencer, false), Status::kSuccess);
    }

    void disconnect(Attribute* referencer) { EXPECT_EQ(computed.db_destroyReference(referencer), Status::kSuccess); }

    [[nodiscard]] static Attribute* attribute(const Node* node, const wchar_t* name)
    {
        return node->findAttributeByName(name);
    }

    [[nodiscard]] static int value(const Node* node, const wchar_t* name)
    {
        return attribute(node, name)->getValue().getInt();
    }

    /// What was counted since the last call.
    RunCounts takeCounts()
    {
        const RunCounts now{computed.debug_getFlushCount(), computed.debug_getCacheUseCount(),
                            computed.debug_getPriorityQueueUseCount()};
        const RunCounts before = std::exchange(counted_, now);
        return {now.flushes - before.flushes, now.replays - before.replays, now.queueRuns - before.queueRuns};
    }

    /// Commits, and forgets what ran and was counted.
    void settle()
    {
        commit();
        takeCounts();
    }

    static constexpr RunCounts kNoRun{};
    static constexpr RunCounts kFlush{1, 0, 0};
    static constexpr RunCounts kReplay{0, 1, 0};
    static constexpr RunCounts kQueueRun{0, 0, 1};

    ComputeScene scene;
    /// sum = a + b; nothing reads "note".
    const unsigned int kSum =
        scene.addType({number(L"a"), number(L"b"), number(L"sum"), number(L"note")}, {{{L"a", L"b"}, {L"sum"}}});
    ComputeManager computed{7, &scene.core(), *scene.root()};

private:
    RunCounts counted_;
};

} // namespace db2test
