#pragma once

#include <db2host/Scene.h>
#include <db2host/Session.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace kqdb {

/// The library's messages, as the commands report them.
class MessageLog : public KQutils::BasicLogger
{
public:
    static constexpr int kWarning = 1;
    static constexpr int kError = 2;

    struct Message
    {
        int level;
        std::string text; ///< without the library's name in front
    };

    void log(int level, const wchar_t* text) override;

    /// The warnings and errors since the last clear(); of very many only the first.
    [[nodiscard]] const std::vector<Message>& messages() const { return messages_; }
    [[nodiscard]] std::size_t errorCount() const { return errors_; } ///< all of them
    void clear();

private:
    std::vector<Message> messages_;
    std::size_t errors_ = 0;
};

/// The running library with the module Scene: what every command that touches a document needs. One in the program.
class Application
{
public:
    Application();

    [[nodiscard]] db2host::Library& library() { return library_; }
    [[nodiscard]] MessageLog& log() { return log_; }

private:
    MessageLog log_;
    db2host::scene::SceneModule scene_;
    db2host::Library library_;
};

/// A document that a command works on. What is older is migrated, what no migrator deals with is kept, and so are nodes of
/// modules that nobody knows.
class Document
{
public:
    /// An empty one. @param application  outlives the document.
    explicit Document(Application& application);

    /// Opens a file. Throws Failure with what is wrong, and where in the file.
    /// @param onLostReference  when given, is told of references that lead nowhere, which are no failure then.
    Document(Application& application, const std::string& file,
             const db2::LoadStrategy::LostReferenceHandler& onLostReference = {});

    [[nodiscard]] db2host::Session& session() { return session_; }
    [[nodiscard]] db2::Node& root() { return session_.root(); }
    [[nodiscard]] const db2::Node& root() const { return session_.root(); }
    [[nodiscard]] const std::string& name() const { return name_; } ///< the file as the user named it
    [[nodiscard]] const db2host::LoadReport& report() const { return report_; }

    /// The messages of the load that stand for something that is not in the tree: a choice that an Enum does not have, a
    /// reference that could not be kept. A save of the document would lose it.
    [[nodiscard]] const std::vector<std::string>& losses() const { return losses_; }

    /// Makes the modules' migrators edit this document, before it loads something by itself.
    void prepareLoad();

    /// Ends the unit of work. Throws Failure when that is refused.
    void commit(const wchar_t* description);

    /// Saves to @p file, so that the old one stays until the new one is complete. Throws Failure when it cannot be saved,
    /// and for a document with losses unless @p allowLoss.
    void save(const std::string& file, bool allowLoss);

    /// A Failure that says which document it is about.
    [[noreturn]] void fail(const std::string& message) const;

private:
    void noteLosses();

    Application& application_;
    std::string name_;
    db2host::Session session_;
    db2host::LoadReport report_;
    std::vector<std::string> losses_;
};

/// The errors in @p log as the text of a Failure about @p file, "FILE: line 3, column 9: expected a number", one a line.
[[nodiscard]] std::string errorText(const MessageLog& log, const std::string& file);

} // namespace kqdb
