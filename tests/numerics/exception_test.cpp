#include "numerics/exception.h"

#include <sstream>
#include <type_traits>

#include <gtest/gtest.h>

namespace vorlen {

TEST(Exception, callStackWithoutAddedCallsIsTheWhereAndANewline) {
    Exception e;
    e.setWhere("f()");
    EXPECT_EQ("[0] f()\n", e.callStack());
}

TEST(Exception, addedCallsAreNumberedAndSeparatedByNewlines) {
    Exception e("f()", "bad");
    e.addWhere("g()");
    e.addCall("h()");
    EXPECT_EQ("[0] f()\n[1] g()\n[2] h()", e.callStack());
}

TEST(Exception, printsWhatWhereAndTheCallStack) {
    Exception e("f()", "bad");
    std::ostringstream plain;
    plain << e;
    EXPECT_EQ("Exception raised:\n  What: bad\n  Where: f()\n  [0] f()\n\n", plain.str());
    e.addCall("g()");
    std::ostringstream called;
    called << e;
    EXPECT_EQ("Exception raised:\n  What: bad\n  Where: f()\n  [0] f()\n[1] g()\n", called.str());
}

TEST(Exception, everyClassHasItsOwnSentenceAndAnEmptyPlace) {
    EXPECT_EQ("Undocumented error", Exception().getWhat());
    EXPECT_EQ("Undocumented file error", FileError().getWhat());
    EXPECT_EQ("Undocumented file format error", FileFormatError().getWhat());
    EXPECT_EQ("Undocumented file read error", FileReadError().getWhat());
    EXPECT_EQ("Undocumented file write error", FileWriteError().getWhat());
    EXPECT_EQ("Undocumented mathematical error", MathError().getWhat());
    EXPECT_EQ("Undocumented program error", ProgramError().getWhat());
    EXPECT_EQ("Undocumented range error", RangeError().getWhat());
    EXPECT_EQ("Undocumented size error", SizeError().getWhat());
    EXPECT_EQ("Undocumented type error", TypeError().getWhat());
    EXPECT_EQ("Undocumented usage error", UsageError().getWhat());
    EXPECT_EQ("Undocumented value error", ValueError().getWhat());
    EXPECT_EQ("Image depth error", DepthError().getWhat());
    EXPECT_EQ("Colormap error", ColormapError().getWhat());
    EXPECT_EQ("", SizeError().getWhere());
}

TEST(Exception, aFileErrorIsCaughtByItsBaseWithItsFileAndAddedCalls) {
    try {
        try {
            throw FileFormatError("read()", "No header", "a.vx");
        } catch (FileError& e) {
            e.addCall("load()");
            throw;
        }
    } catch (const Exception& e) {
        const auto* file = dynamic_cast<const FileFormatError*>(&e);
        ASSERT_NE(nullptr, file);
        EXPECT_EQ("a.vx", file->getFile());
        EXPECT_EQ("[0] read()\n[1] load()", e.callStack());
    }
    FileError e;
    EXPECT_EQ("", e.getFile());
    e.setFile("b");
    EXPECT_EQ("b", e.getFile());
    EXPECT_FALSE((std::is_base_of_v<std::exception, Exception>));
}

} // namespace vorlen
