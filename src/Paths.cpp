#include <db2/Paths.h>

#include <db2/Library.h>
#include <db2/Node.h>

#include "MigratorChain.h"
#include "OutOfMemory.h"
#include "PathFault.h"

#include <kqx/NumberText.h>

#include <array>
#include <cwchar>

namespace db2 {
namespace {

constexpr std::size_t kDepthLimit = 512; // names in a path stay below

bool isSeparator(wchar_t c)
{
    return c == L'|' || c == L'.' || c == L':' || c == L'[';
}

bool isReserved(wchar_t c)
{
    return isSeparator(c) || c == L']';
}

bool isIgnoredBlank(wchar_t c)
{
    return c == L'\t' || c == L'\n' || c == L' ';
}

bool isDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

Status refuse(Status status, const wchar_t* message, const wchar_t* path)
{
    logError(message, path);
    return status;
}

// --- Resolving ---

/// Follows the steps of one path.
class PathWalk
{
public:
    PathWalk(const Node* root, const kqtl::pod_vector<Migrator*>* migrators) : current_(root), migrators_(migrators) {}

    /// Goes along the whole path. @return kPathNotResolved as soon as a step leads nowhere.
    Status follow(const wchar_t* path)
    {
        if (*path == L'\0')
            return Status::kSuccess;
        wchar_t separator = L'|';
        kqx::String token;
        for (const wchar_t* at = path; *at != L'\0' && *at != L']'; ++at)
        {
            if (*at == L'\\')
            {
                if (*++at == L'\0')
                    break;
                token += *at;
            }
            else if (isSeparator(*at))
            {
                if (at != path && !step(separator, token))
                    return Status::kPathNotResolved;
                separator = *at;
                token.clear();
            }
            else if (!isIgnoredBlank(*at))
                token += *at;
        }
        return step(separator, token) ? Status::kSuccess : Status::kPathNotResolved;
    }

    Node* node = nullptr;
    AttributeArray* array = nullptr;
    Attribute* attribute = nullptr;

private:
    bool step(wchar_t separator, const kqx::String& token)
    {
        switch (separator)
        {
        case L'|': return stepToChild(token);
        case L'.': return stepToElement(token, attribute, &Node::findAttributeByName, &Node::findLegacyAttributeByName);
        case L':':
            return stepToElement(token, array, &Node::findAttributeArrayByName, &Node::findLegacyAttributeArrayByName);
        default: return stepToItem(token);
        }
    }

    bool stepToChild(const kqx::String& name)
    {
        node = current_ != nullptr ? current_->findChildByName(name.c_str()) : nullptr;
        current_ = node;
        return node != nullptr;
    }

    template <class Kind>
    bool stepToElement(const kqx::String& name, Kind*& out, Kind* (Node::*find)(const wchar_t*) const,
                       Kind* (Node::*findLegacy)(const wchar_t*) const)
    {
        if (current_ == nullptr)
            return false;
        out = migrators_ != nullptr ? findMigrated(name, find, findLegacy) : (current_->*find)(name.c_str());
        current_ = node;
        return out != nullptr;
    }

    /// Looks for the mapped name, among the legacy elements first; unknown nodes know no migrators. The elements of a legacy
    /// node keep the names that their file has, so a migrator that maps one of them there hides it from paths.
    template <class Kind>
    Kind* findMigrated(const kqx::String& name, Kind* (Node::*find)(const wchar_t*) const,
                       Kind* (Node::*findLegacy)(const wchar_t*) const)
    {
        if (current_->isUnknown() && !current_->isLegacy())
            return (current_->*find)(name.c_str());
        // Migrators may look at the node that they are asked about; the walk itself changes nothing.
        Node* const owner = const_cast<Node*>(current_);
        const wchar_t* const mapped =
            migrateThrough(migrators_, name.c_str(),
                           [owner](Migrator& m, const wchar_t* text) { return m.migrateAttributeName(text, owner); });
        Kind* const legacy = (current_->*findLegacy)(mapped);
        return legacy != nullptr || current_->isLegacy() ? legacy : (current_->*find)(mapped);
    }

    bool stepToItem(const kqx::String& index)
    {
        const int number = kqx::parseInt(index.c_str(), index.size());
        const bool isItem = array != nullptr && number >= 0;
        attribute = isItem ? array->getAttribute(static_cast<unsigned int>(number)) : nullptr;
        current_ = node;
        return attribute != nullptr;
    }

    const Node* current_;
    const kqtl::pod_vector<Migrator*>* migrators_;
};

template <class T>
void setOutput(T** output, T* value)
{
    if (output != nullptr)
        *output = value;
}

// --- Building ---

bool needsEscape(wchar_t c)
{
    return isReserved(c) || isIgnoredBlank(c) || c == L'\\';
}

/// The nodes whose names make up a path, the deepest first.
struct Steps
{
    std::array<const Node*, kDepthLimit> nodes;
    std::size_t count = 0;
};

Status collectSteps(const Node* root, const Node* node, Steps& steps)
{
    const Node* at = node;
    while (at != root && (root != nullptr || at->getParent() != nullptr))
    {
        if (steps.count < kDepthLimit)
            steps.nodes[steps.count] = at;
        ++steps.count; // goes on: not being an ancestor is told before the depth
        at = at->getParent();
        if (at == nullptr)
        {
            logError(L"'%s' is not an ancestor of '%s'", root->getName().c_str(), node->getName().c_str());
            return Status::kNotAncestor;
        }
    }
    if (steps.count >= kDepthLimit)
    {
        logError(L""); // on purpose without a text
        return Status::kPathNotBuilt;
    }
    return Status::kSuccess;
}

/// Writes a path over the text that was there, so that a text that is used again and again keeps its memory.
class PathWriter
{
public:
    explicit PathWriter(kqx::String& path) : path_(path) {}

    void step(wchar_t separator, const wchar_t* name)
    {
        if (isEmpty_)
            path_.assign(&separator, 1);
        else
            path_ += separator;
        isEmpty_ = false;
        dbu_appendEscapeNames(name, path_);
    }

    void item(unsigned int index)
    {
        path_ += L'[';
        kqx::appendNumber(path_, static_cast<int>(index));
        path_ += L']';
    }

    void finish()
    {
        if (isEmpty_)
            path_.clear();
    }

private:
    kqx::String& path_;
    bool isEmpty_ = true;
};

/// Builds a node's path and lets @p writeElement go on behind it.
template <class WriteElement>
Status tryToBuildPath(const Node* root, const Node* node, kqx::String* path, WriteElement writeElement)
{
    if (node == nullptr)
        return refuse(Status::kNullOutput, L"A valid node pointer must be given.", nullptr);
    if (path == nullptr)
        return refuse(Status::kNullOutput, L"'path' should point to a valid kqx::String.", nullptr);
    Steps steps;
    const Status status = collectSteps(root, node, steps);
    if (status != Status::kSuccess)
        return status;
    const bool built = succeeds([&] {
        PathWriter writer(*path);
        while (steps.count-- > 0)
            writer.step(L'|', steps.nodes[steps.count]->getName().c_str());
        writeElement(writer);
        writer.finish();
    });
    return built ? Status::kSuccess : Status::kFailure;
}

/// The same, and leaves the path empty when it cannot be built.
template <class WriteElement>
Status buildPath(const Node* root, const Node* node, kqx::String* path, WriteElement writeElement)
{
    const Status status = tryToBuildPath(root, node, path, writeElement);
    if (status != Status::kSuccess && path != nullptr)
        path->clear();
    return status;
}

} // namespace

// --- Checking ---

PathFault findPathFault(const wchar_t* path)
{
    if (path == nullptr)
        return {Status::kNullPath};
    if (!isSeparator(*path))
        return {Status::kPathBadStart};

    bool insideBraces = false;
    bool mismatched = false;
    bool afterReserved = false;
    for (const wchar_t* at = path; *at != L'\0'; ++at)
    {
        const bool isLast = at[1] == L'\0';
        if (insideBraces && !isDigit(*at) && *at != L']')
            return {Status::kNonNumericIndex, L"'%s' contains square braces with non numerical characters in."};
        if (isReserved(*at) && afterReserved)
            return {Status::kAdjacentReservedCharacters,
                    L"'%s' contains reserved characters placed next to each other."};
        if (isLast && (isSeparator(*at) || *at == L'\\'))
            return {Status::kTrailingReservedCharacter, L"'%s' is terminated by a reserved character."};
        if (*at == L']')
        {
            mismatched = mismatched || !insideBraces;
            insideBraces = false;
        }
        else if (*at == L'[')
            insideBraces = true;
        afterReserved = isReserved(*at);
        if (*at == L'\\')
            ++at; // what it escapes is an ordinary character
    }
    if (insideBraces || mismatched)
        return {Status::kMismatchedBraces, L"'%s' contains mismatching braces."};
    return {};
}

Status dbu_validatePath(const wchar_t* path)
{
    const PathFault fault = findPathFault(path);
    return fault.message != nullptr ? refuse(fault.status, fault.message, path) : fault.status;
}

// --- From path to object ---

Status dbu_resolvePath(const Node* root, const wchar_t* path, Node** node, AttributeArray** array,
                       Attribute** attribute, bool validate, kqtl::pod_vector<Migrator*>* migrators)
{
    setOutput<Node>(node, nullptr);
    setOutput<AttributeArray>(array, nullptr);
    setOutput<Attribute>(attribute, nullptr);
    if (path == nullptr)
        return Status::kNullPath;
    if (validate)
    {
        const Status status = dbu_validatePath(path);
        if (status != Status::kSuccess)
            return status;
    }
    if (root == nullptr)
        return Status::kPathNotResolved;

    PathWalk walk(root, migrators);
    Status status = Status::kFailure;
    if (!succeeds([&] { status = walk.follow(path); }) || status != Status::kSuccess)
        return status;
    setOutput(node, walk.node);
    setOutput(array, walk.array);
    setOutput(attribute, walk.attribute);
    return Status::kSuccess;
}

Status dbu_pathToNode(const Node* root, const wchar_t* path, Node** node, bool validate)
{
    return dbu_resolvePath(root, path, node, nullptr, nullptr, validate, nullptr);
}

Status dbu_pathToAttributeArray(const Node* root, const wchar_t* path, AttributeArray** array, bool validate)
{
    AttributeArray* found = nullptr;
    const Status status = dbu_resolvePath(root, path, nullptr, &found, nullptr, validate, nullptr);
    setOutput(array, found);
    if (status == Status::kSuccess && found == nullptr)
        return refuse(Status::kPathNotAttributeArray, L"'%s' does not resolve to an attribute array.", path);
    return status;
}

Status dbu_pathToAttribute(const Node* root, const wchar_t* path, Attribute** attribute, bool validate,
                           kqtl::pod_vector<Migrator*>* migrators)
{
    if (attribute == nullptr)
        return Status::kNullOutput;
    const Status status = dbu_resolvePath(root, path, nullptr, nullptr, attribute, validate, migrators);
    if (status == Status::kSuccess && *attribute == nullptr)
        return refuse(Status::kPathNotAttribute, L"'%s' does not resolve to an attribute.", path);
    return status;
}

// --- From object to path ---

Status dbu_nodeToPath(const Node* root, const Node* node, kqx::String* path)
{
    return buildPath(root, node, path, [](PathWriter&) {});
}

Status dbu_attributeArrayToPath(const Node* root, const AttributeArray* array, kqx::String* path)
{
    return buildPath(root, array != nullptr ? array->getNode() : nullptr, path,
                     [array](PathWriter& writer) { writer.step(L':', array->getName()); });
}

Status dbu_attributeToPath(const Node* root, const Attribute* attribute, kqx::String* path)
{
    return buildPath(root, attribute != nullptr ? attribute->getNode() : nullptr, path,
                     [attribute](PathWriter& writer) {
                         const AttributeArray* const array = attribute->getParentArray();
                         if (array == nullptr)
                             return writer.step(L'.', attribute->getName());
                         writer.step(L':', array->getName());
                         writer.item(attribute->getIndex());
                     });
}

void dbu_appendEscapeNames(const wchar_t* name, kqx::String& out)
{
    for (const wchar_t* c = name; c != nullptr && *c != L'\0'; ++c)
    {
        if (needsEscape(*c))
            out += L'\\';
        out += *c;
    }
}

} // namespace db2
