#include "ImportTest.h"

#include "support/HeapThatRunsOut.h"

#include <ChildProcess.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace db2test {
namespace {

using db2import::ImportReport;

constexpr char kObj[] = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";

/// What goes wrong is told and leaves the document as it was, after the caller's rollback.
class ImportErrorsTest : public ImportTest
{
protected:
    ~ImportErrorsTest() override { db2::setLogger(nullptr); }

    /// @return the error's text.
    std::wstring refused(const std::filesystem::path& file)
    {
        const std::wstring before = dump();
        const ImportReport report = import(file);
        EXPECT_FALSE(report.isImported());
        EXPECT_EQ(report.model, nullptr);
        session.undo().rollback(0);
        EXPECT_TRUE(isSameDump(before, dump()));
        return report.error;
    }

    std::wstring refusedText(const std::string& name, const std::string& content)
    {
        folder.write(name, content);
        return refused(folder.file(name));
    }
};

bool contains(const std::wstring& text, const std::wstring& words)
{
    return text.find(words) != std::wstring::npos;
}

// --- Files ---

TEST_F(ImportErrorsTest, AMissingFileIsNamed)
{
    EXPECT_TRUE(contains(refused(folder.file("nothing.obj")), L"Unable to open file"));
}

TEST_F(ImportErrorsTest, AFolderIsNoModel)
{
    EXPECT_NE(refused(folder.file(".")), L"");
}

TEST_F(ImportErrorsTest, AnUnknownFormatIsToldAsSuch)
{
    EXPECT_TRUE(contains(refusedText("letter.txt", "Dear reader"), L"No suitable reader found"));
}

TEST_F(ImportErrorsTest, ABrokenModelGivesTheReadersWords)
{
    EXPECT_EQ(refusedText("empty.ply", ""), L"File " + folder.widePath(L"empty.ply") + L" is empty.");
    EXPECT_TRUE(contains(refusedText("face.obj", "v 0 0 0\nf 1 2 99\n"), L"OBJ: vertex index out of range"));
    EXPECT_NE(refusedText("cut.gltf", "{\"asset\": {\"version\": \"2.0\""), L"");
}

TEST_F(ImportErrorsTest, TheFormatIsKnownEvenThen)
{
    folder.write("face.obj", "v 0 0 0\nf 1 2 99\n");
    EXPECT_EQ(import(folder.file("face.obj")).format, L"Wavefront Object Importer");
}

TEST_F(ImportErrorsTest, InThisProcessTheErrorIsTheSame)
{
    const std::wstring apart = refusedText("face.obj", "v 0 0 0\nf 1 2 99\n");
    options.inOwnProcess = false;
    EXPECT_EQ(refusedText("face.obj", "v 0 0 0\nf 1 2 99\n"), apart);
}

// --- The document ---

/// Refuses the n-th node.
class RefusingLayer : public ForwardingLayer
{
public:
    RefusingLayer(DataInterface& data, unsigned int granted) : ForwardingLayer(&data), granted_(granted) {}

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override
    {
        if (granted_ == 0)
            return Status::kLockOutstanding;
        --granted_;
        return ForwardingLayer::db_createNode(typeId, name, parent, next, outNode);
    }

private:
    unsigned int granted_;
};

TEST_F(ImportErrorsTest, ARefusedEditEndsTheImportAndTheCallerRollsBack)
{
    folder.write("a.obj", kObj);
    const std::wstring before = dump();
    for (const bool inOwnProcess : {true, false})
    {
        options.inOwnProcess = inOwnProcess;
        for (unsigned int granted = 0; granted < 5; ++granted)
        {
            RefusingLayer layer(session.data(), granted);
            const ImportReport report =
                db2import::importModel(folder.file("a.obj"), layer, session.core(), session.root(), options);
            EXPECT_FALSE(report.isImported());
            EXPECT_TRUE(contains(report.error, L"status 56")) << report.error.c_str();
            session.undo().rollback(0); // there is nothing to take back when the first edit was refused
            EXPECT_TRUE(isSameDump(before, dump()));
        }
    }
}

TEST_F(ImportErrorsTest, MemoryThatRunsOutIsAnErrorWhereverItDoes)
{
    folder.write("a.obj", kObj);
    options.inOwnProcess = false;
    const std::wstring before = dump();
    unsigned int failures = 0;
    for (std::size_t granted = 0; granted < 5000; ++granted)
    {
        ImportReport report;
        {
            const HeapThatRunsOut heap(granted);
            report = import(folder.file("a.obj"));
        }
        if (report.isImported())
            break;
        ++failures;
        EXPECT_NE(report.error, L"");
        session.undo().rollback(0);
        ASSERT_TRUE(isSameDump(before, dump())) << granted;
    }
    EXPECT_GT(failures, 10u);
    EXPECT_NE(session.root().getFirstChild(), nullptr) << "at last there was enough";
}

// --- Ending it ---

TEST_F(ImportErrorsTest, TheCallerCanEndItAtAnyTime)
{
    std::string many; // objects, so that there are nodes enough for progress while loading
    for (int i = 0; i < 400; ++i)
        many += "o part" + std::to_string(i) + "\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf -3 -2 -1\n";
    folder.write("many.obj", many);
    const std::wstring before = dump();
    for (const bool inOwnProcess : {true, false})
    {
        options.inOwnProcess = inOwnProcess;
        for (const float end : {0.0f, 0.1f, 0.5f, 0.8f})
        {
            float last = 0;
            progress = [&](float part) {
                last = part;
                return part < end;
            };
            const ImportReport report = import(folder.file("many.obj"));
            EXPECT_FALSE(report.isImported()) << end;
            EXPECT_EQ(report.error, L"ended before it was complete");
            EXPECT_GE(last, end);
            session.undo().rollback(0);
            EXPECT_TRUE(isSameDump(before, dump()));
        }
    }
}

TEST_F(ImportErrorsTest, ProgressNeverGoesBackAndEndsNearOne)
{
    std::string many;
    for (int i = 0; i < 400; ++i)
        many += "o part" + std::to_string(i) + "\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf -3 -2 -1\n";
    folder.write("many.obj", many);
    float last = 0;
    progress = [&](float part) {
        EXPECT_GE(part, last);
        EXPECT_LE(part, 1);
        last = part;
        return true;
    };
    EXPECT_TRUE(import(folder.file("many.obj")).isImported());
    EXPECT_GT(last, 0.9f);
}

// --- The process of its own ---

/// Runs work in a child that may do what it likes.
std::wstring run(const std::function<void(db2import::MessageSender&)>& work, double seconds = 0,
                 std::uint64_t memory = 0)
{
    return db2import::runInChild(work, [](std::uint32_t, std::string_view) { return true; }, {seconds, memory});
}

TEST(ImportProcessTest, MessagesArriveInOrderWhateverTheirSize)
{
    std::string received;
    const std::string large(1000000, 'x');
    const std::wstring failure = db2import::runInChild(
        [&](db2import::MessageSender& sender) {
            sender.send(1, "a");
            sender.send(2, "");
            sender.send(3, large);
            sender.send(4, "z");
        },
        [&](std::uint32_t kind, std::string_view bytes) {
            received += std::to_string(kind);
            received += bytes;
            return true;
        },
        {});
    EXPECT_EQ(failure, L"");
    EXPECT_EQ(received, "1a23" + large + "4z");
}

TEST(ImportProcessTest, ACrashIsAnError)
{
    EXPECT_EQ(run([](db2import::MessageSender&) { std::abort(); }), L"the reader crashed: signal 6");
}

TEST(ImportProcessTest, AnEndOfItsOwnIsAnError)
{
    EXPECT_EQ(run([](db2import::MessageSender&) { std::_Exit(3); }), L"the reader failed: code 3");
    EXPECT_EQ(run([](db2import::MessageSender&) { throw 1; }), L"the reader failed: code 1");
}

TEST(ImportProcessTest, WhatHangsIsEnded)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run(
                  [](db2import::MessageSender&) {
                      for (;;)
                          std::this_thread::sleep_for(std::chrono::seconds(1));
                  },
                  1),
              L"the reader took longer than 1 seconds");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(ImportProcessTest, WhatSendsForEverIsEnded)
{
    EXPECT_EQ(run(
                  [](db2import::MessageSender& sender) {
                      while (sender.send(0, "on and on"))
                      {
                      }
                  },
                  1),
              L"the reader took longer than 1 seconds");
}

TEST(ImportProcessTest, TheReceiverCanEndIt)
{
    EXPECT_EQ(db2import::runInChild([](db2import::MessageSender& sender) { sender.send(0, "x"); },
                                    [](std::uint32_t, std::string_view) { return false; }, {}),
              L"ended before it was complete");
}

TEST(ImportProcessTest, MemoryBeyondTheLimitIsRefused)
{
    const auto takeMuch = [](db2import::MessageSender& sender) {
        void* const much = std::malloc(std::size_t{64} << 20);
        sender.send(much == nullptr ? 1 : 2, "");
        std::free(much);
    };
    std::uint32_t answer = 0;
    const auto receive = [&](std::uint32_t kind, std::string_view) {
        answer = kind;
        return true;
    };
    EXPECT_EQ(db2import::runInChild(takeMuch, receive, {0, std::uint64_t{16} << 20}), L"");
    EXPECT_EQ(answer, db2import::canLimitMemory() ? 1u : 2u);
    EXPECT_EQ(db2import::runInChild(takeMuch, receive, {0, std::uint64_t{256} << 20}), L"");
    EXPECT_EQ(answer, 2u);
}

TEST_F(ImportErrorsTest, AModelThatNeedsTooMuchMemoryIsRefused)
{
    options.memoryLimit = 16 << 20;
    std::string model = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    for (int i = 0; i < 200000; ++i)
        model += "f 1 2 3\n";
    if (!db2import::canLimitMemory())
    {
        importText("large.obj", model);
        return;
    }
    const std::wstring error = refusedText("large.obj", model);
    EXPECT_TRUE(contains(error, L"more memory than there is")) << error.c_str();
}

} // namespace
} // namespace db2test
