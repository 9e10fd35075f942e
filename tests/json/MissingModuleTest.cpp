// Data of a module that an application lacks: whatever is done with it there, an application that has the module finds
// what it would have found if the first one had had it, too.

#include "json/RigApp.h"

#include <db2/UndoManager.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

std::vector<int> valuesOf(Node* node, const wchar_t* name)
{
    std::vector<int> values;
    const AttributeArray* const array = node->findAttributeArrayByName(name);
    for (unsigned int i = 0; i < array->getSize(); ++i)
        values.push_back(array->getAttribute(i)->getValue().asInt());
    return values;
}

// --- Items without a value ---

TEST(JsonMissingModuleTest, ItemsThatLoseTheirReferenceAreSavedWithoutAValue)
{
    std::string file;
    {
        RigApp app(RigApp::kWithModule);
        Node* const source = app.make(L"source");
        Node* const node = app.make(L"node");
        app.resize(node, L"numbers", 9);
        app.reference(attribute(source, L"number"), item(node, L"numbers", 0));
        app.scene.write(item(node, L"numbers", 1), 0);
        app.scene.write(item(node, L"numbers", 2), 3);
        file = app.save();
    }
    {
        RigApp app(RigApp::kWithoutModule, file);
        app.destroy(L"source");
        file = app.save();
        EXPECT_NE(file.find(R"(["numbers", "Int[?]", 9, [0], [1, 0], [2, 3], [3], [4], [5], [6], [7], [8]])"),
                  std::string::npos)
            << file;
    }
    EXPECT_EQ(RigApp(RigApp::kWithoutModule, file).save(), file);
    RigApp app(RigApp::kWithModule, file);
    EXPECT_EQ(valuesOf(app.find(L"node"), L"numbers"), (std::vector<int>{5, 0, 3, 5, 5, 5, 5, 5, 5}));
}

TEST(JsonMissingModuleTest, ItemsOfLegacyArraysAreSavedWithoutAValue)
{
    Scene scene;
    const std::string entry = R"(["gone", "Int[?]", 8, [0], [1], [2], [3], [4, 0], [5], [6], [7]])";
    const std::string file = documentOf({nodeText("\"legacy\": [" + entry + "]")});
    ASSERT_EQ(loadText(scene, file, nullptr, LoadStrategy::kKeepUnhandledLegacyData),
              Status::kLoadedWithUnhandledLegacyData);
    const std::string saved = saveScene(scene);
    EXPECT_NE(saved.find(entry), std::string::npos) << saved;
}

TEST(JsonMissingModuleTest, ItemsThatAnUndoBringsBackAreSavedAsTheyWere)
{
    std::string file;
    {
        RigApp app(RigApp::kWithModule);
        app.resize(app.make(L"node"), L"numbers", 9);
        app.reference(attribute(app.make(L"source"), L"number"), item(app.find(L"node"), L"numbers", 0));
        app.scene.write(item(app.find(L"node"), L"numbers", 1), 0);
        app.scene.write(item(app.find(L"node"), L"numbers", 2), 3);
        file = app.save();
    }
    RigApp app(RigApp::kWithoutModule, file);
    app.destroy(L"source"); // now there are items without a value in the file
    const std::string first = app.save();
    UndoManager undo(&app.scene.core(), app.scene.core());
    ASSERT_EQ(undo.db_resizeAttributeArray(app.find(L"node")->findAttributeArrayByName(L"numbers"), 1),
              Status::kSuccess);
    ASSERT_EQ(undo.db_commit(L"shrink", L"", 0), Status::kSuccess);
    const std::string last = app.save();
    for (int round = 0; round < 2; ++round)
    {
        ASSERT_EQ(undo.undo(), Status::kSuccess);
        EXPECT_EQ(app.save(), first);
        ASSERT_EQ(undo.redo(), Status::kSuccess);
        EXPECT_EQ(app.save(), last);
    }
}

// --- Values that are written ---

TEST(JsonMissingModuleTest, AZeroThatIsMarkedAsAValueIsSavedWhereTheFileHadNone)
{
    std::string file;
    {
        RigApp app(RigApp::kWithModule);
        for (const wchar_t* const name : {L"seven", L"zero", L"unset", L"hub"})
            app.make(name);
        app.resize(app.find(L"hub"), L"numbers", 3); // so that all three stand in the file
        app.reference(attribute(app.find(L"seven"), L"number"), item(app.find(L"hub"), L"numbers", 0));
        app.reference(attribute(app.find(L"zero"), L"number"), item(app.find(L"hub"), L"numbers", 1));
        app.reference(attribute(app.find(L"unset"), L"number"), item(app.find(L"hub"), L"numbers", 2));
        file = app.save();
    }
    {
        RigApp app(RigApp::kWithoutModule, file);
        app.scene.write(attribute(app.find(L"seven"), L"number"), 7);
        app.scene.write(attribute(app.find(L"zero"), L"number"), 0);
        attribute(app.find(L"zero"), L"number")->setFlag(ElementFlag::kValueLoaded);
        file = app.save();
    }
    RigApp app(RigApp::kWithModule, file);
    EXPECT_EQ(attribute(app.find(L"seven"), L"number")->getValue().asInt(), 7);
    EXPECT_EQ(attribute(app.find(L"zero"), L"number")->getValue().asInt(), 0);
    EXPECT_EQ(attribute(app.find(L"unset"), L"number")->getValue().asInt(), 5);
}

// --- Whose value it is ---

TEST(JsonMissingModuleTest, ACopyWithoutReferencesHasAValueWhereTheAttributeThatIsShownHasOne)
{
    const auto copyBoth = [](RigApp& app) {
        for (const wchar_t* const name : {L"a", L"b"})
            dbu_copyNodeWithNoReferences(app.find(name), &app.scene.core(), &app.scene.core(), nullptr, nullptr,
                                         (std::wstring(L"copy of ") + name).c_str());
        app.scene.commit();
    };
    std::string file;
    {
        RigApp app(RigApp::kWithModule);
        for (const wchar_t* const name : {L"zero", L"unset", L"a", L"b"})
            app.make(name);
        app.scene.write(attribute(app.find(L"zero"), L"number"), 0);
        app.reference(attribute(app.find(L"zero"), L"number"), attribute(app.find(L"a"), L"number"));
        app.scene.write(attribute(app.find(L"b"), L"number"), 0);
        app.reference(attribute(app.find(L"unset"), L"number"), attribute(app.find(L"b"), L"number"));
        app.resize(app.find(L"a"), L"numbers", 1);
        app.reference(attribute(app.find(L"zero"), L"number"), item(app.find(L"a"), L"numbers", 0));
        file = app.save();
        copyBoth(app);
        EXPECT_EQ(attribute(app.find(L"copy of a"), L"number")->getValue().asInt(), 0);
        EXPECT_EQ(attribute(app.find(L"copy of b"), L"number")->getValue().asInt(), 5);
    }
    {
        RigApp app(RigApp::kWithoutModule, file);
        copyBoth(app);
        file = app.save();
    }
    RigApp app(RigApp::kWithModule, file);
    EXPECT_EQ(attribute(app.find(L"copy of a"), L"number")->getValue().asInt(), 0);
    EXPECT_EQ(attribute(app.find(L"copy of b"), L"number")->getValue().asInt(), 5);
    EXPECT_EQ(valuesOf(app.find(L"copy of a"), L"numbers"), std::vector<int>{0});
}

TEST(JsonMissingModuleTest, ACopiedValueIsOneEvenIfItIsZeroAndNoValueIsCopiedAsNone)
{
    std::string file;
    {
        RigApp app(RigApp::kWithModule);
        for (const wchar_t* const name : {L"zero", L"unset", L"seven", L"hub"})
            app.make(name);
        app.scene.write(attribute(app.find(L"zero"), L"number"), 0);
        app.scene.write(attribute(app.find(L"seven"), L"number"), 7);
        app.resize(app.find(L"hub"), L"numbers", 3); // so that all three stand in the file
        for (unsigned int i = 0; i < 3; ++i)
            app.reference(attribute(app.find(i == 0   ? L"zero"
                                             : i == 1 ? L"unset"
                                                      : L"seven"),
                                    L"number"),
                          item(app.find(L"hub"), L"numbers", i));
        file = app.save();
    }
    {
        RigApp app(RigApp::kWithoutModule, file);
        dbu_copyAttribute(attribute(app.find(L"seven"), L"number"), attribute(app.find(L"unset"), L"number"),
                          &app.scene.core());
        dbu_copyAttribute(attribute(app.find(L"unset"), L"number"), attribute(app.find(L"zero"), L"number"),
                          &app.scene.core());
        file = app.save();
    }
    RigApp app(RigApp::kWithModule, file);
    EXPECT_EQ(attribute(app.find(L"seven"), L"number")->getValue().asInt(), 5);
    EXPECT_EQ(attribute(app.find(L"unset"), L"number")->getValue().asInt(), 0);
}

// --- Choices ---

/// Three nodes whose colours, without the module, are counted differently: "a" and "b" learn one choice each, and "c"
/// shows the one of "b".
std::string fileOfColours()
{
    RigApp app(RigApp::kWithModule);
    for (const wchar_t* const name : {L"a", L"b", L"c"})
        app.make(name);
    app.scene.write(attribute(app.find(L"a"), L"colour"), 0);
    app.scene.write(attribute(app.find(L"b"), L"colour"), 2);
    app.reference(attribute(app.find(L"b"), L"colour"), attribute(app.find(L"c"), L"colour"));
    return app.save();
}

TEST(JsonMissingModuleTest, AnEnumIsCopiedByTheTextOfItsChoice)
{
    std::string file = fileOfColours();
    {
        RigApp app(RigApp::kWithoutModule, file);
        dbu_copyAttribute(attribute(app.find(L"a"), L"colour"), attribute(app.find(L"c"), L"colour"),
                          &app.scene.core());
        dbu_copyNodeWithNoReferences(app.find(L"c"), &app.scene.core(), &app.scene.core(), nullptr, nullptr, L"d");
        file = app.save();
    }
    RigApp app(RigApp::kWithModule, file);
    EXPECT_EQ(attribute(app.find(L"a"), L"colour")->getValue().asInt(), 2);
    EXPECT_EQ(attribute(app.find(L"d"), L"colour")->getValue().asInt(), 2);
}

TEST(JsonMissingModuleTest, AnEnumWhoseReferenceLeadsOutIsSavedByTheTextOfTheChoiceThatItShows)
{
    std::string file = fileOfColours();
    {
        RigApp app(RigApp::kWithoutModule, file);
        MemoryBlock block;
        MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
        JsonSaver saver(stream, L"scene", SaveStrategy::kTolerateOutsideReferences);
        saver.addNode(app.find(L"c"));
        EXPECT_EQ(saver.save(), Status::kReferenceNotSaved);
        file = textOf(block);
    }
    EXPECT_NE(file.find(R"(["colour", "Enum", "blue"])"), std::string::npos) << file;
}

} // namespace
} // namespace db2test
