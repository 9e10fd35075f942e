#include <db2/Module.h>

#include <db2/Library.h>
#include <db2/Migrator.h>

#include "support/HeapThatRunsOut.h"
#include "support/LogRecorder.h"
#include "support/NameCollision.h"
#include "support/OutOfMemory.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace db2;
using db2test::HeapThatRunsOut;
using db2test::LogRecorder;

constexpr wchar_t kDuplicateText[] = L"Cannot register duplicate module '%'"; // with the '%' and without the id

std::unique_ptr<Module> makeModule(const wchar_t* id, unsigned int dataVersion = 1)
{
    auto module = std::make_unique<Module>();
    module->setId(id);
    module->setDataVersion(dataVersion);
    return module;
}

std::vector<unsigned int> versionsToSave(const Module& module)
{
    kqx::UIntArray versions{99, 98}; // must be replaced
    module.getMigratorVersionsToSave(versions);
    return {versions.begin(), versions.end()};
}

// --- The module ---

TEST(ModuleTest, ANewModuleIsEmptyAndKnown)
{
    const Module module;
    EXPECT_TRUE(module.getId().empty());
    EXPECT_EQ(module.getDataVersion(), 0u);
    EXPECT_FALSE(module.isUnknown());
    EXPECT_EQ(module.getRegistrationOrder(), 0u);
    EXPECT_EQ(module.getMigratorForVersion(0), nullptr);
    EXPECT_TRUE(versionsToSave(module).empty());
}

TEST(ModuleTest, KeepsWhatItIsTold)
{
    Module module;
    module.setId(L"Shapes");
    module.setDataVersion(7);
    module.setUnknown(true);
    module.setRegistrationOrder(12);
    EXPECT_TRUE(module.getId() == L"Shapes");
    EXPECT_EQ(module.getDataVersion(), 7u);
    EXPECT_TRUE(module.isUnknown());
    EXPECT_EQ(module.getRegistrationOrder(), 12u);

    module.setId(nullptr);
    EXPECT_TRUE(module.getId().empty());
}

TEST(ModuleTest, ACopyHasEveryFieldAndSharesTheMigrators)
{
    Migrator migrator;
    Module module;
    module.setId(L"Shapes");
    module.setDataVersion(3);
    module.setRegistrationOrder(12);
    module.setUnknown(true);
    module.setUnknownMigrators({2, 5});
    ASSERT_EQ(module.registerMigrator(&migrator, 3), Status::kSuccess);

    const Module copy(module);
    Module assigned;
    assigned = module;
    for (const Module* const other : {&copy, static_cast<const Module*>(&assigned)})
    {
        EXPECT_TRUE(other->getId() == L"Shapes");
        EXPECT_EQ(other->getDataVersion(), 3u);
        EXPECT_EQ(other->getRegistrationOrder(), 12u);
        EXPECT_TRUE(other->isUnknown());
        EXPECT_EQ(versionsToSave(*other), (std::vector<unsigned int>{2, 5}));
        EXPECT_EQ(other->getMigratorForVersion(3), &migrator);
    }
    EXPECT_EQ(migrator.getModule(), &module); // a copy tells it nothing
}

TEST(ModuleTest, EditsOfACopyDoNotReachItsSource)
{
    Migrator migrator;
    Module module;
    module.setDataVersion(3);
    ASSERT_EQ(module.registerMigrator(&migrator, 3), Status::kSuccess);

    Module copy(module);
    EXPECT_EQ(copy.unregisterMigrator(&migrator), Status::kSuccess);
    copy.setId(L"Other");
    EXPECT_EQ(module.getMigratorForVersion(3), &migrator);
    EXPECT_TRUE(module.getId().empty());
}

// --- Its migrators ---

/// A module of data version 4 without migrators.
class ModuleMigratorTest : public ::testing::Test
{
protected:
    ModuleMigratorTest() { module.setDataVersion(4); }

    void registerAt(std::initializer_list<unsigned int> versions)
    {
        for (const unsigned int version : versions)
        {
            migrators.push_back(std::make_unique<Migrator>());
            ASSERT_EQ(module.registerMigrator(migrators.back().get(), version), Status::kSuccess);
        }
    }

    std::vector<std::unique_ptr<Migrator>> migrators;
    Module module;
};

TEST_F(ModuleMigratorTest, ARegisteredMigratorIsFoundByItsVersionAndToldModuleAndVersion)
{
    Migrator migrator;
    EXPECT_EQ(module.registerMigrator(&migrator, 3), Status::kSuccess);
    EXPECT_EQ(module.getMigratorForVersion(3), &migrator);
    EXPECT_EQ(migrator.getModule(), &module);
    EXPECT_EQ(migrator.getVersion(), 3u);
    for (const unsigned int other : {0u, 1u, 2u, 4u, 0xFFFFFFFFu})
        EXPECT_EQ(module.getMigratorForVersion(other), nullptr) << other;
}

TEST_F(ModuleMigratorTest, AVersionBelowTwoOrAboveTheDataVersionIsOutOfRange)
{
    for (const unsigned int version : {0u, 1u, 5u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(version);
        Migrator migrator;
        EXPECT_EQ(module.registerMigrator(&migrator, version), Status::kMigratorVersionOutOfRange);
        EXPECT_EQ(module.getMigratorForVersion(version), nullptr);
        EXPECT_EQ(migrator.getModule(), nullptr); // not told anything
        EXPECT_EQ(migrator.getVersion(), 0u);
    }
    EXPECT_EQ(module.unregisterMigrator(std::make_unique<Migrator>().get()), Status::kFailure); // no slots were made
}

TEST_F(ModuleMigratorTest, AModuleOfDataVersionOneTakesNoMigrator)
{
    module.setDataVersion(1);
    Migrator migrator;
    EXPECT_EQ(module.registerMigrator(&migrator, 1), Status::kMigratorVersionOutOfRange);
    EXPECT_EQ(module.registerMigrator(&migrator, 2), Status::kMigratorVersionOutOfRange);
}

TEST_F(ModuleMigratorTest, TwoAndTheDataVersionAreInRange)
{
    registerAt({2, 4});
    EXPECT_EQ(module.getMigratorForVersion(2), migrators[0].get());
    EXPECT_EQ(module.getMigratorForVersion(4), migrators[1].get());
}

TEST_F(ModuleMigratorTest, ASecondMigratorOfAVersionIsRefusedButHasBeenTold)
{
    Migrator first;
    Migrator second;
    ASSERT_EQ(module.registerMigrator(&first, 3), Status::kSuccess);
    EXPECT_EQ(module.registerMigrator(&second, 3), Status::kDuplicateMigrator);
    EXPECT_EQ(module.getMigratorForVersion(3), &first);
    EXPECT_EQ(second.getModule(), &module);
    EXPECT_EQ(second.getVersion(), 3u);
}

TEST_F(ModuleMigratorTest, NullIsNoMigrator)
{
    EXPECT_EQ(module.registerMigrator(nullptr, 3), Status::kFailure);
    EXPECT_EQ(module.unregisterMigrator(nullptr), Status::kFailure);
    EXPECT_EQ(module.getMigratorForVersion(3), nullptr);
}

TEST_F(ModuleMigratorTest, AnUnregisteredMigratorsVersionIsFreeAgain)
{
    Migrator first;
    Migrator second;
    ASSERT_EQ(module.registerMigrator(&first, 3), Status::kSuccess);
    EXPECT_EQ(module.unregisterMigrator(&first), Status::kSuccess);
    EXPECT_EQ(module.getMigratorForVersion(3), nullptr);
    EXPECT_EQ(module.registerMigrator(&second, 3), Status::kSuccess);
    EXPECT_EQ(module.getMigratorForVersion(3), &second);
}

TEST_F(ModuleMigratorTest, UnregisteringEmptiesTheSlotOfTheVersionWhoeverHoldsIt)
{
    registerAt({3});
    Migrator other;
    other.setVersion(3);
    EXPECT_EQ(module.unregisterMigrator(&other), Status::kSuccess);
    EXPECT_EQ(module.getMigratorForVersion(3), nullptr);
}

TEST_F(ModuleMigratorTest, UnregisteringFailsBeyondTheSlots)
{
    Migrator other;
    EXPECT_EQ(module.unregisterMigrator(&other), Status::kFailure); // no slots yet
    registerAt({3});
    for (const unsigned int version : {4u, 5u, 0xFFFFFFFFu})
    {
        other.setVersion(version);
        EXPECT_EQ(module.unregisterMigrator(&other), Status::kFailure) << version;
    }
    for (const unsigned int version : {0u, 1u, 2u}) // slots, though empty ones
    {
        other.setVersion(version);
        EXPECT_EQ(module.unregisterMigrator(&other), Status::kSuccess) << version;
    }
    EXPECT_EQ(module.getMigratorForVersion(3), migrators[0].get());
}

TEST(ModuleMigratorsTest, WithoutMemoryForItsSlotTheFirstMigratorIsNotRegistered)
{
    Module module;
    module.setDataVersion(4);
    Migrator migrator;
    const std::size_t failures =
        db2test::failUntilMemorySuffices([&] { return module.registerMigrator(&migrator, 4); },
                                         [&] { EXPECT_EQ(module.getMigratorForVersion(4), nullptr); });
    EXPECT_GT(failures, 0u);
    EXPECT_EQ(module.getMigratorForVersion(4), &migrator);
}

TEST_F(ModuleMigratorTest, AVersionWhoseSlotsMemoryCannotHoldIsNotRegistered)
{
    for (const unsigned int version : {0x7FFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(version);
        module.setDataVersion(version);
        Migrator migrator;
        {
            const HeapThatRunsOut heap(0);
            EXPECT_EQ(module.registerMigrator(&migrator, version), Status::kFailure);
        }
        EXPECT_EQ(module.getMigratorForVersion(version), nullptr);
        EXPECT_EQ(module.getMigratorForVersion(0), nullptr);
    }
}

// --- The versions that it saves ---

TEST_F(ModuleMigratorTest, ACompleteChainOfMigratorsSavesNoVersions)
{
    registerAt({4, 2, 3});
    EXPECT_TRUE(versionsToSave(module).empty());
}

TEST_F(ModuleMigratorTest, AChainWithGapsSavesTheVersionsThatItHas)
{
    registerAt({4, 2});
    EXPECT_EQ(versionsToSave(module), (std::vector<unsigned int>{2, 4}));
    EXPECT_EQ(module.unregisterMigrator(migrators[0].get()), Status::kSuccess);
    EXPECT_EQ(versionsToSave(module), (std::vector<unsigned int>{2}));
}

TEST_F(ModuleMigratorTest, WithoutMigratorsThereAreNoVersionsToSave)
{
    EXPECT_TRUE(versionsToSave(module).empty());
}

TEST_F(ModuleMigratorTest, ADataVersionBelowTwoSavesNoVersions)
{
    registerAt({2, 4});
    for (const unsigned int version : {0u, 1u})
    {
        module.setDataVersion(version);
        EXPECT_TRUE(versionsToSave(module).empty()) << version;
    }
}

TEST_F(ModuleMigratorTest, VersionsAboveTheDataVersionAreNotSaved)
{
    registerAt({4});
    module.setDataVersion(3);
    EXPECT_TRUE(versionsToSave(module).empty());
    module.setDataVersion(5); // the chain gets longer than the slots
    EXPECT_EQ(versionsToSave(module), (std::vector<unsigned int>{4}));
}

TEST_F(ModuleMigratorTest, APlaceholderSavesTheListThatItWasGiven)
{
    registerAt({2, 4});
    module.setUnknownMigrators({3, 9});
    EXPECT_EQ(versionsToSave(module), (std::vector<unsigned int>{2, 4}));
    module.setUnknown(true);
    EXPECT_EQ(versionsToSave(module), (std::vector<unsigned int>{3, 9}));
    module.setUnknownMigrators({});
    EXPECT_TRUE(versionsToSave(module).empty());
}

// --- Migrators ---

TEST(MigratorTest, ANewOneKnowsNoModuleNoVersionAndNoApi)
{
    Migrator migrator;
    EXPECT_EQ(migrator.getModule(), nullptr);
    EXPECT_EQ(migrator.getVersion(), 0u);
    EXPECT_EQ(migrator.getAPI(), nullptr);

    int api = 0;
    migrator.setAPI(&api);
    EXPECT_EQ(migrator.getAPI(), &api);
}

TEST(MigratorTest, TheBaseChangesNoTextsAndAcceptsEveryLoad)
{
    db2test::Scene scene;
    Node* const node = scene.node(L"node");
    Attribute* const attribute = node->findAttributeByName(L"Int");
    const wchar_t text[] = L"old";
    Migrator migrator;

    EXPECT_EQ(migrator.migrateNodeTypeName(text), text);
    EXPECT_EQ(migrator.migrateNodeModuleId(text, L"Type"), text);
    EXPECT_EQ(migrator.migrateAttributeName(text, node), text);
    EXPECT_EQ(migrator.migrateEnumChoice(text, L"Enum", node), text);
    EXPECT_FALSE(migrator.migrateLegacyConnection(attribute, attribute));
    EXPECT_TRUE(migrator.onLoadBegin(*node, L"scene.kq", L"all"));
    EXPECT_TRUE(migrator.onLoadBegin(*node, nullptr, L""));
    EXPECT_TRUE(migrator.onNodeLoaded(*node));
    EXPECT_TRUE(migrator.onLegacyNodeLoaded(*node));
    EXPECT_TRUE(migrator.onLoadSuccess(*node));
}

// --- Objects that cross the library's border ---

TEST(LibraryAllocatedTest, AddsNothingToAnObject)
{
    EXPECT_TRUE(std::is_empty_v<LibraryAllocated>);
    EXPECT_FALSE(std::is_polymorphic_v<Module>);
}

TEST(LibraryAllocatedTest, NewTakesMemoryFromTheLibrarysHeapAndThrowsWhenThereIsNone)
{
    const HeapThatRunsOut heap(0);
    EXPECT_THROW((void)std::make_unique<Module>(), std::bad_alloc);
    EXPECT_TRUE(heap.hasRunOut());
}

TEST(LibraryAllocatedTest, NewAlignsForEveryOrdinaryType)
{
    void* const block = LibraryAllocated::operator new(1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u);
    LibraryAllocated::operator delete(block);
    LibraryAllocated::operator delete(nullptr); // ignored
}

TEST(LibraryAllocatedTest, PlacementNewUsesTheGivenPlaceAndNoMemory)
{
    alignas(Module) unsigned char place[sizeof(Module)];
    const HeapThatRunsOut heap(0);
    auto* const module = new (place) Module;
    EXPECT_EQ(static_cast<void*>(module), static_cast<void*>(place));
    EXPECT_EQ(module->getDataVersion(), 0u);
    module->~Module();
    EXPECT_FALSE(heap.hasRunOut());
}

// --- The module table ---

/// Makes the process's first registration before any case can, and keeps the number that it got.
class FirstRegistration : public ::testing::Environment
{
public:
    void SetUp() override
    {
        if (order_) // a repeated run
            return;
        initLibrary(nullptr, L"test 1.0");
        const auto module = makeModule(L"First");
        module->setRegistrationOrder(77);
        EXPECT_EQ(registerModule(module.get()), Status::kSuccess);
        EXPECT_EQ(unregisterModule(module.get()), Status::kSuccess);
        order_ = module->getRegistrationOrder();
        termLibrary();
    }

    [[nodiscard]] unsigned int order() const { return order_.value(); }

private:
    std::optional<unsigned int> order_;
};

auto* const firstRegistration =
    static_cast<FirstRegistration*>(::testing::AddGlobalTestEnvironment(new FirstRegistration)); // gtest owns it

/// A running library. The table owns the modules that are in it when a case ends.
class ModuleTableTest : public ::testing::Test
{
protected:
    ModuleTableTest() { initLibrary(&log, L"test 1.0"); }
    ~ModuleTableTest() override { termLibrary(); }

    /// Registers a new module, which must succeed.
    Module* registered(const wchar_t* id)
    {
        Module* const module = makeModule(id).release();
        EXPECT_EQ(registerModule(module), Status::kSuccess);
        return module;
    }

    LogRecorder log;
};

TEST_F(ModuleTableTest, ARegisteredModuleIsFoundByItsId)
{
    const Module* const shapes = registered(L"Shapes");
    const Module* const lights = registered(L"Lights");
    EXPECT_EQ(lookupModule(L"Shapes"), shapes);
    EXPECT_EQ(lookupModule(L"Lights"), lights);
    EXPECT_EQ(lookupModule(L"shapes"), nullptr);
    EXPECT_EQ(lookupModule(nullptr), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ModuleTableTest, NullIsRefused)
{
    EXPECT_EQ(registerModule(nullptr), Status::kNullModule);
    EXPECT_EQ(unregisterModule(nullptr), Status::kNullModule);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ModuleTableTest, ASecondModuleOfTheIdIsRefusedAndLoggedWithoutTheId)
{
    const Module* const first = registered(L"Shapes");
    const auto second = makeModule(L"Shapes");
    second->setRegistrationOrder(77);
    EXPECT_EQ(registerModule(second.get()), Status::kDuplicateModule);
    EXPECT_TRUE(log.tookError(kDuplicateText));
    EXPECT_EQ(lookupModule(L"Shapes"), first);
    EXPECT_EQ(second->getRegistrationOrder(), 77u);
}

TEST_F(ModuleTableTest, TheSameModuleTwiceIsADuplicate)
{
    Module* const module = registered(L"Shapes");
    const unsigned int order = module->getRegistrationOrder();
    EXPECT_EQ(registerModule(module), Status::kDuplicateModule);
    EXPECT_TRUE(log.tookError(kDuplicateText));
    EXPECT_EQ(module->getRegistrationOrder(), order);
}

TEST_F(ModuleTableTest, IdsOfTheSameHashAreTheSameId)
{
    const db2test::NameCollision& ids = db2test::nameCollision();
    Module* const first = registered(ids.first.c_str());
    const auto second = makeModule(ids.second.c_str());
    EXPECT_EQ(lookupModule(ids.second.c_str()), first);
    EXPECT_EQ(registerModule(second.get()), Status::kDuplicateModule);
    EXPECT_TRUE(log.tookError(kDuplicateText));

    EXPECT_EQ(unregisterModule(second.get()), Status::kSuccess); // takes out the first
    EXPECT_EQ(lookupModule(ids.first.c_str()), nullptr);
    delete first;
}

TEST_F(ModuleTableTest, RegistrationOrdersCountUpFromZeroAsModulesAreRegistered)
{
    EXPECT_EQ(firstRegistration->order(), 0u);
    const unsigned int first = registered(L"A")->getRegistrationOrder();
    EXPECT_EQ(registered(L"C")->getRegistrationOrder(), first + 1);
    EXPECT_EQ(registered(L"B")->getRegistrationOrder(), first + 2);
}

TEST_F(ModuleTableTest, AFailedRegistrationUsesUpNoOrder)
{
    const unsigned int first = registered(L"A")->getRegistrationOrder();
    const auto second = makeModule(L"A");
    EXPECT_EQ(registerModule(second.get()), Status::kDuplicateModule);
    EXPECT_EQ(registerModule(nullptr), Status::kNullModule);
    EXPECT_EQ(registered(L"B")->getRegistrationOrder(), first + 1);
}

TEST_F(ModuleTableTest, OrdersGoOnAfterUnregisteringAndAfterANewStart)
{
    const std::unique_ptr<Module> a(registered(L"A"));
    const unsigned int first = a->getRegistrationOrder();
    ASSERT_EQ(unregisterModule(a.get()), Status::kSuccess);
    ASSERT_EQ(registerModule(a.get()), Status::kSuccess);
    EXPECT_EQ(a->getRegistrationOrder(), first + 1);

    ASSERT_EQ(unregisterAllModules(), Status::kSuccess);
    EXPECT_EQ(registered(L"B")->getRegistrationOrder(), first + 2);

    termLibrary();
    initLibrary(&log, L"test 1.0");
    EXPECT_EQ(registered(L"B")->getRegistrationOrder(), first + 3);
}

TEST_F(ModuleTableTest, AnUnregisteredModuleBelongsToItsMakerAgain)
{
    std::unique_ptr<Module> module(registered(L"Shapes"));
    EXPECT_EQ(unregisterModule(module.get()), Status::kSuccess);
    EXPECT_EQ(lookupModule(L"Shapes"), nullptr);
    EXPECT_TRUE(module->getId() == L"Shapes");
    EXPECT_EQ(unregisterModule(module.get()), Status::kModuleNotRegistered);
}

TEST_F(ModuleTableTest, AModuleNeverRegisteredCannotBeUnregistered)
{
    const Module* const shapes = registered(L"Shapes");
    const auto lights = makeModule(L"Lights");
    EXPECT_EQ(unregisterModule(lights.get()), Status::kModuleNotRegistered);
    EXPECT_EQ(lookupModule(L"Shapes"), shapes);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ModuleTableTest, UnregisteringTakesOutTheEntryOfTheIdWhicheverModuleItHolds)
{
    const std::unique_ptr<Module> first(registered(L"Shapes"));
    const auto second = makeModule(L"Shapes");
    EXPECT_EQ(unregisterModule(second.get()), Status::kSuccess);
    EXPECT_EQ(lookupModule(L"Shapes"), nullptr);
}

TEST_F(ModuleTableTest, UnregisterAllEmptiesTheTableAndDestroysNoModule)
{
    const std::unique_ptr<Module> a(registered(L"A"));
    const std::unique_ptr<Module> b(registered(L"B"));
    EXPECT_EQ(unregisterAllModules(), Status::kSuccess);
    EXPECT_EQ(lookupModule(L"A"), nullptr);
    EXPECT_EQ(lookupModule(L"B"), nullptr);
    EXPECT_TRUE(a->getId() == L"A");
    EXPECT_TRUE(b->getId() == L"B");
    EXPECT_EQ(unregisterAllModules(), Status::kSuccess); // an empty table, too
}

TEST_F(ModuleTableTest, HoldsManyModules)
{
    for (int i = 0; i < 300; ++i)
        (void)registered((L"module " + std::to_wstring(i)).c_str());
    for (int i = 0; i < 300; ++i)
    {
        const std::wstring id = L"module " + std::to_wstring(i);
        const Module* const module = lookupModule(id.c_str());
        ASSERT_NE(module, nullptr) << i;
        EXPECT_TRUE(module->getId() == id.c_str());
    }
}

TEST_F(ModuleTableTest, TheEndOfTheLibraryDestroysTheRegisteredModulesAlone)
{
    // The leak checker sees whether the registered one is destroyed, the address checker whether the other is.
    (void)registered(L"Registered, and with an id that takes memory of its own");
    const std::unique_ptr<Module> other(registered(L"Other"));
    ASSERT_EQ(unregisterModule(other.get()), Status::kSuccess);
    termLibrary();
    EXPECT_TRUE(other->getId() == L"Other");
    initLibrary(&log, L"test 1.0");
    EXPECT_EQ(lookupModule(L"Registered, and with an id that takes memory of its own"), nullptr);
}

TEST_F(ModuleTableTest, OutsideOfARunTheTableIsNotThere)
{
    termLibrary();
    const auto module = makeModule(L"Shapes");
    EXPECT_EQ(registerModule(module.get()), Status::kFailure);
    EXPECT_EQ(unregisterModule(module.get()), Status::kFailure);
    EXPECT_EQ(lookupModule(L"Shapes"), nullptr);
    EXPECT_EQ(unregisterAllModules(), Status::kFailure);
    initLibrary(&log, L"test 1.0");
    EXPECT_EQ(lookupModule(L"Shapes"), nullptr);
}

TEST_F(ModuleTableTest, WithoutMemoryAModuleIsNotRegisteredAndUsesUpNoOrder)
{
    const unsigned int before = registered(L"A")->getRegistrationOrder();
    termLibrary();
    initLibrary(&log, L"test 1.0"); // with a table that has no memory yet
    Module* const module = makeModule(L"Shapes").release();
    module->setRegistrationOrder(77);
    const std::size_t failures =
        db2test::failUntilMemorySuffices([&] { return registerModule(module); },
                                         [&] {
                                             EXPECT_EQ(lookupModule(L"Shapes"), nullptr);
                                             EXPECT_EQ(module->getRegistrationOrder(), 77u);
                                             EXPECT_EQ(unregisterModule(module), Status::kModuleNotRegistered);
                                         });
    EXPECT_GT(failures, 0u);
    EXPECT_EQ(lookupModule(L"Shapes"), module);
    EXPECT_EQ(module->getRegistrationOrder(), before + 1);
    EXPECT_TRUE(log.lines().empty());
}

// --- The module of the previous generation ---

TEST_F(ModuleTableTest, TheLegacyModulesIdIsFixed)
{
    EXPECT_STREQ(getKQDatabase1ModuleId(), L"KQDatabase1");
}

TEST_F(ModuleTableTest, TheLegacyModuleIsKnownOfVersionTwoOrUnknownOfVersionZero)
{
    for (const bool asUnknown : {false, true})
    {
        SCOPED_TRACE(asUnknown ? "unknown" : "known");
        registerKQDatabase1Module(asUnknown);
        const Module* const module = lookupModule(L"KQDatabase1");
        ASSERT_NE(module, nullptr);
        EXPECT_TRUE(module->getId() == L"KQDatabase1");
        EXPECT_EQ(module->isUnknown(), asUnknown);
        EXPECT_EQ(module->getDataVersion(), asUnknown ? 0u : 2u);

        unregisterKQDatabase1Module();
        EXPECT_EQ(lookupModule(L"KQDatabase1"), nullptr);
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ModuleTableTest, TheLegacyModuleGetsTheNextRegistrationOrder)
{
    const unsigned int first = registered(L"A")->getRegistrationOrder();
    registerKQDatabase1Module(false);
    EXPECT_EQ(lookupModule(L"KQDatabase1")->getRegistrationOrder(), first + 1);
    unregisterKQDatabase1Module();
}

TEST_F(ModuleTableTest, ASecondLegacyModuleIsNotMade)
{
    registerKQDatabase1Module(false);
    const Module* const module = lookupModule(L"KQDatabase1");
    registerKQDatabase1Module(true);
    EXPECT_EQ(lookupModule(L"KQDatabase1"), module);
    EXPECT_FALSE(module->isUnknown());
    unregisterKQDatabase1Module();
    EXPECT_EQ(lookupModule(L"KQDatabase1"), nullptr);
}

TEST_F(ModuleTableTest, UnregisteringALegacyModuleThatIsNotThereDoesNothing)
{
    unregisterKQDatabase1Module();
    registerKQDatabase1Module(false);
    unregisterKQDatabase1Module();
    unregisterKQDatabase1Module();
    EXPECT_EQ(lookupModule(L"KQDatabase1"), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ModuleTableTest, TheLegacyModuleIsDestroyedEvenWhenItIsNoLongerRegistered)
{
    registerKQDatabase1Module(false);
    ASSERT_EQ(unregisterAllModules(), Status::kSuccess);
    unregisterKQDatabase1Module(); // the leak checker sees whether it goes
    registerKQDatabase1Module(true);
    ASSERT_NE(lookupModule(L"KQDatabase1"), nullptr);
    EXPECT_TRUE(lookupModule(L"KQDatabase1")->isUnknown());
    unregisterKQDatabase1Module();
}

TEST_F(ModuleTableTest, AHostsModuleOfTheLegacyIdStaysAndIsTakenOutWithTheLegacyOne)
{
    const std::unique_ptr<Module> own(registered(L"KQDatabase1"));
    registerKQDatabase1Module(false);
    EXPECT_TRUE(log.tookError(kDuplicateText));
    EXPECT_EQ(lookupModule(L"KQDatabase1"), own.get());

    unregisterKQDatabase1Module(); // by the id's hash, whichever module the entry holds
    EXPECT_EQ(lookupModule(L"KQDatabase1"), nullptr);
    EXPECT_TRUE(own->getId() == L"KQDatabase1");
}

TEST_F(ModuleTableTest, WithoutMemoryThereIsNoLegacyModule)
{
    for (std::size_t granted = 0; lookupModule(L"KQDatabase1") == nullptr; ++granted)
    {
        SCOPED_TRACE(granted);
        ASSERT_LT(granted, 100u);
        unregisterKQDatabase1Module(); // one that was made but not registered
        const HeapThatRunsOut heap(granted);
        ASSERT_NO_THROW(registerKQDatabase1Module(false));
    }
    EXPECT_EQ(lookupModule(L"KQDatabase1")->getDataVersion(), 2u);
    unregisterKQDatabase1Module();
}

} // namespace
