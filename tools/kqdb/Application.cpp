#include "Application.h"

#include "Failure.h"
#include "OutputFile.h"
#include "Progress.h"
#include "StatusText.h"
#include "Text.h"

#include <string_view>
#include <system_error>

namespace kqdb {
namespace {

constexpr std::size_t kKeptMessages = 1000; // a damaged document may give one for each of its nodes
constexpr std::size_t kPrintedErrors = 20;
constexpr std::uintmax_t kLongLoadBytes = 8 * 1024 * 1024;
constexpr wchar_t kProductVersion[] = L"kqdb " KQDB_VERSION;

db2host::Session::Setup sessionSetup()
{
    db2host::Session::Setup setup;
    setup.rootTypeId = db2host::scene::kScene;
    return setup;
}

/// "line 12, column 9, nodes[3]: ..." of a loader's "Line 12, column 9, ...", wherever that stands in the message.
std::string placeFirst(const std::string& message)
{
    for (std::size_t at = message.find("ine "); at != std::string::npos; at = message.find("ine ", at + 1))
    {
        const bool isPlace = at > 0 && (message[at - 1] == 'L' || message[at - 1] == 'l') && at + 4 < message.size() &&
                             message[at + 4] >= '0' && message[at + 4] <= '9';
        if (isPlace && message.find(", column ", at) != std::string::npos)
            return 'l' + message.substr(at);
    }
    return message;
}

/// Says what is wrong with a file before the library tries to read it, in plainer words.
void checkFile(const std::filesystem::path& file, const std::string& name)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::not_found)
        throw Failure(name + ": there is no such file");
    if (status.type() == std::filesystem::file_type::directory)
        throw Failure(name + ": is a folder, not a document");
    if (status.type() == std::filesystem::file_type::regular && std::filesystem::file_size(file, error) == 0 && !error)
        throw Failure(name + ": the file is empty");
}

/// Messages about older data that stays in the tree all the same.
bool isAboutKeptData(std::string_view message)
{
    return message.starts_with("Legacy element ") || message.starts_with("Legacy node ") ||
           message.starts_with("There were ");
}

} // namespace

// --- MessageLog ---

void MessageLog::log(int level, const wchar_t* text)
{
    constexpr std::wstring_view kPrefix = L"KQDatabase2 : ";
    if (level != kWarning && level != kError)
        return;
    errors_ += level == kError ? 1u : 0u;
    std::wstring_view message = text;
    if (message.starts_with(kPrefix))
        message.remove_prefix(kPrefix.size());
    if (messages_.size() < kKeptMessages)
        messages_.push_back({level, visible(message)});
}

void MessageLog::clear()
{
    messages_.clear();
    errors_ = 0;
}

std::string errorText(const MessageLog& log, const std::string& file)
{
    std::string text;
    std::size_t printed = 0;
    for (const MessageLog::Message& message : log.messages())
    {
        if (message.level != MessageLog::kError || printed == kPrintedErrors)
            continue;
        ++printed;
        text += (text.empty() ? "" : "\n") + file + ": " + placeFirst(message.text);
    }
    if (printed < log.errorCount())
        text += "\n" + file + ": and " + counted(log.errorCount() - printed, "more error");
    return text;
}

// --- Application ---

Application::Application() : library_(&log_, kProductVersion, {&scene_}) {}

// --- Document ---

Document::Document(Application& application)
    : application_(application), session_(application.library(), sessionSetup())
{
}

Document::Document(Application& application, const std::string& file,
                   const db2::LoadStrategy::LostReferenceHandler& onLostReference)
    : application_(application), name_(file), session_(application.library(), sessionSetup())
{
    const std::filesystem::path path = filePath(file);
    checkFile(path, file);
    std::error_code ignored;
    const Progress progress("loading " + file, std::filesystem::file_size(path, ignored) > kLongLoadBytes && !ignored);
    application.log().clear();
    report_ = session_.open(path, true, onLostReference);
    if (!report_.isLoaded())
    {
        const std::string errors = errorText(application.log(), file);
        throw Failure(errors.empty() ? file + ": " + describe(report_.status) : errors);
    }
    noteLosses();
}

void Document::noteLosses()
{
    for (const MessageLog::Message& message : application_.log().messages())
        if (message.level == MessageLog::kError && !isAboutKeptData(message.text))
            losses_.push_back(placeFirst(message.text));
    if (losses_.empty() && report_.unhandledConnections > 0) // beyond the messages that were kept
        losses_.push_back(counted(report_.unhandledConnections, "reference") + " to older data");
}

void Document::prepareLoad()
{
    for (db2host::ModuleDefinition* const module : application_.library().modules())
        module->setDataInterface(session_.data());
    application_.log().clear();
}

void Document::commit(const wchar_t* description)
{
    const db2::Status status = session_.data().db_commit(description, L"kqdb", 0);
    if (status != db2::Status::kSuccess)
        fail(describe(status));
}

void Document::save(const std::string& file, bool allowLoss)
{
    if (!allowLoss && !losses_.empty())
        fail(losses_.front() + "\n" + name_ + ": saving would lose " +
             (losses_.size() == 1 ? std::string("that") : counted(losses_.size(), "such thing")) +
             "; --allow-loss saves all the same");
    const std::filesystem::path path = outputFile(file);
    const Progress progress("saving " + file, session_.core().getStatistics().nodes > 100000);
    application_.log().clear();
    if (session_.saveAs(path))
        return;
    const std::string errors = errorText(application_.log(), file);
    throw Failure(errors.empty() ? file + ": cannot be saved" : errors);
}

void Document::fail(const std::string& message) const
{
    throw Failure(name_.empty() ? message : name_ + ": " + message);
}

} // namespace kqdb
