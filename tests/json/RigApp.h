#pragma once

#include "json/Documents.h"

#include <db2/EnumAttributeMetaDataDef.h>

#include <string>

/// Applications of which one has a module and the other only data of it.
namespace db2test {

/// An application with or without the module "Rig", whose type "Thing" has an Int, a String and an Enum, each once alone
/// and once as an array, with defaults that only the type knows.
class RigApp
{
public:
    static constexpr unsigned int kThing = 90; ///< the type's id, with the module

    enum Kind
    {
        kWithModule,
        kWithoutModule
    };

    explicit RigApp(Kind kind)
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
    RigApp(Kind kind, const std::string& file) : RigApp(kind)
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

inline Attribute* attribute(Node* node, const wchar_t* name)
{
    return node->findAttributeByName(name);
}

inline Attribute* item(Node* node, const wchar_t* name, unsigned int index)
{
    return node->findAttributeArrayByName(name)->getAttribute(index);
}

} // namespace db2test
