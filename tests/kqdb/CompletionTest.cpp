#include "shell/Completion.h"
#include "shell/Shell.h"
#include "shell/ShellCommand.h"
#include "shell/Words.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kqdb {
namespace {

using Texts = std::vector<std::string>;

/// A robot with a left and a right arm, a material, and a dynamic array.
class CompletionTest : public ::testing::Test
{
protected:
    CompletionTest()
    {
        run("create Transform robot");
        run("create Transform 'left arm' --in |robot");
        run("create Transform 'left hand' --in |robot");
        run("create Transform right --in |robot");
        run("create Material glass");
        run("create Transform ärm");
        run("create Transform ärger");
        run("add |robot Float points --array");
    }

    void run(const std::string& line)
    {
        std::vector<std::string> words;
        ASSERT_TRUE(splitWords(line, words));
        shell.run(words);
    }

    /// The line after the tabulator was pressed at its end.
    std::string pressed(const std::string& line)
    {
        const Completion completion = complete(shell, line);
        return line.substr(0, line.size() - completion.replacedBytes) + completion.replacement;
    }

    Texts candidates(const std::string& line) { return complete(shell, line).candidates; }

    static bool has(const Texts& texts, const std::string& text)
    {
        return std::find(texts.begin(), texts.end(), text) != texts.end();
    }

    std::FILE* sink = std::tmpfile();
    Application application;
    Output out{sink, ColourMode::kNever};
    Shell shell{application, out, false};
};

TEST_F(CompletionTest, NothingTypedOffersEveryCommand)
{
    EXPECT_EQ(candidates("").size(), shellTable().size());
    EXPECT_EQ(pressed(""), "");
}

TEST_F(CompletionTest, OnlyCommandIsCompletedWithABlank)
{
    EXPECT_EQ(pressed("unw"), "unwatch ");
    EXPECT_EQ(pressed("ren"), "rename");
    EXPECT_EQ(candidates("ren"), (Texts{"rename", "rename-element"}));
    EXPECT_EQ(pressed("nonsense"), "nonsense");
    EXPECT_EQ(pressed("nonsense |rob"), "nonsense |rob");
}

TEST_F(CompletionTest, NodesByTheirPaths)
{
    EXPECT_EQ(candidates("ls "), (Texts{"|robot", "|glass", "|ärm", "|ärger"}));
    EXPECT_EQ(pressed("ls |rob"), "ls |robot");
    EXPECT_EQ(pressed("ls |gl"), "ls |glass ");
    EXPECT_EQ(pressed("ls gl"), "ls |glass ");
    EXPECT_EQ(pressed("ls |robot|r"), "ls |robot|right ");
    EXPECT_EQ(candidates("ls |nobody|x"), Texts());
}

TEST_F(CompletionTest, NamesWithBlanksAreQuotedAndEscaped)
{
    EXPECT_EQ(pressed("ls |robot|l"), "ls '|robot|left\\ ");
    EXPECT_EQ(pressed("ls '|robot|left\\ a"), "ls '|robot|left\\ arm' ");
    EXPECT_EQ(candidates("ls '|robot|left\\ "), (Texts{"|robot|left\\ arm", "|robot|left\\ hand"}));
}

TEST_F(CompletionTest, CommonBeginningEndsBetweenCharacters)
{
    EXPECT_EQ(pressed("ls |\xC3"), "ls |är");
    EXPECT_EQ(pressed("ls |ä"), "ls |är");
}

TEST_F(CompletionTest, AttributesAndArrays)
{
    EXPECT_EQ(pressed("get |robot.trans"), "get |robot.translation ");
    EXPECT_EQ(pressed("get |robot:"), "get |robot:points");
    EXPECT_TRUE(has(candidates("get |robot"), "|robot.scale"));
    EXPECT_TRUE(has(candidates("get |robot"), "|robot:points"));
    EXPECT_EQ(candidates("ls |robot.tr"), Texts()) << "which takes nodes alone";
}

TEST_F(CompletionTest, ValuesOfEnumsAndBoolsAndTheOneThatIsThere)
{
    EXPECT_EQ(candidates("set |glass.shading "), (Texts{"unlit", "lambert", "phong", "physically based"}));
    EXPECT_EQ(pressed("set |glass.shading phy"), "set |glass.shading 'physically based' ");
    EXPECT_EQ(candidates("set |glass.isTwoSided "), (Texts{"false", "true"}));
    EXPECT_EQ(pressed("set |robot.scale "), "set |robot.scale '[1, 1, 1]' ");
    EXPECT_EQ(candidates("set |no.thing "), Texts());
}

TEST_F(CompletionTest, TypesModulesAndStates)
{
    EXPECT_EQ(pressed("create Mat"), "create Material ");
    EXPECT_EQ(pressed("add |robot Vector3A"), "add |robot Vector3Array ");
    EXPECT_EQ(pressed("create-unknown X Sc"), "create-unknown X Scene ");
    EXPECT_EQ(candidates("observe "), (Texts{"off", "on"}));
    EXPECT_EQ(pressed("help commit-"), "help commit-transient ");
}

TEST_F(CompletionTest, TypesOfEveryModuleThatIsRegistered)
{
    const db2::Module& scene = *db2::lookupModule(L"Scene");
    auto type = std::make_unique<db2::NodeTemplate>(L"Gadget", 0xFFFF0000u, scene); // no number of the module Scene
    ASSERT_EQ(application.library().registry().registerNodeTemplate(type.get()), db2::Status::kSuccess);
    type.release(); // the registry's now
    EXPECT_EQ(pressed("create Gad"), "create Gadget ");
    EXPECT_EQ(pressed("types Gad"), "types Gadget ");
}

TEST_F(CompletionTest, TypesAndModulesThatOnlyTheDocumentKnows)
{
    EXPECT_EQ(candidates("create-unknown "), Texts());
    EXPECT_EQ(candidates("create-unknown X "), Texts{"Scene"});
    run("create-unknown Sticker Stationery --in |robot");
    run("create-unknown Sticker Stationery");
    run("create-unknown 'Sticky note' Stationery");
    run("create-unknown Gizmo Scene --legacy");
    EXPECT_EQ(candidates("create-unknown "), (Texts{"Gizmo", "Sticker", "Sticky note"}));
    EXPECT_EQ(pressed("create-unknown Sticky"), "create-unknown 'Sticky note' ");
    EXPECT_EQ(candidates("create-unknown X "), (Texts{"Scene", "Stationery"}));
    EXPECT_EQ(candidates("create Sti"), Texts()) << "nodes of such types are made by 'create-unknown'";
}

TEST_F(CompletionTest, OptionsAndTheirValues)
{
    EXPECT_EQ(pressed("create Transform x --b"), "create Transform x --before ");
    EXPECT_EQ(pressed("create Transform x --before |gl"), "create Transform x --before |glass ");
    EXPECT_EQ(pressed("create --in |robot Mat"), "create --in |robot Material ") << "an option's value is no argument";
    EXPECT_EQ(pressed("destroy |glass -"), "destroy |glass --recursive ");
}

TEST_F(CompletionTest, NothingBehindTheLastArgumentAndInComments)
{
    EXPECT_EQ(candidates("rename |glass x "), Texts());
    EXPECT_EQ(candidates("ls # |"), Texts());
    EXPECT_TRUE(has(candidates("cat |robot |"), "|glass")) << "which takes any number";
}

TEST_F(CompletionTest, VeryManyCandidatesAreCounted)
{
    for (int i = 0; i < 600; ++i)
        run("create Folder bulk" + std::to_string(i));
    const Completion completion = complete(shell, "ls |bulk");
    EXPECT_EQ(completion.count, 600u);
    EXPECT_EQ(completion.candidates.size(), 500u);
    EXPECT_EQ(pressed("ls |bulk599"), "ls |bulk599 ");
}

TEST_F(CompletionTest, EveryCommandOfTheTableHasAHelpAndSurvivesCompletion)
{
    for (const ShellEntry& entry : shellTable())
    {
        const std::string help = helpText(entry);
        EXPECT_NE(help.find(entry.summary), std::string::npos) << entry.name;
        for (const Parameter& parameter : entry.parameters)
            EXPECT_NE(help.find(parameter.key()), std::string::npos) << entry.name << ' ' << parameter.name;
        std::string line = entry.name;
        for (int words = 0; words < 5; ++words, line += " |robot")
        {
            (void)complete(shell, line + ' ');
            (void)complete(shell, line + " --");
        }
    }
}

} // namespace
} // namespace kqdb
