#pragma once

#include "ImportFailure.h"
#include "ValueTypes.h"

#include <db2import/ModelImport.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace db2import {

/// Makes the edits of an import through the layers, counts what it makes and collects remarks. An edit that is refused
/// ends the import: every function throws ImportFailure then, and std::bad_alloc.
class Editor
{
public:
    /// @param depth  names in the path of the node that the import puts its own below.
    Editor(db2::DataInterface& data, db2::CoreManager& core, unsigned int depth, ImportReport& report)
        : data_(data), core_(core), depth_(depth), report_(report)
    {
    }

    [[nodiscard]] ImportCounts& counts() { return report_.counts; }

    // --- Nodes and values ---

    /// @param name  made unique; an empty one becomes the type's. @param next  null is the end.
    db2::Node& createNode(unsigned int typeId, const std::wstring& name, db2::Node& parent, db2::Node* next = nullptr);

    /// Gives an element of the type its value.
    template <class T>
    void set(db2::Node& node, unsigned int element, T value)
    {
        write(attributeOf(node, element), std::move(value));
    }

    /// Sets an Enum. @return false, changing nothing, when it has no such choice.
    bool choose(db2::Node& node, unsigned int element, const wchar_t* choice);

    /// Adds a dynamic attribute. A name that is taken gets a number, one that is too long or empty is replaced; the whole
    /// one stands in its documentation then.
    void addAttribute(db2::Node& node, std::wstring_view name, DynamicValue value);

    /// Makes an element reference another. @return false, with a remark, when the reference could not be saved because
    /// its target lies too deep.
    bool connect(db2::Node& referenced, unsigned int referencedElement, db2::Node& referencer,
                 unsigned int referencerElement);

    // --- Texts ---

    /// Text of the model's. @param place  gets a remark when it was not UTF-8.
    std::wstring text(std::string_view bytes, const db2::Node& place);

    /// The same for a name, which must not hold a null character.
    std::wstring name(std::string_view bytes, const db2::Node& place);

    // --- Remarks ---

    void remark(ImportRemark::Kind kind, const db2::Node& place, std::wstring text);
    void notKept(const db2::Node& place, std::wstring text)
    {
        remark(ImportRemark::Kind::kNotKept, place, std::move(text));
    }
    void changed(const db2::Node& place, std::wstring text)
    {
        remark(ImportRemark::Kind::kChanged, place, std::move(text));
    }
    void doubtful(const db2::Node& place, std::wstring text)
    {
        remark(ImportRemark::Kind::kDoubtful, place, std::move(text));
    }

    /// The node that paths of remarks are relative to.
    void setModel(const db2::Node& model) { model_ = &model; }

private:
    /// While an attribute is locked.
    class Lock;

    void check(db2::Status status, const wchar_t* edit, const db2::Node* node) const;
    [[nodiscard]] std::wstring pathOf(const db2::Node& node) const;
    [[nodiscard]] db2::Attribute& attributeOf(db2::Node& node, unsigned int element) const;
    [[nodiscard]] bool canBeSavedInReference(const db2::Node& referenced) const;
    [[nodiscard]] std::wstring freeName(const db2::ElementMetaDataDef& definition, std::wstring wanted,
                                        const db2::Node& node);

    template <class T>
    void write(db2::Attribute& attribute, T value);
    template <class T>
    void addAttributeOf(db2::Node& node, std::wstring_view name, T value);

    db2::DataInterface& data_;
    db2::CoreManager& core_;
    unsigned int depth_;
    ImportReport& report_;
    const db2::Node* model_ = nullptr;

    // For freeName(), so that many equal names on one node take no more than one step each
    const db2::Node* namedNode_ = nullptr;
    std::unordered_map<std::wstring, unsigned int> nextNumbers_;
};

/// Unlocks however its scope is left: a copy may find no memory.
class Editor::Lock
{
public:
    Lock(db2::DataInterface& data, db2::Attribute& attribute) : data_(data), attribute_(attribute)
    {
        status_ = data_.db_lockAttribute(&attribute_, &value_);
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock()
    {
        if (status_ == db2::Status::kSuccess)
            data_.db_unlockAttribute(&attribute_);
    }

    [[nodiscard]] db2::Status status() const { return status_; }
    [[nodiscard]] const db2::ValueHandle& value() const { return value_; }

private:
    db2::DataInterface& data_;
    db2::Attribute& attribute_;
    db2::ValueHandle value_;
    db2::Status status_;
};

template <class T>
void Editor::write(db2::Attribute& attribute, T value)
{
    const db2::Node* const node = attribute.getNode();
    if (attribute.getTypeId() != ValueType<T>::kId)
        throw ImportFailure{L"the element " + std::wstring(attribute.getName()) + L" of " + pathOf(*node) +
                            L" has another type than the importer knows"};
    const Lock lock(data_, attribute);
    check(lock.status(), L"write a value of", node);
    T* to = nullptr;
    lock.value().cast(&to);
    *to = std::move(value);
}

} // namespace db2import
