#include "Application.h"
#include "Command.h"
#include "Edits.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

namespace kqdb {
namespace {

class SetCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFileAndTexts(app, file_, "PATH VALUE", pairs_, "Attributes, arrays or items, each with its value");
        app.add_flag("--reference", isReference_, "The values are paths of attributes to take the values from");
        app.add_flag("--disconnect", disconnects_, "End references that attributes take their values from now");
        app.add_flag("--force", isForced_, "Take values beyond the limits of their attributes, too");
        declareOutput(app, output_);
        declareAllowLoss(app, allowLoss_);
        declareHelp(
            app,
            "Values are in the notation of documents: 1.5, true, [1, 2, 3], \"a text\". A text or choice needs no "
            "quotes of its own. Either all values are set and the document is saved, or the file stays as it is.",
            {"kqdb set scene.json '|robot|arm.translation' '[0, 1.5, 0]'",
             "kqdb set scene.json '|glass.opacity' 0.25 '|glass.shading' phong -o clear.json",
             "kqdb set scene.json --reference '|lamp.parentWorld' '|robot|arm.world'"});
    }

    Exit run(Output&) override
    {
        if (pairs_.size() % 2 != 0)
            throw Failure("set: every path needs a value; " + pairs_.back() + " has none");
        Application application;
        Document document(application, file_);
        try
        {
            for (std::size_t i = 0; i < pairs_.size(); i += 2)
                apply(document, pairs_[i], pairs_[i + 1]);
        }
        catch (const Failure& failure)
        {
            const std::string message = failure.what();
            if (message.starts_with(file_ + ": "))
                throw;
            document.fail(message);
        }
        document.commit(L"Set values");
        document.save(output_.empty() ? file_ : output_, allowLoss_);
        return Exit::kDone;
    }

private:
    void apply(Document& document, const std::string& path, const std::string& value) const
    {
        const Target target = resolve(document, path);
        if (target.element() == nullptr)
            document.fail(path + ": is a node, which has no value");
        if (target.element()->isLegacy())
            document.fail(path + ": is legacy data, which is kept as it is");
        db2::DataInterface& data = document.session().data();
        const Limits limits = isForced_ ? Limits::kIgnored : Limits::kKept;
        if (isReference_)
            reference(document, target, path, value);
        else if (target.array != nullptr && target.attribute == nullptr)
            writeArray(data, *target.array, value, limits);
        else
        {
            makeWritable(document, *target.attribute, path);
            writeValue(data, *target.attribute, value, limits);
        }
    }

    void makeWritable(Document& document, db2::Attribute& attribute, const std::string& path) const
    {
        const db2::Attribute* const referenced = attribute.getReference();
        if (referenced == nullptr)
            return;
        if (!disconnects_)
            document.fail(path + ": takes its value from " + visible(pathOf(*referenced)) +
                          "; --disconnect ends that reference");
        document.session().data().db_destroyReference(&attribute);
    }

    static void reference(Document& document, const Target& target, const std::string& path, const std::string& value)
    {
        const Target referenced = resolve(document, value);
        if (target.attribute == nullptr)
            document.fail(path + ": is not an attribute");
        if (referenced.attribute == nullptr)
            document.fail(value + ": is not an attribute");
        connect(document.session().data(), *referenced.attribute, *target.attribute, false);
    }

    std::string file_;
    std::vector<std::string> pairs_;
    bool isReference_ = false;
    bool disconnects_ = false;
    bool isForced_ = false;
    std::string output_;
    bool allowLoss_ = false;
};

} // namespace

extern const CommandEntry kSetCommand = {"set", "Set values", makeCommand<SetCommand>};

} // namespace kqdb
