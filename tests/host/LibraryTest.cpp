#include "HostFixture.h"

#include <stdexcept>

namespace db2host {
namespace {

/// A module of one type, "Crate" with a weight.
class CrateModule : public ModuleDefinition
{
public:
    [[nodiscard]] const wchar_t* id() const override { return L"Crates"; }

    bool registerIn(db2::NodeRegistry& registry) override
    {
        auto* const module = new db2::Module;
        module->setId(id());
        module->setDataVersion(1);
        if (db2::registerModule(module) != Status::kSuccess)
        {
            delete module;
            return false;
        }
        auto* const crate = new db2::NodeTemplate(L"Crate", kTypeId, *module);
        crate->addAttribute(db2::FloatAttributeMetaDataDef(), L"weight");
        return registry.registerNodeTemplate(crate) == Status::kSuccess;
    }

    static constexpr unsigned int kTypeId = 1;
};

/// Refuses to be registered.
class BrokenModule : public ModuleDefinition
{
public:
    [[nodiscard]] const wchar_t* id() const override { return L"Broken"; }
    bool registerIn(db2::NodeRegistry&) override { return false; }
};

TEST(LibraryTest, RegistersItsModulesInTheirOrder)
{
    scene::SceneModule scene;
    CrateModule crates;
    const Library library(nullptr, L"Test 1.0", {&scene, &crates});
    EXPECT_LT(db2::lookupModule(L"Scene")->getRegistrationOrder(),
              db2::lookupModule(L"Crates")->getRegistrationOrder());
    EXPECT_EQ(library.modules(), (std::vector<ModuleDefinition*>{&scene, &crates}));
    EXPECT_EQ(db2::getProductVersion(), L"Test 1.0");
}

TEST(LibraryTest, EndsTheLibraryWithItself)
{
    CrateModule crates;
    {
        const Library library(nullptr, L"Test 1.0", {&crates});
        EXPECT_NE(db2::lookupModule(L"Crates"), nullptr);
    }
    EXPECT_EQ(db2::lookupModule(L"Crates"), nullptr);
}

TEST(LibraryTest, StartsAgainWithTheSameModules)
{
    scene::SceneModule scene;
    for (int i = 0; i < 2; ++i)
    {
        Library library(nullptr, L"Test 1.0", {&scene});
        EXPECT_NE(library.registry().lookupNodeTemplate(scene::kTransform), nullptr);
    }
}

TEST(LibraryTest, ThrowsWhenAModuleIsRefusedAndEndsTheLibrary)
{
    CrateModule crates;
    BrokenModule broken;
    EXPECT_THROW(Library(nullptr, L"Test 1.0", {&crates, &broken}), std::runtime_error);
    EXPECT_EQ(db2::lookupModule(L"Crates"), nullptr);
}

TEST(LibraryTest, ThrowsForAModuleGivenTwice)
{
    scene::SceneModule first;
    scene::SceneModule second;
    EXPECT_THROW(Library(nullptr, L"Test 1.0", {&first, &second}), std::runtime_error);
}

TEST(LibraryTest, ThrowsForNull)
{
    EXPECT_THROW(Library(nullptr, L"Test 1.0", {nullptr}), std::runtime_error);
}

TEST(LibraryTest, AddsAModuleLater)
{
    scene::SceneModule scene;
    CrateModule crates;
    Library library(nullptr, L"Test 1.0", {&scene});
    EXPECT_TRUE(library.add(crates));
    EXPECT_NE(library.registry().lookupNodeTemplate(CrateModule::kTypeId), nullptr);
    EXPECT_EQ(library.modules().back(), &crates);
}

TEST(LibraryTest, RefusesToAddWhatIsThere)
{
    scene::SceneModule scene;
    scene::SceneModule same;
    Library library(nullptr, L"Test 1.0", {&scene});
    const db2::Module* const registered = db2::lookupModule(L"Scene");
    EXPECT_FALSE(library.add(same));
    EXPECT_EQ(db2::lookupModule(L"Scene"), registered);
    EXPECT_EQ(library.modules().size(), 1u);
}

TEST(LibraryTest, KeepsThePlaceholderWhenTheModuleIsRefused)
{
    BrokenModule broken;
    Library library(nullptr, L"Test 1.0", {});
    auto* const placeholder = new db2::Module;
    placeholder->setId(L"Broken");
    placeholder->setUnknown(true);
    ASSERT_EQ(db2::registerModule(placeholder), Status::kSuccess);
    EXPECT_FALSE(library.add(broken));
    EXPECT_EQ(db2::lookupModule(L"Broken"), placeholder);
}

/// Another module took one of the numbers that the Scene's types have.
TEST(LibraryTest, AModuleThatIsRefusedLeavesNothingRegistered)
{
    scene::SceneModule scene;
    Library library(nullptr, L"Test 1.0", {});
    const db2::Module other;
    ASSERT_EQ(library.registry().registerNodeTemplate(new db2::NodeTemplate(L"Other", scene::kLight, other)),
              Status::kSuccess);
    EXPECT_FALSE(library.add(scene));
    EXPECT_EQ(db2::lookupModule(L"Scene"), nullptr);
    EXPECT_EQ(library.registry().lookupNodeTemplate(scene::kTransform), nullptr);
}

} // namespace
} // namespace db2host
