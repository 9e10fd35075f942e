#include "support/LoadScene.h"

namespace db2test {
namespace {

/// The header: what is accepted, which modules it leads to and which migrators run.
class LoadStrategyHeaderTest : public LoadTest
{
protected:
    ~LoadStrategyHeaderTest() override
    {
        for (Module* const module : extraModules)
            EXPECT_EQ(unregisterModule(module), Status::kSuccess);
        for (Module* const module : extraModules)
            delete module;
    }

    Module* registerExtra(const wchar_t* id, unsigned int dataVersion)
    {
        auto* const module = new Module;
        module->setId(id);
        module->setDataVersion(dataVersion);
        EXPECT_EQ(registerModule(module), Status::kSuccess);
        extraModules.push_back(module);
        return module;
    }

    void addMigrators(unsigned int first, unsigned int last)
    {
        for (unsigned int version = first; version <= last; ++version)
            addMigrator(version);
    }

    /// Validates the header that a function has filled, and ends the load there.
    Status validate(const std::function<void(TestLoader& loader)>& fill, const wchar_t* fileName = L"file.txt")
    {
        Status status = Status::kNullOutput;
        loader.script = [&](TestLoader& self) {
            fill(self);
            status = self.validateHeaderData();
            return Status::kNullOutput;
        };
        EXPECT_EQ(loader.load(*parent, fileName), Status::kNullOutput);
        return status;
    }

    /// The versions of the migrators that run when a file lists the module "Test" so.
    std::vector<unsigned int> versionsRun(unsigned int dataVersion, const kqx::UIntArray& migratorVersions)
    {
        EXPECT_EQ(validate([&](TestLoader& self) {
                      fillHeader(self, dataVersion);
                      self.getHeaderData().modules[0].migratorVersions = migratorVersions;
                  }),
                  Status::kSuccess);
        std::vector<unsigned int> versions;
        for (const Migrator* const migrator : migratorsRun)
            versions.push_back(migrator->getVersion());
        return versions;
    }

    std::vector<Module*> extraModules; ///< destroyed before the library ends
};

// --- What is accepted ---

TEST_F(LoadStrategyHeaderTest, TheIdentifiersOfBothGenerationsAreAccepted)
{
    for (const wchar_t* const identifier : {L"KQDatabase2", L"KQDatabase1"})
    {
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [&](TestLoader& self) {
            fillHeader(self);
            self.getHeaderData().identifier = identifier;
            return self.validateHeaderData();
        };
        EXPECT_EQ(once.load(*parent, nullptr), Status::kSuccess);
    }
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyHeaderTest, AnyOtherIdentifierIsRefusedBeforeAnythingElse)
{
    for (const wchar_t* const identifier : {L"", L"KQDatabase3", L"kqdatabase2", L"KQDatabase2 "})
    {
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [&](TestLoader& self) {
            fillHeader(self);
            self.getHeaderData().identifier = identifier;
            self.getHeaderData().loaderVersion = 0;
            addModule(self, L"Missing", 1);
            return self.validateHeaderData();
        };
        EXPECT_EQ(once.load(*parent, nullptr), Status::kFailure);
        EXPECT_EQ(logged(), (Lines{L"E Invalid file. Not an KQDatabase2 compatible file."}));
    }
    EXPECT_EQ(lookupModule(L"Missing"), nullptr);
}

TEST_F(LoadStrategyHeaderTest, LoaderVersionZeroIsRefused)
{
    EXPECT_EQ(validate([](TestLoader& self) {
                  fillHeader(self);
                  self.getHeaderData().loaderVersion = 0;
              }),
              Status::kFailure);
    EXPECT_EQ(logged(), (Lines{L"E Invalid loader version"}));
}

TEST_F(LoadStrategyHeaderTest, TheLatestLoaderVersionIsAccepted)
{
    EXPECT_EQ(validate([](TestLoader& self) {
                  fillHeader(self);
                  self.getHeaderData().loaderVersion = self.getLatestLoaderVersion();
              }),
              Status::kSuccess);
    EXPECT_EQ(loader.getLatestLoaderVersion(), 3u);
}

TEST_F(LoadStrategyHeaderTest, ANewerLoaderVersionIsRefusedBeforeModulesAreMade)
{
    EXPECT_EQ(validate([](TestLoader& self) {
                  fillHeader(self);
                  self.getHeaderData().loaderVersion = 4;
                  addModule(self, L"Missing", 1);
              }),
              Status::kFailure);
    EXPECT_EQ(logged(),
              (Lines{L"E Cannot load file. Loader version '4' is newer than the current loader version '3'"}));
    EXPECT_EQ(lookupModule(L"Missing"), nullptr);
}

TEST_F(LoadStrategyHeaderTest, AHeaderWithoutModulesIsAccepted)
{
    EXPECT_EQ(validate([](TestLoader& self) {
                  fillHeader(self);
                  self.getHeaderData().modules.clear();
              }),
              Status::kSuccess);
}

// --- Modules ---

TEST_F(LoadStrategyHeaderTest, ARegisteredModuleIsFound)
{
    validate([](TestLoader& self) { fillHeader(self); });
    EXPECT_EQ(loader.getHeaderData().modules[0].module, &scene.module());
}

TEST_F(LoadStrategyHeaderTest, AMissingModuleGetsAPlaceholder)
{
    EXPECT_EQ(validate([](TestLoader& self) {
                  fillHeader(self);
                  addModule(self, L"Missing", 8, {3, 7});
              }),
              Status::kSuccess);
    Module* const placeholder = lookupModule(L"Missing");
    ASSERT_NE(placeholder, nullptr);
    EXPECT_EQ(loader.getHeaderData().modules[1].module, placeholder);
    EXPECT_TRUE(placeholder->isUnknown());
    EXPECT_EQ(placeholder->getId(), L"Missing");
    EXPECT_EQ(placeholder->getDataVersion(), 8u);
    kqx::UIntArray versions;
    placeholder->getMigratorVersionsToSave(versions);
    EXPECT_EQ(versions, (kqx::UIntArray{3, 7}));
    EXPECT_EQ(migratorsRun.size(), 0u);
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyHeaderTest, APlaceholderOutlivesTheLoaderAndALaterFailure)
{
    {
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [](TestLoader& self) {
            fillHeader(self, 6); // newer than the application's
            addModule(self, L"Missing", 1);
            return self.validateHeaderData();
        };
        EXPECT_EQ(once.load(*parent, nullptr), Status::kFailure);
    }
    EXPECT_NE(lookupModule(L"Missing"), nullptr);
}

TEST_F(LoadStrategyHeaderTest, APlaceholderKeepsTheVersionOfTheFirstFile)
{
    for (const unsigned int version : {2u, 1u})
    {
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [&](TestLoader& self) {
            fillHeader(self);
            addModule(self, L"Missing", version);
            return self.validateHeaderData();
        };
        EXPECT_EQ(once.load(*parent, nullptr), Status::kSuccess);
        EXPECT_EQ(lookupModule(L"Missing")->getDataVersion(), 2u);
    }
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyHeaderTest, ANewerFileOfAPlaceholderIsRefused)
{
    for (const unsigned int version : {2u, 3u})
    {
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [&](TestLoader& self) {
            fillHeader(self);
            addModule(self, L"Missing", version);
            return self.validateHeaderData();
        };
        EXPECT_EQ(once.load(*parent, nullptr), version == 2 ? Status::kSuccess : Status::kFailure);
    }
    EXPECT_EQ(logged(),
              (Lines{L"E File version '3' for module 'Missing' is newer than this application supports (2)."}));
}

TEST_F(LoadStrategyHeaderTest, AModuleTwiceInAFileHasOnePlaceholder)
{
    EXPECT_EQ(validate([](TestLoader& self) {
                  fillHeader(self);
                  addModule(self, L"Missing", 1);
                  addModule(self, L"Missing", 1);
              }),
              Status::kSuccess);
    EXPECT_EQ(loader.getHeaderData().modules[1].module, loader.getHeaderData().modules[2].module);
}

TEST_F(LoadStrategyHeaderTest, EntriesAreSortedByTheOrderOfRegistration)
{
    registerExtra(L"Second", 1);
    registerExtra(L"Third", 1);
    EXPECT_EQ(validate([](TestLoader& self) {
                  addModule(self, L"Missing", 1);
                  addModule(self, L"Third", 1);
                  addModule(self, L"Second", 1);
                  fillHeader(self);
              }),
              Status::kSuccess);
    std::wstring order;
    for (const HeaderData::ModuleEntry& entry : loader.getHeaderData().modules)
        order += std::wstring(entry.moduleId) + L" ";
    EXPECT_EQ(order, L"Test Second Third Missing ");
}

TEST_F(LoadStrategyHeaderTest, ANewerModuleIsRefusedBeforeAnyMigratorBegins)
{
    addMigrators(2, 5);
    registerExtra(L"Second", 1);
    EXPECT_EQ(validate([](TestLoader& self) {
                  fillHeader(self, 3);
                  addModule(self, L"Second", 2);
              }),
              Status::kFailure);
    EXPECT_EQ(logged(),
              (Lines{L"E File version '2' for module 'Second' is newer than this application supports (1)."}));
    EXPECT_EQ(calls, Lines{});
    EXPECT_EQ(migratorsRun.size(), 0u);
}

// --- Which migrators run ---

TEST_F(LoadStrategyHeaderTest, AFileOfAnOlderVersionRunsTheMigratorsBehindIt)
{
    addMigrators(2, 5);
    EXPECT_EQ(versionsRun(3, {}), (std::vector<unsigned int>{4, 5}));
    EXPECT_EQ(logged(),
              (Lines{L"I The following migrators will run:", L"I Module Test version 4", L"I Module Test version 5"}));
    EXPECT_EQ(calls, (Lines{L"4:begin(parent, file.txt, scene)", L"5:begin(parent, file.txt, scene)"}));
}

TEST_F(LoadStrategyHeaderTest, WhatTheWriterLackedRunsFirst)
{
    addMigrators(2, 5);
    EXPECT_EQ(versionsRun(3, {2}), (std::vector<unsigned int>{3, 4, 5}));
}

TEST_F(LoadStrategyHeaderTest, WhatTheWriterHadDoesNotRunAgain)
{
    addMigrators(2, 5);
    EXPECT_EQ(versionsRun(5, {3, 4}), (std::vector<unsigned int>{2, 5}));
}

TEST_F(LoadStrategyHeaderTest, AVersionWithoutAMigratorIsPassedOver)
{
    addMigrator(3);
    addMigrator(5);
    EXPECT_EQ(versionsRun(2, {}), (std::vector<unsigned int>{3, 5}));
}

TEST_F(LoadStrategyHeaderTest, AFileOfThePresentVersionRunsNone)
{
    addMigrators(2, 5);
    EXPECT_EQ(versionsRun(5, {}), std::vector<unsigned int>{});
    EXPECT_EQ(logged(), Lines{});
    EXPECT_EQ(calls, Lines{});
}

TEST_F(LoadStrategyHeaderTest, VersionZeroRunsAll)
{
    addMigrators(2, 5);
    EXPECT_EQ(versionsRun(0, {}), (std::vector<unsigned int>{2, 3, 4, 5}));
}

TEST_F(LoadStrategyHeaderTest, ALargeVersionIsNotCountedUpTo)
{
    scene.module().setDataVersion(0xFFFFFFFFu);
    addMigrators(4, 4);
    EXPECT_EQ(versionsRun(0xFFFFFFFFu, {2}), (std::vector<unsigned int>{4}));
    migratorsRun.clear();
    TestLoader once(stream, data, scene.core(), 3, 0, &migratorsRun);
    once.script = [](TestLoader& self) {
        fillHeader(self, 1);
        return self.validateHeaderData();
    };
    EXPECT_EQ(once.load(*parent, nullptr), Status::kLoadedWithMigration);
    EXPECT_EQ(migratorsRun.size(), 1u);
}

TEST_F(LoadStrategyHeaderTest, MigratorsOfModulesRegisteredEarlierRunFirst)
{
    Module* const second = registerExtra(L"Second", 2);
    TestMigrator migrator(calls);
    ASSERT_EQ(second->registerMigrator(&migrator, 2), Status::kSuccess);
    addMigrators(5, 5);
    EXPECT_EQ(validate([](TestLoader& self) {
                  addModule(self, L"Second", 1);
                  fillHeader(self, 4);
              }),
              Status::kSuccess);
    EXPECT_EQ(logged(), (Lines{L"I The following migrators will run:", L"I Module Test version 5",
                               L"I Module Second version 2"}));
    EXPECT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].front(), L'5');
}

TEST_F(LoadStrategyHeaderTest, TheCallersListIsReplaced)
{
    addMigrators(2, 5);
    TestMigrator former(calls);
    migratorsRun.push_back(&former);
    EXPECT_EQ(versionsRun(4, {}), (std::vector<unsigned int>{5}));
}

TEST_F(LoadStrategyHeaderTest, WithoutAListTheMigratorsRunAllTheSame)
{
    addMigrators(5, 5);
    TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
    once.script = [](TestLoader& self) {
        fillHeader(self, 4);
        return self.validateHeaderData();
    };
    EXPECT_EQ(once.load(*parent, nullptr), Status::kLoadedWithMigration);
    EXPECT_EQ(calls.size(), 2u); // begin and success
}

TEST_F(LoadStrategyHeaderTest, TheFirstMigratorThatRefusesTheBeginningEndsIt)
{
    addMigrators(3, 5);
    migrators[4]->refuse(L"begin");
    EXPECT_EQ(validate([](TestLoader& self) { fillHeader(self, 2); }, nullptr), Status::kFailure);
    EXPECT_EQ(calls, (Lines{L"3:begin(parent, , scene)", L"4:begin(parent, , scene)"}));
    EXPECT_EQ(logged().size(), 4u); // the list, and no message for the refusal
    EXPECT_EQ(migratorsRun.size(), 3u);
}

TEST_F(LoadStrategyHeaderTest, PlaceholdersContributeNoMigrators)
{
    addMigrators(2, 5);
    EXPECT_EQ(validate([](TestLoader& self) {
                  fillHeader(self);
                  addModule(self, L"Missing", 3, {2});
              }),
              Status::kSuccess);
    EXPECT_EQ(migratorsRun.size(), 0u);
}

TEST_F(LoadStrategyHeaderTest, ASecondFileReplacesThePlaceholdersListOnlyWhenItHasOne)
{
    for (const kqx::UIntArray& list : {kqx::UIntArray{2}, kqx::UIntArray{}})
    {
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [&](TestLoader& self) {
            fillHeader(self);
            addModule(self, L"Missing", 3, list);
            return self.validateHeaderData();
        };
        EXPECT_EQ(once.load(*parent, nullptr), Status::kSuccess);
        kqx::UIntArray versions;
        lookupModule(L"Missing")->getMigratorVersionsToSave(versions);
        EXPECT_EQ(versions, (kqx::UIntArray{2}));
    }
}

} // namespace
} // namespace db2test
