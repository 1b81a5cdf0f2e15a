#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "images/files/voxelmatrixheader.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "support/temporaryfolder.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

std::string words(std::initializer_list<std::int32_t> values) {
    std::string bytes;
    for (const std::int32_t value : values)
        bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    return bytes;
}

std::string reals(std::initializer_list<float> values) {
    std::string bytes;
    for (const float value : values)
        bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    return bytes;
}

std::string header(int tag, int size1, int size2, int size3) {
    return words({0, 0, 0, 1, tag, size1, size2, size3, -3}) + reals({2.0f, 3.0f, 4.0f});
}

template <class T>
class VoxelFileOf : public testing::Test {};

using AllTypes =
    testing::Types<char, unsigned char, short, unsigned short, int, unsigned int, float, double, long double>;
TYPED_TEST_SUITE(VoxelFileOf, AllTypes);

} // namespace

// A long row and many short ones take different ways through the reader and the writer.
TYPED_TEST(VoxelFileOf, comesBackAsItWasWritten) {
    const TemporaryFolder folder;
    for (const auto& [rows, columns, planes] : {std::tuple(3, 5, 4), std::tuple(2, 70001, 2), std::tuple(700, 33, 7)}) {
        auto volume = volumeOf<TypeParam>(rows, columns, planes,
                                          [](int i, int j, int k) { return (7 * i + 3 * j + 11 * k) % 127; });
        VoxelCalibration calibration;
        calibration.setLengthUnit(LengthUnit(-6));
        calibration.setVoxelHeight(0.5f);
        calibration.setVoxelWidth(0.25f);
        calibration.setVoxelDepth(8.0f);
        volume.setVoxelCalibration(calibration);
        volume.save(folder.file("volume.vm"), true);
        EXPECT_TRUE(VoxelMatrix<TypeParam>::fileSizeMatchesHeader(folder.file("volume.vm")));
        EXPECT_TRUE(VoxelMatrixHeader::fileSizeMatchesHeader(folder.file("volume.vm")));
        const VoxelMatrix<TypeParam> loaded(folder.file("volume.vm"));
        EXPECT_TRUE(loaded == volume);
        EXPECT_EQ(loaded.getVoxelCalibration().getLengthUnit().getScale(), -6);
        EXPECT_EQ(loaded.getVoxelCalibration().getVoxelHeight(), 0.5f);
        EXPECT_EQ(loaded.getVoxelCalibration().getVoxelWidth(), 0.25f);
        EXPECT_EQ(loaded.getVoxelCalibration().getVoxelDepth(), 8.0f);
        volume.saveUnderFormat0(folder.file("old.vm"), true);
        VoxelMatrix<TypeParam> old;
        old.load(folder.file("old.vm"));
        EXPECT_TRUE(old == volume);
        EXPECT_EQ(old.getVoxelCalibration().getLengthUnit().getScale(), 0);
        EXPECT_EQ(old.getVoxelCalibration().getVoxelDepth(), 1.0f);
    }
    EXPECT_EQ(folder.numFiles(), 2); // no file of a save is left behind
}

TEST(VoxelFile, hasTheBytesOfTheLayout) {
    const TemporaryFolder folder;
    VoxelMatrix<short> volume(1, 2, 2);
    volume(0, 0, 0) = 1;
    volume(0, 1, 0) = 2;
    volume(0, 0, 1) = 0x0304;
    volume(0, 1, 1) = -1;
    volume.save(folder.file("a.vm"), false);
    const std::string data("\1\0\2\0\4\3\377\377", 8);
    EXPECT_EQ(folder.read("a.vm"), words({0, 0, 0, 1, 0, 1, 2, 2, 0}) + reals({1.0f, 1.0f, 1.0f}) + data);
    volume.saveUnderFormat0(folder.file("b.vm"), false);
    EXPECT_EQ(folder.read("b.vm"), words({1, 2, 2}) + data);
}

TEST(VoxelFile, givesALongDoubleTwelveBytesAndSmallTypesOneTag) {
    const TemporaryFolder folder;
    VoxelMatrix<long double> volume(1, 1, 1);
    volume(0, 0, 0) = 1.0L;
    volume.save(folder.file("a.vm"), false);
    // 1.0: mantissa 2^63, biased exponent 16383, two bytes of padding.
    EXPECT_EQ(folder.read("a.vm").substr(48), std::string("\0\0\0\0\0\0\0\200\377\77\0\0", 12));
    EXPECT_EQ(VoxelMatrix<char>().dataTypeId(), 0);
    EXPECT_EQ(VoxelMatrix<unsigned short>().dataTypeId(), 0);
    EXPECT_EQ(VoxelMatrix<int>().dataTypeId(), 2);
    EXPECT_EQ(VoxelMatrix<unsigned int>().dataTypeId(), 3);
    EXPECT_EQ(VoxelMatrix<float>().dataTypeId(), 5);
    EXPECT_EQ(VoxelMatrix<double>().dataTypeId(), 6);
    EXPECT_EQ(VoxelMatrix<long double>().dataTypeId(), 7);
}

TEST(VoxelFile, refusesAnotherTypeAndStaysAsItWas) {
    const TemporaryFolder folder;
    numberedVolume<double>(2, 2, 2).save(folder.file("double.vm"), false);
    VoxelMatrix<float> volume = numberedVolume<float>(1, 1, 1);
    for (const bool headerOnly : {false, true})
        try {
            headerOnly ? volume.loadHeader(folder.file("double.vm")) : volume.load(folder.file("double.vm"));
            FAIL();
        } catch (const TypeError& error) {
            EXPECT_EQ(error.getWhere(), "void VoxelMatrix<T>::load(ifstream&)");
            EXPECT_EQ(error.getWhat(), "Type mismatch between template instantiation and file contents");
        }
    EXPECT_TRUE(volume == numberedVolume<float>(1, 1, 1));
    numberedVolume<unsigned short>(2, 2, 2).save(folder.file("short.vm"), false);
    EXPECT_EQ(VoxelMatrix<short>(folder.file("short.vm"))(1, 1, 1), 111);
}

TEST(VoxelFile, tellsAMissingFileAndAFolderApartFromAVolume) {
    const TemporaryFolder folder;
    VoxelMatrix<float> volume;
    for (const std::string& name : {folder.file("missing.vm"), folder.file("")}) {
        try {
            volume.load(name);
            FAIL();
        } catch (const FileReadError& error) {
            EXPECT_EQ(error.getWhere(), "void VoxelMatrix<T>::load(const string&)");
            EXPECT_EQ(error.getWhat(), "Cannot open file for reading");
            EXPECT_EQ(error.getFile(), name);
        }
        try {
            volume.loadHeader(name);
            FAIL();
        } catch (const FileReadError& error) {
            EXPECT_EQ(error.getWhere(), "void VoxelMatrix<T>::loadHeader(const string&)");
        }
    }
    try {
        VoxelMatrix<float> constructed(folder.file("missing.vm"));
        FAIL();
    } catch (const FileReadError& error) {
        EXPECT_NE(error.callStack().find("VoxelMatrix<T>::VoxelMatrix(const string&)"), std::string::npos);
    }
}

TEST(VoxelFile, readingAPipeFailsInsteadOfWaiting) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
    VoxelMatrix<float> volume;
    EXPECT_THROW(volume.load(folder.file("pipe")), FileReadError);
}

TEST(VoxelFile, aHeaderAloneGivesSizesAndCalibrationAndCannotBeSaved) {
    const TemporaryFolder folder;
    const std::string name = folder.write("a.vm", header(5, 2, 3, 4) + std::string(96, '\0'));
    VoxelMatrix<float> volume = numberedVolume<float>(2, 3, 5);
    volume.loadHeader(name);
    EXPECT_EQ(volume.getSize1(), 2);
    EXPECT_EQ(volume.getSize2(), 3);
    EXPECT_EQ(volume.getSize3(), 4);
    EXPECT_EQ(volume.getVoxelCalibration().getLengthUnit().getScale(), -3);
    EXPECT_EQ(volume.getVoxelCalibration().getVoxelWidth(), 3.0f);
    EXPECT_THROW(volume.save(folder.file("b.vm"), true), UsageError);
    EXPECT_THROW(volume.range(), SizeError);
    const VoxelMatrix<float> copy(volume);
    EXPECT_EQ(copy.getSize3(), 4);
    volume.load(name); // sizes as in the header already, and yet planes are made
    EXPECT_EQ(volume(1, 2, 3), 0.0f);
}

TEST(VoxelFile, dataThatEndEarlyLeaveZerosBehindThem) {
    const TemporaryFolder folder;
    VoxelMatrix<float> volume(2, 3, 2);
    volume.fill(7.0f); // what must not shine through
    volume.load(folder.write("a.vm", header(5, 2, 3, 2) + reals({1.0f, 2.0f, 3.0f, 4.0f})));
    EXPECT_EQ(volume(0, 2, 0), 3.0f);
    EXPECT_EQ(volume(1, 0, 0), 4.0f);
    EXPECT_EQ(volume(1, 1, 0), 0.0f);
    EXPECT_EQ(volume(1, 2, 1), 0.0f);
    EXPECT_FALSE(VoxelMatrix<float>::fileSizeMatchesHeader(folder.file("a.vm")));
    EXPECT_FALSE(VoxelMatrixHeader::fileSizeMatchesHeader(folder.file("a.vm")));
}

TEST(VoxelFile, longRowsThatEndEarlyLeaveZerosToo) {
    const TemporaryFolder folder;
    VoxelMatrix<unsigned char> volume;
    volume.load(folder.write("a.vm", header(0, 2, 100000, 1) + std::string(150000, '\5')));
    EXPECT_EQ(volume(1, 49999, 0), 5);
    EXPECT_EQ(volume(1, 50000, 0), 0);
    EXPECT_EQ(volume(1, 99999, 0), 0);
}

TEST(VoxelFile, sizesThatTheFileDoesNotBearOutAreRefusedBeforeAnyPlaneIsMade) {
    const TemporaryFolder folder;
    const int huge = std::numeric_limits<int>::max();
    const std::string some(64, '\1');
    int number = 0;
    for (const std::string& bytes :
         {header(5, huge, huge, huge) + some, header(5, huge, 1, 1) + some, header(5, huge, 0, 1) + some,
          header(5, 0, 0, huge) + some, header(5, 1 << 16, 1 << 16, 1 << 16) + some, header(5, -1, 2, 2) + some,
          header(5, 2, 2, -5) + some, words({huge, huge, huge}) + some, words({0, 0, huge}) + some,
          words({0, -1, 0}) + some}) {
        const std::string name = folder.write(std::to_string(number++), bytes);
        VoxelMatrix<float> volume = numberedVolume<float>(1, 2, 1);
        try {
            volume.load(name);
            ADD_FAILURE() << number;
        } catch (const FileFormatError& error) {
            EXPECT_EQ(error.getFile(), name);
        }
        EXPECT_THROW(volume.loadHeader(name), FileFormatError);
        EXPECT_TRUE(volume == numberedVolume<float>(1, 2, 1));
    }
}

TEST(VoxelFile, halfOfTheDataIsEnoughAndLessIsNot) {
    const TemporaryFolder folder;
    VoxelMatrix<unsigned char> volume;
    volume.load(folder.write("half", header(0, 500, 500, 4) + std::string(500000, '\1')));
    EXPECT_EQ(volume(499, 499, 1), 1);
    EXPECT_EQ(volume(0, 0, 2), 0);
    EXPECT_THROW(volume.load(folder.write("less", header(0, 500, 500, 4) + std::string(499999, '\1'))),
                 FileFormatError);
}

TEST(VoxelFile, aFileThatEndsInItsHeaderIsRefused) {
    const TemporaryFolder folder;
    const std::string whole = header(5, 0, 0, 0);
    VoxelMatrix<float> volume;
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_THROW(volume.load(folder.write("cut", whole.substr(0, length))), FileFormatError) << length;
    volume.load(folder.write("whole", whole));
    EXPECT_EQ(volume.getSize3(), 0);
}

TEST(VoxelFile, threeZeroWordsAreLayoutOneAndAnEmptyPlaneIsLayoutZero) {
    const TemporaryFolder folder;
    VoxelMatrix<int> volume;
    volume.load(folder.write("a.vm", words({0, 0, 3})));
    EXPECT_EQ(volume.getSize1(), 0);
    EXPECT_EQ(volume.getSize3(), 3);
    EXPECT_EQ(VoxelMatrixHeader::read(folder.file("a.vm")).layout, 0);
    EXPECT_THROW(volume.load(folder.write("b.vm", words({0, 0, 0, 9, 8, 1, 1, 1, 0, 0, 0, 0, 1}))), TypeError);
}

TEST(VoxelFile, theHeaderTellsWhetherAnyTypeWouldFitTheFile) {
    const TemporaryFolder folder;
    const auto matches = [&](const std::string& bytes) {
        return VoxelMatrixHeader::fileSizeMatchesHeader(folder.write("a.vm", bytes));
    };
    EXPECT_TRUE(matches(header(0, 2, 3, 1) + std::string(6, 'a')));
    EXPECT_TRUE(matches(header(0, 2, 3, 1) + std::string(12, 'a')));
    EXPECT_FALSE(matches(header(0, 2, 3, 1) + std::string(24, 'a')));
    EXPECT_TRUE(matches(header(6, 2, 3, 1) + std::string(48, 'a')));
    EXPECT_FALSE(matches(header(6, 2, 3, 1) + std::string(49, 'a')));
    EXPECT_FALSE(matches(header(4, 2, 3, 1) + std::string(24, 'a')));
    EXPECT_TRUE(matches(words({2, 3, 1}) + std::string(72, 'a')));
    EXPECT_FALSE(matches(words({2, 3, 1}) + std::string(18, 'a')));
    folder.write("a.vm", header(0, 2, 3, 1) + std::string(6, 'a'));
    EXPECT_TRUE(VoxelMatrix<char>::fileSizeMatchesHeader(folder.file("a.vm")));
    EXPECT_FALSE(VoxelMatrix<short>::fileSizeMatchesHeader(folder.file("a.vm")));
}

TEST(VoxelFile, bytesBehindTheDataAreIgnored) {
    const TemporaryFolder folder;
    VoxelMatrix<int> volume(folder.write("a.vm", header(2, 1, 1, 1) + words({42, 43})));
    EXPECT_EQ(volume(0, 0, 0), 42);
    EXPECT_FALSE(VoxelMatrix<int>::fileSizeMatchesHeader(folder.file("a.vm")));
}

TEST(VoxelFile, isNotOverwrittenUnlessTold) {
    const TemporaryFolder folder;
    const std::string name = folder.write("a.vm", "precious");
    try {
        numberedVolume<int>(1, 1, 1).save(name, false);
        FAIL();
    } catch (const FileWriteError& error) {
        EXPECT_EQ(error.getWhere(), "void VoxelMatrix<T>::save(...) const");
        EXPECT_EQ(error.getWhat(), "File already exists");
        EXPECT_EQ(error.getFile(), name);
    }
    EXPECT_EQ(folder.read("a.vm"), "precious");
    numberedVolume<int>(1, 1, 1).save(name, true);
    EXPECT_EQ(folder.read("a.vm").size(), 52u);
}

TEST(VoxelFile, cannotBeWrittenWhereThereIsNoFolderOrNoRoom) {
    const TemporaryFolder folder;
    const VoxelMatrix<int> volume = numberedVolume<int>(2, 2, 2);
    try {
        volume.save(folder.file("nowhere/a.vm"), true);
        FAIL();
    } catch (const FileWriteError& error) {
        EXPECT_EQ(error.getWhat(), "Cannot open file for writing");
        EXPECT_EQ(error.getFile(), folder.file("nowhere/a.vm"));
    }
    EXPECT_THROW(volume.save(folder.file(""), true), FileWriteError);
    EXPECT_THROW(volume.save("", true), FileWriteError);
    if (::access("/dev/full", W_OK) == 0) {
        EXPECT_THROW(volume.save("/dev/full", true), FileWriteError);
        EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
    }
}

TEST(VoxelFile, savingThroughALinkReplacesWhatItLeadsToAndKeepsThePermissions) {
    const TemporaryFolder folder;
    const std::string name = folder.write("real.vm", "old");
    ASSERT_EQ(::chmod(name.c_str(), 0640), 0);
    std::filesystem::create_symlink(name, folder.file("link.vm"));
    numberedVolume<int>(1, 1, 1).save(folder.file("link.vm"), true);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.vm")));
    EXPECT_EQ(folder.read("real.vm").size(), 52u);
    struct stat status {};
    ASSERT_EQ(::stat(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, mode_t(0640));
    EXPECT_EQ(folder.numFiles(), 2);
}

} // namespace vorlen
