#include "Handover.h"

#include "ImportFailure.h"

#include <db2host/Scene.h>
#include <db2json/JsonSaver.h>

#include <cstring>
#include <new>
#include <type_traits>

namespace db2import {
namespace {

/// What the child sends.
enum Message : std::uint32_t
{
    kProgress, ///< float
    kFormat,   ///< text
    kRemark,   ///< RemarkHeader, then the two texts
    kCounts,   ///< ImportCounts
    kError,    ///< text
    kDocument  ///< a piece of it
};

struct RemarkHeader
{
    ImportRemark::Kind kind;
    std::uint32_t placeCharacters;
};

static_assert(std::is_trivially_copyable_v<ImportCounts> && std::is_trivially_copyable_v<RemarkHeader>);

// Both sides are one program, so values go as they stand in memory.

template <class T>
std::string_view bytesOf(const T& value)
{
    return {static_cast<const char*>(static_cast<const void*>(&value)), sizeof value};
}

std::string_view bytesOf(const std::wstring& text)
{
    return {static_cast<const char*>(static_cast<const void*>(text.data())), text.size() * sizeof(wchar_t)};
}

template <class T>
bool take(std::string_view& bytes, T& value)
{
    if (bytes.size() < sizeof value)
        return false;
    std::memcpy(&value, bytes.data(), sizeof value);
    bytes.remove_prefix(sizeof value);
    return true;
}

std::wstring textOf(std::string_view bytes)
{
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    return text;
}

// --- In the child ---

/// Sends a document piece by piece, as the saver writes it.
class SendingStream : public db2::OutputStream
{
public:
    explicit SendingStream(MessageSender& sender) : OutputStream(db2::OutputStreamEncoding::kUtf8), sender_(sender) {}

    using OutputStream::write;
    bool write(const char* bytes, unsigned int count) override
    {
        isOK_ = isOK_ && bytes != nullptr && sender_.send(kDocument, {bytes, count});
        return isOK_;
    }
    [[nodiscard]] bool isOK() override { return isOK_; }

private:
    MessageSender& sender_;
    bool isOK_ = true;
};

void sendReport(MessageSender& sender, const ImportReport& report)
{
    sender.send(kFormat, bytesOf(report.format));
    for (const ImportRemark& remark : report.remarks)
    {
        const RemarkHeader header = {remark.kind, static_cast<std::uint32_t>(remark.place.size())};
        std::string message(bytesOf(header));
        message.append(bytesOf(remark.place)).append(bytesOf(remark.text));
        sender.send(kRemark, message);
    }
    sender.send(kCounts, bytesOf(report.counts));
}

void sendDocument(MessageSender& sender, db2::CoreManager& core)
{
    SendingStream stream(sender);
    db2::JsonSaver saver(stream, L"import");
    saver.addChildNodes(core.getRoot());
    if (saver.save() != db2::Status::kSuccess)
        throw ImportFailure{L"the model cannot be written as a document"};
}

void readAndSend(const std::filesystem::path& file, const db2::NodeRegistry& registry, unsigned int depth,
                 MessageSender& sender)
{
    db2::setLogger(nullptr); // the host's, which is not for two processes
    ImportReport report;
    try
    {
        auto& core = *new db2::CoreManager(registry, db2host::scene::kScene); // freed with the process
        const ImportProgress progress = [&](float part) { return sender.send(kProgress, bytesOf(part)); };
        readAndConvert(file, core, core, *core.getRoot(), depth, progress, report);
        sendDocument(sender, core);
    }
    catch (const ImportFailure& failure)
    {
        sender.send(kError, bytesOf(failure.text));
    }
    catch (const std::bad_alloc&)
    {
        sender.send(kError, bytesOf(std::wstring(kNoMemory)));
    }
    sendReport(sender, report);
}

// --- In the parent ---

/// Puts together what the child sends.
class Receiver
{
public:
    Receiver(ImportReport& report, const ImportProgress& progress) : report_(report), progress_(progress) {}

    bool receive(std::uint32_t kind, std::string_view bytes)
    {
        float part = 0;
        switch (kind)
        {
        case kProgress: return take(bytes, part) && (!progress_ || progress_(part));
        case kFormat: report_.format = textOf(bytes); return true;
        case kError: report_.error = textOf(bytes); return true;
        case kCounts: return take(bytes, report_.counts);
        case kRemark: return receiveRemark(bytes);
        case kDocument: return receivePiece(bytes);
        default: return false;
        }
    }

    [[nodiscard]] const db2::MemoryBlock& document() const { return document_; }

private:
    bool receiveRemark(std::string_view bytes)
    {
        RemarkHeader header;
        if (!take(bytes, header) || header.placeCharacters > bytes.size() / sizeof(wchar_t))
            return false;
        const std::size_t placeBytes = header.placeCharacters * sizeof(wchar_t);
        report_.remarks.push_back({header.kind, textOf(bytes.substr(0, placeBytes)), textOf(bytes.substr(placeBytes))});
        return true;
    }

    bool receivePiece(std::string_view bytes)
    {
        const auto count = static_cast<std::uint32_t>(bytes.size()); // a message's size has 32 bits
        if (!document_.ensureSpace(count))
        {
            report_.error = kNoMemory;
            return false;
        }
        std::memcpy(document_.getInsertionPoint(), bytes.data(), count);
        document_.incrementUsedSize(count);
        return true;
    }

    ImportReport& report_;
    const ImportProgress& progress_;
    db2::MemoryBlock document_;
};

} // namespace

db2::MemoryBlock readInChild(const std::filesystem::path& file, const db2::NodeRegistry& registry, unsigned int depth,
                             const ProcessLimits& limits, const ImportProgress& progress, ImportReport& report)
{
    Receiver receiver(report, progress);
    const std::wstring failure =
        runInChild([&](MessageSender& sender) { readAndSend(file, registry, depth, sender); },
                   [&](std::uint32_t kind, std::string_view bytes) { return receiver.receive(kind, bytes); }, limits);
    if (report.error.empty())
        report.error = failure;
    return receiver.document();
}

} // namespace db2import
