#include "document/safefile.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include "numerics/exception.h"
#include "support/stackfolder.h"

TEST(SafeFile, aNewFileHoldsTheTextAndNothingElseIsLeft) {
    const StackFolder folder;
    EXPECT_TRUE(SafeFile::save(folder.file("a.sdf"), "text"));
    EXPECT_EQ(folder.read("a.sdf"), "text");
    EXPECT_EQ(folder.numFiles(), 1);
}

TEST(SafeFile, anOldFileIsReplacedAndKeepsItsMode) {
    const StackFolder folder;
    folder.write("a.sdf", "something much longer than the new text");
    ASSERT_EQ(::chmod(folder.file("a.sdf").c_str(), 0640), 0);
    EXPECT_TRUE(SafeFile::save(folder.file("a.sdf"), "new"));
    EXPECT_EQ(folder.read("a.sdf"), "new");
    struct stat info;
    ASSERT_EQ(::stat(folder.file("a.sdf").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(folder.numFiles(), 1);
}

TEST(SafeFile, aLinkStaysAndItsTargetIsReplaced) {
    const StackFolder folder;
    folder.write("real/a.sdf", "old");
    std::filesystem::create_symlink("real/a.sdf", folder.file("link.sdf"));
    EXPECT_TRUE(SafeFile::save(folder.file("link.sdf"), "new"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.sdf")));
    EXPECT_EQ(folder.read("real/a.sdf"), "new");
    EXPECT_FALSE(std::filesystem::is_symlink(folder.file("real/a.sdf")));
}

TEST(SafeFile, aLinkToAFileThatIsNotThereYetMakesIt) {
    const StackFolder folder;
    std::filesystem::create_symlink("later.sdf", folder.file("link.sdf"));
    EXPECT_TRUE(SafeFile::save(folder.file("link.sdf"), "new"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.sdf")));
    EXPECT_EQ(folder.read("later.sdf"), "new");
}

TEST(SafeFile, whatCannotBeOpenedIsRefusedWithFalse) {
    const StackFolder folder;
    EXPECT_FALSE(SafeFile::save(folder.path(), "text"));
    EXPECT_FALSE(SafeFile::save(folder.file("nofolder/a.sdf"), "text"));
    std::filesystem::create_symlink("loop", folder.file("loop"));
    EXPECT_FALSE(SafeFile::save(folder.file("loop/a.sdf"), "text"));
}

/// The limit on the size of files stands for a full disk: writes beyond it fail.
TEST(SafeFile, aFailedSaveThrowsWithTheNameAndLeavesTheOldFileWhole) {
    const StackFolder folder;
    folder.write("a.sdf", "old");
    struct rlimit before, small;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    small = before;
    small.rlim_cur = 1000;
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string file;
    try {
        SafeFile::save(folder.file("a.sdf"), std::string(5000, 'x'));
    } catch (const FileWriteError& error) {
        file = error.getFile();
    }
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(file, folder.file("a.sdf"));
    EXPECT_EQ(folder.read("a.sdf"), "old");
    EXPECT_EQ(folder.numFiles(), 1);
}

/// A folder's mode does not stop the superuser, who acts as somebody else meanwhile.
TEST(SafeFile, aFileInAFolderThatTakesNoNewFileIsWrittenInPlace) {
    const StackFolder folder;
    folder.write("sub/a.sdf", "something much longer than the new text");
    const bool superuser = ::geteuid() == 0;
    constexpr uid_t somebody = 65534;
    if (superuser) {
        for (const std::string& name : {folder.path(), folder.file("sub"), folder.file("sub/a.sdf")}) {
            ASSERT_EQ(::chown(name.c_str(), somebody, static_cast<gid_t>(-1)), 0);
        }
    }
    ASSERT_EQ(::chmod(folder.file("sub").c_str(), 0500), 0);
    if (superuser) {
        ASSERT_EQ(::seteuid(somebody), 0);
    }
    const bool shorter = SafeFile::save(folder.file("sub/a.sdf"), "new");
    const std::string afterShorter = folder.read("sub/a.sdf");
    const bool longer = SafeFile::save(folder.file("sub/a.sdf"), "a longer text");
    const std::string afterLonger = folder.read("sub/a.sdf");
    const bool other = SafeFile::save(folder.file("sub/b.sdf"), "new");
    if (superuser) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    ASSERT_EQ(::chmod(folder.file("sub").c_str(), 0700), 0);
    EXPECT_TRUE(shorter);
    EXPECT_EQ(afterShorter, "new");
    EXPECT_TRUE(longer);
    EXPECT_EQ(afterLonger, "a longer text");
    EXPECT_FALSE(other);
}

TEST(SafeFile, aFileThatMayNotBeWrittenIsNotReplaced) {
    const StackFolder folder;
    folder.write("a.sdf", "old");
    const bool superuser = ::geteuid() == 0;
    constexpr uid_t somebody = 65534;
    ASSERT_EQ(::chmod(folder.file("a.sdf").c_str(), 0444), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    if (superuser) {
        ASSERT_EQ(::seteuid(somebody), 0);
    }
    const bool written = SafeFile::save(folder.file("a.sdf"), "new");
    if (superuser) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    EXPECT_FALSE(written);
    EXPECT_EQ(folder.read("a.sdf"), "old");
}
