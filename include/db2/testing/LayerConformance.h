#pragma once

#include <db2/CoreManager.h>
#include <db2/Operation.h>
#include <db2/testing/ConformanceDrives.h>
#include <db2/testing/ConformanceTree.h>
#include <db2/testing/RecordingLayer.h>
#include <db2/testing/Refusals.h>

#include <kqx/UTF8.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Does a layer keep the contract of DataInterface? A host calls checkLayer() from its own tests and expects no findings:
///
///     for (const db2::conformance::Finding& finding : db2::conformance::checkLayer(makeMyLayer))
///         std::puts(finding.text().c_str());
///
/// Needs no test framework; header-only, so it is compiled as the host's tests are.
namespace db2::conformance {

/// Something about a layer that is not as the contract wants it.
struct Finding
{
    Operation operation;
    std::string situation; ///< what the layer was called with
    std::string expected;
    std::string actual;

    [[nodiscard]] std::string text() const
    {
        return std::string(nameOf(operation)) + ", " + situation + ": expected " + expected + ", but " + actual;
    }
};

/// Makes the layer to be checked over @p nextLayer, with what else it needs: @p core is the innermost layer, with the tree.
/// Called often, each time for a new tree; the layer is destroyed before its core.
using MakeLayer = std::function<std::unique_ptr<DataInterface>(DataInterface* nextLayer, CoreManager& core)>;

/// Where a layer departs from the contract on purpose: operations as in bitOf(), or-ed together.
struct Departures
{
    unsigned int changesArguments = 0; ///< passed on, with whatever arguments
    unsigned int keepsToItself = 0;    ///< not passed on, or not always; such an operation is not checked at all
};

/// Drives a layer through the nineteen operations. @see checkLayer()
class LayerChecker
{
public:
    LayerChecker(const MakeLayer& makeLayer, const Departures& departures)
        : makeLayer_(makeLayer), departures_(departures)
    {
    }

    [[nodiscard]] std::vector<Finding> run()
    {
        for (unsigned int slot = 0; slot < kOperationCount; ++slot)
        {
            const auto operation = static_cast<Operation>(slot);
            if ((departures_.keepsToItself & bitOf(operation)) == 0)
                check(operation);
        }
        return std::move(findings_);
    }

private:
    /// A tree, and the layer between a host's calls and the record of what arrives.
    struct Bench
    {
        explicit Bench(const MakeLayer& makeLayer) : layer(makeLayer(&inner, tree.core)) {}

        ConformanceTree tree;
        RecordingLayer inner{&tree.core};
        std::unique_ptr<DataInterface> layer;
    };

    void check(Operation operation)
    {
        const Drive* toRefuse = nullptr;
        const std::size_t before = findings_.size();
        for (const Drive& drive : drives())
        {
            if (drive.operation != operation)
                continue;
            if (toRefuse == nullptr)
                toRefuse = &drive;
            performOn(drive, Status::kSuccess);
        }
        // What is not even passed on when all is well would only be found again.
        if (findings_.size() == before && toRefuse != nullptr)
            for (const Status refusal : refusalsOf(operation))
                performOn(*toRefuse, refusal);
    }

    /// @param refusal  what the next layer answers; kSuccess when it refuses nothing.
    void performOn(const Drive& drive, Status refusal)
    {
        situation_ = drive.situation;
        try
        {
            Bench bench(makeLayer_);
            if (bench.layer == nullptr)
                return add(drive, "a layer", "none was made");
            if (drive.prepare != nullptr)
            {
                Results unused(bench.tree);
                drive.prepare({*bench.layer, bench.tree, unused});
            }
            if (refusal != Status::kSuccess)
            {
                situation_ = drive.situation + (", refused with " + textOf(refusal));
                bench.inner.refuse(drive.operation, refusal);
                perform(drive, bench);
                bench.inner.refuseNothing();
                situation_ = drive.situation + (", after a refusal with " + textOf(refusal));
            }
            perform(drive, bench);
        }
        catch (...)
        {
            add(drive, "a status", "an exception came out");
        }
    }

    void perform(const Drive& drive, Bench& bench)
    {
        Results results(bench.tree);
        RecordingLayer record(nullptr);
        drive.perform({record, bench.tree, results}); // arrives as it is, and changes nothing
        const RecordedCall& wanted = record.calls().front();
        bench.inner.clear();
        const void* const untouched = results.of(drive.operation);
        const Status answer = drive.perform({*bench.layer, bench.tree, results});

        const std::vector<const RecordedCall*> passedOn = passedOnAs(wanted, bench);
        if (drive.kind == Drive::kOrdinary)
            judge(drive, bench, wanted, passedOn);
        else if (answer == Status::kSuccess && !mayChange(drive.operation))
            add(drive, "a refusal", "the layer answered kSuccess");
        judgeAnswer(drive, passedOn, answer);
        const void* const result = results.of(drive.operation);
        if (answer != Status::kSuccess && result != untouched && result != nullptr)
            add(drive, "the result to be left alone, or null", "a call that fails wrote something else");
        if (answer == Status::kSuccess && wanted.outPointer != nullptr)
            judgeResult(drive, passedOn, result);
    }

    // --- Judging: a layer may make further calls, before and behind the one that it passes on ---

    /// The calls that arrived and are the wanted one.
    [[nodiscard]] std::vector<const RecordedCall*> passedOnAs(const RecordedCall& wanted, const Bench& bench) const
    {
        std::vector<const RecordedCall*> found;
        for (const RecordedCall& call : bench.inner.calls())
            if (call.operation == wanted.operation && (mayChange(call.operation) || call.arguments == wanted.arguments))
                found.push_back(&call);
        return found;
    }

    void judge(const Drive& drive, const Bench& bench, const RecordedCall& wanted,
               const std::vector<const RecordedCall*>& passedOn)
    {
        if (passedOn.size() == 1 || (mayChange(drive.operation) && !passedOn.empty()))
            return;
        const std::string expected = textOf(wanted, bench.tree) + " to be passed on";
        if (passedOn.size() > 1)
            return add(drive, expected + " once", "it arrived " + std::to_string(passedOn.size()) + " times");
        const std::vector<RecordedCall>& calls = bench.inner.calls();
        const auto similar = std::find_if(calls.begin(), calls.end(),
                                          [&](const RecordedCall& call) { return call.operation == wanted.operation; });
        add(drive, expected,
            (similar != calls.end() ? textOf(*similar, bench.tree) : std::string("nothing of the kind")) + " arrived");
    }

    /// Where several calls may be the one that was passed on, each one's answer and result will do.
    void judgeAnswer(const Drive& drive, const std::vector<const RecordedCall*>& passedOn, Status answer)
    {
        if (passedOn.empty() || std::any_of(passedOn.begin(), passedOn.end(),
                                            [&](const RecordedCall* call) { return call->answer == answer; }))
            return;
        add(drive, "the next layer's answer, " + textOf(passedOn.front()->answer),
            "the layer answered " + textOf(answer));
    }

    void judgeResult(const Drive& drive, const std::vector<const RecordedCall*>& passedOn, const void* result)
    {
        if (passedOn.empty() || std::any_of(passedOn.begin(), passedOn.end(),
                                            [&](const RecordedCall* call) { return call->result == result; }))
            return;
        add(drive, "the result that the next layer gave", "it did not arrive");
    }

    [[nodiscard]] bool mayChange(Operation operation) const
    {
        return (departures_.changesArguments & bitOf(operation)) != 0;
    }

    // --- Texts ---

    void add(const Drive& drive, std::string expected, std::string actual)
    {
        findings_.push_back({drive.operation, situation_, std::move(expected), std::move(actual)});
    }

    [[nodiscard]] static std::string textOf(Status status)
    {
        return status == Status::kSuccess ? "kSuccess" : "status " + std::to_string(static_cast<unsigned int>(status));
    }

    [[nodiscard]] static std::string textOf(const TextArgument& argument)
    {
        if (argument.isNull)
            return "null";
        std::string utf8(kqx::UTF8Length(argument.text.data(), argument.text.size()), '\0');
        kqx::UTF8FromUCS2(argument.text.data(), argument.text.size(), utf8.data());
        return "'" + utf8 + "'";
    }

    [[nodiscard]] static std::string textOf(const Argument& argument, const ConformanceTree& tree)
    {
        struct Text
        {
            std::string operator()(const void* object) const { return tree.describe(object); }
            std::string operator()(unsigned int number) const { return std::to_string(number); }
            std::string operator()(bool flag) const { return flag ? "true" : "false"; }
            std::string operator()(const TextArgument& text) const { return textOf(text); }
            const ConformanceTree& tree;
        };
        return std::string(argument.name) + "=" + std::visit(Text{tree}, argument.value);
    }

    [[nodiscard]] static std::string textOf(const RecordedCall& call, const ConformanceTree& tree)
    {
        std::string arguments;
        for (const Argument& argument : call.arguments)
            arguments += (arguments.empty() ? "" : ", ") + textOf(argument, tree);
        return nameOf(call.operation) + ("(" + arguments + ")");
    }

    const MakeLayer& makeLayer_;
    const Departures departures_;
    std::string situation_; ///< of the call under way
    std::vector<Finding> findings_;
};

/// Runs a layer through all nineteen operations, each on a small tree of its own, and says what was not as the contract
/// wants it: arguments and results handed on, each once; the next layer's answer handed up, whatever it is; nothing but
/// null written to a result by a call that fails; a refused call possible afterwards; null objects survived and refused.
/// A layer may make further calls of its own. An operation's refusals are tried once the rest of it is as it should be.
/// Cost: some two hundred trees of five nodes. The library's log receives what the layers log.
/// @return nothing for a layer that keeps the contract.
[[nodiscard]] inline std::vector<Finding> checkLayer(const MakeLayer& makeLayer, const Departures& departures = {})
{
    return LayerChecker(makeLayer, departures).run();
}

} // namespace db2::conformance
