#pragma once

#include <db2/Export.h>
#include <db2/ForwardingLayer.h>
#include <db2/Operation.h>

#include <cstdint>

namespace db2 {

/// Writes a line at info level for each edit whose bit is enabled, before it forwards the edit: a call that fails further
/// in is in the log all the same. Never changes arguments, refuses a call or looks at the result.
/// Knows nothing but its mask. Stands outermost as a rule, so that it shows what the host asked for.
/// Cost: a bit test for an edit that is not enabled. Threads: one at a time for all loggers together, since the texts of
/// reference paths are shared.
class DB2_API DataInterfaceLogger : public ForwardingLayer
{
public:
    /// The bits of all nineteen operations; bitOf() gives that of one.
    static constexpr unsigned int kAllOperations = (1u << kOperationCount) - 1;

    /// Logs nothing until bits are enabled.
    explicit DataInterfaceLogger(DataInterface* nextLayer) : ForwardingLayer(nextLayer) {}

    void enable(unsigned int mask) { enabled_ |= mask; }
    void disable(unsigned int mask) { enabled_ &= ~mask; }
    [[nodiscard]] bool isEnabled(unsigned int mask) const { return (enabled_ & mask) != 0; } ///< any of the bits
    [[nodiscard]] bool isEnabled(Operation operation) const { return isEnabled(bitOf(operation)); }

    // --- DataInterface: each writes its line, then forwards ---

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override;
    /// The line shows the address of the type's name as a number; that is on purpose.
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override;
    Status db_destroyLeafNode(Node* node) override;
    Status db_renameNode(Node* node, const wchar_t* name) override;
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override;
    Status db_reorderNode(Node* node, Node* next) override;
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override;
    Status db_destroyDynamicElement(Element* element) override;
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override;
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override;
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override;
    Status db_destroyReference(Attribute* referencer) override;
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override;
    Status db_unlockAttribute(Attribute* attribute) override;
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override;
    Status db_unlockAttributeArray(AttributeArray* array) override;
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override;
    Status db_commitTransient() override;
    Status db_clear() override;

private:
    std::uint32_t enabled_ = 0;
};

} // namespace db2
