#include "images/files/dicomruns.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

/// A frame of these segments, each as it is coded.
std::vector<unsigned char> frameOf(const std::vector<std::vector<unsigned char>>& segments) {
    std::vector<unsigned char> coded(64);
    coded[0] = static_cast<unsigned char>(segments.size());
    for (std::size_t k = 0; k < segments.size(); ++k) {
        coded[4 + 4 * k] = static_cast<unsigned char>(coded.size() & 255);
        coded[5 + 4 * k] = static_cast<unsigned char>(coded.size() >> 8);
        coded.insert(coded.end(), segments[k].begin(), segments[k].end());
    }
    return coded;
}

} // namespace

TEST(DicomRuns, literalAndRepeatedBytesComeWhereTheirSampleStands) {
    // Four pixels of two samples of 16 bits; 128 stands for nothing, 254 for three times.
    const auto coded = frameOf({{3, 1, 2, 3, 4}, {128, 254, 9, 0, 8}, {254, 5, 0, 6}, {0, 7, 128, 254, 10, 254, 99}});
    std::vector<unsigned char> frame(16);
    EXPECT_EQ(decodeDicomRuns(coded, 4, 2, 2, false, frame), "");
    EXPECT_EQ(frame, (std::vector<unsigned char>{9, 1, 7, 5, 9, 2, 10, 5, 9, 3, 10, 5, 8, 4, 10, 6}));
    EXPECT_EQ(decodeDicomRuns(coded, 4, 2, 2, true, frame), "");
    EXPECT_EQ(frame, (std::vector<unsigned char>{9, 1, 9, 2, 9, 3, 8, 4, 7, 5, 10, 5, 10, 5, 10, 6}));
}

TEST(DicomRuns, damagedFramesAreToldOfAndNothingIsWrittenBehindTheirPixels) {
    const auto whole = frameOf({{3, 1, 2, 3, 4}, {254, 9, 0, 8}});
    std::vector<unsigned char> frame(8);
    ASSERT_EQ(decodeDicomRuns(whole, 4, 1, 2, false, frame), "");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        std::vector<unsigned char> cut(whole.begin(), whole.begin() + std::ptrdiff_t(length));
        cut.shrink_to_fit(); // a byte behind it is found by the address sanitizer
        EXPECT_NE(decodeDicomRuns(cut, 4, 1, 2, false, frame), "") << length;
    }
    for (const std::size_t at : {0, 1, 4, 5, 7, 8, 9, 11})
        for (const int value : {3, 63, 64, 200, 255}) {
            auto coded = whole;
            if (coded[at] == value)
                continue;
            coded[at] = static_cast<unsigned char>(value);
            EXPECT_NE(decodeDicomRuns(coded, 4, 1, 2, false, frame), "") << at << ' ' << value;
        }
    // A run or a row of bytes that goes on behind the last pixel is cut there.
    std::fill(frame.begin(), frame.end(), static_cast<unsigned char>(77));
    EXPECT_EQ(decodeDicomRuns(frameOf({{3, 1, 2, 3, 4}}), 3, 1, 1, false, frame), "");
    EXPECT_EQ(decodeDicomRuns(frameOf({{129, 5}}), 3, 1, 1, false, frame), "");
    EXPECT_EQ(frame, (std::vector<unsigned char>{5, 5, 5, 77, 77, 77, 77, 77}));
}

} // namespace vorlen
