#include "files/safefile.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "numerics/exception.h"
#include "support/temporaryfolder.h"

namespace vorlen {

TEST(SafeFile, aNewFileHoldsTheTextAndNothingElseIsLeft) {
    const TemporaryFolder folder;
    EXPECT_TRUE(SafeFile::save(folder.file("a.txt"), "text"));
    EXPECT_EQ(folder.read("a.txt"), "text");
    EXPECT_EQ(folder.numFiles(), 1);
}

TEST(SafeFile, anOldFileIsReplacedAndKeepsItsMode) {
    const TemporaryFolder folder;
    folder.write("a.txt", "something much longer than the new text");
    ASSERT_EQ(::chmod(folder.file("a.txt").c_str(), 0640), 0);
    EXPECT_TRUE(SafeFile::save(folder.file("a.txt"), "new"));
    EXPECT_EQ(folder.read("a.txt"), "new");
    struct stat info;
    ASSERT_EQ(::stat(folder.file("a.txt").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(folder.numFiles(), 1);
}

TEST(SafeFile, aLinkStaysAndItsTargetIsReplaced) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("real"));
    folder.write("real/a.txt", "old");
    std::filesystem::create_symlink("real/a.txt", folder.file("link.txt"));
    EXPECT_TRUE(SafeFile::save(folder.file("link.txt"), "new"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.txt")));
    EXPECT_EQ(folder.read("real/a.txt"), "new");
    EXPECT_FALSE(std::filesystem::is_symlink(folder.file("real/a.txt")));
}

TEST(SafeFile, aLinkToAFileThatIsNotThereYetMakesIt) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("later.txt", folder.file("link.txt"));
    EXPECT_TRUE(SafeFile::save(folder.file("link.txt"), "new"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.txt")));
    EXPECT_EQ(folder.read("later.txt"), "new");
}

TEST(SafeFile, whatCannotBeOpenedIsRefusedWithFalse) {
    const TemporaryFolder folder;
    EXPECT_FALSE(SafeFile::save(folder.path(), "text"));
    EXPECT_FALSE(SafeFile::save(folder.file("nofolder/a.txt"), "text"));
    std::filesystem::create_symlink("loop", folder.file("loop"));
    EXPECT_FALSE(SafeFile::save(folder.file("loop/a.txt"), "text"));
    EXPECT_FALSE(SafeFile::save(folder.file("loop"), "text"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("loop")));
    EXPECT_FALSE(SafeFile::save("", "text"));
    ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(SafeFile::save(folder.file("pipe"), "nobody reads it"));
    EXPECT_EQ(folder.numFiles(), 2);
}

TEST(SafeFile, streamedContentsCountFromTheCommitOn) {
    const TemporaryFolder folder;
    folder.write("a.txt", "something much longer than the new text");
    {
        SafeFile abandoned(folder.file("a.txt"));
        ASSERT_TRUE(abandoned.isOpen());
        ASSERT_EQ(::write(abandoned.descriptor(), "half", 4), 4);
        EXPECT_EQ(folder.numFiles(), 2);
    }
    EXPECT_EQ(folder.read("a.txt"), "something much longer than the new text");
    {
        SafeFile file(folder.file("a.txt"));
        ASSERT_EQ(::write(file.descriptor(), "on", 2), 2);
        ASSERT_EQ(::write(file.descriptor(), "e", 1), 1);
        file.commit();
        EXPECT_EQ(folder.read("a.txt"), "one");
    }
    EXPECT_EQ(folder.numFiles(), 1);
}

/// More than a pipe holds at a time, so that the writer has to wait for the reader.
TEST(SafeFile, aPipeIsWrittenToAndStaysAPipe) {
    const TemporaryFolder folder;
    const std::string name = folder.file("pipe");
    ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
    const std::string text(300000, 'p');
    const int reader = ::open(name.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    std::thread writer([&] { EXPECT_TRUE(SafeFile::save(name, text)); });
    std::string got;
    char buffer[4096];
    while (got.size() < text.size()) {
        const ssize_t length = ::read(reader, buffer, sizeof buffer);
        if (length > 0) {
            got.append(buffer, std::size_t(length));
        }
    }
    writer.join();
    ::close(reader);
    EXPECT_EQ(got, text);
    EXPECT_TRUE(std::filesystem::is_fifo(name));
}

/// Streamed over a longer file in a folder that takes no new one, the end of the old contents goes too.
TEST(SafeFile, streamedInPlaceTheFileEndsWithTheNewContents) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("sub"));
    folder.write("sub/a.txt", "something much longer");
    const bool superuser = ::geteuid() == 0;
    constexpr uid_t somebody = 65534;
    if (superuser) {
        for (const std::string& name : {folder.path(), folder.file("sub"), folder.file("sub/a.txt")}) {
            ASSERT_EQ(::chown(name.c_str(), somebody, static_cast<gid_t>(-1)), 0);
        }
    }
    ASSERT_EQ(::chmod(folder.file("sub").c_str(), 0500), 0);
    if (superuser) {
        ASSERT_EQ(::seteuid(somebody), 0);
    }
    SafeFile file(folder.file("sub/a.txt"));
    const bool written = file.isOpen() && ::write(file.descriptor(), "new", 3) == 3;
    if (written) {
        file.commit();
    }
    if (superuser) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    ASSERT_EQ(::chmod(folder.file("sub").c_str(), 0700), 0);
    EXPECT_TRUE(written);
    EXPECT_EQ(folder.read("sub/a.txt"), "new");
}

/// The limit on the size of files stands for a full disk: writes beyond it fail.
TEST(SafeFile, aFailedSaveThrowsWithTheNameAndLeavesTheOldFileWhole) {
    const TemporaryFolder folder;
    folder.write("a.txt", "old");
    struct rlimit before, small;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    small = before;
    small.rlim_cur = 1000;
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string file;
    try {
        SafeFile::save(folder.file("a.txt"), std::string(5000, 'x'));
    } catch (const FileWriteError& error) {
        file = error.getFile();
    }
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(file, folder.file("a.txt"));
    EXPECT_EQ(folder.read("a.txt"), "old");
    EXPECT_EQ(folder.numFiles(), 1);
}

/// A folder's mode does not stop the superuser, who acts as somebody else meanwhile.
TEST(SafeFile, aFileInAFolderThatTakesNoNewFileIsWrittenInPlace) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("sub"));
    folder.write("sub/a.txt", "something much longer than the new text");
    const bool superuser = ::geteuid() == 0;
    constexpr uid_t somebody = 65534;
    if (superuser) {
        for (const std::string& name : {folder.path(), folder.file("sub"), folder.file("sub/a.txt")}) {
            ASSERT_EQ(::chown(name.c_str(), somebody, static_cast<gid_t>(-1)), 0);
        }
    }
    ASSERT_EQ(::chmod(folder.file("sub").c_str(), 0500), 0);
    if (superuser) {
        ASSERT_EQ(::seteuid(somebody), 0);
    }
    const bool shorter = SafeFile::save(folder.file("sub/a.txt"), "new");
    const std::string afterShorter = folder.read("sub/a.txt");
    const bool longer = SafeFile::save(folder.file("sub/a.txt"), "a longer text");
    const std::string afterLonger = folder.read("sub/a.txt");
    const bool other = SafeFile::save(folder.file("sub/b.txt"), "new");
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
    const TemporaryFolder folder;
    folder.write("a.txt", "old");
    const bool superuser = ::geteuid() == 0;
    constexpr uid_t somebody = 65534;
    ASSERT_EQ(::chmod(folder.file("a.txt").c_str(), 0444), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    if (superuser) {
        ASSERT_EQ(::seteuid(somebody), 0);
    }
    const bool written = SafeFile::save(folder.file("a.txt"), "new");
    if (superuser) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    EXPECT_FALSE(written);
    EXPECT_EQ(folder.read("a.txt"), "old");
}

// The numbers of live programs and of young files are left alone.
TEST(SafeFile, whatKilledProgramsLeftIsRemoved) {
    const TemporaryFolder folder;
    const std::string dead = ".vorlen-4194300-0.tmp", young = ".vorlen-4194300-1.tmp", other = ".vorlen-4194300-x.tmp";
    const std::string mine = ".vorlen-" + std::to_string(::getpid()) + "-0.tmp";
    for (const std::string& name : {dead, young, other, mine}) {
        folder.write(name, "half");
        const timespec times[2] = {{1000, 0}, {1000, 0}};
        if (name != young) {
            ASSERT_EQ(::utimensat(AT_FDCWD, folder.file(name).c_str(), times, 0), 0);
        }
    }
    SafeFile::removeLeftovers(folder.file("a.sdf"));
    EXPECT_EQ(folder.numFiles(), 3);
    EXPECT_FALSE(std::filesystem::exists(folder.file(dead)));
}

} // namespace vorlen
