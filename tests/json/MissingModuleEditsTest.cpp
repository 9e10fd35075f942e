// Random edits of data of a module, made with and without the module: both give the same tree.

#include "support/Random.h"
#include "support/TreeDump.h"
#include "json/RigApp.h"

#include <db2/AttributeIterators.h>

#include <functional>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace db2test {
namespace {

/// An edit that any application can make of one file, and what it answered in the first.
struct Edit
{
    std::function<Status(RigApp& app)> make;
    Status answer;
};

/// Makes random edits in an application without the module, about what it has, which of an unknown node is what stood in
/// the file; and writes them down. A library serves one application at a time, so the other one makes them later.
class RandomEditor
{
public:
    explicit RandomEditor(const std::string& file) : app_(RigApp::kWithoutModule, file) {}

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
            return make([=](RigApp& app) {
                dbu_destroyNodeRecursively(nodes(app)[a], &app.scene.core());
                return Status::kSuccess;
            });
        case 1:
            return make([=](RigApp& app) {
                CoreManager& core = app.scene.core();
                dbu_copyNodeRecursively(nullptr, nodes(app)[a], &core, &core, nodes(app)[b], nullptr, nullptr, nullptr,
                                        false);
                return Status::kSuccess;
            });
        case 2:
            return make([=](RigApp& app) {
                CoreManager& core = app.scene.core();
                dbu_copyNodeRecursivelyWithNoReferences(nodes(app)[a], &core, &core, nodes(app)[b], nullptr, nullptr);
                return Status::kSuccess;
            });
        case 3:
            return make([=](RigApp& app) {
                return app.scene.core().db_reparentNode(nodes(app)[a], nodes(app)[b], nullptr, nullptr);
            });
        case 4: return resize(a, random);
        default: return editAttributes(random);
        }
    }

    static std::vector<Node*> nodes(RigApp& app)
    {
        std::vector<Node*> nodes;
        for (NodeIterator walk(app.scene.root()); walk.next();)
            nodes.push_back(walk.node());
        return nodes;
    }

private:
    /// @param edit  keeps what it needs by value.
    void make(std::function<Status(RigApp& app)> edit)
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
        make([=](RigApp& app) {
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
    static Attribute* at(RigApp& app, const Place& place)
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
            return make(
                [=](RigApp& app) { return app.scene.core().db_createReference(at(app, a), at(app, b), false); });
        case 1: return make([=](RigApp& app) { return app.scene.core().db_destroyReference(at(app, a)); });
        case 2:
            return make([=](RigApp& app) {
                dbu_copyAttribute(at(app, b), at(app, a), &app.scene.core());
                return Status::kSuccess;
            });
        default:
            // Values that are no default of an unknown attribute, and no choices, which are written by their texts.
            if (at(app_, a)->getReference() != nullptr || type == AttributeType::kEnum)
                return;
            return make([=](RigApp& app) {
                type == AttributeType::kInt ? app.scene.write(at(app, a), 9) : app.scene.write(at(app, a), L"written");
                return Status::kSuccess;
            });
        }
    }

    RigApp app_;
    std::vector<Edit> edits_;
};

/// A file with a tree of things, with values of all kinds and references between them.
std::string randomFile(Random& random)
{
    RigApp app(RigApp::kWithModule);
    for (const wchar_t* const name : {L"a", L"b", L"c", L"d", L"e", L"f"})
    {
        const std::vector<Node*> nodes = RandomEditor::nodes(app);
        Node* const node =
            app.scene.nodeOf(RigApp::kThing, name, nodes.empty() || random.chance(1, 3) ? nullptr : random.pick(nodes));
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
    RigApp app(RigApp::kWithModule, file);
    return dumpTree(app.scene.core(), DumpDetail::kContent);
}

TEST(JsonMissingModuleEditsTest, TheSameEditsWithAndWithoutTheModuleGiveTheSameTree)
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
            RigApp app(RigApp::kWithModule, file);
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
