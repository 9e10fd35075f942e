#pragma once

#include <db2/db2.h>

#include <string>

/// The smallest format of a host: streams, a saver and a loader of its own. A line for each node, with its type and its
/// value, as "arm Arm 7".
namespace border {

/// Collects what is written in a string of the host's.
class StringOutput : public db2::OutputStream
{
public:
    StringOutput() : OutputStream(db2::OutputStreamEncoding::kUtf8) {}
    [[nodiscard]] bool isOK() override { return true; }
    using OutputStream::write;
    bool write(const char* bytes, unsigned int count) override
    {
        text.append(bytes, count);
        return true;
    }

    std::string text;
};

/// Reads from such a string.
class StringInput : public db2::InputStream
{
public:
    explicit StringInput(std::string content) : text(std::move(content)) {}
    [[nodiscard]] bool isOK() override { return true; }
    using InputStream::read;
    unsigned int read(char* buffer, unsigned int bytes) override
    {
        return static_cast<unsigned int>(text.copy(buffer, bytes));
    }
    const char* getData(unsigned int& size) override
    {
        size = static_cast<unsigned int>(text.size());
        return text.data();
    }

    std::string text;
};

class TextSaver : public db2::SaveStrategy
{
public:
    explicit TextSaver(db2::OutputStream& stream) : SaveStrategy(stream, L"border", 1, 0) {}

    db2::Status saveHeader(const kqtl::pod_vector<db2::Module*>& modules) override
    {
        return modules.size() == 1 ? db2::Status::kSuccess : db2::Status::kFailure;
    }
    db2::Status saveSubtree(db2::Node& root) override
    {
        const std::wstring value = std::to_wstring(root.findAttributeByName(L"length")->getValue().asInt());
        for (const wchar_t* const text :
             {root.getName().c_str(), L" ", root.getNodeTemplate()->getTypeName().c_str(), L" ", value.c_str(), L"\n"})
        {
            if (!getStream().write(text))
                return db2::Status::kFailure;
        }
        return db2::Status::kSuccess;
    }
};

class TextLoader : public db2::LoadStrategy
{
public:
    TextLoader(db2::InputStream& stream, db2::DataInterface& data, db2::CoreManager& core, unsigned int dataVersion)
        : LoadStrategy(stream, data, core, 1, 0, nullptr), dataVersion_(dataVersion)
    {
    }

    db2::Status doLoad() override
    {
        // The module entry and its texts are made here and freed in the library.
        db2::HeaderData& header = getHeaderData();
        header.loaderVersion = 1;
        header.identifier = L"KQDatabase2";
        header.typeString = L"border";
        db2::HeaderData::ModuleEntry entry;
        entry.moduleId = L"Border";
        entry.dataVersion = dataVersion_;
        header.modules.push_back(entry);
        db2::Status status = validateHeaderData();

        unsigned int size = 0;
        const char* const bytes = getStream().getData(size);
        const std::wstring text(bytes, bytes + size);
        for (std::size_t begin = 0; status == db2::Status::kSuccess && begin < text.size();)
        {
            const std::size_t end = text.find(L'\n', begin);
            status = loadLine(text.substr(begin, end - begin));
            begin = end + 1;
        }
        return status;
    }

private:
    db2::Status loadLine(const std::wstring& line)
    {
        const std::size_t first = line.find(L' ');
        const std::size_t second = line.find(L' ', first + 1);
        const std::wstring name = line.substr(0, first);
        const std::wstring typeName = line.substr(first + 1, second - first - 1);
        db2::Node* node = nullptr;
        db2::Attribute* attribute = nullptr;
        db2::ValueHandle value;
        db2::Status status = makeNode(typeName.c_str(), L"Border", name.c_str(), nullptr, nullptr, &node);
        if (status == db2::Status::kSuccess)
            status = getAttributeToPopulate(node, L"length", db2::AttributeType::kInt, false, &attribute);
        if (status == db2::Status::kSuccess)
            status = lockAttribute(attribute, &value);
        if (status != db2::Status::kSuccess)
            return status;
        value.getInt() = std::stoi(line.substr(second + 1));
        status = unlockAttribute(attribute);
        return status == db2::Status::kSuccess ? onNodeLoaded(*node) : status;
    }

    unsigned int dataVersion_;
};

} // namespace border
