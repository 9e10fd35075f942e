// World positions that follow: each part of a rig stands where its parent's world and its own local value say.

#include <db2/db2.h>

#include <cstdio>

namespace {

constexpr unsigned int kRigTypeId = 1;
constexpr unsigned int kPartTypeId = 2;
enum PartElement : unsigned int
{
    kLocal,
    kParentWorld,
    kWorld
};

void computeWorld(db2::DataInterface& data, db2::Node&, db2::Element** elements, void*)
{
    const auto* const local = static_cast<db2::Attribute*>(elements[kLocal]);
    const auto* const parent = static_cast<db2::Attribute*>(elements[kParentWorld]); // references the parent's world
    auto* const world = static_cast<db2::Attribute*>(elements[kWorld]);
    db2::ValueHandle value;
    if (data.db_lockAttribute(world, &value) != db2::Status::kSuccess)
        return;
    value.getFloat() = parent->getValue().getFloat() + local->getValue().getFloat();
    data.db_unlockAttribute(world);
}

db2::NodeTemplate* makePartType(const db2::Module& rig)
{
    auto* const part = new db2::NodeTemplate(L"Part", kPartTypeId, rig);
    for (const wchar_t* const name : {L"local", L"parentWorld", L"world"})
        part->addAttribute(db2::FloatAttributeMetaDataDef(), name);
    const unsigned int inputs[] = {kLocal, kParentWorld, db2::NodeTemplate::kEndOfList};
    const unsigned int outputs[] = {kWorld, db2::NodeTemplate::kEndOfList};
    part->addComputeSet(inputs, outputs, computeWorld, nullptr);
    return part;
}

db2::Node* addPart(db2::DataInterface& data, const wchar_t* name, db2::Node* parent, float local)
{
    db2::Node* part = nullptr;
    data.db_createNode(kPartTypeId, name, parent, nullptr, &part);
    if (parent != nullptr)
        data.db_createReference(parent->findAttributeByName(L"world"), part->findAttributeByName(L"parentWorld"),
                                false);
    db2::ValueHandle value;
    data.db_lockAttribute(part->findAttributeByName(L"local"), &value);
    value.getFloat() = local;
    data.db_unlockAttribute(part->findAttributeByName(L"local"));
    return part;
}

bool handStandsAt(const db2::Node* hand, float expected)
{
    const float world = hand->findAttributeByName(L"world")->getValue().getFloat();
    std::printf("the hand stands at %g\n", static_cast<double>(world));
    return world == expected;
}

} // namespace

int main()
{
    db2::initLibrary(nullptr, L"Computed 1.0");
    auto* const rig = new db2::Module; // the library owns it from its registration on
    rig->setId(L"Rig");
    rig->setDataVersion(1);
    db2::registerModule(rig);
    bool isRight = true;
    {
        db2::NodeRegistry registry;
        registry.registerNodeTemplate(new db2::NodeTemplate(L"Rig", kRigTypeId, *rig));
        registry.registerNodeTemplate(makePartType(*rig));
        db2::CoreManager core(registry, kRigTypeId);
        db2::ComputeManager computed(1, &core, *core.getRoot());
        db2::UndoManager data(&computed, core); // outside: undoing an input computes what follows from it

        db2::Node* const shoulder = addPart(data, L"shoulder", nullptr, 10.0f);
        db2::Node* const arm = addPart(data, L"arm", shoulder, 4.0f);
        const db2::Node* const hand = addPart(data, L"hand", arm, 2.0f);
        isRight = handStandsAt(hand, 0.0f) && isRight; // outputs follow at the commit
        data.db_commit(L"Build the rig", L"computed.cpp", 75);
        isRight = handStandsAt(hand, 16.0f) && isRight;

        db2::ValueHandle value;
        data.db_lockAttribute(shoulder->findAttributeByName(L"local"), &value);
        value.getFloat() = 20.0f;
        data.db_unlockAttribute(shoulder->findAttributeByName(L"local"));
        data.db_commit(L"Move the shoulder", L"computed.cpp", 82);
        isRight = handStandsAt(hand, 26.0f) && isRight;
        data.undo();
        isRight = handStandsAt(hand, 16.0f) && isRight;
    }
    db2::termLibrary();
    return isRight ? 0 : 1;
}
