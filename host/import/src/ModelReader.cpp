#include "ModelReader.h"

#include "ImportFailure.h"
#include "Text.h"

#include <db2import/ModelImport.h>

#include <assimp/DefaultLogger.hpp>
#include <assimp/Importer.hpp>
#include <assimp/LogStream.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/config.h>
#include <assimp/importerdesc.h>
#include <assimp/scene.h>

#include <algorithm>
#include <new>
#include <string_view>
#include <unordered_set>

namespace db2import {

class ModelReader::Progress : public Assimp::ProgressHandler
{
public:
    explicit Progress(std::function<bool(float)> onProgress) : onProgress_(std::move(onProgress)) {}

    bool Update(float fraction) override
    {
        isEnded_ = isEnded_ || (fraction >= 0 && !onProgress_(std::min(fraction, 1.0f)));
        return !isEnded_;
    }

    /// Some readers do not ask Update() whether to go on.
    [[nodiscard]] bool isEnded() const { return isEnded_; }

private:
    std::function<bool(float)> onProgress_;
    bool isEnded_ = false;
};

/// Listens to the readers' log, which is the process's, while it exists.
class ModelReader::Warnings : public Assimp::LogStream
{
public:
    Warnings()
    {
        if (Assimp::DefaultLogger::isNullLogger())
        {
            Assimp::DefaultLogger::create("", Assimp::Logger::NORMAL, 0);
            isOwnLogger_ = true;
        }
        Assimp::DefaultLogger::get()->attachStream(this, kSeverities);
    }

    ~Warnings() override
    {
        Assimp::DefaultLogger::get()->detachStream(this, kSeverities);
        if (isOwnLogger_)
            Assimp::DefaultLogger::kill();
    }

    void write(const char* message) override
    {
        if (texts_.size() >= kMostWarnings)
            return;
        std::wstring text = wideOf(textOf(message));
        if (seen_.insert(text).second)
            texts_.push_back(std::move(text));
    }

    [[nodiscard]] const std::vector<std::wstring>& texts() const { return texts_; }

private:
    static constexpr unsigned int kSeverities = Assimp::Logger::Warn | Assimp::Logger::Err;
    static constexpr std::size_t kMostWarnings = 1000; ///< a broken file can cause one for each number in it

    /// Without what the logger puts around it: "Warn,  T140213: text\n".
    static std::string_view textOf(std::string_view message)
    {
        while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
            message.remove_suffix(1);
        const std::size_t thread = message.find(" T");
        const std::size_t colon = message.find(": ");
        if (thread != std::string_view::npos && colon != std::string_view::npos && thread < colon && colon < 40)
            message.remove_prefix(colon + 2);
        return message;
    }

    bool isOwnLogger_ = false;
    std::vector<std::wstring> texts_;
    std::unordered_set<std::wstring> seen_;
};

struct ModelReader::Parts
{
    Assimp::Importer importer;
    Progress* progress; ///< the importer's
    Warnings warnings;
};

namespace {

/// Where a reader would leave something out unless it is told not to. Not IMPORT_FBX_READ_ALL_MATERIALS, though: with it
/// that reader refuses nearly every file.
void keepEverything(Assimp::Importer& importer)
{
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_OPTIMIZE_EMPTY_ANIMATION_CURVES, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_REMOVE_EMPTY_BONES, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_IFC_SKIP_SPACE_REPRESENTATIONS, false);
}

const aiImporterDesc* descriptionOf(const Assimp::Importer& importer)
{
    const int index = importer.GetPropertyInteger("importerIndex", -1);
    return index >= 0 ? importer.GetImporterInfo(static_cast<std::size_t>(index)) : nullptr;
}

} // namespace

ModelReader::ModelReader(std::function<bool(float)> onProgress) : parts_(std::make_unique<Parts>())
{
    parts_->progress = new Progress(std::move(onProgress));
    parts_->importer.SetProgressHandler(parts_->progress);
    keepEverything(parts_->importer);
}

ModelReader::~ModelReader() = default;

const aiScene& ModelReader::read(const std::filesystem::path& file)
{
    // No flags: each of them is a step that changes or leaves out something, or refuses what the conversion takes.
    const aiScene* const scene = parts_->importer.ReadFile(bytesOf(file), 0);
    if (parts_->progress->isEnded())
        throw ImportFailure{L"ended before it was complete"};
    if (scene != nullptr)
        return *scene;
    const std::string error = parts_->importer.GetErrorString();
    throw ImportFailure{error == std::bad_alloc().what() ? kNoMemory : wideOf(error)};
}

std::wstring ModelReader::format() const
{
    const aiImporterDesc* const description = descriptionOf(parts_->importer);
    return description != nullptr ? wideOf(description->mName) : std::wstring();
}

bool ModelReader::isGltf2() const
{
    const aiImporterDesc* const description = descriptionOf(parts_->importer);
    return description != nullptr && std::string_view(description->mName).starts_with("glTF2");
}

const std::vector<std::wstring>& ModelReader::warnings() const
{
    return parts_->warnings.texts();
}

std::vector<std::string> importableExtensions()
{
    aiString list; // "*.3d;*.3ds;..."
    Assimp::Importer().GetExtensionList(list);
    std::vector<std::string> extensions;
    std::string_view rest(list.data, list.length);
    while (!rest.empty())
    {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        std::string_view extension = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        extension.remove_prefix(std::min(extension.find_first_not_of("*."), extension.size()));
        if (!extension.empty())
            extensions.emplace_back(extension);
    }
    std::sort(extensions.begin(), extensions.end());
    extensions.erase(std::unique(extensions.begin(), extensions.end()), extensions.end());
    return extensions;
}

} // namespace db2import
