// Properties of random trees: what is saved comes back, wherever and through whatever it is loaded, and a failed load
// that is rolled back leaves nothing.

#include "json/Documents.h"
#include "json/RandomTree.h"

#include "support/TreeDump.h"

#include <db2/ChangeManager.h>
#include <db2/ComputeManager.h>
#include <db2/ConcreteChangeSet.h>
#include <db2/DataInterfaceLogger.h>
#include <db2/UndoManager.h>
#include <db2/WatchManager.h>

namespace {

using namespace db2;
using namespace db2test;

std::wstring contentOf(Scene& scene)
{
    return dumpTree(scene.core(), DumpDetail::kContent);
}

/// A dump without the lists of referencers, whose order depends on the order in which nodes were converted.
std::wstring withoutReferencers(std::wstring dump)
{
    const std::wstring mark = L" <- \"";
    for (std::size_t at = dump.find(mark); at != std::wstring::npos; at = dump.find(mark, at))
    {
        std::size_t end = at + mark.size();
        while (dump[end] != L'"')
            end += dump[end] == L'\\' ? 2u : 1u;
        dump.erase(at, end + 1 - at);
    }
    return dump;
}

/// A parameter of 0 stands for a new seed.
class JsonRoundTripTest : public ::testing::TestWithParam<unsigned int>
{
protected:
    /// The text of a random tree in a scene of its own. @param content  receives the scene's dump.
    std::string randomText(std::size_t nodes, std::wstring& content, bool allowsStrayEnums = true)
    {
        Scene scene;
        RandomTree::registerExtra(scene);
        RandomTree tree(scene, random);
        tree.setAllowsStrayEnums(allowsStrayEnums);
        tree.grow(nodes);
        scene.commit();
        content = contentOf(scene);
        return saveScene(scene);
    }

    Random random = GetParam() != 0 ? Random(GetParam()) : Random::fresh();
    ::testing::ScopedTrace trace{__FILE__, __LINE__, random.description()};
};

TEST_P(JsonRoundTripTest, ALoadGivesTheSameTreeAndSavesToTheSameBytes)
{
    std::wstring saved;
    const std::string text = randomText(150, saved);
    Scene scene;
    RandomTree::registerExtra(scene);
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    scene.commit();
    EXPECT_TRUE(isSameDump(saved, contentOf(scene)));
    EXPECT_EQ(saveScene(scene), text);
}

TEST_P(JsonRoundTripTest, ALoadUnderAnotherParentGivesTheSameSubtrees)
{
    std::wstring saved;
    const std::string text = randomText(60, saved);
    Scene scene;
    RandomTree::registerExtra(scene);
    Node* const shelf = scene.nodeOf(Scene::kPlain, L"sh|elf", scene.node(L"far"));
    ASSERT_EQ(loadText(scene, text, shelf), Status::kSuccess);
    MemoryBlock block;
    MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
    JsonSaver saver(stream, L"scene");
    saver.addChildNodes(shelf);
    ASSERT_EQ(saver.save(), Status::kSuccess);
    EXPECT_EQ(textOf(block), text);
}

TEST_P(JsonRoundTripTest, AnApplicationWithoutTheModuleGivesTheSameBytes)
{
    std::wstring saved;
    const std::string text = randomText(100, saved, false);
    Scene scene;
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    EXPECT_EQ(saveScene(scene), text);
}

TEST_P(JsonRoundTripTest, AModuleThatIsRegisteredLaterAndConvertedGivesTheSameTree)
{
    std::wstring saved;
    const std::string text = randomText(100, saved, false);
    Scene scene;
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    scene.commit();
    std::unique_ptr<Module> placeholder(lookupModule(L"Extra"));
    if (placeholder != nullptr)
    {
        ASSERT_TRUE(placeholder->isUnknown());
        ASSERT_EQ(unregisterModule(placeholder.get()), Status::kSuccess);
    }
    RandomTree::registerExtra(scene);
    EXPECT_EQ(dbu_convertUnknownNodesInModuleToKnownNodes(lookupModule(L"Extra"), scene.root(), &scene.core(),
                                                          &scene.core(), 0),
              Status::kSuccess);
    scene.commit();
    EXPECT_TRUE(isSameDump(withoutReferencers(saved), withoutReferencers(contentOf(scene))));
    EXPECT_EQ(saveScene(scene), text);
}

TEST_P(JsonRoundTripTest, ALoadThroughEveryLayerUndoesToTheFirstStateAndRedoesToTheLast)
{
    std::wstring saved;
    const std::string text = randomText(60, saved);
    Scene scene;
    RandomTree::registerExtra(scene);
    RandomTree(scene, random).grow(10);
    scene.commit();
    WatchManager watches(&scene.core());
    ConcreteChangeSet changes;
    ConcreteChangeSet snapshot;
    ChangeManager reports(&watches, changes, snapshot);
    ComputeManager computed(1, &reports, *scene.root());
    UndoManager undo(&computed, scene.core());
    DataInterfaceLogger calls(&undo);
    const std::wstring first = contentOf(scene);

    const MemoryBlock block = blockOf(text);
    {
        MemoryInputStream stream(block);
        JsonLoader loader(stream, calls, scene.core());
        ASSERT_EQ(loader.load(*scene.root(), nullptr), Status::kSuccess);
    }
    ASSERT_EQ(calls.db_commit(L"load", L"test", 1), Status::kSuccess);
    const std::wstring last = contentOf(scene);
    for (int round = 0; round < 2; ++round)
    {
        ASSERT_EQ(undo.undo(), Status::kSuccess);
        EXPECT_TRUE(undo.lastReplayWasComplete());
        EXPECT_TRUE(isSameDump(first, contentOf(scene)));
        ASSERT_EQ(undo.redo(), Status::kSuccess);
        EXPECT_TRUE(undo.lastReplayWasComplete());
        EXPECT_TRUE(isSameDump(last, contentOf(scene)));
    }
}

TEST_P(JsonRoundTripTest, DamageAnywhereIsRefusedOrLoadedAndRollsBack)
{
    std::wstring saved;
    const std::string text = randomText(12, saved);
    Scene scene;
    RandomTree::registerExtra(scene);
    UndoManager undo(&scene.core(), scene.core());
    const std::wstring first = contentOf(scene);
    for (int i = 0; i < 60; ++i)
    {
        std::string damaged = text;
        for (std::size_t left = 1 + random.below(3); left > 0; --left)
        {
            const std::size_t at = random.below(damaged.size());
            switch (random.below(4))
            {
            case 0: damaged[at] = static_cast<char>(random.below(256)); break;
            case 1: damaged.erase(at, 1 + random.below(20)); break;
            case 2: damaged.insert(at, damaged.substr(random.below(damaged.size()), 1 + random.below(40))); break;
            default: damaged[at] = "[]{},:\"\\-0"[random.below(10)]; break;
            }
        }
        scene.log().take();
        const MemoryBlock block = blockOf(damaged);
        {
            MemoryInputStream stream(block);
            JsonLoader loader(stream, undo, scene.core());
            const Status status = loader.load(*scene.root(), nullptr);
            const std::vector<LogRecorder::Line> lines = scene.log().take();
            EXPECT_TRUE(status == Status::kSuccess || !lines.empty());
        }
        undo.rollback(0);
        ASSERT_TRUE(isSameDump(first, contentOf(scene))) << damaged;
    }
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeedsAndANewOne, JsonRoundTripTest, ::testing::Values(1u, 2u, 3u, 4u, 0u));

} // namespace
