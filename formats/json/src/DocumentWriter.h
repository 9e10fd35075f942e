#pragma once

#include "ChoiceIndex.h"
#include "JsonWriter.h"
#include "TemplateTexts.h"

#include <db2/Status.h>

#include <kqtl/pod_vector.h>
#include <kqx/String.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace db2 {
class Attribute;
class AttributeArray;
class Element;
class Module;
class Node;
class OutputStream;
class SaveStrategy;
} // namespace db2

namespace db2::json {

/// Writes a tree as the document that docs/format.md describes. Asks the saver what of it is to be written.
/// Once the stream has refused something, or a reference cannot be written, the rest of the document is of no use.
/// Throws std::bad_alloc and std::length_error.
class DocumentWriter
{
public:
    DocumentWriter(const SaveStrategy& saver, OutputStream& stream) : saver_(saver), json_(stream) {}

    // --- In this order ---

    void begin(const kqtl::pod_vector<Module*>& modules);

    /// @return the status of the first reference that cannot be written.
    Status writeSubtree(const Node& root);

    /// @return false when the stream did not take everything.
    bool end();

    // --- Questions ---

    [[nodiscard]] bool isGood() const { return json_.isGood(); } ///< false once the stream has refused something
    [[nodiscard]] bool leftReferencesOut() const { return leftReferencesOut_; }

private:
    enum class Group
    {
        kOfType,
        kDynamic,
        kLegacy
    };

    void writeModule(const Module& module);
    void writeNode(const Node& node, unsigned int depth);
    void writeType(const Node& node, const TemplateTexts::Texts* texts);

    // Elements
    void writeElements(const Node& node, const TemplateTexts::Texts* texts, Group group);
    [[nodiscard]] bool isToBeWritten(const Element& element) const;
    void writeElement(const Element& element, const TemplateTexts::Entry* entry);
    void beginEntry(const Element& element, const TemplateTexts::Entry* entry, std::string_view mark);
    void writeAttribute(const Attribute& attribute, const TemplateTexts::Entry* entry);
    [[nodiscard]] bool hasValueToWrite(const Attribute& attribute) const;
    void writeAttributeArray(const AttributeArray& array, const TemplateTexts::Entry* entry);
    [[nodiscard]] bool mayLeaveOut(const AttributeArray& array, std::size_t listed) const;
    void payFor(const AttributeArray& array);
    void writeSparseItems(const AttributeArray& array, bool complete);
    void writeSparseItem(const Attribute& item, unsigned int index, bool complete);
    void writeItemValue(const Attribute& item);

    // Values and references
    void writeShownValue(const Attribute& attribute);
    void writeEnum(const Element& element, int value);
    [[nodiscard]] bool findPath(const Attribute& attribute);

    const SaveStrategy& saver_;
    JsonWriter json_;
    ChoiceIndex choices_;
    TemplateTexts texts_;
    std::uint64_t weight_ = 0; ///< of all items so far, see ItemBudget.h
    kqx::String path_;         ///< what findPath() found
    std::string type_;         ///< of the entry that is begun, kept for its memory
    Status status_ = Status::kSuccess;
    bool leftReferencesOut_ = false;
};

} // namespace db2::json
