#include "document/stackio.h"

#include <gtest/gtest.h>

#include "document/calibrationcurve.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/pose.h"
#include "document/stack.h"
#include "document/stackiocontext.h"
#include "document/stackslice.h"
#include "document/standardimage.h"
#include "document/standardsample.h"

namespace vorlen {

TEST(StackIO, keywordsHaveTheirNumbersAndAllTheirSpellings) {
    EXPECT_EQ(StackIO::getKeyword("Annotation"), 0);
    EXPECT_EQ(StackIO::getKeyword("MODELITEMDATA"), 19);
    EXPECT_EQ(StackIO::getKeyword("M2DDATA"), 19);
    EXPECT_EQ(StackIO::getKeyword("IMAGESPATH"), StackIO::ImagesPath);
    EXPECT_EQ(StackIO::getKeyword("IMAGESDIR"), StackIO::ImagesPath);
    EXPECT_EQ(StackIO::getKeyword("ASPRATIO"), StackIO::PIXASPECT);
    EXPECT_EQ(StackIO::getKeyword("M2DRADIUS"), StackIO::POINTSIZE);
    EXPECT_EQ(StackIO::getKeyword("VERTEXSYMBOL"), 49);
}

TEST(StackIO, anUnknownWordOrAnotherCaseIsNoKeyword) {
    EXPECT_EQ(StackIO::getKeyword("stack"), 50);
    EXPECT_EQ(StackIO::getKeyword("STACK "), 50);
    EXPECT_EQ(StackIO::getKeyword(""), 50);
}

TEST(StackIO, theFirstSpellingIsTheOneWrittenAndLeadsBackToItsKeyword) {
    EXPECT_EQ(StackIO::getString(StackIO::MODEL), "MODEL");
    EXPECT_EQ(StackIO::getString(StackIO::RELPOSITION), "RELPOSITION");
    EXPECT_EQ(StackIO::getString(StackIO::UNKNOWN), "");
    for (int i = 0; i < StackIO::UNKNOWN; ++i)
        EXPECT_EQ(StackIO::getKeyword(StackIO::getString(StackIO::Keyword(i))), i);
}

TEST(StackIO, annotationsAreExportedWithoutTheCharactersOfTheSyntax) {
    EXPECT_EQ(StackIO::exportString("a;b\nc\"d"), "a__SC__b__NL__c__DQ__d");
    EXPECT_EQ(StackIO::importString("a__SC__b__NL__c__DQ__d"), "a;b\nc\"d");
}

TEST(StackIO, replaceDoesNotSearchWhatItHasPutIn) {
    std::string text = "aXaX";
    StackIO::replace(text, "X", "XX");
    EXPECT_EQ(text, "aXXaXX");
    StackIO::replace(text, "", "y");
    EXPECT_EQ(text, "aXXaXX");
}

// Such a name made a stack whose file could not be found again.
TEST(StackIO, aTextThatLooksProtectedComesBack) {
    for (const std::string text : {"__X41__", "___X41__", "a__X41____X42__", "__X41__#", "#__X41__", "__X", "__X5f__",
                                   "__X4__", "X41__", "_#X41__"})
        EXPECT_EQ(StackIO::unprotect(StackIO::protect(text, true)), text);
    EXPECT_EQ(StackIO::unprotect("__X41__"), "A") << "as files have it";
}

TEST(StackIO, protectHidesWhatWouldBreakAStatementAndUnprotectBringsItBack) {
    EXPECT_EQ(StackIO::protect("brain 1;2", true), "brain 1;2");
    EXPECT_EQ(StackIO::protect("#1", true), "__X23__1");
    EXPECT_EQ(StackIO::protect(" a  b", true), "__X20__a __X20__b");
    EXPECT_EQ(StackIO::protect(" a  b", false), "__X20__a  b");
    for (const std::string text : {"#", "a\nb", "\"q\" \"", "  ", "__X23", "µ"})
        EXPECT_EQ(StackIO::unprotect(StackIO::protect(text, true)), text);
    EXPECT_EQ(StackIO::unprotect("__X__X23__X2g__"), "__X#X2g__");
}

TEST(StackIO, versionsCompareWithinTheirTolerance) {
    class Any : public StackIO {
    public:
        Any() = default;
    } io;
    EXPECT_FLOAT_EQ(io.getFileFormatVersion(), 1.03f);
    EXPECT_TRUE(io.ensureFileFormatVersion(1.03f));
    io.setFileFormatVersion(1.0f);
    EXPECT_TRUE(io.ensureFileFormatVersion(1.000005f));
    EXPECT_FALSE(io.ensureFileFormatVersion(1.01f));
}

TEST(StackIOContext, theSettersKeepTheObjectsExclusive) {
    Stack stack;
    StackSlice slice;
    Model model;
    ModelItem item;
    Pose pose;
    StandardImage image;
    CalibrationCurve curve(image);
    StandardSample sample;
    StackIOContext context;
    const auto fill = [&] {
        context.setSlice(&slice);
        context.setPose(&pose);
    };
    fill();
    context.setModel(&model);
    EXPECT_EQ(context.getSlice(), nullptr);
    EXPECT_EQ(context.getModelProperties(), &model.getProperties());
    EXPECT_EQ(context.getModelItemProperties(), &model.getItemProperties());
    context.setItem(&item);
    EXPECT_EQ(context.getModel(), nullptr);
    EXPECT_EQ(context.getModelProperties(), nullptr);
    EXPECT_EQ(context.getModelItemProperties(), &item.getProperties());
    fill();
    EXPECT_EQ(context.getItem(), nullptr);
    EXPECT_EQ(context.getModelItemProperties(), nullptr);
    context.setStandardImage(&image);
    EXPECT_EQ(context.getSlice(), nullptr);
    context.setCalibrationCurve(&curve);
    EXPECT_EQ(context.getStandardImage(), nullptr);
    context.setSample(&sample);
    EXPECT_EQ(context.getCalibrationCurve(), &curve);
    fill();
    EXPECT_EQ(context.getSample(), nullptr);
    EXPECT_EQ(context.getPose(), &pose);
}

} // namespace vorlen
