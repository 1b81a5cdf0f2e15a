#include <cstdio>
#include <string>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackreader.h"
#include "support/documentmaker.h"
#include "support/stackfolder.h"

namespace vorlen {

namespace {

/// Two stacks of one slice: "a" with a mask and what lies within, across and outside of it; "b" with a mask too, and
/// larger pixels.
class ModelsCommandTest : public ::testing::Test {
protected:
    ModelsCommandTest() {
        folder.writeImage("i.tif", 100, 80);
        const std::string begin = "FileFormatVersion 1.03;\nSTACK \"s\";\n", slice = "SLICE \"1\" \"i.tif\";\n";
        folder.write("a.sdf",
                     begin + slice + model("mask", "10,10 40,10 40,40 10,40") + model("in", "12,12 20,12 20,20") +
                         model("across", "12,12 30,12 60,12 60,30 30,30 12,30") + model("out", "60,60 70,60 70,70"));
        folder.write("b.sdf", begin + "PIXASPECT 1;\nPIXWIDTH 2;\n" + slice + model("mask", "1,1 2,1 2,2"));
    }

    static std::string model(const std::string& name, const std::string& vertices) {
        return "MODEL \"" + name + "\";\nPRIMITIVE Polygon;\nMODELITEM \"" + name + "\" \"1\";\nMODELITEMDATA " +
               vertices + ";\n";
    }

    /// The exit status; what was printed goes to the output.
    int run(const std::string& arguments) {
        output.clear();
        const std::string line = "cd '" + folder.path() + "' && " + VORLEN_CLI + " " + arguments + " 2>&1";
        FILE* pipe = ::popen(line.c_str(), "r");
        char buffer[4096];
        for (std::size_t n = 0; pipe != nullptr && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            output.append(buffer, n);
        const int status = pipe == nullptr ? -1 : ::pclose(pipe);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// Names of the models with the numbers of vertices of their items.
    std::string models(const std::string& name) const {
        Stack stack;
        EXPECT_TRUE(StackReader().read(stack, folder.file(name)));
        std::string text;
        for (int i = 0; i < stack.getNumModels(); ++i) {
            text += (i > 0 ? " " : "") + stack.getModel(i).getName();
            for (int k = 0; k < stack.getModel(i).getNumItems(); ++k)
                text += ":" + std::to_string(stack.getModel(i).getItem(k).getSize());
        }
        return text;
    }

    StackFolder folder;
    std::string output;
};

} // namespace

TEST_F(ModelsCommandTest, transferCopiesModelsIntoANewStack) {
    const std::string before = folder.read("b.sdf");
    ASSERT_EQ(run("transfer a.sdf b.sdf -o new --model in --model mask"), 0) << output;
    EXPECT_EQ(models("new/b.sdf"), "mask:3 in:3"); // the name that is taken is left out
    EXPECT_NE(output.find("the stacks differ in pixel size"), std::string::npos) << output;
    EXPECT_EQ(folder.read("b.sdf"), before);
    ASSERT_EQ(run("transfer a.sdf b.sdf -o new --overwrite --taken duplicate --world"), 0) << output;
    EXPECT_EQ(models("new/b.sdf"), "mask:3 mask (copy):4 in:3 across:6 out:3");
    Stack stack;
    ASSERT_TRUE(StackReader().read(stack, folder.file("new/b.sdf")));
    // Pixels twice as large: the same place has half the distance to its neighbours.
    const auto square = coordinates(stack.getModel(1).getItem(0).getVertices());
    EXPECT_EQ(square[1].first - square[0].first, 15);
    ASSERT_EQ(run("transfer a.sdf b.sdf -o new --overwrite --model mask --taken append"), 0) << output;
    EXPECT_EQ(models("new/b.sdf"), "mask:3:4");

    EXPECT_EQ(run("transfer a.sdf b.sdf -o new --overwrite --model none"), 1);
    EXPECT_NE(output.find("has no model named none"), std::string::npos) << output;
    EXPECT_EQ(run("transfer a.sdf b.sdf -o new"), 3);      // it is there
    EXPECT_EQ(run("transfer a.sdf b.sdf --overwrite"), 2); // not onto itself
    EXPECT_EQ(run("transfer a.sdf -o new"), 2);
    EXPECT_EQ(run("transfer a.sdf b.sdf -o new --taken eat"), 2);
}

TEST_F(ModelsCommandTest, filterTakesAwayWhatLiesOutside) {
    ASSERT_EQ(run("filter a.sdf -o new --reference mask"), 0) << output;
    EXPECT_EQ(models("new/a.sdf"), "mask:4 in:3 across:6");
    EXPECT_NE(output.find("out: goes, with 1 of 1 items as a whole, 3 vertices in all"), std::string::npos) << output;
    ASSERT_EQ(run("filter a.sdf -o new --overwrite --reference mask --remove points"), 0) << output;
    EXPECT_EQ(models("new/a.sdf"), "mask:4 in:3 across:4 out");
    ASSERT_EQ(run("filter a.sdf -o new --overwrite --reference mask --model in"), 0) << output;
    EXPECT_NE(output.find("nothing is to be removed"), std::string::npos) << output;
    EXPECT_EQ(models("new/a.sdf"), models("a.sdf"));
    EXPECT_EQ(run("filter a.sdf -o new --overwrite"), 2);
    EXPECT_EQ(run("filter a.sdf -o new --overwrite --reference none"), 2);
    EXPECT_NE(output.find("has no model named none"), std::string::npos) << output;
}

} // namespace vorlen
