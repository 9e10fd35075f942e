#include "RandomEdits.h"

#include <gtest/gtest.h>

#include <string>

// The edits of RandomEdits that make, change and destroy elements: dynamic, unknown and legacy ones, arrays, references
// and values.

namespace db2test {
namespace {

constexpr unsigned int kAbsurdSize = 0x10000000; ///< as many item records need more than 32 bits of bytes

} // namespace

// --- Dynamic elements ---

void RandomEdits::createDynamicElement()
{
    ModelNode* const node = draw_->node();
    ModelElement* const next = draw_->nextElement(node);
    const NameArgument name = draw_->elementName(node);
    const ElementSpec spec = draw_->elementSpec(name);
    announce("createDynamicElement(" + name.describe() + ", " + describe(node) + ", before " + describe(next) + ")");
    const std::unique_ptr<ElementMetaDataDef> definition = makeDefinition(spec);
    const bool wantsElement = random_.chance(7, 8);
    Element* const untouched = model_->root().elements.front()->actual;
    Element* made = untouched;

    const Outcome expected = model_->canCreateDynamicElement(name.get(), node, next);
    const auto check = [&] {
        return core_->canCreateDynamicElement(*definition, name.get(), actualOf(node), actualOf(next));
    };
    const auto edit = [&] {
        return core_->db_createDynamicElement(*definition, name.get(), actualOf(node), actualOf(next),
                                              wantsElement ? &made : nullptr);
    };
    if (perform(expected, check, expected, edit))
    {
        ModelElement& element = model_->createDynamicElement(spec, *node, next);
        element.actual = wantsElement ? made : node->actual->findElementByName(name.get());
        ASSERT_NE(element.actual, nullptr) << trace_.back();
        touch(&element);
    }
    else
        EXPECT_EQ(made, untouched) << trace_.back();
    touch(node);
}

void RandomEdits::destroyDynamicElement()
{
    destroyDynamicElement(draw_->dynamicElement());
}

void RandomEdits::destroyDynamicElement(ModelElement* element)
{
    announce("destroyDynamicElement(" + describe(element) + ")");
    const Outcome expected = model_->canDestroyDynamicElement(element);
    const auto check = [&] { return core_->canDestroyDynamicElement(actualOf(element)); };
    const auto edit = [&] { return core_->db_destroyDynamicElement(actualOf(element)); };
    if (perform(expected, check, expected, edit))
        model_->destroyDynamicElement(*element);
    touch(element);
}

void RandomEdits::renameDynamicElement()
{
    ModelElement* const element = draw_->dynamicElement();
    NameArgument name = draw_->elementName(element != nullptr ? element->node : nullptr);
    if (element != nullptr && random_.chance(1, 8))
        name = {false, element->kind().name};
    announce("renameDynamicElement(" + describe(element) + ", " + name.describe() + ")");
    const Outcome expected = model_->canRenameDynamicElement(element, name.get());
    const auto check = [&] { return core_->canRenameDynamicElement(actualOf(element), name.get()); };
    const auto edit = [&] { return core_->db_renameDynamicElement(actualOf(element), name.get()); };
    // The present name is accepted for an element that has no name of its own, too, and changes nothing.
    if (perform(expected, check, expected, edit) && element->kind().name != name.text)
        model_->renameDynamicElement(*element, name.get());
    touch(element);
}

// --- Arrays and references ---

void RandomEdits::resizeAttributeArray()
{
    ModelElement* const array = random_.chance(1, 24) ? draw_->attribute() : draw_->array(); // or no array
    const unsigned int size = draw_->arraySize(array);
    announce("resizeAttributeArray(" + describe(array) + ", " + std::to_string(size) + ")");
    Outcome expected = model_->canResizeAttributeArray(array, size);
    const Outcome expectedTwin = expected;
    if (expected.succeeds() && size >= kAbsurdSize)
        expected = Status::kFailure;
    const auto check = [&] { return core_->canResizeAttributeArray(arrayOf(array), size); };
    const auto edit = [&] { return core_->db_resizeAttributeArray(arrayOf(array), size); };
    if (perform(expectedTwin, check, expected, edit))
    {
        model_->resizeAttributeArray(*array, size);
        bindItems(*array);
    }
    touch(array);
}

void RandomEdits::createReference()
{
    const auto [referenced, referencer] = draw_->referenceEnds();
    const bool single = random_.chance(1, 6);
    announce(std::string("createReference(") + describe(referenced) + ", from " + describe(referencer) +
             (single ? ", single output)" : ")"));
    const Outcome expected = model_->canCreateReference(referenced, referencer, single);
    const auto check = [&, to = referenced, from = referencer] {
        return core_->canCreateReference(attributeOf(to), attributeOf(from), single);
    };
    const auto edit = [&, to = referenced, from = referencer] {
        return core_->db_createReference(attributeOf(to), attributeOf(from), single);
    };
    if (perform(expected, check, expected, edit))
        model_->createReference(*referenced, *referencer, single);
    touch(referenced);
    touch(referencer);
}

void RandomEdits::destroyReference()
{
    destroyReference(draw_->referencer());
}

void RandomEdits::destroyReference(ModelElement* referencer)
{
    announce("destroyReference(" + describe(referencer) + ")");
    const ModelElement* const referenced = referencer != nullptr ? referencer->referenced : nullptr;
    const Outcome expected = model_->canDestroyReference(referencer);
    const auto check = [&] { return core_->canDestroyReference(attributeOf(referencer)); };
    const auto edit = [&] { return core_->db_destroyReference(attributeOf(referencer)); };
    if (perform(expected, check, expected, edit))
        model_->destroyReference(*referencer);
    touch(referencer);
    touch(referenced);
}

// --- Locks ---

void RandomEdits::lockAttribute()
{
    ModelElement* const attribute = draw_->attribute();
    const bool withoutOutput = random_.chance(1, 12);
    announce("lockAttribute(" + describe(attribute) + (withoutOutput ? ", null)" : ")"));
    ValueHandle handle;
    const Outcome expectedTwin = model_->canLockAttribute(attribute);
    const Outcome expected = expectedTwin.succeeds() && withoutOutput ? Status::kNullLockOutput : expectedTwin;
    const auto check = [&] { return core_->canLockAttribute(attributeOf(attribute)); };
    const auto edit = [&] {
        return core_->db_lockAttribute(attributeOf(attribute), withoutOutput ? nullptr : &handle);
    };
    if (perform(expectedTwin, check, expected, edit))
    {
        model_->lock(*attribute);
        handles_[attribute] = handle;
        EXPECT_TRUE(readValue(handle) == attribute->value) << trace_.back();
        attribute->value = randomModelValue(attribute->kind().type, random_);
        writeValue(handle, attribute->value);
    }
    else
        EXPECT_EQ(handle.getTypeId(), AttributeType::kNoType) << trace_.back();
    touch(attribute);
}

void RandomEdits::unlockAttribute()
{
    ModelElement* attribute = nullptr;
    if (!model_->locked().empty())
        attribute = random_.pick(model_->locked());
    if (attribute == nullptr || attribute->isArray() || random_.chance(1, 8))
        attribute = draw_->attribute();
    unlockAttribute(attribute);
}

void RandomEdits::unlockAttribute(ModelElement* attribute)
{
    announce("unlockAttribute(" + describe(attribute) + ")");
    const Outcome expected = model_->canUnlockAttribute(attribute);
    if (expected.succeeds() && random_.chance(1, 4)) // a handle serves until the unlock
    {
        attribute->value = randomModelValue(attribute->kind().type, random_);
        writeValue(handles_[attribute], attribute->value);
    }
    const auto check = [&] { return core_->canUnlockAttribute(attributeOf(attribute)); };
    const auto edit = [&] { return core_->db_unlockAttribute(attributeOf(attribute)); };
    if (perform(expected, check, expected, edit))
    {
        model_->unlock(*attribute);
        handles_.erase(attribute);
    }
    touch(attribute);
}

void RandomEdits::lockAttributeArray()
{
    ModelElement* const array = draw_->array();
    const bool withoutOutput = random_.chance(1, 12);
    announce("lockAttributeArray(" + describe(array) + (withoutOutput ? ", null)" : ")"));
    void* const untouched = this;
    void* values = untouched;
    const Outcome expectedTwin = model_->canLockAttributeArray(array);
    const Outcome expected = expectedTwin.succeeds() && withoutOutput ? Status::kNullLockOutput : expectedTwin;
    const auto check = [&] { return core_->canLockAttributeArray(arrayOf(array)); };
    const auto edit = [&] { return core_->db_lockAttributeArray(arrayOf(array), withoutOutput ? nullptr : &values); };
    if (perform(expectedTwin, check, expected, edit))
    {
        model_->lock(*array);
        EXPECT_EQ(values, array->size > 0 ? attributeOf(array->items[0].get())->getValue().getData() : nullptr);
        for (unsigned int i = 0; i < array->size && !::testing::Test::HasFailure(); ++i)
        {
            if (random_.chance(1, 2))
                continue;
            array->items[i]->value = randomModelValue(array->spec.type, random_);
            writePlainValue(static_cast<char*>(values) + std::size_t{i} * ValueInfo::getStride(array->spec.type),
                            array->items[i]->value);
        }
    }
    else
        EXPECT_EQ(values, untouched) << trace_.back();
    touch(array);
}

void RandomEdits::unlockAttributeArray()
{
    ModelElement* array = nullptr;
    if (!model_->locked().empty())
        array = random_.pick(model_->locked());
    if (array == nullptr || !array->isArray() || random_.chance(1, 8))
        array = draw_->array();
    unlockAttributeArray(array);
}

void RandomEdits::unlockAttributeArray(ModelElement* array)
{
    announce("unlockAttributeArray(" + describe(array) + ")");
    const Outcome expected = model_->canUnlockAttributeArray(array);
    const auto check = [&] { return core_->canUnlockAttributeArray(arrayOf(array)); };
    const auto edit = [&] { return core_->db_unlockAttributeArray(arrayOf(array)); };
    if (perform(expected, check, expected, edit))
        model_->unlock(*array);
    touch(array);
}

// --- Unknown and legacy elements ---

void RandomEdits::createUnknownElement()
{
    ModelNode* node = draw_->node();
    for (int i = 0; i < 20 && node != nullptr && !node->unknown && !random_.chance(1, 10); ++i)
        node = draw_->node();
    const NameArgument name = draw_->elementName(node);
    const ElementSpec spec = draw_->elementSpec(name);
    announce("createUnknownElement(" + name.describe() + ", " + describe(node) + ")");
    Element* const untouched = model_->root().elements.front()->actual;
    Element* made = untouched;
    const Outcome expected = model_->canCreateUnknownElement(name.get(), node);
    const std::unique_ptr<ElementMetaDataDef> definition = makeDefinition(spec);
    if (perform(expected, [&] { return core_->createUnknownElement(*definition, name.get(), actualOf(node), &made); }))
    {
        ModelElement& element = model_->createUnknownElement(spec, *node);
        element.actual = made;
        touch(&element);
    }
    else
        EXPECT_EQ(made, untouched) << trace_.back();
    touch(node);
}

void RandomEdits::createLegacyElement()
{
    ModelNode* const node = draw_->node();
    if (node == &model_->root()) // left out: it is not meant to get elements, but no check says so
        return;
    const NameArgument name = draw_->elementName(node);
    const ElementSpec spec = draw_->elementSpec(name);
    announce("createLegacyElement(" + name.describe() + ", " + describe(node) + ")");
    Element* const untouched = model_->root().elements.front()->actual;
    Element* made = untouched;
    const Outcome expected = model_->canCreateLegacyElement(name.get(), node);
    const std::unique_ptr<ElementMetaDataDef> definition = makeDefinition(spec);
    if (perform(expected, [&] { return core_->createLegacyElement(*definition, name.get(), actualOf(node), &made); }))
    {
        ModelElement& element = model_->createLegacyElement(spec, *node);
        element.actual = made;
        touch(&element);
    }
    else
        EXPECT_EQ(made, untouched) << trace_.back();
    touch(node);
}

void RandomEdits::destroyLegacyElement()
{
    ModelElement* const element = random_.chance(1, 4) ? draw_->anyElement() : draw_->legacyElement();
    announce("destroyLegacyElement(" + describe(element) + ")");
    const Outcome expected = model_->canDestroyLegacyElement(element);
    if (perform(expected, [&] { return core_->destroyLegacyElement(actualOf(element)); }))
        model_->destroyLegacyElement(*element);
    touch(element);
}

} // namespace db2test
