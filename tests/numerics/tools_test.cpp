#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "files/ask4.h"
#include "files/fileinfo.h"
#include "files/stringtools.h"
#include "files/system.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

using Strings = std::vector<std::string>;

// Folder of its own, gone at the end.
class Folder {
public:
    Folder() : __path(std::filesystem::temp_directory_path() / ("vorlen tools " + std::to_string(::getpid()))) {
        std::filesystem::remove_all(__path);
        std::filesystem::create_directories(__path);
    }
    ~Folder() { std::filesystem::remove_all(__path); }
    std::string operator/(const std::string& name) const { return (__path / name).string(); }

private:
    std::filesystem::path __path;
};

// Feeds the standard input and keeps what is written to the standard output.
class Console {
public:
    explicit Console(const std::string& input)
        : __input(input), __oldInput(std::cin.rdbuf(__input.rdbuf())), __oldOutput(std::cout.rdbuf(__output.rdbuf())) {
        std::cin.clear();
    }
    ~Console() {
        std::cin.rdbuf(__oldInput);
        std::cout.rdbuf(__oldOutput);
        std::cin.clear();
    }
    std::string output() const { return __output.str(); }

private:
    std::istringstream __input;
    std::ostringstream __output;
    std::streambuf* __oldInput;
    std::streambuf* __oldOutput;
};

} // namespace

TEST(FileInfo, takesAPathApart) {
    const FileInfo info("/data/x.y/a.b.c");
    EXPECT_EQ("a.b.c", info.fileName());
    EXPECT_EQ("a.b", info.baseName());
    EXPECT_EQ("c", info.suffixName());
    EXPECT_EQ("/data/x.y/", info.dirName());
    EXPECT_TRUE(info.isAbsolutePath());
    EXPECT_FALSE(info.isRelativePath());
    EXPECT_FALSE(info.fileExists());
    EXPECT_EQ("", FileInfo::fileName("dir/"));
    EXPECT_EQ("file", FileInfo::fileName("file"));
    EXPECT_EQ("file", FileInfo::baseName("x.y/file"));
    EXPECT_EQ("", FileInfo::suffixName("x.y/file"));
    EXPECT_EQ("", FileInfo::suffixName("file."));
    EXPECT_EQ("", FileInfo::dirName("file"));
    EXPECT_EQ("", FileInfo::baseName(""));
    EXPECT_TRUE(FileInfo::isRelativePath(""));
}

TEST(FileInfo, aFileOrFolderThatOpensExists) {
    const Folder folder;
    const std::string file = folder / "a";
    EXPECT_FALSE(FileInfo::fileExists(file));
    std::ofstream(file).put('x');
    EXPECT_TRUE(FileInfo::fileExists(file));
    EXPECT_TRUE(FileInfo(folder / "").fileExists());
    EXPECT_FALSE(FileInfo::fileExists(""));
}

TEST(FileInfo, aNameIsTakenAlsoByWhatCannotBeOpened) {
    const Folder folder;
    const std::string file = folder / "a", link = folder / "link";
    EXPECT_NO_THROW(FileInfo::requireFree(file, "place"));
    EXPECT_NO_THROW(FileInfo::requireFree(folder / "none/a", "place"));
    std::filesystem::create_symlink("nowhere", link);
    EXPECT_FALSE(FileInfo::fileExists(link));
    EXPECT_TRUE(FileInfo::isTaken(link));
    std::ofstream(file).put('x');
    try {
        FileInfo::requireFree(file, "place");
        FAIL() << "nothing was thrown";
    } catch (const FileWriteError& error) {
        EXPECT_EQ(error.getWhere(), "place");
        EXPECT_EQ(error.getWhat(), "File already exists");
        EXPECT_EQ(error.getFile(), file);
    }
}

TEST(FileInfo, tokensAreSimplified) {
    EXPECT_EQ((Strings{"a", "b"}), FileInfo::tokenize("//a///b/"));
    EXPECT_EQ((Strings{"b"}), FileInfo::tokenize("a/.././b"));
    EXPECT_EQ((Strings{"..", "..", "a"}), FileInfo::tokenize("../b/../../a"));
    EXPECT_EQ(Strings{}, FileInfo::tokenize("/"));
    EXPECT_EQ("/a/b/", FileInfo::detokenize({"a", "b"}));
    EXPECT_EQ("../a/", FileInfo::detokenize({"..", "a"}));
    EXPECT_EQ("./a/", FileInfo::detokenize({".", "a"}));
    EXPECT_EQ("", FileInfo::detokenize({}));
    EXPECT_EQ("../a/", FileInfo::simplifyPath(std::string("../a")));
    EXPECT_EQ("/b/", FileInfo::simplifyPath(std::string("a/../b")));
    EXPECT_EQ("", FileInfo::simplifyPath(std::string("a/..")));
}

TEST(FileInfo, relativePathsGoUpAndDown) {
    EXPECT_EQ("../c/", FileInfo::relativePath("/no-such-a/b", "/no-such-a/c"));
    EXPECT_EQ("", FileInfo::relativePath("/no-such-a/b/", "/no-such-a/b"));
    EXPECT_EQ("../../x/y/", FileInfo::relativePath("/no-such-a/b", "/x/y"));
    EXPECT_EQ("c/d/", FileInfo::relativePath("/no-such-a", "/no-such-a/c/d"));
    EXPECT_EQ("some/where", FileInfo::relativePath("/no-such-a", "some/where"));
    EXPECT_EQ("", FileInfo::relativePath("", std::filesystem::current_path().string()));
}

TEST(FileInfo, relativePathsFollowLinks) {
    const Folder folder;
    std::filesystem::create_directories(folder / "real/deep");
    std::filesystem::create_directory_symlink(folder / "real/deep", folder / "link");
    EXPECT_EQ("../", FileInfo::relativePath(folder / "link", folder / "real"));
    EXPECT_EQ("real/deep/", FileInfo::relativePath(folder / "", folder / "link"));
}

TEST(StringTools, tokensAreNeverEmpty) {
    EXPECT_EQ((Strings{"a", "b", "c"}), StringTools::tokenize(",,a;b,;c;", ",;"));
    EXPECT_EQ(Strings{}, StringTools::tokenize(";;", ";"));
    EXPECT_EQ(Strings{}, StringTools::tokenize("", ";"));
    EXPECT_EQ(Strings{"a b"}, StringTools::tokenize("a b", ""));
}

TEST(StringTools, numbersArePaddedOnTheLeft) {
    EXPECT_EQ("-12", StringTools::toString(-12));
    EXPECT_EQ("0042", StringTools::toString(42, 4, '0'));
    EXPECT_EQ("42", StringTools::toString(42, 1, ' '));
    EXPECT_EQ("42", StringTools::toString(42, -5, ' '));
}

TEST(System, knowsTheMachineAndTheDay) {
    char name[256] = {};
    ASSERT_EQ(0, ::gethostname(name, sizeof(name) - 1));
    EXPECT_EQ(std::string(name).substr(0, 63), System::hostName());
    EXPECT_EQ(::getpid(), System::processID());
    EXPECT_EQ(System::userName(), System::realUserName());
    int year = 0;
    int month = 0;
    int day = 0;
    const std::string today = System::today();
    ASSERT_EQ(10u, today.size());
    ASSERT_EQ(3, std::sscanf(today.c_str(), "%4d.%2d.%2d", &year, &month, &day));
    EXPECT_TRUE(year > 2000 && month >= 1 && month <= 12 && day >= 1 && day <= 31);
    EXPECT_EQ(11u, System::compilationDate().size());
}

TEST(System, aDirectoryEndsInASeparator) {
    for (const auto& [path, expected] :
         {std::pair<std::string, std::string>{"a", "a/"}, {"a/", "a/"}, {"", ""}, {"/", "/"}}) {
        std::string changed = path;
        System::ensureDirSeparator(changed);
        EXPECT_EQ(expected, changed);
    }
}

TEST(System, mkdirTakesAnyPathLiterally) {
    const Folder folder;
    const std::string path = folder / "it's; a $(folder)/in \"it\"";
    EXPECT_FALSE(System::mkdir(path, "2>/dev/null"));
    EXPECT_TRUE(System::mkdir(path, "-p"));
    EXPECT_TRUE(std::filesystem::is_directory(path));
}

TEST(Ask4, promptsAndReadsALine) {
    const Console console("two words\n -12 \n4000000000\n2.5e3\n");
    EXPECT_EQ("two words", ask4string("Name"));
    EXPECT_EQ(-12, ask4int("Count"));
    EXPECT_EQ(4000000000u, ask4uint("Size"));
    EXPECT_EQ(2500, ask4float("Length"));
    EXPECT_EQ("<Input> Name: <Input> Count: <Input> Size: <Input> Length: ", console.output());
}

TEST(Ask4, asksAgainUntilANumberComesAndFailsAtTheEnd) {
    const Console console("x\n\n12x\n99999999999\n-1\n5");
    EXPECT_EQ(-1, ask4int("n"));
    EXPECT_EQ(5u, ask4uint("n"));
    EXPECT_THROW(ask4float("n"), FileReadError);
    EXPECT_THROW(ask4string("n"), FileReadError);
}

} // namespace vorlen
