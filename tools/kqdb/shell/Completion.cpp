#include "Completion.h"

#include "Shell.h"
#include "ShellCommand.h"
#include "UnknownNames.h"
#include "Words.h"

#include "ElementText.h"
#include "Failure.h"
#include "Text.h"
#include "TreeWalk.h"

#include <db2/AttributeMetaData.h>
#include <db2/NodeRegistry.h>
#include <db2/NodeTemplate.h>
#include <db2/Paths.h>
#include <db2/ValueInfo.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace kqdb {
namespace {

constexpr std::size_t kMostCandidates = 500; // that anybody could want to see
constexpr std::wstring_view kSeparators = L"|.:";

/// Takes candidates and keeps what they have in common.
class Candidates
{
public:
    explicit Candidates(std::string typed) : typed_(std::move(typed)) {}

    [[nodiscard]] const std::string& typed() const { return typed_; }

    /// @param goesOn  more could stand behind it, as behind the name of a folder.
    void add(std::string candidate, bool goesOn = false)
    {
        if (!candidate.starts_with(typed_))
            return;
        if (completion_.count == 0)
            common_ = candidate;
        else
            common_.resize(static_cast<std::size_t>(
                std::mismatch(common_.begin(), common_.end(), candidate.begin(), candidate.end()).first -
                common_.begin()));
        goesOn_ = goesOn;
        ++completion_.count;
        if (completion_.candidates.size() < kMostCandidates)
            completion_.candidates.push_back(std::move(candidate));
    }

    [[nodiscard]] Completion take(std::string_view line, std::size_t begin)
    {
        completion_.replacedBytes = line.size() - begin;
        while (!common_.empty() && !isUtf8(common_)) // cut within a character
            common_.pop_back();
        if (completion_.count == 1 && !goesOn_)
            completion_.replacement = quotedWord(common_) + ' ';
        else if (common_.size() > typed_.size())
            completion_.replacement = quotedBeginning(common_);
        else
            completion_.replacement = line.substr(begin);
        return std::move(completion_);
    }

private:
    std::string typed_;
    std::string common_;
    bool goesOn_ = false;
    Completion completion_;
};

// --- Paths ---

/// Where the last name of a path begins, behind its separator; 0 when there is none.
std::size_t lastName(std::wstring_view path)
{
    std::size_t begin = 0;
    for (std::size_t i = 0; i < path.size(); ++i)
        if (path[i] == L'\\')
            ++i;
        else if (kSeparators.find(path[i]) != std::wstring_view::npos)
            begin = i + 1;
    return begin;
}

std::string escaped(const wchar_t* name)
{
    kqx::String text;
    db2::dbu_appendEscapeNames(name, text);
    return toUtf8(text);
}

/// Follows a path without complaint. @return null when it leads to no node.
db2::Node* follow(Shell& shell, const std::wstring& path)
{
    db2::Node& root = shell.document().root();
    if (path.empty())
        return &root;
    db2::Node* node = nullptr;
    const db2::Status status = db2::dbu_pathToNode(&root, path.c_str(), &node, false);
    return status == db2::Status::kSuccess ? node : nullptr;
}

void addElements(const db2::Node& node, const std::string& pathOfNode, Candidates& candidates)
{
    forEachElement(node, [&](const db2::Element& element) {
        candidates.add(pathOfNode + (element.isAttributeArray() ? ':' : '.') + escaped(element.getName()),
                       element.isAttributeArray());
    });
}

void addPaths(Shell& shell, bool wantsElements, Candidates& candidates)
{
    const std::wstring path = toWide(candidates.typed().empty() ? "|" : candidates.typed());
    const std::size_t name = lastName(path);
    const db2::Node* const parent = follow(shell, path.substr(0, name - 1));
    if (parent == nullptr)
        return;
    const std::string parentPath = toUtf8(path.substr(0, name - 1));
    if (path[name - 1] != L'|')
    {
        if (wantsElements)
            addElements(*parent, parentPath, candidates);
        return;
    }
    for (const db2::Node* child = parent->getFirstChild(); child != nullptr; child = child->getNextSibling())
        candidates.add(parentPath + '|' + escaped(child->getName().c_str()),
                       wantsElements || child->getFirstChild() != nullptr);
    if (const db2::Node* const node = wantsElements && name < path.size() ? follow(shell, path) : nullptr)
        addElements(*node, toUtf8(path), candidates);
}

/// A path may lack the bar in front.
std::string withBar(const std::string& word, Kind kind)
{
    const bool isPath = kind == Kind::kNode || kind == Kind::kElement;
    const bool lacksBar =
        !word.empty() && kSeparators.find(static_cast<wchar_t>(word.front())) == std::wstring_view::npos;
    return isPath && lacksBar && !word.starts_with('-') ? '|' + word : word;
}

/// The choices of an Enum or Bool; of any other attribute the value that it has, to be changed.
void addValues(Shell& shell, const std::string& elementPath, Candidates& candidates)
{
    Target target;
    try
    {
        target = resolve(shell.document(), elementPath);
    }
    catch (const Failure&)
    {
    }
    const db2::Element* const element = target.element();
    if (element == nullptr)
        return;
    if (element->getTypeId() == db2::AttributeType::kBool && !element->isAttributeArray())
    {
        candidates.add("false");
        candidates.add("true");
    }
    else if (element->getTypeId() == db2::AttributeType::kEnum && !element->isAttributeArray())
    {
        const auto& choices = static_cast<const db2::EnumAttributeMetaData&>(*element->getMetaData());
        for (unsigned int i = 0; i < choices.getNumChoices(); ++i)
            candidates.add(toUtf8(choices.getChoice(i)));
    }
    else if (candidates.typed().empty())
        candidates.add(valueText(*element));
}

// --- Everything else ---

void addFiles(Candidates& candidates)
{
    const std::size_t name = candidates.typed().rfind('/') + 1; // 0 when there is none
    const std::string folder = candidates.typed().substr(0, name);
    std::error_code error;
    const std::filesystem::path path = folder.empty() ? "." : filePath(folder);
    std::vector<std::pair<std::string, bool>> files;
    for (std::filesystem::directory_iterator at(path, error), end; !error && at != end; at.increment(error))
        files.emplace_back(fileName(at->path().filename()), at->is_directory(error));
    std::sort(files.begin(), files.end());
    for (const auto& [file, isFolder] : files)
        if (file.front() != '.' || candidates.typed().size() > name)
            candidates.add(folder + file + (isFolder ? "/" : ""), isFolder);
}

void addCommands(Candidates& candidates)
{
    for (const ShellEntry& entry : shellTable())
        candidates.add(entry.name);
}

/// Which parameter of a command the next word is for, given those before it; null for none.
const Parameter* parameterAt(const ShellEntry& entry, const std::vector<std::string>& before)
{
    std::size_t position = 0;
    const auto optionOf = [&](const std::string& word) {
        return std::find_if(entry.parameters.begin(), entry.parameters.end(),
                            [&](const Parameter& p) { return p.isOption() && p.isNamed(word); });
    };
    for (std::size_t i = 1; i < before.size(); ++i)
    {
        const auto option = optionOf(before[i]);
        if (option == entry.parameters.end())
            ++position;
        else if (option->kind != Kind::kFlag && ++i == before.size())
            return &*option;
    }
    const Parameter* last = nullptr;
    for (const Parameter& parameter : entry.parameters)
        if (!parameter.isOption())
        {
            last = &parameter;
            if (position-- == 0)
                return last;
        }
    return last != nullptr && last->need == Need::kRepeated ? last : nullptr;
}

/// The word before that is the path of an element.
std::string elementBefore(const std::vector<std::string>& before)
{
    for (std::size_t i = 1; i < before.size(); ++i)
        if (!before[i].starts_with('-'))
            return before[i];
    return {};
}

void addNodeTypes(const db2::NodeRegistry& registry, Candidates& candidates)
{
    kqtl::pod_vector<const db2::NodeTemplate*> types;
    registry.getNodeTemplates(types);
    for (const db2::NodeTemplate* const type : types)
        candidates.add(toUtf8(type->getTypeName()));
}

void addOptions(const ShellEntry& entry, Candidates& candidates)
{
    for (const Parameter& parameter : entry.parameters)
        if (parameter.isOption())
            candidates.add(std::string(parameter.key()));
}

void addArguments(Shell& shell, const Parameter& parameter, const std::vector<std::string>& before,
                  Candidates& candidates)
{
    switch (parameter.kind)
    {
    case Kind::kNode: return addPaths(shell, false, candidates);
    case Kind::kElement: return addPaths(shell, true, candidates);
    case Kind::kValue: return addValues(shell, elementBefore(before), candidates);
    case Kind::kFile: return addFiles(candidates);
    case Kind::kCommand: return addCommands(candidates);
    case Kind::kNodeType: return addNodeTypes(shell.application().library().registry(), candidates);
    case Kind::kUnknownType:
        for (const std::wstring& type : unknownNames(shell.document().root()).types)
            candidates.add(toUtf8(type));
        return;
    case Kind::kValueType:
        for (unsigned int i = 0; i < db2::kAttributeTypeCount; ++i)
            candidates.add(toUtf8(db2::ValueInfo::getTypeName(static_cast<db2::AttributeTypeId>(i))));
        return;
    case Kind::kModule:
        for (const db2host::ModuleDefinition* const module : shell.application().library().modules())
            candidates.add(toUtf8(module->id()));
        for (const std::wstring& module : unknownNames(shell.document().root()).modules)
            candidates.add(toUtf8(module));
        return;
    case Kind::kOnOff:
        candidates.add("off");
        candidates.add("on");
        return;
    case Kind::kText:
    case Kind::kNumber:
    case Kind::kFlag: return;
    }
}

} // namespace

Completion complete(Shell& shell, std::string_view textToCursor)
{
    const TypedWords typed = typedWords(textToCursor);
    const ShellEntry* const entry = typed.before.empty() ? nullptr : findShellCommand(typed.before.front());
    const Parameter* const parameter = entry != nullptr ? parameterAt(*entry, typed.before) : nullptr;
    Candidates candidates(parameter != nullptr ? withBar(typed.current, parameter->kind) : typed.current);
    if (typed.before.empty() && !typed.isComment)
        addCommands(candidates);
    else if (entry != nullptr && typed.current.starts_with('-') && (parameter == nullptr || !parameter->isOption()))
        addOptions(*entry, candidates);
    else if (parameter != nullptr && !typed.isComment)
        addArguments(shell, *parameter, typed.before, candidates);
    return candidates.take(textToCursor, typed.begin);
}

} // namespace kqdb
