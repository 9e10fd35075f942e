#include "FileHeader.h"

#define RAPIDJSON_NAMESPACE kqdb::rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace kqdb::rapidjson {
#define RAPIDJSON_NAMESPACE_END }
#include <rapidjson/istreamwrapper.h>
#include <rapidjson/reader.h>

#include <array>
#include <fstream>
#include <string_view>

namespace kqdb {
namespace {

/// Takes what RapidJSON reads, up to the key "nodes".
class HeaderTaker : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, HeaderTaker>
{
public:
    explicit HeaderTaker(FileHeader& header) : header_(header) {}

    bool Default() { return false; }
    bool StartObject() { return ++depth_ == 1; }
    bool StartArray() { return ++depth_ <= kVersionsDepth; }

    bool EndArray(rapidjson::SizeType)
    {
        --depth_;
        return true;
    }

    bool Key(const char* text, rapidjson::SizeType size, bool)
    {
        key_.assign(text, size);
        return key_ != "nodes";
    }

    bool String(const char* text, rapidjson::SizeType size, bool)
    {
        const std::string value(text, size);
        if (depth_ == kModuleDepth && key_ == "modules")
            header_.modules.push_back({value, 0, {}});
        else if (key_ == "identifier")
            header_.identifier = value;
        else if (key_ == "applicationString")
            header_.application = value;
        else if (key_ == "typeString")
            header_.contentType = value;
        return true;
    }

    bool Uint(unsigned int number)
    {
        if (key_ == "loaderVersion" && depth_ == 1)
            header_.formatVersion = number;
        else if (depth_ == kModuleDepth && !header_.modules.empty())
            header_.modules.back().dataVersion = number;
        else if (depth_ == kVersionsDepth && !header_.modules.empty())
            header_.modules.back().migratorVersions.push_back(number);
        return true;
    }

private:
    // In {"modules": [["Rig", 4, [2]]]}: of an id and a version, and of the versions of the migrators.
    static constexpr int kModuleDepth = 3;
    static constexpr int kVersionsDepth = 4;

    FileHeader& header_;
    std::string key_;
    int depth_ = 0;
};

} // namespace

FileHeader readFileHeader(const std::filesystem::path& file)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    FileHeader header;
    std::ifstream in(file, std::ios::binary);
    std::array<char, kByteOrderMark.size()> first{};
    in.read(first.data(), first.size());
    if (std::string_view(first.data(), first.size()) != kByteOrderMark)
    {
        in.clear();
        in.seekg(0);
    }
    rapidjson::IStreamWrapper stream(in);
    HeaderTaker taker(header);
    rapidjson::Reader reader;
    reader.Parse<rapidjson::kParseIterativeFlag>(stream, taker); // iterative: nesting cannot exhaust the stack
    return header;
}

} // namespace kqdb
