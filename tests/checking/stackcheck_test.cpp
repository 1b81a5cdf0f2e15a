#include "checking/stackcheck.h"

#include <algorithm>
#include <cstdio>
#include <set>

#include <gtest/gtest.h>

#include "checking/stackmender.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "support/stackfolder.h"

namespace vorlen {

namespace {

/// A stack file in a folder with the images a.tif and b.tif of 40 x 30 pixels.
class StackCheckTest : public ::testing::Test {
protected:
    StackCheckTest() {
        folder.writeImage("a.tif", 40, 30);
        folder.writeImage("b.tif", 40, 30);
    }

    /// "code line model slice" of each problem, as far as there is a place.
    std::multiset<std::string> check(const std::string& text) {
        folder.write("s.sdf", text);
        stack = std::make_unique<Stack>();
        StackReader reader;
        reader.noteLines();
        EXPECT_TRUE(reader.read(*stack, folder.file("s.sdf")));
        problems = checkStack(*stack, reader);
        std::multiset<std::string> found;
        for (const StackProblem& problem : problems)
            found.insert(std::string(kindOf(problem.code).word) + " " + std::to_string(problem.line) +
                         (problem.model.empty() ? "" : " " + problem.model) +
                         (problem.slice.empty() ? "" : " " + problem.slice));
        return found;
    }

    StackFolder folder;
    std::unique_ptr<Stack> stack;
    std::vector<StackProblem> problems;
};

using Found = std::multiset<std::string>;

const std::string head = "FileFormatVersion 1.03;\nPIXWIDTH 1;\nRELPOSITION 2;\n"; // 3 lines
const std::string slices = "SLICE \"a\" \"a.tif\";\nSLICE \"b\" \"b.tif\";\n";     // lines 4 and 5
const std::string model = "MODEL \"m\";\n";                                        // line 6

} // namespace

TEST_F(StackCheckTest, findsNothingInAGoodStack) {
    EXPECT_EQ(check(head + slices + model + "MODELITEM \"m\" \"a\";\nMODELITEMDATA 0,0 39,0 39,29;\n"), Found());
    EXPECT_EQ(check("\xEF\xBB\xBF" + head + slices), Found()) << "a byte order mark";
}

TEST_F(StackCheckTest, tellsStatementsWithTheirPlace) {
    EXPECT_EQ(check(head + "NONSENSE 1;\n" + slices + "SHIFT 1;\n" + model + "SHIFT 1 2;\nPRIMITIVE Ball;\n" +
                    "MODELITEM \"m\" \"c\";\nMODELITEMDATA 1,1;\n"),
              (Found{"unknown-keyword 4", "argument-count 7 b", "wrong-context 9 m", "invalid-argument 10 m",
                     "invalid-argument 11 m c", "wrong-context 12", "model-empty 8 m"}));
    EXPECT_EQ(check("FileFormatVersion 2.00;\nSTACK \"x\";\n"), (Found{"version-newer 0", "stack-empty 0"}));
    EXPECT_EQ(check(head + slices + "SHIFT 1 2"), (Found{"file-cut 6"}));
    std::string whole;
    {
        check(head + slices);
        whole = StackWriter().toText(*stack, folder.path());
    }
    EXPECT_EQ(check(whole), Found());
    const std::string cut = whole.substr(0, whole.find("SLICE \"b\""));
    const auto lastLine = 1 + std::count(cut.begin(), cut.end(), '\n');
    EXPECT_EQ(check(cut), (Found{"file-cut " + std::to_string(lastLine)}));
}

TEST_F(StackCheckTest, tellsOfImages) {
    folder.write("text.tif", "no image");
    EXPECT_EQ(check(head + "SLICE \"a\" \"a.tif\";\nSLICE \"x\" \"gone.tif\";\nSLICE \"y\" \"text.tif\";\n" +
                    "SLICE \"c\" \"b.tif\";\nSliceSize1 30;\nSliceSize2 41;\nSLICE \"d\" \"a.tif\";\n"),
              (Found{"image-missing 5 x", "image-unreadable 6 y", "image-size 7 c", "image-repeated 10 d"}));
    EXPECT_EQ(check(head + "SLICE \"m\" 1 2;\nIMAGE 1 1 a.tif;\nIMAGE 1 2 gone.tif;\n"), (Found{"image-missing 4 m"}));
}

TEST_F(StackCheckTest, tellsOfNamesPositionsAndCalibration) {
    EXPECT_EQ(check(head + slices + "SLICE \"a\" \"a.tif\";\n" + model + model),
              (Found{"slice-name-duplicate 6 a (2)", "image-repeated 6 a (2)", "model-name-duplicate 8 m (2)",
                     "model-empty 7 m", "model-empty 8 m (2)"}));
    const std::string noSpacing = "FileFormatVersion 1.03;\nPIXWIDTH 1;\n";
    EXPECT_EQ(check(noSpacing + slices), (Found{"position-zero 0"}));
    EXPECT_EQ(check(noSpacing + "RELPOSITION 0;\n" + slices), (Found{"position-zero 3"}));
    const std::string third = "SLICE \"c\" 1 1;\nIMAGE 1 1 a.tif;\n";
    EXPECT_EQ(check(noSpacing + "SLICE \"a\" \"a.tif\";\nPOSITION 5;\nSLICE \"b\" \"b.tif\";\nPOSITION 1;\n" + third +
                    "POSITION 3;\nSLICE \"d\" 2 1;\nIMAGE 1 1 a.tif;\nPOSITION 3;\nSLICE \"e\" 3 1;\nIMAGE 1 1 a.tif;\n"
                    "POSITION nan;\n"),
              (Found{"position-order 5 b", "position-zero 10 d", "position-invalid 13 e"}));
    EXPECT_EQ(check("FileFormatVersion 1.03;\nRELPOSITION 2;\nPIXWIDTH 0;\n" + slices + "PIXWIDTH nan;\nROTATE inf;\n"),
              (Found{"calibration-invalid 3", "calibration-invalid 6 b", "invalid-argument 7 b"}));
    EXPECT_EQ(check("FileFormatVersion 1.03;\nRELPOSITION 2;\nPIXWIDTH 1;\nPIXHEIGHT 2;\nPIXASPECT 1;\n" + slices),
              (Found{"calibration-aspect 5"}));
    EXPECT_EQ(check("FileFormatVersion 1.03;\nRELPOSITION 2;\n" + slices), (Found{"calibration-missing 0"}));
}

TEST_F(StackCheckTest, tellsOfModelsAndOutlines) {
    const auto item = [](const std::string& slice, const std::string& vertices) {
        return "MODELITEM \"m\" \"" + slice + "\";\nMODELITEMDATA" + vertices + ";\n";
    };
    EXPECT_EQ(
        check(head + slices + model + item("a", " 1,1 9,9 9,1 1,9") + item("a", " 1,1 9,1 9,1 1,9") +
              item("a", " 1,1 9,1") + item("a", " 50,1 59,1 55,9") + item("a", " 1,1 3,3 9,9") +
              item("b", " 1,1 9,1 5,9") + item("b", " 5,9 1,1 9,1") + item("b", "") +
              item("b", " 0,0 20,0 20,20 10,0 0,20")),
        (Found{"outline-crossing 7 m a", "vertices-doubled 9 m a", "outline-short 11 m a", "outline-outside 13 m a",
               "outline-flat 15 m a", "outline-duplicate 19 m b", "outline-empty 21 m b", "outline-touching 23 m b"}));
    EXPECT_EQ(
        check(head + slices + "MODEL \"m\";\nPRIMITIVE Polypoint;\nRESAMPLING 0 0;\n" + item("a", " 1,1 5,5 1,1")),
        (Found{"point-doubled 9 m a"}));
    // A path through the slices has one point on each; a line on a slice has more.
    const std::string lines = head + slices + "MODEL \"m\";\nPRIMITIVE Polyline;\n" + item("a", " 1,1");
    EXPECT_EQ(check(lines + item("b", " 5,5")), Found{});
    EXPECT_EQ(check(lines + item("b", " 5,5 9,9")), (Found{"outline-short 8 m a"}));
    EXPECT_EQ(check(lines + item("a", " 5,5")), (Found{"outline-short 8 m a", "outline-short 10 m a"}));
    EXPECT_EQ(check(head + slices + "MODEL \"a/b\";\nRESAMPLING 0 20;\n"),
              (Found{"model-name-slash 6 a/b", "model-mesh 6 a/b", "model-empty 6 a/b"}));
}

TEST_F(StackCheckTest, tellsOfOutlinesThatCrossOthersOfTheirModel) {
    const auto item = [](const std::string& slice, int x, int y, int side) {
        std::string text = "MODELITEM \"m\" \"" + slice + "\";\nMODELITEMDATA";
        for (const auto& [right, below] : {std::pair(0, 0), {side, 0}, {side, side}, {0, side}})
            text += " " + std::to_string(x + right) + "," + std::to_string(y + below);
        return text + ";\n";
    };
    // One within another, one beside it with a common border, and one at the same place on another slice are meant so.
    const std::string meant =
        head + slices + model + item("a", 1, 1, 4) + item("a", 2, 2, 2) + item("a", 5, 1, 3) + item("b", 2, 2, 4);
    EXPECT_EQ(check(meant), Found{});
    EXPECT_EQ(check(meant + item("a", 4, 4, 3)), (Found{"outline-overlapping 15 m a"}));
    EXPECT_EQ(check(meant + item("b", 3, 1, 3)), (Found{"outline-overlapping 15 m b"}));
}

TEST_F(StackCheckTest, tellsOfCrossingsAmongManyOutlines) {
    // Rings within each other and a row of squares beside them, of which a few, and no others, cross or touch.
    std::string text = head + slices + model;
    const auto add = [&](const std::string& vertices) {
        text += "MODELITEM \"m\" \"a\";\nMODELITEMDATA" + vertices + ";\n";
    };
    const auto square = [](double left, double top, double side) {
        std::string vertices;
        for (const auto& [x, y] : {std::pair(0, 0), {1, 0}, {1, 1}, {0, 1}})
            vertices += " " + std::to_string(left + x * side) + "," + std::to_string(top + y * side);
        return vertices;
    };
    constexpr int numRings = 300;
    for (int i = 1; i <= numRings; ++i) {
        add(" " + std::to_string(14 - i * 0.04) + ",14 14," + std::to_string(14 - i * 0.04) + " " +
            std::to_string(14 + i * 0.04) + ",14 14," + std::to_string(14 + i * 0.04));
    }
    for (int i = 0; i < 50; ++i)
        add(square(30, i * 0.5, 0.5)); // each touches the one before
    EXPECT_EQ(check(text), Found{});
    add(square(30.25, 0.1, 0.2)); // within the first
    add(square(30.4, 20.1, 0.2)); // through the border of another
    add(square(13, 12.9, 2));     // through rings, of which it meets those of a radius from 1 to 3.1
    const auto line = [](int item) { return " " + std::to_string(2 * item + 5) + " m a"; };
    EXPECT_EQ(check(text), (Found{"outline-overlapping" + line(numRings + 52), "outline-overlapping" + line(353)}));
    double common = 0;
    EXPECT_EQ(
        std::sscanf(problems.front().message.c_str(), "The polygon crosses another one of its model: the %lf", &common),
        1);
    EXPECT_NEAR(common, 0.02, 1e-6);
}

TEST_F(StackCheckTest, tellsOfWhatReadsOtherwiseThanItLooks) {
    EXPECT_EQ(check(head + "SLICE \"a\" \"a.tif\"; \nSLICE \"b\" \"b.tif\"; # the \"second\"\nAnnotation \"1; 2\";;\n" +
                    "RELPOSITION 2,5;\nROTATE 3x;\nROTATE -1.5e0;\n" + "MODEL \"m\"; COLOR 1 2 3;\nMODEL \"m\";\n" +
                    "MODELITEM \"m\" \"a\";\nMODELITEMDATA 1,1 9,1 5,9; 1,9;\nMODELITEM \"m\" \"b\";\n" +
                    "MODELITEMDATA 1,1 9,+1\n5,9,2;\n# nothing;#\nPOSE \"p\";#lost\nPOSEZOOM 50;\n"),
              (Found{"number-cut 7 b", "number-cut 8 b", "text-behind-end 10 b", "model-empty 10 \"m\"; COLOR 1 2 3",
                     "text-behind-end 13 m a", "number-cut 15 m b", "comment-cuts 18 m b"}));
    // Nothing but a remark for whoever looks: the statements were carried out.
    StackReader reader;
    Stack read;
    EXPECT_TRUE(reader.read(read, folder.file("s.sdf")));
    EXPECT_EQ(reader.getLog(), std::vector<std::string>());
    EXPECT_EQ(reader.getRemarks().size(), 0u);
}

TEST_F(StackCheckTest, listsNoMoreThanAThousandOfACode) {
    std::string text = head + slices + model;
    for (int i = 0; i < 1500; ++i)
        text += "MODELITEM \"m\" \"a\";\nMODELITEMDATA 1,1 " + std::to_string(2 + i % 30) + ",2;\n";
    check(text);
    int numShort = 0, numMore = 0;
    for (const StackProblem& problem : problems) {
        numShort += problem.code == ProblemCode::OutlineShort;
        numMore += problem.code == ProblemCode::MoreProblems;
    }
    EXPECT_EQ(numShort, 1000);
    EXPECT_EQ(numMore, 2); // of short outlines, and of equal ones
}

TEST_F(StackCheckTest, mendsWhatNeedsNoGuess) {
    check(head + "SLICE \"a\" \"a.tif\";\nSLICE \"b\" \"moved.tif\";\nSliceSize1 30;\nSliceSize2 40;\n" +
          "SLICE \"c\" \"scaled.tif\";\nSliceSize1 30;\nSliceSize2 40;\n" + model +
          "MODELITEM \"m\" \"a\";\nMODELITEMDATA 1,1 1,1 9,1 5,9 1,1;\nMODELITEM \"m\" \"a\";\nMODELITEMDATA 9,1 5,9 "
          "1,1;\n"
          "MODELITEM \"m\" \"a\";\nMODELITEMDATA;\nMODELITEM \"m\" \"a\";\nMODELITEMDATA 1,1 9,9 9,1 1,9;\n");
    folder.writeImage("new/moved.tif", 40, 30);
    folder.writeImage("new/scaled.tif", 80, 60);
    EXPECT_EQ(mendStack(*stack, folder.file("new")), 4); // doubled vertices, two outlines less, one image more
    ASSERT_EQ(stack->getModel(0).getNumItems(), 2);
    EXPECT_EQ(stack->getModel(0).getItem(0).getSize(), 3);
    EXPECT_EQ(stack->getModel(0).getItem(1).getSize(), 4); // a crossing is the user's to mend
    EXPECT_EQ(stack->getSlice(0).getNumItems(), 2);
    EXPECT_FALSE(stack->getSlice(1).isEmpty());
    EXPECT_TRUE(stack->getSlice(2).isEmpty());
    EXPECT_EQ(mendStack(*stack, folder.file("new")), 0);
}

} // namespace vorlen
