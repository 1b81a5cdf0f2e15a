#include "images/files/niftiwriter.h"

#include <cmath>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "images/files/imagefile.h"
#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "support/imagebytes.h"
#include "support/temporaryfolder.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

template <class Number>
Number numberAt(const std::string& bytes, std::size_t place) {
    Number number;
    std::memcpy(&number, &bytes.at(place), sizeof number);
    return number;
}

} // namespace

// Values at the ends of the type come back as they were, in every plane, with steps and unit.
TEST(NiftiWriter, whatIsWrittenIsReadAgainWithItsPlaceInSpace) {
    const TemporaryFolder folder;
    VoxelMatrix<float> volume(3, 4, 2);
    for (int k = 0; k < 2; ++k)
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 4; ++j)
                volume(i, j, k) = float(i + 10 * j + 100 * k) + 0.5f;
    volume(0, 1, 0) = std::numeric_limits<float>::max();
    volume(1, 1, 1) = -std::numeric_limits<float>::max();
    volume(2, 3, 1) = 16777216; // above it not every whole number is a float
    volume(0, 0, 1) = std::numeric_limits<float>::denorm_min();
    const Vector<float> origin = vectorOf<float>({7, -8, 9.25f}), steps = vectorOf<float>({0.5f, 0.25f, 2});
    for (const char* name : {"a.nii", "b.NII.gz"}) {
        SCOPED_TRACE(name);
        const std::string fileName = folder.file(name);
        saveNifti(volume, origin, steps, LengthUnit(-6), fileName, false);
        EXPECT_THROW(saveNifti(volume, origin, steps, LengthUnit(-6), fileName, false), FileError);
        const auto file = ImageFile::open(fileName);
        EXPECT_EQ(file->getFormat(), NiftiImageFormat);
        ASSERT_EQ(file->getNumPages(), 2);
        const StackLayout layout = file->getLayout();
        EXPECT_EQ(layout.unit.getScale(), -6);
        EXPECT_EQ(layout.pixelWidth, 0.5);
        EXPECT_EQ(layout.pixelHeight, 0.25);
        EXPECT_EQ(layout.spacing, 2.0);
        for (const int k : {0, 1}) {
            Image image;
            ImageReader().read(image, fileName, k, 0);
            ASSERT_EQ(image.getWidth(), 3); // x runs along the rows
            ASSERT_EQ(image.getHeight(), 4);
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 4; ++j)
                    EXPECT_EQ(image.realRow(j)[i], volume(i, j, k)) << i << ' ' << j << ' ' << k;
        }
    }
    // The fields of the published header, by their places in it.
    const std::string bytes = folder.read("a.nii");
    EXPECT_EQ(bytes.size(), 352u + 24 * 4);
    EXPECT_EQ(bytes.substr(344, 4), std::string("n+1\0", 4));
    EXPECT_EQ(int(bytes[123]), 3);                    // micrometers
    EXPECT_EQ(numberAt<std::int16_t>(bytes, 40), 3);  // axes
    EXPECT_EQ(numberAt<float>(bytes, 76), 1);         // to the right of x and y
    EXPECT_EQ(numberAt<std::int16_t>(bytes, 252), 2); // both places count
    EXPECT_EQ(numberAt<std::int16_t>(bytes, 254), 2);
    const float rows[] = {0.5f, 0, 0, 7, 0, 0.25f, 0, -8, 0, 0, 2, 9.25f};
    for (std::size_t i = 0; i < 12; ++i)
        EXPECT_EQ(numberAt<float>(bytes, 280 + 4 * i), rows[i]) << i;
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(numberAt<float>(bytes, 268 + 4 * i), rows[4 * i + 3]) << i;
}

TEST(NiftiWriter, writesUnitsOfTheFormatAndRefusesWhatHasNoPlace) {
    const TemporaryFolder folder;
    const VoxelMatrix<float> volume(2, 2, 1);
    const Vector<float> origin = vectorOf<float>({4, 4, 4}), steps = vectorOf<float>({5, 5, 5});
    const std::string fileName = folder.file("a.nii");
    const struct {
        std::optional<LengthUnit> unit;
        int code;
        double step;
    } cases[] = {{LengthUnit(0), 1, 5},  {LengthUnit(-2), 1, 0.05},  {LengthUnit(-3), 2, 5},
                 {LengthUnit(-6), 3, 5}, {LengthUnit(-9), 3, 0.005}, {std::nullopt, 0, 5}};
    for (const auto& each : cases) {
        saveNifti(volume, origin, steps, each.unit, fileName, true);
        const std::string bytes = folder.read("a.nii");
        EXPECT_EQ(int(bytes[123]), each.code);
        EXPECT_NEAR(double(numberAt<float>(bytes, 88)), each.step, 1e-6 * each.step);
        EXPECT_NEAR(double(numberAt<float>(bytes, 268)), 0.8 * each.step, 1e-6 * each.step);
    }
    const std::string before = folder.read("a.nii");
    EXPECT_THROW(saveNifti(volume, origin, vectorOf<float>({1, 0, 1}), std::nullopt, fileName, true), ValueError);
    EXPECT_THROW(saveNifti(volume, vectorOf<float>({1, INFINITY, 1}), steps, std::nullopt, fileName, true), ValueError);
    EXPECT_THROW(saveNifti(volume, vectorOf<float>({1, 1}), steps, std::nullopt, fileName, true), SizeError);
    EXPECT_THROW(saveNifti(VoxelMatrix<float>(), origin, steps, std::nullopt, fileName, true), SizeError);
    EXPECT_EQ(folder.read("a.nii"), before);
}

TEST(NiftiWriter, moreElementsThanTheFirstVersionCountsTakeTheSecond) {
    const TemporaryFolder folder;
    VoxelMatrix<float> volume(32768, 1, 2);
    volume.setZeros();
    volume(32767, 0, 1) = 3e38f;
    const std::string fileName = folder.file("a.nii");
    saveNifti(volume, vectorOf<float>({1, 2, 3}), vectorOf<float>({0.5f, 1, 4}), LengthUnit(-3), fileName, false);
    const std::string head = folder.read("a.nii").substr(0, 544);
    EXPECT_EQ(head.substr(4, 8), std::string("n+2\0\r\n\x1a\n", 8));
    EXPECT_EQ(numberAt<double>(head, 376), 1); // the place of x
    EXPECT_EQ(numberAt<double>(head, 400), 0.5);
    const auto file = ImageFile::open(fileName);
    EXPECT_EQ(file->getNumPages(), 2);
    EXPECT_EQ(file->getLayout().spacing, 4.0);
    EXPECT_EQ(file->getLayout().unit.getScale(), -3);
    Image image;
    ImageReader().read(image, fileName, 1, 0);
    ASSERT_EQ(image.getWidth(), 32768);
    EXPECT_EQ(image.realRow(0)[32767], 3e38f);
    EXPECT_EQ(image.realRow(0)[0], 0);
}

// A few hundred bytes that promise terabytes, by their sizes or by the place of their samples.
TEST(NiftiWriter, headersThatPromiseMoreThanTheFileAreRefusedBeforeMemoryIsTaken) {
    const TemporaryFolder folder;
    const std::string small = ImageBytes::nifti(4, 4, 2, 16, 32, std::string(128, '\0'));
    std::string large = small, far = small;
    for (const std::size_t place : {42u, 44u, 46u})
        large.replace(place, 2, "\xff\x7f");
    const float offset = 9e14f;
    std::memcpy(&far[108], &offset, 4);
    for (const std::string& bytes : {large, far})
        for (const bool zipped : {false, true}) {
            folder.write("a.nii", zipped ? ImageBytes::gzip(bytes) : bytes);
            try {
                ImageFile::open(folder.file("a.nii"));
                ADD_FAILURE() << "not refused";
            } catch (const FileError& error) {
                EXPECT_EQ(error.getFile(), folder.file("a.nii"));
            }
        }
}

} // namespace vorlen
