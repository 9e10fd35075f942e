// The migrators of the stage lighting program in migration.cpp: a class for each version that changed something.

#pragma once

#include <db2/db2.h>

#include <map>
#include <string_view>
#include <vector>

namespace stage {

using db2::Status;

/// The types of version 4.
enum TypeId : unsigned int
{
    kStage = 1,
    kDimmer,
    kPointLight,
    kSpotLight,
    kShutter
};

/// The attribute "val" of a Dimmer is called "level".
class MigratorTo2 : public db2::Migrator
{
    const wchar_t* migrateAttributeName(const wchar_t* name, db2::Node* node) override
    {
        const bool isOld = node->getTypeName() == L"Dimmer" && std::wstring_view(name) == L"val";
        return isOld ? L"level" : name;
    }
};

/// The nodes of a type that is gone; they are there until the load ends.
inline std::vector<db2::Node*> findLegacyNodes(db2::Node& loadParent, const wchar_t* typeName)
{
    std::vector<db2::Node*> found;
    for (db2::NodeIterator nodes(&loadParent); nodes.next();)
        if (nodes.node()->isLegacy() && nodes.node()->getTypeName() == typeName)
            found.push_back(nodes.node());
    return found;
}

/// Puts a PointLight or a SpotLight in the place of each Light. Makes them when all nodes are there, so that none gets
/// a name that the file's references go by.
class MigratorTo3 : public db2::Migrator
{
    bool onLoadBegin(db2::Node&, const wchar_t*, const wchar_t*) override
    {
        successors_.clear();
        return true;
    }

    bool migrateLegacyConnection(db2::Attribute* found, db2::Attribute* holder) override
    {
        return data().db_createReference(successorOf(found), successorOf(holder), false) == Status::kSuccess;
    }

    bool onLoadSuccess(db2::Node& loadParent) override
    {
        for (db2::Node* const old : findLegacyNodes(loadParent, L"Light"))
        {
            db2::Node* const light = successorOf(*old);
            if (light == nullptr)
                return false;
            while (db2::Node* const child = old->getFirstChild())
                if (data().db_reparentNode(child, light, nullptr, nullptr) != Status::kSuccess)
                    return false;
            const kqx::String name = old->getName();
            db2::dbu_destroyLeafNode(old, &data()); // not left to the end of the load, because its name is wanted
            if (data().db_renameNode(light, name.c_str()) != Status::kSuccess)
                return false;
        }
        return true;
    }

    /// The attribute itself unless it is legacy; null, which no edit accepts, when nothing stands for it.
    db2::Attribute* successorOf(db2::Attribute* attribute)
    {
        if (!attribute->isLegacy())
            return attribute;
        const bool isOfLight = attribute->getNode()->getTypeName() == L"Light";
        const db2::Node* const light = isOfLight ? successorOf(*attribute->getNode()) : nullptr;
        return light != nullptr ? light->findAttributeByName(attribute->getName()) : nullptr;
    }

    /// Null when it cannot be made.
    db2::Node* successorOf(db2::Node& old)
    {
        db2::Node*& light = successors_[&old];
        if (light != nullptr)
            return light;
        const TypeId type = isSpot(old) ? kSpotLight : kPointLight;
        if (data().db_createNode(type, nullptr, old.getParent(), &old, &light) != Status::kSuccess)
            return nullptr;
        for (const wchar_t* const name : {L"kind", L"brightness", L"cone"})
        {
            db2::Attribute* const from = old.findLegacyAttributeByName(name);
            if (from == nullptr) // it was at its default, which is the same today
                continue;
            if (from->hasFlag(db2::ElementFlag::kValueLoaded)) // else it has a reference, or its default
                db2::dbu_copyAttribute(light->findAttributeByName(name), from, &data()); // nothing where there is none
            from->setLegacyElementHandled();
        }
        return light;
    }

    static bool isSpot(const db2::Node& old)
    {
        db2::Attribute* const kind = old.findLegacyAttributeByName(L"kind");
        if (kind == nullptr) // at its default, "point"
            return false;
        const auto* const choices = static_cast<const db2::EnumAttributeMetaData*>(kind->getMetaData());
        return kind->getValue().getInt() == choices->getChoiceIndex(L"spot");
    }

    db2::DataInterface& data() const { return *static_cast<db2::DataInterface*>(getAPI()); }

    std::map<const db2::Node*, db2::Node*> successors_;
};

/// The choice "manual" of a Shutter's motion is called "by hand", and there are no Markers any more.
class MigratorTo4 : public db2::Migrator
{
    const wchar_t* migrateEnumChoice(const wchar_t* choice, const wchar_t* attributeName, db2::Node* node) override
    {
        const bool isOld = node->getTypeName() == L"Shutter" && std::wstring_view(attributeName) == L"motion" &&
                           std::wstring_view(choice) == L"manual";
        return isOld ? L"by hand" : choice;
    }

    bool onLoadSuccess(db2::Node& loadParent) override
    {
        for (db2::Node* const marker : findLegacyNodes(loadParent, L"Marker"))
        {
            marker->setLegacyNodeHandled(); // goes when the load ends, and its children take its place
            for (unsigned int i = 0; i < marker->getLegacyElementCount(); ++i)
                marker->getLegacyElement(i)->setLegacyElementHandled();
        }
        return true;
    }
};

} // namespace stage
