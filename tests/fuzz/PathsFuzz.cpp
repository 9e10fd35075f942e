// The path functions against naive ones, for any text: what is checked, what is resolved, and what is built.

#include <db2/db2.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace db2;

/// Ends the program, which is how a fuzzer learns of a failure.
void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

// --- The tree that paths lead through ---

constexpr unsigned int kType = 1;

/// Names that a path can hit without luck, with and without characters that need an escape.
class Tree
{
public:
    Tree()
    {
        FloatAttributeMetaDataDef attribute;
        IntAttributeMetaDataDef array;
        array.setArray(true);
        auto* const type = new NodeTemplate(L"Part", kType, module_);
        for (const wchar_t* const name : {L"x", L"x.y", L" "})
            type->addAttribute(attribute, name);
        for (const wchar_t* const name : {L"p", L"p[0]"})
            type->addAttribute(array, name);
        registry_.registerNodeTemplate(type);
        core = std::make_unique<CoreManager>(registry_, kType);
        named = node(L"named", nullptr);
        core->db_createDynamicElement(attribute, L"named", named, nullptr, &namedAttribute);
        core->db_createDynamicElement(array, L"also named", named, nullptr, &namedArray);
        Node* const a = node(L"a", nullptr);
        node(L"a b", a);
        node(L"|", node(L"b", a));
        for (const wchar_t* const name : {L"c", L"d", L"\\"})
            node(name, a); // enough children for an index
    }

private:
    Module module_;
    NodeRegistry registry_;

public:
    std::unique_ptr<CoreManager> core; ///< ends before the registry
    Node* named = nullptr;             ///< renamed again and again
    Element* namedAttribute = nullptr;
    Element* namedArray = nullptr;

private:
    Node* node(const wchar_t* name, Node* parent)
    {
        Node* made = nullptr;
        core->db_createNode(kType, name, parent, nullptr, &made);
        core->db_resizeAttributeArray(made->findAttributeArrayByName(L"p"), 12);
        core->db_resizeAttributeArray(made->findAttributeArrayByName(L"p[0]"), 1);
        return made;
    }
};

/// What a path leads to.
struct Reached
{
    Status status = Status::kSuccess;
    Node* node = nullptr;
    AttributeArray* array = nullptr;
    Attribute* attribute = nullptr;

    bool operator==(const Reached&) const = default;
};

// --- The naive forms: a path is first cut into characters that know whether an escape stood before them ---

struct Character
{
    wchar_t value;
    bool isEscaped;

    [[nodiscard]] bool is(std::wstring_view any) const
    {
        return !isEscaped && any.find(value) != std::wstring_view::npos;
    }
};

struct Cut
{
    std::vector<Character> characters;
    bool endsInEscape = false;
};

Cut cut(std::wstring_view path)
{
    Cut result;
    for (std::size_t at = 0; at < path.size(); ++at)
    {
        const bool isEscape = path[at] == L'\\';
        if (isEscape && at + 1 == path.size())
            result.endsInEscape = true;
        else
            result.characters.push_back({path[isEscape ? ++at : at], isEscape});
    }
    return result;
}

/// The first fault from left to right, then what only the end can tell.
Status validateNaively(std::wstring_view path)
{
    constexpr std::wstring_view kReserved = L".:|[]";
    if (path.empty() || std::wstring_view(L".:[|").find(path.front()) == std::wstring_view::npos)
        return Status::kPathBadStart;
    const Cut parts = cut(path);
    const std::vector<Character>& characters = parts.characters;
    bool isOpen = false;
    bool isUnpaired = false;
    for (std::size_t at = 0; at < characters.size(); ++at)
    {
        const Character& c = characters[at];
        const bool isDigit = !c.isEscaped && c.value >= L'0' && c.value <= L'9';
        if (isOpen && !isDigit && !c.is(L"]"))
            return Status::kNonNumericIndex;
        if (at > 0 && c.is(kReserved) && characters[at - 1].is(kReserved))
            return Status::kAdjacentReservedCharacters;
        if (c.is(L"]") && !isOpen)
            isUnpaired = true;
        if (c.is(L"[]"))
            isOpen = c.is(L"[");
    }
    if (parts.endsInEscape)
        return isOpen ? Status::kNonNumericIndex : Status::kTrailingReservedCharacter;
    if (characters.back().is(L".:|["))
        return Status::kTrailingReservedCharacter;
    return isOpen || isUnpaired ? Status::kMismatchedBraces : Status::kSuccess;
}

struct Step
{
    wchar_t separator;
    std::wstring name;
};

std::vector<Step> stepsOf(std::wstring_view path)
{
    std::vector<Step> steps;
    if (path.empty())
        return steps;
    const std::vector<Character> characters = cut(path).characters;
    if (characters.empty() || !characters.front().is(L"|.:["))
        steps.push_back({L'|', L""});
    for (const Character& c : characters)
    {
        if (c.is(L"]"))
            break;
        if (c.is(L"|.:["))
            steps.push_back({c.value, L""});
        else if (!c.is(L"\t\n "))
            steps.back().name += c.value;
    }
    return steps;
}

Node* childOf(const Node* parent, const std::wstring& name)
{
    for (Node* child = parent->getFirstChild(); child != nullptr; child = child->getNextSibling())
        if (child->getName() == name.c_str())
            return child;
    return nullptr;
}

Element* elementOf(const Node* node, const std::wstring& name, bool isArray)
{
    for (unsigned int i = 0; i < node->getElementCount(); ++i)
        if (node->getElement(i)->getName() == name)
            return node->getElement(i)->isAttributeArray() == isArray ? node->getElement(i) : nullptr;
    return nullptr;
}

/// What an index says, as far as it is one; beyond every array when it is too large, or negative.
std::size_t indexOf(const std::wstring& text)
{
    constexpr std::size_t kBeyond = 1'000'000;
    std::size_t at = 0;
    while (at < text.size() && std::wstring_view(L"\t\n\v\f\r ").find(text[at]) != std::wstring_view::npos)
        ++at; // tabs, line feeds and blanks are here only when they were escaped
    const bool isNegative = at < text.size() && text[at] == L'-';
    if (at < text.size() && (text[at] == L'-' || text[at] == L'+'))
        ++at;
    std::size_t number = 0;
    for (; at < text.size() && text[at] >= L'0' && text[at] <= L'9'; ++at)
        number = std::min(kBeyond, number * 10 + static_cast<std::size_t>(text[at] - L'0'));
    return isNegative && number > 0 ? kBeyond : number;
}

Reached resolveNaively(const Node* root, std::wstring_view path)
{
    constexpr Reached kNowhere{Status::kPathNotResolved, nullptr, nullptr, nullptr};
    Reached reached;
    const Node* current = root;
    for (const Step& step : stepsOf(path))
    {
        if (step.separator == L'[')
        {
            const std::size_t index = indexOf(step.name);
            if (reached.array == nullptr || index >= reached.array->getSize())
                return kNowhere;
            reached.attribute = reached.array->getAttribute(static_cast<unsigned int>(index));
        }
        else if (current == nullptr)
            return kNowhere;
        else if (step.separator == L'|')
        {
            reached.node = childOf(current, step.name);
            if (reached.node == nullptr)
                return kNowhere;
        }
        else
        {
            Element* const element = elementOf(current, step.name, step.separator == L':');
            if (element == nullptr)
                return kNowhere;
            if (step.separator == L':')
                reached.array = static_cast<AttributeArray*>(element);
            else
                reached.attribute = static_cast<Attribute*>(element);
        }
        current = reached.node; // null as long as only elements of the root were reached
    }
    return reached;
}

// --- What must hold ---

Reached resolve(Tree& tree, const Node* root, const wchar_t* path, bool validate,
                kqtl::pod_vector<Migrator*>* migrators)
{
    Node* node = tree.named; // outputs that hold something before
    AttributeArray* array = static_cast<AttributeArray*>(tree.namedArray);
    Attribute* attribute = static_cast<Attribute*>(tree.namedAttribute);
    const Status status = dbu_resolvePath(root, path, &node, &array, &attribute, validate, migrators);
    return {status, node, array, attribute};
}

/// Checks and resolves the text as a path, from two roots.
void checkAsPath(Tree& tree, const std::wstring& path)
{
    const Status valid = validateNaively(path);
    require(dbu_validatePath(path.c_str()) == valid, "a path is judged as naively");
    kqtl::pod_vector<Migrator*> none;
    for (const Node* const root : {static_cast<const Node*>(tree.core->getRoot()),
                                   static_cast<const Node*>(tree.core->getRoot()->getLastChild())})
    {
        const Reached expected = resolveNaively(root, path);
        require(resolve(tree, root, path.c_str(), false, nullptr) == expected, "a path leads where it leads naively");
        require(resolve(tree, root, path.c_str(), false, &none) == expected,
                "a list without migrators changes nothing");
        const Reached validated = resolve(tree, root, path.c_str(), true, nullptr);
        require(validated == (valid == Status::kSuccess ? expected : Reached{valid, nullptr, nullptr, nullptr}),
                "an invalid path leads nowhere, a valid one to the same place");
        if (expected.status == Status::kSuccess && expected.node != nullptr)
        {
            kqx::String built;
            require(dbu_nodeToPath(root, expected.node, &built) == Status::kSuccess, "what was reached has a path");
            require(resolve(tree, root, built.c_str(), true, nullptr).node == expected.node, "which leads there again");
        }
    }
    require(resolve(tree, nullptr, path.c_str(), false, nullptr) ==
                Reached{Status::kPathNotResolved, nullptr, nullptr, nullptr},
            "from nowhere a path leads nowhere");
}

/// Gives a node and its elements the text as a name, and expects that their paths lead back to them.
void checkAsName(Tree& tree, const std::wstring& name)
{
    if (name.empty() || tree.core->db_renameNode(tree.named, name.c_str()) != Status::kSuccess)
        return;
    const std::wstring elementName = name.substr(0, 40);
    tree.core->db_renameDynamicElement(tree.namedAttribute, elementName.c_str());
    const std::wstring arrayName = L"p" + name.substr(0, 39);
    tree.core->db_renameDynamicElement(tree.namedArray, arrayName.c_str());
    auto* const array = static_cast<AttributeArray*>(tree.namedArray);
    tree.core->db_resizeAttributeArray(array, 1 + static_cast<unsigned int>(name.size()) % 12);
    Attribute* const item = array->getAttribute(array->getSize() - 1);
    auto* const attribute = static_cast<Attribute*>(tree.namedAttribute);

    for (const Node* const root : {static_cast<const Node*>(nullptr), static_cast<const Node*>(tree.core->getRoot())})
    {
        const Node* const from = tree.core->getRoot();
        kqx::String path;
        require(dbu_nodeToPath(root, tree.named, &path) == Status::kSuccess, "a node has a path");
        require(resolve(tree, from, path.c_str(), true, nullptr) ==
                    Reached{Status::kSuccess, tree.named, nullptr, nullptr},
                "a node's path leads to it");
        require(dbu_attributeToPath(root, attribute, &path) == Status::kSuccess, "an attribute has a path");
        require(resolve(tree, from, path.c_str(), true, nullptr) ==
                    Reached{Status::kSuccess, tree.named, nullptr, attribute},
                "an attribute's path leads to it");
        require(dbu_attributeArrayToPath(root, array, &path) == Status::kSuccess, "an array has a path");
        require(resolve(tree, from, path.c_str(), true, nullptr) ==
                    Reached{Status::kSuccess, tree.named, array, nullptr},
                "an array's path leads to it");
        require(dbu_attributeToPath(root, item, &path) == Status::kSuccess, "an item has a path");
        require(resolve(tree, from, path.c_str(), true, nullptr) == Reached{Status::kSuccess, tree.named, array, item},
                "an item's path leads to it");
    }
}

} // namespace

/// @param data  a text, each byte a character; it ends at the first zero.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Tree tree;
    const std::wstring text(data, std::find(data, data + size, std::uint8_t{0}));
    checkAsName(tree, text);
    checkAsPath(tree, text);
    return 0;
}
