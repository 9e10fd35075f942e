#pragma once

#include "json/Documents.h"
#include "json/RandomTree.h"

#include "support/TreeDump.h"

#include <cstddef>
#include <string>

namespace db2test {

/// A scene with a random tree, the same each time, and what it reads and saves as.
class SavedRandomTree : public ::testing::Test
{
protected:
    SavedRandomTree(unsigned int seed, std::size_t nodes)
    {
        RandomTree::registerExtra(scene);
        Random random(seed);
        RandomTree(scene, random).grow(nodes);
        scene.commit();
        before = content();
        text = saveScene(scene);
    }

    /// The tree as it is now, to compare with the one before.
    std::wstring content() { return dumpTree(scene.core(), DumpDetail::kContent); }

    Scene scene;
    std::wstring before;
    std::string text;
};

} // namespace db2test
