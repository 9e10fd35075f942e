// A file format of a host's own: lines of words between tabs, for trees whose attributes are Floats and texts.
//
//   lines 1 <TAB> type string
//   module <TAB> id <TAB> data version
//   node <TAB> depth <TAB> type <TAB> module <TAB> name
//   value <TAB> element <TAB> Float or String <TAB> value      of the node before; the value is missing at its default
//   reference <TAB> element <TAB> Float or String <TAB> path

#include <db2/db2.h>

#include <kqx/NumberText.h>
#include <kqx/UTF8.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

using db2::Status;

constexpr unsigned int kFormatVersion = 1;
constexpr unsigned int kPartTypeId = 1;

// --- Writing ---

class LineSaver : public db2::SaveStrategy
{
public:
    LineSaver(db2::OutputStream& stream, const wchar_t* typeString)
        : SaveStrategy(stream, typeString, kFormatVersion, 0)
    {
    }

    Status saveHeader(const kqtl::pod_vector<db2::Module*>& modules) override
    {
        Status status = writeLine({L"lines " + std::to_wstring(kFormatVersion), getTypeString().c_str()});
        for (const db2::Module* const module : modules)
            if (status == Status::kSuccess)
                status = writeLine({L"module", module->getId().c_str(), std::to_wstring(module->getDataVersion())});
        return status;
    }

    Status saveSubtree(db2::Node& root) override
    {
        db2::NodeIterator nodes(&root);
        nodes.includeRoot(true);
        Status status = Status::kSuccess;
        while (status == Status::kSuccess && nodes.next())
            status = saveNode(*nodes.node(), root);
        return status;
    }

private:
    Status saveNode(const db2::Node& node, const db2::Node& root)
    {
        unsigned int depth = 0;
        for (const db2::Node* above = &node; above != &root; above = above->getParent())
            ++depth;
        Status status = writeLine({L"node", std::to_wstring(depth), node.getTypeName().c_str(),
                                   node.getModule()->getId().c_str(), node.getName().c_str()});
        for (unsigned int i = 0; i < node.getElementCount() && status == Status::kSuccess; ++i)
            status = saveElement(*node.getElement(i));
        return status;
    }

    Status saveElement(const db2::Element& element)
    {
        const bool isText = element.getTypeId() == db2::AttributeType::kString;
        const bool isNumber = element.getTypeId() == db2::AttributeType::kFloat;
        if (element.isAttributeArray() || element.isDynamic() || !(isText || isNumber))
            return Status::kFailure; // this format has no line for it
        const auto& attribute = static_cast<const db2::Attribute&>(element);
        if (!shouldSaveAttribute(attribute))
            return Status::kSuccess;

        std::vector<std::wstring> words{L"value", attribute.getName(), isText ? L"String" : L"Float"};
        if (const db2::Attribute* const target = attribute.getReference())
        {
            kqx::String path;
            const Status status = convertReferenceToPath(*target, path);
            if (status != Status::kSuccess)
                return status;
            words.front() = L"reference";
            words.emplace_back(path.c_str());
        }
        else if (shouldSaveValue(attribute))
            words.push_back(textOf(attribute.getValue()));
        return writeLine(words);
    }

    static std::wstring textOf(const db2::ConstValueHandle& value)
    {
        if (value.getTypeId() == db2::AttributeType::kString)
            return value.getString().c_str();
        char text[32];
        const auto end =
            std::to_chars(std::begin(text), std::end(text), value.getFloat()).ptr; // reads back to the same bits
        return std::wstring(text, end);
    }

    Status writeLine(const std::vector<std::wstring>& words)
    {
        std::wstring line;
        for (const std::wstring& word : words)
        {
            if (word.find_first_of(L"\t\n") != word.npos)
                return Status::kFailure; // this format cannot hold it
            line += (line.empty() ? L"" : L"\t") + word;
        }
        line += L'\n';
        return getStream().write(line.c_str()) ? Status::kSuccess : Status::kFailure;
    }
};

// --- Reading ---

using Words = std::vector<std::wstring>;

class LineLoader : public db2::LoadStrategy
{
public:
    LineLoader(db2::InputStream& stream, db2::DataInterface& data, db2::CoreManager& core)
        : LoadStrategy(stream, data, core, kFormatVersion, 0, nullptr)
    {
    }

    Status doLoad() override
    {
        const std::vector<Words> lines = readLines();
        std::size_t at = 0;
        Status status = readHeader(lines, at);
        for (; at < lines.size() && status == Status::kSuccess; ++at)
            status = readLine(lines[at]);
        if (status == Status::kSuccess && node_ != nullptr)
            status = onNodeLoaded(*node_);
        return status != Status::kSuccess ? refuse(at) : status;
    }

private:
    std::vector<Words> readLines()
    {
        unsigned int size = 0;
        const char* const bytes = getStream().getData(size);
        std::wstring text(kqx::UCS2LengthFromUTF8(bytes, size), L'\0');
        kqx::UCS2FromUTF8(bytes, size, text.data());
        std::vector<Words> lines;
        for (std::size_t begin = 0; begin < text.size();)
        {
            const std::size_t end = std::min(text.find(L'\n', begin), text.size());
            Words& words = lines.emplace_back();
            for (std::size_t word = begin; word <= end;)
            {
                const std::size_t wordEnd = std::min(text.find(L'\t', word), end);
                words.push_back(text.substr(word, wordEnd - word));
                word = wordEnd + 1;
            }
            begin = end + 1;
        }
        return lines;
    }

    static unsigned int numberIn(const std::wstring& word)
    {
        return static_cast<unsigned int>(kqx::parseInt(word.data(), word.size()));
    }

    Status readHeader(const std::vector<Words>& lines, std::size_t& at)
    {
        db2::HeaderData& header = getHeaderData();
        if (lines.empty() || lines[0].size() != 2 || !lines[0][0].starts_with(L"lines "))
            return Status::kFailure;
        header.identifier = L"KQDatabase2";
        header.loaderVersion = numberIn(lines[0][0].substr(6));
        header.typeString = lines[0][1].c_str();
        for (at = 1; at < lines.size() && lines[at].size() == 3 && lines[at][0] == L"module"; ++at)
        {
            db2::HeaderData::ModuleEntry entry;
            entry.moduleId = lines[at][1].c_str();
            entry.dataVersion = numberIn(lines[at][2]);
            header.modules.push_back(entry);
        }
        return validateHeaderData(); // finds the modules and the migrators
    }

    Status readLine(const Words& words)
    {
        if (words[0] == L"node" && words.size() == 5)
            return readNode(words);
        const bool isReference = words[0] == L"reference" && words.size() == 4;
        const bool isValue = words[0] == L"value" && (words.size() == 3 || words.size() == 4);
        return node_ != nullptr && (isReference || isValue) ? readAttribute(words) : Status::kFailure;
    }

    Status readNode(const Words& words)
    {
        const unsigned int depth = numberIn(words[1]);
        if (depth > path_.size())
            return Status::kFailure;
        if (node_ != nullptr)
        {
            const Status status = onNodeLoaded(*node_);
            if (status != Status::kSuccess)
                return status;
        }
        path_.resize(depth);
        db2::Node* const parent = path_.empty() ? getLoadParent() : path_.back();
        const Status status = makeNode(words[2].c_str(), words[3].c_str(), words[4].c_str(), parent, nullptr, &node_);
        path_.push_back(node_);
        return status;
    }

    Status readAttribute(const Words& words)
    {
        const auto type = words[2] == L"String" ? db2::AttributeType::kString : db2::AttributeType::kFloat;
        db2::Attribute* attribute = nullptr;
        Status status = getAttributeToPopulate(node_, words[1].c_str(), type, false, &attribute);
        if (status != Status::kSuccess || words.size() == 3) // at its default
            return status;
        if (words[0] == L"reference")
            return addUnresolvedReference(attribute, words[3].c_str(), false); // made when all nodes are there
        db2::ValueHandle value;
        status = lockAttribute(attribute, &value);
        if (status != Status::kSuccess)
            return status;
        if (type == db2::AttributeType::kString)
            value.getString() = words[3].c_str();
        else
            value.getFloat() = static_cast<float>(kqx::parseDouble(words[3].data(), words[3].size()));
        return unlockAttribute(attribute);
    }

    static Status refuse(std::size_t line)
    {
        db2::logError(L"Line %d does not follow the format", static_cast<int>(line) + 1);
        return Status::kFailure;
    }

    db2::Node* node_ = nullptr;    ///< the last one
    std::vector<db2::Node*> path_; ///< the nodes above and including it
};

// --- There and back ---

std::string savedText(const db2::CoreManager& core)
{
    db2::MemoryBlock block;
    db2::MemoryOutputStream stream(block, db2::OutputStreamEncoding::kUtf8);
    LineSaver saver(stream, L"parts");
    saver.addChildNodes(core.getRoot());
    return saver.save() == Status::kSuccess ? std::string(block.getData(), block.getUsedSize()) : std::string();
}

Status loadText(db2::CoreManager& core, std::string_view text)
{
    const db2::MemoryBlock block(text.data(), static_cast<std::uint32_t>(text.size()));
    db2::MemoryInputStream stream(block);
    LineLoader loader(stream, core, core);
    return loader.load(*core.getRoot(), L"memory");
}

template <class Write>
void write(db2::CoreManager& core, db2::Attribute* attribute, Write writeValue)
{
    db2::ValueHandle value;
    core.db_lockAttribute(attribute, &value);
    writeValue(value);
    core.db_unlockAttribute(attribute);
}

void buildParts(db2::CoreManager& core)
{
    db2::Node* arm = nullptr;
    db2::Node* hand = nullptr;
    core.db_createNode(kPartTypeId, L"arm", nullptr, nullptr, &arm);
    core.db_createNode(kPartTypeId, L"hand", arm, nullptr, &hand);
    write(core, arm->findAttributeByName(L"length"), [](auto value) { value.getFloat() = 0.7f; });
    write(core, hand->findAttributeByName(L"label"), [](auto value) { value.getString() = L"left h\u00E4nd"; });
    core.db_createReference(arm->findAttributeByName(L"length"), hand->findAttributeByName(L"length"), false);
}

bool demonstrate(const db2::NodeRegistry& registry)
{
    db2::CoreManager first(registry, kPartTypeId);
    buildParts(first);
    const std::string text = savedText(first);
    std::fputs(text.c_str(), stdout);

    db2::CoreManager second(registry, kPartTypeId);
    const bool isSame = loadText(second, text) == Status::kSuccess && savedText(second) == text;
    db2::CoreManager third(registry, kPartTypeId);
    const bool isRefused = loadText(third, "lines 1\tparts\nnode\tx\n") == Status::kFailure;
    std::printf("loaded and saved again: %s; a broken text is refused: %s\n", isSame ? "the same" : "DIFFERENT",
                isRefused ? "yes" : "NO");
    return !text.empty() && isSame && isRefused;
}

} // namespace

int main()
{
    db2::initLibrary(nullptr, L"Own format 1.0");
    auto* const module = new db2::Module; // the library owns it from its registration on
    module->setId(L"Parts");
    module->setDataVersion(1);
    db2::registerModule(module);
    bool isRight = false;
    {
        db2::NodeRegistry registry;
        auto* const part = new db2::NodeTemplate(L"Part", kPartTypeId, *module);
        part->addAttribute(db2::FloatAttributeMetaDataDef(), L"length");
        part->addAttribute(db2::StringAttributeMetaDataDef(), L"label");
        registry.registerNodeTemplate(part);
        isRight = demonstrate(registry);
    }
    db2::termLibrary();
    return isRight ? 0 : 1;
}
