#include "NotesModule.h"

#include <db2/AttributeMetaDataDef.h>
#include <db2/Module.h>
#include <db2/NodeRegistry.h>
#include <db2/NodeTemplate.h>

#include <memory>

namespace kqdb {
namespace {

constexpr unsigned int kNoteTypeId = 1000;

std::unique_ptr<db2::NodeTemplate> noteType(const db2::Module& module)
{
    auto type = std::make_unique<db2::NodeTemplate>(L"Note", kNoteTypeId, module);
    db2::StringAttributeMetaDataDef text;
    type->addAttribute(text, L"text");
    db2::EnumAttributeMetaDataDef priority;
    for (const wchar_t* const choice : {L"low", L"normal", L"high"})
        priority.addChoice(choice);
    type->addAttribute(priority, L"priority");
    db2::Vector3AttributeMetaDataDef place;
    type->addAttribute(place, L"place");
    db2::NullAttributeMetaDataDef subject;
    type->addAttribute(subject, L"subject");
    return type;
}

} // namespace

const char* const NotesModule::kDocument = R"({
 "identifier": "KQDatabase2", "loaderVersion": 1, "applicationString": "Notes 1.0", "typeString": "document",
 "modules": [["Scene", 2, []], ["Notes", 1, []]],
 "nodes": [
  {"name": "shelf", "type": "Transform", "module": "Scene", "depth": 0},
  {"name": "dust it", "type": "Note", "module": "Notes", "depth": 1, "attributes": [
    ["text", "String", "Dust it every \u00e4 week."], ["priority", "Enum", "high"], ["place", "Vector3", [1, 2.5, -3]],
    ["subject", "Null ->", "|shelf.self"]]},
  {"name": "paint it", "type": "Note", "module": "Notes", "depth": 0, "attributes": [
    ["text", "String", "Blue"], ["priority", "Enum", "low"]]}
 ]
})";

bool NotesModule::registerIn(db2::NodeRegistry& registry)
{
    auto module = std::make_unique<db2::Module>();
    module->setId(kId);
    module->setDataVersion(1);
    if (db2::registerModule(module.get()) != db2::Status::kSuccess)
        return false;
    std::unique_ptr<db2::NodeTemplate> type = noteType(*module);
    if (registry.registerNodeTemplate(type.get()) != db2::Status::kSuccess)
    {
        db2::unregisterModule(module.get());
        return false;
    }
    (void)type.release();   // the registry's now
    (void)module.release(); // the library's
    return true;
}

} // namespace kqdb
