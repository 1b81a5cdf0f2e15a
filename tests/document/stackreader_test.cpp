#include "document/stackreader.h"

#include <gtest/gtest.h>

#include <iterator>
#include <limits>
#include <locale>
#include <memory>
#include <random>

#include <sys/stat.h>
#include <unistd.h>

#include "document/calibrationcurve.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/pose.h"
#include "document/stack.h"
#include "document/stackwriter.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcefilemosaic.h"
#include "images/files/imagesourcevoxelmatrixplane.h"
#include "images/volumes/voxelmatrix.h"
#include "progress/progressmonitor.h"
#include "support/documentmaker.h"
#include "support/recordingmonitor.h"
#include "support/stackfolder.h"

namespace vorlen {

namespace {

/// A stack read from a text, with its reader.
class Read {
public:
    explicit Read(const std::string& text) : Read(folder(), text) {}
    Read(const StackFolder& folder, const std::string& text) {
        opened = reader.read(stack, folder.write("stack.sdf", text));
    }

    /// Reads the text without a file, which many of them in a row cost most of their time.
    static std::unique_ptr<Read> ofText(const std::string& text) { return std::unique_ptr<Read>(new Read(Text{text})); }

    const std::vector<std::string>& log() const { return reader.getLog(); }
    const ModelItem& item() const { return stack.getModel(0).getItem(0); }

    Stack stack;
    StackReader reader;
    bool opened = false;

private:
    struct Text {
        const std::string& text;
    };

    explicit Read(const Text& text) { reader.readText(stack, text.text, folder().file("stack.sdf")); }

    static const StackFolder& folder() {
        static const StackFolder common;
        return common;
    }
};

/// A mosaic without tiles is a slice that needs no image file.
const std::string slice = "SLICE \"s1\" 1 1;\n";
const std::string model = "MODEL \"m\";\n";
const std::string item = slice + model + "MODELITEM \"m\" \"s1\";\n";

std::string join(const StackReader::Tokens& tokens) {
    std::string text;
    for (const std::string_view token : tokens)
        text.append("[").append(token).append("]");
    return text;
}

std::string split(const std::string& statement) {
    StackReader::Tokens tokens;
    StackReader::splitItemString(tokens, statement);
    return join(tokens);
}

std::string firstStatement(const std::string& text) {
    const char* cursor = text.data();
    std::string statement;
    StackReader::readItemString(cursor, text.data() + text.size(), statement);
    return statement;
}

} // namespace

TEST(StackReader, aStatementRunsToTheEndOfTheFirstLineWithASemicolon) {
    EXPECT_EQ(firstStatement("A b;\nC;"), "A b");
    EXPECT_EQ(firstStatement("A\n b\n\n c;\n"), "A b c");
    EXPECT_EQ(firstStatement("A\nb;"), "Ab");
    EXPECT_EQ(firstStatement("A; B;"), "A; B");
    EXPECT_EQ(firstStatement("A b"), "");
    EXPECT_EQ(firstStatement(""), "");
}

/// Who waits for a long file is told of its parts, and may do something in between.
TEST(StackReader, aLongFileIsToldOfAsItIsRead) {
    const StackFolder folder;
    const std::string file = folder.write("long.sdf", std::string(std::size_t(20) << 20, '\n') + "STACK \"long\";\n");
    StackReader reader;
    RecordingMonitor monitor;
    reader.addMonitor(monitor);
    Stack stack;
    ASSERT_TRUE(reader.read(stack, file));
    EXPECT_EQ(stack.getName(), "long");
    ASSERT_GT(monitor.heard.size(), 4U);
    EXPECT_EQ(monitor.heard[0], "started Reading " + file + "...");
    EXPECT_EQ(monitor.heard[1], "0/100");
    EXPECT_EQ(monitor.heard[2], "0/100"); // of 20 MB two parts are there before the last one is
    EXPECT_EQ(monitor.heard.back(), "finished ");
}

TEST(StackReader, whitespaceIsSqueezedAndDosLineEndsAreNoMatter) {
    EXPECT_EQ(firstStatement("  \t A \"x  y\"\t;\n"), "A \"x y\" ");
    EXPECT_EQ(firstStatement("A b;\r\n"), "A b");
    EXPECT_EQ(firstStatement("A \r\n b;  \r\n"), "A b");
}

TEST(StackReader, verticesAreNotRunTogetherByALineEnd) {
    EXPECT_EQ(firstStatement("M2DDATA 163,177\n160,170 1,2\n-3,4\r\n\n.5,6;"), "M2DDATA 163,177 160,170 1,2 -3,4 .5,6");
    EXPECT_EQ(firstStatement("MODELITEMDATA\n1,2;"), "MODELITEMDATA 1,2");
    EXPECT_EQ(firstStatement("MODELITEMDATA 1,2\n3 4,\n5 6\n,7;"), "MODELITEMDATA 1,23 4,5 6,7");
    EXPECT_EQ(firstStatement("COLOR 1,2\n3,4;"), "COLOR 1,23,4");
    const Read read(item + "PRIMITIVE Polyline;\nMODELITEMDATA\n 163,177\n160,170\n150,160.5;\n");
    EXPECT_EQ(decimals(read.item().getVertices()),
              (std::vector<std::pair<double, double>>{{150, 160.5}, {160, 170}, {163, 177}}));
}

TEST(StackReader, aCommentTakesTheCharacterInFrontOfItToo) {
    EXPECT_EQ(firstStatement("# note;\nA 2; # note\n"), "A 2");
    EXPECT_EQ(firstStatement("A 2;# note\nB;\n"), "A 2B");
    EXPECT_EQ(firstStatement("A \"x #1\";\n2;"), "A \"x2");
}

TEST(StackReader, stringsAreOneToken) {
    EXPECT_EQ(split("A b c"), "[A][b][c]");
    EXPECT_EQ(split("A \"b c\" d"), "[A][b c][d]");
    EXPECT_EQ(split("A \"\" \"b\""), "[A][][b]");
    EXPECT_EQ(split("A \" b\""), "[A][][b\"]");
    EXPECT_EQ(split("A \"b c"), "[A][\"b c]");
    EXPECT_EQ(split("A \"b\"c d\""), "[A][b\"c d]");
}

TEST(StackReader, aFileThatIsNotThereLeavesTheStackUntouched) {
    const StackFolder folder;
    Stack stack;
    stack.setImagesPath("x/");
    StackReader reader;
    EXPECT_FALSE(reader.read(stack, folder.file("none.sdf")));
    EXPECT_FALSE(reader.read(stack, folder.path()));
    std::filesystem::create_directory(folder.file("folder.sdf"));
    EXPECT_FALSE(reader.read(stack, folder.file("folder.sdf")));
    EXPECT_EQ(stack.getImagesPath(), "x/");
}

TEST(StackReader, aPipeIsNotWaitedFor) {
    const StackFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("pipe.sdf").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo(folder.file("pipe.tif").c_str(), 0600), 0);
    Stack stack;
    EXPECT_FALSE(StackReader().read(stack, folder.file("pipe.sdf")));
    const Read read(folder, "FileFormatVersion 1.03;\nSLICE \"s1\" \"pipe.tif\";\n");
    EXPECT_EQ(read.reader.getNumFatalErrors(), 2);
    EXPECT_TRUE(read.stack.getSlice(0).isEmpty());
}

TEST(StackReader, theSuffixIsAddedWhereItLacks) {
    const StackFolder folder;
    folder.write("a.sdf", "STACK \"first\";\n");
    folder.write("a.txt.sdf", "STACK \"second\";\n");
    Stack stack;
    EXPECT_TRUE(StackReader().read(stack, folder.file("a")));
    EXPECT_EQ(stack.getName(), "first");
    EXPECT_TRUE(StackReader().read(stack, folder.file("a.txt")));
    EXPECT_EQ(stack.getName(), "second");
}

TEST(StackReader, theHeaderFillsTheStack) {
    const Read read("# comment\n"
                    "FileFormatVersion 1.03;\n"
                    "STACK \"brain left\";\n"
                    "LengthUnitScale -9;\n"
                    "PIXASPECT 2;\n"
                    "PIXWIDTH 0.5;\n"
                    "RELPOSITION 10;\n"
                    "LASTSEGMENTEDSLICE \"s2\";\n"
                    "LASTREGISTEREDSLICE \"\";\n"
                    "Annotation \"a__NL__b__SC__  __DQ__c__DQ__\";\n"
                    "AbsoluteImagesPathPolicy true;\n");
    EXPECT_TRUE(read.log().empty());
    EXPECT_FLOAT_EQ(read.reader.getFileFormatVersion(), 1.03f);
    EXPECT_EQ(read.stack.getName(), "brain left");
    EXPECT_EQ(read.stack.getLengthUnit().getScale(), -9);
    EXPECT_FLOAT_EQ(read.stack.getDefaultPixelCalibration().getPixelWidth(), 0.5f);
    EXPECT_FLOAT_EQ(read.stack.getDefaultPixelCalibration().getPixelHeight(), 1.0f);
    EXPECT_DOUBLE_EQ(read.stack.getDefaultRelativePosition(), 10);
    EXPECT_EQ(read.stack.getLastSegmentedSlice(), "s2");
    EXPECT_EQ(read.stack.getLastRegisteredSlice(), "");
    EXPECT_EQ(read.stack.getAnnotation(), "a\nb; \"c\"");
    EXPECT_TRUE(read.stack.getAbsoluteImagesPathPolicy());
}

TEST(StackReader, slicesTakeTheDefaultsOfTheirMomentAndThenTheirOwn) {
    const Read read("FileFormatVersion 1.03;\nPIXWIDTH 2;\nRELPOSITION 5;\nSLICE \"a\" 1 1;\n"
                    "SLICE \"b\" 1 1;\nPIXHEIGHT 3;\nPOSITION 7.5;\nROTATE 12.5;\nSHIFT 3 -2;\nAnnotation \"n\";\n"
                    "SLICE \"c\" 1 1;\nDEPTH 9;\nRELDEPTH 4;\n");
    EXPECT_TRUE(read.log().empty());
    const StackSlice &a = read.stack.getSlice(0), &b = read.stack.getSlice(1), &c = read.stack.getSlice(2);
    EXPECT_FLOAT_EQ(a.getPixelCalibration().getPixelHeight(), 2);
    EXPECT_FLOAT_EQ(b.getPixelCalibration().getPixelHeight(), 3);
    EXPECT_FLOAT_EQ(b.getPixelCalibration().getAspectRatio(), 1.5);
    EXPECT_FALSE(b.useRelativePosition());
    EXPECT_DOUBLE_EQ(b.getAbsolutePosition(), 7.5);
    EXPECT_FLOAT_EQ(b.getRegistration().getRotationAngle(), 12.5);
    EXPECT_EQ(b.getRegistration().getHorShift(), 3);
    EXPECT_EQ(b.getRegistration().getVerShift(), -2);
    EXPECT_EQ(b.getAnnotation(), "n");
    EXPECT_EQ(read.stack.getAnnotation(), "");
    EXPECT_DOUBLE_EQ(c.getAbsolutePosition(), 11.5);
    EXPECT_EQ(c.getStack(), &read.stack);
}

// As of a stage that counts nanometres from its corner: the steps are what volumes are made of.
TEST(StackReader, positionsFarOutKeepTheirSteps) {
    std::string text = "FileFormatVersion 1.03;\n";
    for (const char* const position : {"100000.35", "100000.7", "100001.05", "987654321.25"})
        text += std::string("SLICE \"") + position + "\" 1 1;\nPOSITION " + position + ";\n";
    const Read read(text + "SLICE \"last\" 1 1;\nRELPOSITION 0.35;\n");
    EXPECT_TRUE(read.log().empty());
    const Stack& stack = read.stack;
    EXPECT_EQ(stack.getAbsolutePositions(),
              (std::vector<double>{100000.35, 100000.7, 100001.05, 987654321.25, 987654321.6}));
    EXPECT_NEAR(stack.getSlice(1).getRelativePosition(), 0.35, 1e-9);
    const std::string written = StackWriter().toText(stack, ".");
    for (const char* const statement : {"POSITION 100000.35;", "POSITION 987654321.25;", "RELPOSITION 0.35;"})
        EXPECT_NE(written.find(statement), std::string::npos) << statement;
    // What comes in single precision, as from images, stands for its shortest decimal.
    StackSlice slice;
    slice.setRelativePosition(0.35F);
    EXPECT_EQ(slice.getRelativePosition(), 0.35);
}

TEST(StackReader, registrationsAreDecimalsAndAlwaysNumbers) {
    const auto registration = [](const std::string& statements, bool isGood = false) {
        const Read read("FileFormatVersion 1.03;\nSLICE \"a\" 1 1;\n" + statements);
        EXPECT_EQ(read.log().empty(), isGood) << statements;
        return read.stack.getSlice(0).getRegistration();
    };
    EXPECT_EQ(registration("SHIFT -0.25 7.125;\nROTATE -30;\n", true), Registration(-0.25, 7.125, 330));
    EXPECT_EQ(registration("SHIFT nan inf;\nROTATE nan;\n"), Registration(0, 2147483647, 0));
    EXPECT_EQ(registration("SHIFT -1e300 x;\nROTATE 1e39;\n"), Registration(-2147483647, 0, 0));
}

TEST(StackReader, aSliceStatementBehindAModelIsOutOfContextOrGoesToTheStack) {
    const Read read(slice + model + "ROTATE 5;\nPIXWIDTH 3;\nAnnotation \"x\";\nSliceSize1 1 2 3;\n");
    ASSERT_EQ(read.log().size(), 2u);
    EXPECT_EQ(read.log()[0], "Error: ROTATE is invalid in this context.");
    EXPECT_EQ(read.log()[1], "Error: SliceSize1 is invalid in this context.");
    EXPECT_EQ(read.stack.getSlice(0).getRegistration().getRotationAngle(), 0);
    EXPECT_FLOAT_EQ(read.stack.getDefaultPixelCalibration().getPixelWidth(), 3);
    EXPECT_EQ(read.stack.getAnnotation(), "x");
    EXPECT_EQ(read.reader.getNumFatalErrors(), 0);
}

TEST(StackReader, aModelTakesAllItsProperties) {
    const Read read(model +
                    "BRILLIANCY 64;\nCOLOR 1 258 -1;\nECORENDERING true;\nFILLEDIN 0;\nHIDDEN3D 1;\nPOINTSIZE 2.5;\n"
                    "PRIMITIVE Polyline;\nRENDERINGMODE Wireframe;\nRESAMPLING 20 30;\nTHICKNESS 4;\n"
                    "TRANSPARENCY 128;\nVERTEXSYMBOL Diamond;\nBeginCap true;\nEndCap yes;\n");
    EXPECT_TRUE(read.log().empty());
    const ModelProperties& properties = read.stack.getModel(0).getProperties();
    const ModelItemProperties& look = read.stack.getModel(0).getItemProperties();
    EXPECT_EQ(properties.getSurfaceShininess(), 64);
    EXPECT_EQ(look.getColor()[0], 1);
    EXPECT_EQ(look.getColor()[1], 2);
    EXPECT_EQ(look.getColor()[2], 255);
    EXPECT_TRUE(properties.getEconomicRendering());
    EXPECT_FALSE(look.getVertexSymbolFilling());
    EXPECT_FALSE(look.getRenderingVisibility());
    EXPECT_EQ(look.getPointSize(), 2.5f);
    EXPECT_EQ(properties.getGeometry(), PolylinePrimitive);
    EXPECT_EQ(properties.getRenderingMode(), WireframeRendering);
    EXPECT_EQ(properties.getQuadMeshWidth(), 20u);
    EXPECT_EQ(properties.getQuadMeshHeight(), 30u);
    EXPECT_EQ(look.getLineWidth(), 4);
    EXPECT_EQ(properties.getSurfaceOpacity(), 128);
    EXPECT_EQ(look.getVertexSymbol(), DiamondSymbol);
    EXPECT_TRUE(properties.getBeginCapFlag());
    EXPECT_FALSE(properties.getEndCapFlag());
}

TEST(StackReader, oldSpellingsReadAsTheNewOnes) {
    const Read read(slice + "M2DCLASS \"m\";\nM2DPRIMITIVE Polypoint;\nM2DITEM \"m\" \"s1\";\nM2DCOLOR 0 255 0;\n"
                            "M2DDATA 1,2 3,4;\n");
    EXPECT_TRUE(read.log().empty());
    EXPECT_EQ(read.stack.getModel(0).getProperties().getGeometry(), PolypointPrimitive);
    EXPECT_EQ(read.item().getProperties().getColor()[1], 255);
    EXPECT_FALSE(read.item().getProperties().definesLineWidth());
    EXPECT_EQ(read.stack.getModel(0).getItemProperties().getColor()[0], 255);
    EXPECT_EQ(read.item().getVertices()[1][1], 4);
}

TEST(StackReader, unknownWordsAreInvalidArgumentsAndChangeNothing) {
    const Read read(model + "PRIMITIVE polygon;\nRENDERINGMODE Unknown;\nVERTEXSYMBOL;\nVERTEXSYMBOL Star;\n"
                            "RESAMPLING -1 5;\n");
    ASSERT_EQ(read.log().size(), 5u);
    EXPECT_EQ(read.log()[0], "Error on PRIMITIVE: invalid argument.");
    EXPECT_EQ(read.log()[2], "Error on VERTEXSYMBOL: invalid number of arguments.");
    EXPECT_EQ(read.stack.getModel(0).getProperties().getGeometry(), PolygonPrimitive);
    EXPECT_EQ(read.stack.getModel(0).getProperties().getQuadMeshWidth(), 100u);
}

TEST(StackReader, itemsGoToTheirModelAndSliceAndTurnCounterClockwise) {
    const Read read(item + "MODELITEMDATA\n 0,0 0,10\n 10,10 +7,-5;\n");
    EXPECT_TRUE(read.log().empty());
    ASSERT_EQ(read.stack.getSlice(0).getNumItems(), 1);
    EXPECT_EQ(&read.stack.getSlice(0).getItem(0), &read.item());
    EXPECT_EQ(read.item().getModel(), &read.stack.getModel(0));
    EXPECT_FALSE(read.item().isClockwise());
    // The shoelace sum of the file's order is negative, so the order is reversed.
    EXPECT_EQ(read.item().getVertices()[0][0], 7);
    EXPECT_EQ(read.item().getVertices()[0][1], -5);
    EXPECT_EQ(read.item().getVertices()[3][0], 0);
}

TEST(StackReader, verticesAreLeadingNumbersWithinTheRangeOfInt) {
    const Read read(item + "PRIMITIVE Polyline;\nMODELITEMDATA 1x,2y ,5 7, 99999999999999999999,-99999999999 1,2,3;\n");
    const Vertices<double>& vertices = read.item().getVertices();
    ASSERT_EQ(vertices.getNumVertices(), 5);
    bool found = false;
    for (int i = 0; i < 5; ++i)
        found = found || (vertices[i][0] == 2147483647 && vertices[i][1] == -2147483647 - 1);
    EXPECT_TRUE(found);
}

// One pass over the usual form, and the general way for all others: every spelling of a number means the same in both.
TEST(StackReader, verticesMayBeDecimals) {
    const std::pair<const char*, double> spellings[] = {{"1.5", 1.5},
                                                        {"-0.125", -0.125},
                                                        {"+2.75", 2.75},
                                                        {"7.", 7},
                                                        {".5", 0.5},
                                                        {"-.25", -0.25},
                                                        {"1e2", 100},
                                                        {"2.5e-1", 0.25},
                                                        {"1e400", 2147483647},
                                                        {"-1e400", -2147483648.0},
                                                        {"1e-400", 0},
                                                        {"0.1", 0.1},
                                                        {"1.5.5", 1.5},
                                                        {"nan", 0},
                                                        {"inf", 0},
                                                        {"-inf", 0},
                                                        {"+-3", 0},
                                                        {"0x10", 0},
                                                        {"1.25x", 1.25}};
    for (const auto& [text, value] : spellings)
        for (const char* keyword : {"MODELITEMDATA", "M2DDATA"}) {
            const std::string number = text;
            const Read read(item + "PRIMITIVE Polyline;\n" + keyword + "\n 8," + number + " " + number + ",9;\n");
            ASSERT_EQ(read.item().getSize(), 2) << number;
            EXPECT_EQ(read.item().getVertices()[0][1], value) << number;
            EXPECT_EQ(read.item().getVertices()[1][0], value) << number;
            EXPECT_EQ(read.item().getVertices()[1][1], 9) << number;
        }
}

// Of a long text the memory goes as it is read; the lines are counted all the same.
TEST(StackReader, aLongFileIsReadToItsEnd) {
    constexpr int perItem = 300000;
    std::string outline = "MODELITEM \"m\" \"s1\";\nMODELITEMDATA";
    for (int i = 0; i < perItem; ++i)
        outline += "\n 100000.5,200000.25";
    outline += ";\n"; // 6 MB
    const Read read(slice + model + outline + outline + outline + outline + "NOSUCHWORD 1;\n");
    ASSERT_EQ(read.stack.getModel(0).getNumItems(), 4);
    for (int k = 0; k < 4; ++k) {
        const ModelItem& each = read.stack.getModel(0).getItem(k);
        ASSERT_EQ(each.getSize(), perItem);
        EXPECT_EQ(each.getCoordinate(0, 0), 100000.5);
        EXPECT_EQ(each.getCoordinate(perItem - 1, 1), 200000.25);
    }
    ASSERT_EQ(read.reader.getProblems().size(), 1u);
    EXPECT_EQ(read.reader.getProblems()[0].line, 2 + 4 * (perItem + 2) + 1);
}

// The usual spelling of an outline is read in one pass, the old one in the general way: both give the same.
TEST(StackReader, outlinesOfAllFormsReadAlikeInBothSpellings) {
    std::mt19937 random(5);
    const std::string pieces[] = {" ",     "\n", " .5,2.75", "1.",   " 1,2",          " -3,4", "5,6",
                                  " +7,8", ",",  ";",        "x",    " 1234567890,1", "\t",    "#",
                                  " # ",   "9",  "\n ",      " 0,0", " 10,-20",       " ;\n",  ";\n"};
    for (int round = 0; round < 3000; ++round) {
        std::string body;
        for (int n = static_cast<int>(random() % 12); n > 0; --n)
            body += pieces[random() % std::size(pieces)];
        body += random() % 4 == 0 ? ";" : ";\nCOLOR 1 2 3;\n";
        const auto fast = Read::ofText(item + "MODELITEMDATA" + body), slow = Read::ofText(item + "M2DDATA" + body);
        ASSERT_EQ(decimals(fast->item().getVertices()), decimals(slow->item().getVertices())) << body;
        ASSERT_EQ(fast->item().getProperties().definesColor(), slow->item().getProperties().definesColor()) << body;
        ASSERT_EQ(fast->log().size(), slow->log().size()) << body;
    }
}

TEST(StackReader, aVertexWithoutACommaSpoilsTheStatement) {
    const Read read(item + "MODELITEMDATA 1,2 3 4,5;\n");
    ASSERT_EQ(read.log().size(), 1u);
    EXPECT_EQ(read.log()[0], "Error on MODELITEMDATA: invalid argument.");
    EXPECT_EQ(read.item().getSize(), 0);
}

TEST(StackReader, anEmptyOutlineIsLoggedAndLeavesTheItemEmpty) {
    const Read read(item + "MODELITEMDATA\n;\nSTACK \"after\";\n");
    ASSERT_EQ(read.log().size(), 1u);
    EXPECT_EQ(read.log()[0], "Error on MODELITEMDATA: invalid number of arguments.");
    EXPECT_EQ(read.item().getSize(), 0);
    EXPECT_TRUE(read.item().getUnreadText().empty()); // nothing to be written beside what it is given
    EXPECT_EQ(read.stack.getName(), "after");
}

TEST(StackReader, aFailedItemTakesItsStatementsWithIt) {
    const Read read(item + "MODELITEM \"m\" \"none\";\nMODELITEMDATA 1,1 2,2;\nCOLOR 9 9 9;\n");
    ASSERT_EQ(read.log().size(), 3u);
    EXPECT_EQ(read.log()[0], "Error on MODELITEM: invalid argument.");
    EXPECT_EQ(read.log()[1], "Error: MODELITEMDATA is invalid in this context.");
    EXPECT_EQ(read.log()[2], "Error: COLOR is invalid in this context.");
    EXPECT_EQ(read.item().getSize(), 0);
    EXPECT_EQ(read.stack.getModel(0).getNumItems(), 1);
}

// Outlines find their slice by its name: the file cannot say more. From then on the names are unique.
TEST(StackReader, theSecondOfOneNameGetsANameOfItsOwn) {
    const Read read("SLICE \"s\" 1 1;\nSLICE \"s\" 1 1;\nSLICE \"s (2)\" 1 1;\n" + model + "MODELITEM \"m\" \"s\";\n" +
                    model + "MODELITEM \"m\" \"s (2)\";\n");
    EXPECT_EQ(read.log().size(), 2u);
    EXPECT_EQ(read.stack.getSlice(1).getName(), "s (3)");
    EXPECT_EQ(read.stack.getSlice(0).getNumItems(), 1);
    EXPECT_EQ(read.stack.getSlice(1).getNumItems(), 0);
    EXPECT_EQ(read.stack.getSlice(2).getNumItems(), 1);
    // The items of a model follow it.
    EXPECT_EQ(read.stack.getModel(1).getName(), "m (2)");
    EXPECT_EQ(read.stack.getModel(1).getNumItems(), 1);
}

TEST(StackReader, anUnknownKeywordIsReportedOnceAndReadingGoesOn) {
    const Read read("FOO 1 2;\nSTACK \"x\";\nstack \"y\";\n");
    ASSERT_EQ(read.log().size(), 2u);
    EXPECT_EQ(read.log()[0], "Error on FOO: unknown keyword (ignored).");
    EXPECT_EQ(read.stack.getName(), "x");
}

TEST(StackReader, aLoneSemicolonIsPassedOver) {
    const Read read("STACK \"x\";\n;\nSTACK \"y\";\n;");
    EXPECT_TRUE(read.log().empty());
    EXPECT_TRUE(read.reader.isWhole());
    EXPECT_EQ(read.stack.getName(), "y");
}

TEST(StackReader, aFileThatIsCutOffIsToldWhereverItIsCut) {
    const Read whole(item + "MODELITEMDATA 1,1 9,1 9,9;\nPOSE \"p\";\n");
    const std::string text = StackWriter().toText(whole.stack, "/");
    EXPECT_TRUE(Read(text).reader.isWhole());
    EXPECT_TRUE(Read(text + "# a note\n").reader.isWhole());
    const std::size_t header = text.find('\n', text.find('\n') + 1);
    for (std::size_t length = header + 1; length < text.size() - 1; ++length) {
        const auto cut = Read::ofText(text.substr(0, length));
        EXPECT_FALSE(cut->reader.isWhole()) << length;
        EXPECT_NE(cut->log().back().find("cut off"), std::string::npos);
    }
    // A file of an older program has no such line: the end of a statement is all that can be seen.
    EXPECT_TRUE(Read(item).reader.isWhole());
    EXPECT_FALSE(Read(item + "MODELITEMDATA 1,1 2").reader.isWhole());
}

TEST(StackReader, whatCannotBeReadIsWrittenBackAsItWas) {
    const std::string parts[] = {"FUTURE 1 2;\n",
                                 "PIXWIDTH;\n",
                                 "COLOR red;\n",
                                 "MODELITEMDATA\n 1,1 2\n 3;\n",
                                 "MODELITEM \"m\" \"lost\";\nCOLOR 1 2 3;\nMODELITEMDATA 5,5 6,6 7,7;\n",
                                 "POSEZOOM;\n",
                                 "SLICE nonsense;\nRELPOSITION 77;\n"};
    const std::string text = "RELPOSITION 10;\n" + parts[0] + slice + parts[1] + "SLICE \"s2\" 1 1;\n" + parts[6] +
                             model + parts[2] + "MODELITEM \"m\" \"s1\";\n" + parts[3] +
                             "MODELITEM \"m\" \"s2\";\nMODELITEMDATA 1,1 9,1 9,9;\n" + parts[4] + "POSE \"p\";\n" +
                             parts[5];
    Read read(text);
    // Users are told where.
    ASSERT_EQ(read.reader.getMessages().size(), read.log().size());
    EXPECT_EQ(read.reader.getMessages()[0], "Error on FUTURE: unknown keyword (ignored). (line 2)");
    const auto& messages = read.reader.getMessages();
    EXPECT_TRUE(std::any_of(messages.begin(), messages.end(), [](const std::string& message) {
        return message == "Error on MODELITEMDATA: invalid argument. (line 11, model \"m\", slice \"s1\")";
    }));
    EXPECT_EQ(read.stack.getDefaultRelativePosition(), 10);
    EXPECT_EQ(read.stack.getSlice(1).getRelativePosition(), 10);
    const std::string first = StackWriter().toText(read.stack, "/");
    for (const std::string& part : parts)
        EXPECT_NE(first.find(part), std::string::npos) << part << "\n" << first;
    Read again(first);
    EXPECT_EQ(StackWriter().toText(again.stack, "/"), first);
    // What is kept with an object goes with it, and an outline whose slice is there at last is read.
    again.stack.deleteModel(0);
    const std::string fewer = StackWriter().toText(again.stack, "/");
    EXPECT_EQ(fewer.find(parts[2]), std::string::npos);
    EXPECT_NE(fewer.find(parts[4]), std::string::npos);
    const Read complete("SLICE \"lost\" 1 1;\n" + model + first);
    EXPECT_EQ(complete.stack.getSlice(0).getNumItems(), 1);
}

TEST(StackReader, aMissingSemicolonSwallowsTheNextLine) {
    const Read read("STACK x\nLengthUnitScale -3;\nANY;\n");
    ASSERT_EQ(read.log().size(), 2u);
    EXPECT_EQ(read.log()[0], "Error on STACK: invalid number of arguments.");
    EXPECT_EQ(read.stack.getLengthUnit().getScale(), -6);
}

TEST(StackReader, imagesOfNewFilesLieOnTheImagesPath) {
    const StackFolder folder;
    folder.writeImage("near.tif", 4, 3);
    folder.writeImage("images/a.tif", 5, 6);
    folder.writeImage("other/b.tif", 7, 8);
    const Read read(folder, "FileFormatVersion 1.03;\nSLICE \"n\" \"near.tif\";\nImagesPath \"images/\";\n"
                            "SLICE \"a\" \"a.tif\";\nSliceSize1 100;\nSliceSize2 100;\nImagesPath \"" +
                                folder.file("other") + "\";\nSLICE \"b\" \"b.tif\";\n");
    EXPECT_TRUE(read.log().empty());
    EXPECT_EQ(read.stack.getImagesPath(), folder.path() + "/");
    ASSERT_EQ(read.stack.getNumSlices(), 3);
    EXPECT_EQ(read.stack.getSlice(0).getImageSource().getSize2(), 4);
    EXPECT_EQ(read.stack.getSlice(1).getImageSource().getSize1(), 6);
    EXPECT_EQ(read.stack.getSlice(2).getImageSource().getSize1(), 8);
}

TEST(StackReader, imagesOfOldFilesLieOnTheStacksPathOrWhereTheySay) {
    const StackFolder folder;
    folder.writeImage("images/a.tif", 5, 6);
    folder.writeImage("b.tif", 7, 8);
    const Read read(folder,
                    "ImagesPath \"images\";\nSLICE \"a\" \"a.tif\";\nSLICE \"b\" \"" + folder.file("b.tif") + "\";\n");
    EXPECT_TRUE(read.log().empty());
    EXPECT_FLOAT_EQ(read.reader.getFileFormatVersion(), 1.0f);
    EXPECT_EQ(read.stack.getImagesPath(), folder.file("images/"));
    EXPECT_FALSE(read.stack.getAbsoluteImagesPathPolicy());
    EXPECT_EQ(read.stack.getSlice(0).getImageSource().getSize2(), 5);
    EXPECT_EQ(read.stack.getSlice(1).getImageSource().getSize2(), 7);
    const Read absolute(folder, "IMAGESDIR \"" + folder.file("images") + "\";\nSLICE \"a\" \"a.tif\";\n");
    EXPECT_TRUE(absolute.stack.getAbsoluteImagesPathPolicy());
    EXPECT_FALSE(absolute.stack.getSlice(0).isEmpty());
}

TEST(StackReader, aMissingImageIsFatalAndLeavesASliceThatTakesItsStatements) {
    const StackFolder folder;
    const Read read(folder, "FileFormatVersion 1.03;\nPIXWIDTH 2;\nSLICE \"a\" \"none.tif\";\nSHIFT 4 5;\n");
    ASSERT_EQ(read.log().size(), 1u);
    EXPECT_EQ(read.log()[0].rfind("Error: " + folder.file("none.tif") + ": ", 0), 0u);
    EXPECT_EQ(read.reader.getNumFatalErrors(), 2);
    ASSERT_EQ(read.stack.getNumSlices(), 1);
    EXPECT_TRUE(read.stack.getSlice(0).isEmpty());
    ASSERT_TRUE(read.stack.getSlice(0).hasImageSource());
    EXPECT_EQ(read.stack.getSlice(0).getImageSource().getName(), folder.file("none.tif"));
    EXPECT_EQ(read.stack.getSlice(0).getName(), "a");
    EXPECT_EQ(read.stack.getSlice(0).getRegistration().getHorShift(), 4);
    EXPECT_FLOAT_EQ(read.stack.getSlice(0).getPixelCalibration().getPixelWidth(), 2);
}

TEST(StackReader, aBareFileNameIsReadFromTheCurrentDirectory) {
    const StackFolder folder;
    folder.writeImage("images/a.tif", 5, 6);
    folder.write("bare.sdf", "FileFormatVersion 1.03;\nImagesPath \"images/\";\nSLICE \"a\" \"a.tif\";\n");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    Stack stack;
    StackReader reader;
    const bool opened = reader.read(stack, "bare");
    std::filesystem::current_path(before);
    EXPECT_TRUE(opened);
    EXPECT_TRUE(reader.getLog().empty());
    EXPECT_EQ(stack.getImagesPath(), "./");
    EXPECT_EQ(stack.getSlice(0).getImageSource().getSize1(), 6);
}

TEST(StackReader, tilesFillTheMosaicOfTheirSlice) {
    const StackFolder folder;
    folder.writeImage("a.tif", 5, 6);
    folder.writeImage("b.tif", 7, 6);
    folder.writeImage("wrong.tif", 9, 9);
    const Read read(folder, "FileFormatVersion 1.03;\nSLICE \"m\" 2 2;\nIMAGE 1 1 a.tif;\nIMAGE 1 2 \"b.tif\";\n"
                            "IMAGE 3 1 a.tif;\nIMAGE 1 1 b.tif;\nIMAGE 2 1 wrong.tif;\nIMAGE 2 1 a.tif;\n");
    ASSERT_EQ(read.log().size(), 3u);
    EXPECT_EQ(read.log()[0], "Error on IMAGE: invalid argument.");
    EXPECT_EQ(read.log()[1], "Error on IMAGE: Mosaic position already set.");
    EXPECT_EQ(read.log()[2], "Error on IMAGE: Incompatible image dimensions.");
    EXPECT_EQ(read.reader.getNumFatalErrors(), 2);
    const ImageSource& source = read.stack.getSlice(0).getImageSource();
    EXPECT_EQ(source.getSize1(), 12);
    EXPECT_EQ(source.getSize2(), 12);
}

TEST(StackReader, aTileNeedsAMosaic) {
    const StackFolder folder;
    folder.writeImage("a.tif", 5, 6);
    const Read read(folder, "FileFormatVersion 1.03;\nIMAGE 1 1 a.tif;\nSLICE \"f\" \"a.tif\";\nIMAGE 1 1 a.tif;\n");
    ASSERT_EQ(read.log().size(), 2u);
    EXPECT_EQ(read.log()[0], "Error: IMAGE is invalid in this context.");
    EXPECT_EQ(read.log()[1], read.log()[0]);
    EXPECT_EQ(read.stack.getSlice(0).getImageSource().getType(), 0);
}

TEST(StackReader, aPlaneOfAVolumeIsASlice) {
    const StackFolder folder;
    VoxelMatrix<float> volume(3, 4, 2);
    for (int k = 0; k < 2; ++k)
        volume[k].fill(0);
    volume.save(folder.file("v.vm"), true);
    const Read read(folder, "FileFormatVersion 1.03;\nStackSlice \"p\" \"v.vm\" 1;\nSHIFT 1 2;\n"
                            "StackSlice \"q\" \"v.vm\" 2;\nSHIFT 3 4;\n");
    ASSERT_EQ(read.log().size(), 1u);
    ASSERT_EQ(read.stack.getNumSlices(), 2);
    const auto& source = dynamic_cast<const ImageSourceVoxelMatrixPlane&>(read.stack.getSlice(0).getImageSource());
    EXPECT_EQ(source.getPlane(), 1);
    EXPECT_EQ(source.getSize1(), 3);
    EXPECT_EQ(source.getSize2(), 4);
    EXPECT_TRUE(read.stack.getSlice(1).isEmpty());
    EXPECT_EQ(read.stack.getSlice(0).getRegistration().getHorShift(), 1);
    EXPECT_EQ(read.stack.getSlice(1).getRegistration().getHorShift(), 3);
}

TEST(StackReader, posesAreAttachedToTheStack) {
    const Read read("POSE \"lateral\";\nPOSEROTATION 10 -90 359.99;\nPOSESHIFT 3 -4;\nPOSEZOOM 150;\nAMBIENTLIGHT 1;\n"
                    "DIFFUSELIGHT 2;\nSPECULARLIGHT 3;\n");
    EXPECT_TRUE(read.log().empty());
    ASSERT_EQ(read.stack.getNumPoses(), 1);
    const Pose& pose = read.stack.getPose(0);
    EXPECT_EQ(pose.getStack(), &read.stack);
    EXPECT_EQ(pose.getName(), "lateral");
    EXPECT_EQ(pose.getYRotation(), -90);
    EXPECT_EQ(pose.getRotation()[2], 359.99f);
    EXPECT_NE(StackWriter().toText(read.stack).find("POSEROTATION 10 -90 359.99;"), std::string::npos);
    EXPECT_EQ(pose.getYTranslation(), -4);
    EXPECT_EQ(pose.getZoom(), 150);
    EXPECT_EQ(pose.getSpecularLight(), 3);
}

TEST(StackReader, valuesOfPosesMayBeDecimals) {
    const std::string text = "POSE \"close\";\nPOSEROTATION 0.00001 0 -0.25;\nPOSESHIFT 2.75 -0.5;\nPOSEZOOM 112.125;\n"
                             "AMBIENTLIGHT 79.9;\nDIFFUSELIGHT 128;\nSPECULARLIGHT 0.001;\n";
    const Read read(text);
    EXPECT_TRUE(read.log().empty());
    const Pose& pose = read.stack.getPose(0);
    EXPECT_EQ(pose.getExactXTranslation(), 2.75);
    EXPECT_EQ(pose.getExactZoom(), 112.125);
    EXPECT_EQ(pose.getExactAmbientLight(), 79.9);
    EXPECT_EQ(pose.getXTranslation(), 3); // the whole numbers next to them
    EXPECT_EQ(pose.getZoom(), 112);
    EXPECT_EQ(pose.getAmbientLight(), 80);
    EXPECT_NE(StackWriter().toText(read.stack).find(text), std::string::npos) << StackWriter().toText(read.stack);

    const Read wild("POSE \"wild\";\nPOSESHIFT nan -inf;\nPOSEZOOM 1e300;\nAMBIENTLIGHT 0x10;\nDIFFUSELIGHT word;\n");
    const Pose& tamed = wild.stack.getPose(0);
    EXPECT_EQ(tamed.getXTranslation(), 0);
    EXPECT_EQ(tamed.getYTranslation(), 0);
    EXPECT_EQ(tamed.getZoom(), std::numeric_limits<int>::max());
    EXPECT_EQ(tamed.getAmbientLight() + tamed.getDiffuseLight(), 0);
}

TEST(StackReader, standardImagesCarryCurvesAndSamples) {
    const Read read("STANDARDIMAGE \"std\" \"\";\nCALIBRATIONCURVE \"c\";\nFIT Polynomial2;\nFIT Cubic;\n"
                    "SAMPLE \"one\";\nSAMPLECOORDS 1 2 3 4;\nSAMPLEVALUE 0.5;\nSAMPLE \"two\";\nSAMPLEVALUE 1e3;\n" +
                    slice + "CALIBRATIONCURVE \"none\";\nSAMPLEVALUE 7;\n");
    ASSERT_EQ(read.log().size(), 2u);
    EXPECT_EQ(read.log()[0], "Error on FIT: Unknown fit mode.");
    EXPECT_EQ(read.log()[1], "Error: SAMPLEVALUE is invalid in this context.");
    const CalibrationCurve* curve = read.stack.getCalibration("std");
    ASSERT_NE(curve, nullptr);
    EXPECT_EQ(curve->getName(), "c");
    EXPECT_EQ(curve->getFitMode(), 1);
    ASSERT_EQ(curve->getNumSamples(), 2);
    EXPECT_EQ(curve->getSample(0).getRegion().getVertex2()[1], 4);
    EXPECT_EQ(curve->getSample(1).getValue(), 1000);
}

TEST(StackReader, theGlobalLocaleIsBackAfterwards) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const std::locale odd(std::locale::classic(), new Comma);
    const std::locale before = std::locale::global(odd);
    const Read read("PIXWIDTH 0.25;\n");
    const std::locale after = std::locale::global(before);
    EXPECT_TRUE(after == odd);
    EXPECT_FLOAT_EQ(read.stack.getDefaultPixelCalibration().getPixelWidth(), 0.25f);
}

TEST(StackReader, monitorsHearTheReadingFromZeroToHundred) {
    class Monitor : public ProgressMonitor {
    public:
        void subjectStarted(const std::string& text) override { started = text; }
        void subjectFinished(const std::string&) override { finished = true; }
        void subjectProgressed(unsigned int current, unsigned int total) override {
            rising = rising && current >= last && total == 100 && current <= 100;
            last = current;
            ++calls;
        }
        using ProgressMonitor::subjectProgressed;
        std::string started;
        bool finished = false, rising = true;
        unsigned int last = 0;
        int calls = 0;
    } monitor;
    const StackFolder folder;
    const std::string file = folder.write("a.sdf", item + "MODELITEMDATA 1,1 2,2 3,3;\n");
    Stack stack;
    StackReader reader;
    reader.addMonitor(monitor);
    reader.read(stack, file);
    reader.removeMonitor(monitor);
    EXPECT_EQ(monitor.started, "Reading " + file + "...");
    EXPECT_TRUE(monitor.finished);
    EXPECT_TRUE(monitor.rising);
    EXPECT_EQ(monitor.last, 100u);
    EXPECT_EQ(monitor.calls, 6);
}

TEST(StackReader, aBrokenFileFillsTheLogOnlySoFar) {
    std::string text;
    for (int i = 0; i < 5000; ++i)
        text += "X;\n";
    const Read read(text + std::string(100000, 'y') + ";\n");
    EXPECT_EQ(static_cast<int>(read.log().size()), StackReader::maxLogLines + 1);
    const Read longWord(std::string(100000, 'y') + ";\n");
    ASSERT_EQ(longWord.log().size(), 1u);
    EXPECT_LT(longWord.log()[0].size(), 200u);
}

TEST(StackReader, mosaicsTakeNoMoreRoomThanTheFileCanFill) {
    const Read huge("SLICE \"a\" 2000000000 2000000000;\nSLICE \"b\" 0 2000000000;\nSLICE \"c\" -1 5;\n");
    ASSERT_EQ(huge.log().size(), 3u);
    EXPECT_EQ(huge.log()[0], "Error on SLICE: invalid argument.");
    EXPECT_EQ(huge.stack.getNumSlices(), 0);
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += "SLICE \"a\" 1000 1000;\n";
    const Read many(text);
    EXPECT_EQ(many.stack.getNumSlices(), 1);
    EXPECT_EQ(many.log().size(), 99u);
}

TEST(StackReader, anImagesPathThatGrowsWithoutEndIsRefused) {
    std::string text;
    for (int i = 0; i < 3000; ++i)
        text += "ImagesPath \"abcdefgh\";\n";
    const Read read(text);
    EXPECT_FALSE(read.log().empty());
    EXPECT_LE(read.stack.getImagesPath().size(), 4097u);
}

TEST(StackReader, everyCutOfAGoodFileIsReadWithoutHarm) {
    const std::string text = "FileFormatVersion 1.03;\nSTACK \"brain\";\nPIXASPECT 1;\n" + item +
                             "COLOR 1 2 3;\nMODELITEMDATA\n 10,10 20,10 30,15\n 10,30;\n"
                             "POSE \"p\";\nPOSEROTATION 1 2 3;\nSTANDARDIMAGE \"i\" \"\";\nCALIBRATIONCURVE \"c\";\n"
                             "FIT Linear;\nSAMPLE \"s\";\nSAMPLECOORDS 1 2 3 4;\n";
    for (std::size_t n = 0; n <= text.size(); ++n) {
        const auto read = Read::ofText(text.substr(0, n));
        EXPECT_EQ(read->reader.getNumFatalErrors(), 0);
        if (n == text.size()) {
            EXPECT_EQ(read->item().getSize(), 4);
        }
    }
}

TEST(StackReader, randomChangesOfAGoodFileDoNoHarm) {
    const std::string good = "FileFormatVersion 1.03;\nPIXASPECT 1;\n" + item +
                             "COLOR 1 2 3;\nMODELITEMDATA\n 10,10 20,10 30,15\n 10,30;\nPOSE \"p\";\nPOSEZOOM 1;\n";
    const std::string bytes = std::string("\";#\n ,-0") + '\0' + "\xff";
    unsigned int state = 1;
    const auto next = [&state](std::size_t n) {
        state = state * 1664525u + 1013904223u;
        return (state >> 8) % n;
    };
    int numLogged = 0;
    for (int run = 0; run < 2000; ++run) {
        std::string text = good;
        for (int k = 0; k < 3; ++k)
            text[next(text.size())] = bytes[next(bytes.size())];
        numLogged += !Read::ofText(text)->log().empty();
    }
    EXPECT_GT(numLogged, 500);
}

} // namespace vorlen
