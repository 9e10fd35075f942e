#include "ComputeScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

namespace db2test {
namespace {

/// Unsigned, so that sums wrap around instead of overflowing.
unsigned int sumOf(const Element& element)
{
    if (!element.isAttributeArray())
        return static_cast<unsigned int>(static_cast<const Attribute&>(element).getValue().getInt());
    const auto& array = static_cast<const AttributeArray&>(element);
    unsigned int sum = 0;
    for (unsigned int i = 0; i < array.getSize(); ++i)
        sum += static_cast<unsigned int>(array.getAttribute(i)->getValue().getInt());
    return sum;
}

ElementSpec withRaiseFlag(ElementSpec spec)
{
    spec.flags = ComputeManager::getRaiseFlag();
    return spec;
}

} // namespace

Attribute* ComputeCall::input(unsigned int index) const
{
    return static_cast<Attribute*>(elements[set.getInputs()[index]]);
}

Attribute* ComputeCall::output(unsigned int index) const
{
    return static_cast<Attribute*>(elements[set.getOutputs()[index]]);
}

AttributeArray* ComputeCall::outputArray(unsigned int index) const
{
    return static_cast<AttributeArray*>(elements[set.getOutputs()[index]]);
}

unsigned int ComputeScene::addType(const std::vector<ElementSpec>& elements, const std::vector<Set>& sets)
{
    const unsigned int typeId = nextTypeId_++;
    auto* const type = new NodeTemplate((L"Type" + std::to_wstring(typeId)).c_str(), typeId, module());
    for (const ElementSpec& element : elements)
        EXPECT_EQ(type->addAttribute(*db2test::makeDefinition(element), element.name.c_str()), Status::kSuccess);

    const auto indices = [type](const std::vector<std::wstring>& names) {
        std::vector<unsigned int> list;
        for (const std::wstring& name : names)
            list.push_back(type->findElementByName(name.c_str()));
        list.push_back(NodeTemplate::kEndOfList);
        return list;
    };
    for (const Set& set : sets)
    {
        Probe& probe = probes_.emplace_back(Probe{this, nullptr, set.body});
        unsigned int index = 0;
        EXPECT_EQ(type->addComputeSet(indices(set.inputs).data(), indices(set.outputs).data(),
                                      set.body ? &ComputeScene::run : nullptr, &probe, &index),
                  Status::kSuccess);
        probe.set = type->getComputeSet(index);
    }
    EXPECT_EQ(registry().registerNodeTemplate(type), Status::kSuccess);
    return typeId;
}

void ComputeScene::run(DataInterface& data, Node& node, Element** elements, void* probe)
{
    const auto& [scene, set, body] = *static_cast<const Probe*>(probe);
    const unsigned int named = set->getOutputs()[0];
    EXPECT_EQ(elements[named], node.getElement(named));
    scene->runs_.push_back(std::wstring(node.getName().c_str()) + L"." + elements[named]->getName());
    body({data, node, elements, *set});
}

void ComputeScene::addUp(const ComputeCall& call)
{
    unsigned int sum = 0;
    for (unsigned int i = 0; i < call.set.getInputCount(); ++i)
        sum += sumOf(*call.elements[call.set.getInputs()[i]]);
    for (unsigned int i = 0; i < call.set.getOutputCount(); ++i)
    {
        if (!call.elements[call.set.getOutputs()[i]]->isAttributeArray())
        {
            db2test::write(call.data, call.output(i), static_cast<int>(sum + i));
            continue;
        }
        AttributeArray* const array = call.outputArray(i);
        for (unsigned int item = 0; item < array->getSize(); ++item)
            db2test::write(call.data, array->getAttribute(item), static_cast<int>(sum + i + item));
    }
}

ElementSpec number(const wchar_t* name)
{
    return plainElement(name, AttributeType::kInt);
}

ElementSpec numbers(const wchar_t* name)
{
    return plainElement(name, AttributeType::kInt, true);
}

ElementSpec raisingNumber(const wchar_t* name)
{
    return withRaiseFlag(number(name));
}

ElementSpec raisingNumbers(const wchar_t* name)
{
    return withRaiseFlag(numbers(name));
}

void write(DataInterface& data, Attribute* attribute, int value)
{
    ValueHandle handle;
    ASSERT_EQ(data.db_lockAttribute(attribute, &handle), Status::kSuccess);
    handle.getInt() = value;
    EXPECT_EQ(data.db_unlockAttribute(attribute), Status::kSuccess);
}

void write(DataInterface& data, AttributeArray* array, const std::vector<int>& values)
{
    ASSERT_EQ(data.db_resizeAttributeArray(array, static_cast<unsigned int>(values.size())), Status::kSuccess);
    void* storage = nullptr;
    ASSERT_EQ(data.db_lockAttributeArray(array, &storage), Status::kSuccess);
    std::copy(values.begin(), values.end(), static_cast<int*>(storage));
    EXPECT_EQ(data.db_unlockAttributeArray(array), Status::kSuccess);
}

} // namespace db2test
