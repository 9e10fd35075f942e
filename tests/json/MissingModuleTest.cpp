// Data of a module that an application lacks: whatever is done with it there, an application that has the module finds
// what it would have found if the first one had had it, too.

#include "support/Random.h"
#include "support/TreeDump.h"
#include "json/Documents.h"

#include <db2/AttributeIterators.h>
#include <db2/EnumAttributeMetaDataDef.h>

#include <functional>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace db2test {
namespace {

constexpr unsigned int kThing = 90;

/// An application with or without the module "Rig", whose type "Thing" has an Int, a String and an Enum, each once alone
/// and once as an array, with defaults that only the type knows.
class App
{
public:
    enum Kind
    {
        kWithModule,
        kWithoutModule
    };

    explicit App(Kind kind)
    {
        if (kind == kWithoutModule)
            return;
        auto* const module = new Module;
        module->setId(L"Rig");
        EXPECT_EQ(registerModule(module), Status::kSuccess);
        auto* const thing = new NodeTemplate(L"Thing", kThing, *module);
        IntAttributeMetaDataDef number;
        number.setDefaultValue(5);
        add(*thing, number, L"number", L"numbers");
        StringAttributeMetaDataDef text;
        EXPECT_TRUE(text.setDefaultValue(L"unset"));
        add(*thing, text, L"text", L"texts");
        EnumAttributeMetaDataDef colour;
        for (const wchar_t* const choice : {L"red", L"green", L"blue"})
            EXPECT_TRUE(colour.addChoice(choice));
        colour.setDefaultValue(1);
        add(*thing, colour, L"colour", L"colours");
        EXPECT_EQ(scene.registry().registerNodeTemplate(thing), Status::kSuccess);
    }
    App(Kind kind, const std::string& file) : App(kind)
    {
        EXPECT_EQ(loadText(scene, file), Status::kSuccess);
        for (const LogRecorder::Line& line : scene.log().take())
            ADD_FAILURE() << std::string(line.text.begin(), line.text.end());
    }

    Node* make(const wchar_t* name) { return scene.nodeOf(kThing, name); }
    Node* find(const wchar_t* name) { return scene.root()->findChildByName(name); }
    void reference(Attribute* referenced, Attribute* referencer)
    {
        ASSERT_EQ(scene.core().db_createReference(referenced, referencer, false), Status::kSuccess);
    }
    void resize(Node* node, const wchar_t* name, unsigned int size)
    {
        ASSERT_EQ(dbu_resizeAttributeArray(node->findAttributeArrayByName(name), size, &scene.core()),
                  Status::kSuccess);
    }
    void destroy(const wchar_t* name)
    {
        dbu_destroyNodeRecursively(find(name), &scene.core());
        scene.commit();
    }
    [[nodiscard]] std::string save(unsigned int options = 0, Status expected = Status::kSuccess)
    {
        return saveScene(scene, options, expected);
    }

    Scene scene;

private:
    static void add(NodeTemplate& thing, ElementMetaDataDef& definition, const wchar_t* name, const wchar_t* arrayName)
    {
        EXPECT_EQ(thing.addAttribute(definition, name), Status::kSuccess);
        definition.setArray(true);
        EXPECT_EQ(thing.addAttribute(definition, arrayName), Status::kSuccess);
    }
};

Attribute* attribute(Node* node, const wchar_t* name)
{
    return node->findAttributeByName(name);
}

Attribute* item(Node* node, const wchar_t* name, unsigned int index)
{
    return node->findAttributeArrayByName(name)->getAttribute(index);
}

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
        App app(App::kWithModule);
        Node* const source = app.make(L"source");
        Node* const node = app.make(L"node");
        app.resize(node, L"numbers", 9);
        app.reference(attribute(source, L"number"), item(node, L"numbers", 0));
        app.scene.write(item(node, L"numbers", 1), 0);
        app.scene.write(item(node, L"numbers", 2), 3);
        file = app.save();
    }
    {
        App app(App::kWithoutModule, file);
        app.destroy(L"source");
        file = app.save();
        EXPECT_NE(file.find(R"(["numbers", "Int[?]", 9, [0], [1, 0], [2, 3], [3], [4], [5], [6], [7], [8]])"),
                  std::string::npos)
            << file;
    }
    EXPECT_EQ(App(App::kWithoutModule, file).save(), file);
    App app(App::kWithModule, file);
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

// --- Whose value it is ---

TEST(JsonMissingModuleTest, ACopyWithoutReferencesHasAValueWhereTheAttributeThatIsShownHasOne)
{
    const auto copyBoth = [](App& app) {
        for (const wchar_t* const name : {L"a", L"b"})
            dbu_copyNodeWithNoReferences(app.find(name), &app.scene.core(), &app.scene.core(), nullptr, nullptr,
                                         (std::wstring(L"copy of ") + name).c_str());
        app.scene.commit();
    };
    std::string file;
    {
        App app(App::kWithModule);
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
        App app(App::kWithoutModule, file);
        copyBoth(app);
        file = app.save();
    }
    App app(App::kWithModule, file);
    EXPECT_EQ(attribute(app.find(L"copy of a"), L"number")->getValue().asInt(), 0);
    EXPECT_EQ(attribute(app.find(L"copy of b"), L"number")->getValue().asInt(), 5);
    EXPECT_EQ(valuesOf(app.find(L"copy of a"), L"numbers"), std::vector<int>{0});
}

TEST(JsonMissingModuleTest, ACopiedValueIsOneEvenIfItIsZeroAndNoValueIsCopiedAsNone)
{
    std::string file;
    {
        App app(App::kWithModule);
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
        App app(App::kWithoutModule, file);
        dbu_copyAttribute(attribute(app.find(L"seven"), L"number"), attribute(app.find(L"unset"), L"number"),
                          &app.scene.core());
        dbu_copyAttribute(attribute(app.find(L"unset"), L"number"), attribute(app.find(L"zero"), L"number"),
                          &app.scene.core());
        file = app.save();
    }
    App app(App::kWithModule, file);
    EXPECT_EQ(attribute(app.find(L"seven"), L"number")->getValue().asInt(), 5);
    EXPECT_EQ(attribute(app.find(L"unset"), L"number")->getValue().asInt(), 0);
}

// --- Choices ---

/// Three nodes whose colours, without the module, are counted differently: "a" and "b" learn one choice each, and "c"
/// shows the one of "b".
std::string fileOfColours()
{
    App app(App::kWithModule);
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
        App app(App::kWithoutModule, file);
        dbu_copyAttribute(attribute(app.find(L"a"), L"colour"), attribute(app.find(L"c"), L"colour"),
                          &app.scene.core());
        dbu_copyNodeWithNoReferences(app.find(L"c"), &app.scene.core(), &app.scene.core(), nullptr, nullptr, L"d");
        file = app.save();
    }
    App app(App::kWithModule, file);
    EXPECT_EQ(attribute(app.find(L"a"), L"colour")->getValue().asInt(), 2);
    EXPECT_EQ(attribute(app.find(L"d"), L"colour")->getValue().asInt(), 2);
}

TEST(JsonMissingModuleTest, AnEnumWhoseReferenceLeadsOutIsSavedByTheTextOfTheChoiceThatItShows)
{
    std::string file = fileOfColours();
    {
        App app(App::kWithoutModule, file);
        MemoryBlock block;
        MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
        JsonSaver saver(stream, L"scene", SaveStrategy::kTolerateOutsideReferences);
        saver.addNode(app.find(L"c"));
        EXPECT_EQ(saver.save(), Status::kReferenceNotSaved);
        file = textOf(block);
    }
    EXPECT_NE(file.find(R"(["colour", "Enum", "blue"])"), std::string::npos) << file;
}

// --- Everything at once ---

/// An edit that any application can make of one file, and what it answered in the first.
struct Edit
{
    std::function<Status(App& app)> make;
    Status answer;
};

/// Makes random edits in an application without the module, about what it has, which of an unknown node is what stood in
/// the file; and writes them down. A library serves one application at a time, so the other one makes them later.
class RandomEditor
{
public:
    explicit RandomEditor(const std::string& file) : app_(App::kWithoutModule, file) {}

    [[nodiscard]] const std::vector<Edit>& edits() const { return edits_; }
    [[nodiscard]] std::string save()
    {
        app_.scene.commit();
        return app_.save();
    }

    void edit(Random& random)
    {
        const std::size_t count = nodes(app_).size();
        if (count == 0)
            return;
        const std::size_t a = random.below(count);
        const std::size_t b = random.below(count);
        switch (random.below(9))
        {
        case 0:
            return make([=](App& app) {
                dbu_destroyNodeRecursively(nodes(app)[a], &app.scene.core());
                return Status::kSuccess;
            });
        case 1:
            return make([=](App& app) {
                CoreManager& core = app.scene.core();
                dbu_copyNodeRecursively(nullptr, nodes(app)[a], &core, &core, nodes(app)[b], nullptr, nullptr, nullptr,
                                        false);
                return Status::kSuccess;
            });
        case 2:
            return make([=](App& app) {
                CoreManager& core = app.scene.core();
                dbu_copyNodeRecursivelyWithNoReferences(nodes(app)[a], &core, &core, nodes(app)[b], nullptr, nullptr);
                return Status::kSuccess;
            });
        case 3:
            return make([=](App& app) {
                return app.scene.core().db_reparentNode(nodes(app)[a], nodes(app)[b], nullptr, nullptr);
            });
        case 4: return resize(a, random);
        default: return editAttributes(random);
        }
    }

    static std::vector<Node*> nodes(App& app)
    {
        std::vector<Node*> nodes;
        for (NodeIterator walk(app.scene.root()); walk.next();)
            nodes.push_back(walk.node());
        return nodes;
    }

private:
    /// @param edit  keeps what it needs by value.
    void make(std::function<Status(App& app)> edit)
    {
        const Status answer = edit(app_);
        edits_.push_back({std::move(edit), answer});
    }

    /// Items that are new get values: the defaults of those of an unknown array are not the type's.
    void resize(std::size_t node, Random& random)
    {
        const bool isText = random.chance(1, 2);
        const wchar_t* const name = isText ? L"texts" : L"numbers";
        const AttributeArray* const array = nodes(app_)[node]->findAttributeArrayByName(name);
        if (array == nullptr)
            return;
        const unsigned int oldSize = array->getSize();
        const auto size = static_cast<unsigned int>(random.below(12));
        make([=](App& app) {
            Node* const at = nodes(app)[node];
            app.resize(at, name, size);
            for (unsigned int i = oldSize; i < size; ++i)
                isText ? app.scene.write(item(at, name, i), L"new") : app.scene.write(item(at, name, i), 0);
            return Status::kSuccess;
        });
    }

    /// An attribute or item that the application without the module has.
    struct Place
    {
        std::size_t node;
        std::wstring name;
        int item; ///< -1 for an attribute
    };

    std::vector<Place> places(AttributeTypeId type)
    {
        std::vector<Place> places;
        const std::vector<Node*> all = nodes(app_);
        for (std::size_t n = 0; n < all.size(); ++n)
        {
            for (unsigned int i = 0; i < all[n]->getElementCount(); ++i)
            {
                const Element& element = *all[n]->getElement(i);
                if (element.getTypeId() != type)
                    continue;
                if (!element.isAttributeArray())
                    places.push_back({n, element.getName(), -1});
                for (unsigned int k = 0;
                     element.isAttributeArray() && k < static_cast<const AttributeArray&>(element).getSize(); ++k)
                    places.push_back({n, element.getName(), static_cast<int>(k)});
            }
        }
        return places;
    }
    static Attribute* at(App& app, const Place& place)
    {
        Node* const node = nodes(app)[place.node];
        return place.item < 0 ? attribute(node, place.name.c_str())
                              : item(node, place.name.c_str(), static_cast<unsigned int>(place.item));
    }

    void editAttributes(Random& random)
    {
        const AttributeTypeId types[] = {AttributeType::kInt, AttributeType::kString, AttributeType::kEnum};
        const AttributeTypeId type = random.pick(types);
        const std::vector<Place> all = places(type);
        if (all.empty())
            return;
        const Place a = random.pick(all);
        const Place b = random.pick(all);
        switch (random.below(4))
        {
        case 0:
            return make([=](App& app) { return app.scene.core().db_createReference(at(app, a), at(app, b), false); });
        case 1: return make([=](App& app) { return app.scene.core().db_destroyReference(at(app, a)); });
        case 2:
            return make([=](App& app) {
                dbu_copyAttribute(at(app, b), at(app, a), &app.scene.core());
                return Status::kSuccess;
            });
        default:
            // Values that are no default of an unknown attribute, and no choices, which are written by their texts.
            if (at(app_, a)->getReference() != nullptr || type == AttributeType::kEnum)
                return;
            return make([=](App& app) {
                type == AttributeType::kInt ? app.scene.write(at(app, a), 9) : app.scene.write(at(app, a), L"written");
                return Status::kSuccess;
            });
        }
    }

    App app_;
    std::vector<Edit> edits_;
};

/// A file with a tree of things, with values of all kinds and references between them.
std::string randomFile(Random& random)
{
    App app(App::kWithModule);
    for (const wchar_t* const name : {L"a", L"b", L"c", L"d", L"e", L"f"})
    {
        const std::vector<Node*> nodes = RandomEditor::nodes(app);
        Node* const node =
            app.scene.nodeOf(kThing, name, nodes.empty() || random.chance(1, 3) ? nullptr : random.pick(nodes));
        for (const wchar_t* const array : {L"numbers", L"texts", L"colours"})
            app.resize(node, array, static_cast<unsigned int>(random.below(12)));
    }
    std::vector<Attribute*> attributes;
    for (Node* const node : RandomEditor::nodes(app))
        for (AttributeIterator walk(node); walk.next();)
            attributes.push_back(walk.attr());
    for (Attribute* const attribute : attributes)
    {
        if (!random.chance(1, 3))
            continue;
        if (attribute->getTypeId() == AttributeType::kString)
            app.scene.write(attribute, random.chance(1, 2) ? L"text" : L"");
        else
            app.scene.write(attribute, static_cast<int>(random.below(3)));
    }
    for (std::size_t i = 0; i < attributes.size(); ++i)
    {
        Attribute* const a = random.pick(attributes);
        Attribute* const b = random.pick(attributes);
        if (a->getTypeId() == b->getTypeId())
            static_cast<void>(app.scene.core().db_createReference(a, b, false));
    }
    return app.save();
}

std::wstring dumpWithModule(const std::string& file)
{
    App app(App::kWithModule, file);
    return dumpTree(app.scene.core(), DumpDetail::kContent);
}

TEST(JsonMissingModuleTest, TheSameEditsWithAndWithoutTheModuleGiveTheSameTree)
{
    Random seeds = Random::fresh();
    std::cout << seeds.description() << '\n';
    for (int run = 0; run < 150 && !::testing::Test::HasFailure(); ++run)
    {
        Random random(seeds.bits());
        SCOPED_TRACE(::testing::Message() << seeds.description() << ", run " << run);
        const std::string file = randomFile(random);
        std::vector<Edit> edits;
        std::string savedWithout;
        {
            RandomEditor editor(file);
            for (int i = 0; i < 12; ++i)
                editor.edit(random);
            edits = editor.edits();
            savedWithout = editor.save();
        }
        std::string savedWith;
        {
            App app(App::kWithModule, file);
            for (const Edit& edit : edits)
                EXPECT_EQ(edit.make(app), edit.answer);
            app.scene.commit();
            savedWith = app.save();
        }
        EXPECT_TRUE(isSameDump(dumpWithModule(savedWith), dumpWithModule(savedWithout)));
    }
}

} // namespace
} // namespace db2test
