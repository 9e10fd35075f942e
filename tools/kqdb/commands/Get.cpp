#include "Application.h"
#include "Command.h"
#include "ElementText.h"
#include "JsonOutput.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

namespace kqdb {
namespace {

class GetCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFileAndTexts(app, file_, "PATH", paths_, "The attributes, arrays or items");
        app.add_flag("--plain", isPlain_, "Print a String or choice as it is, without quotes and escapes");
        declareJson(app, json_);
        declareHelp(app, "Prints one value a line, in the notation of documents, as 'kqdb set' takes them.",
                    {"kqdb get scene.json '|robot|arm.translation'", "kqdb get scene.json '|glass.shading' --plain"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document document(application, file_);
        std::vector<const db2::Element*> elements;
        for (const std::string& path : paths_)
        {
            elements.push_back(resolve(document, path).element());
            if (elements.back() == nullptr)
                document.fail(path + ": is a node, not an attribute; 'kqdb cat' prints nodes");
        }
        if (json_)
            printJson(elements, out);
        else
            for (const db2::Element* const element : elements)
                out << std::string_view(isPlain_ ? plainText(*element) : valueText(*element)) << '\n';
        return Exit::kDone;
    }

private:
    static std::string plainText(const db2::Element& element)
    {
        std::string text = valueText(element);
        if (element.isAttributeArray() || text.empty() || text.front() != '"')
            return text;
        const db2::ConstValueHandle value = static_cast<const db2::Attribute&>(element).getValue();
        if (value.getTypeId() == db2::AttributeType::kString)
            return toUtf8(value.asString());
        return text.substr(1, text.size() - 2); // a choice, or a number that is none
    }

    static void printJson(const std::vector<const db2::Element*>& elements, Output& out)
    {
        JsonOutput json(out);
        json.beginArray();
        for (const db2::Element* const element : elements)
        {
            json.beginObject();
            json.key("path").text(pathOf(*element));
            json.key("type").string(toUtf8(db2::ValueInfo::getTypeName(element->getTypeId())));
            json.key("value").raw(valueText(*element));
            if (const db2::Attribute* const referenced = referenceOf(*element))
                json.key("reference").text(pathOf(*referenced));
            json.endObject();
        }
        json.endArray();
        json.end();
    }

    std::string file_;
    std::vector<std::string> paths_;
    bool isPlain_ = false;
    bool json_ = false;
};

} // namespace

extern const CommandEntry kGetCommand = {"get", "Print values", makeCommand<GetCommand>};

} // namespace kqdb
