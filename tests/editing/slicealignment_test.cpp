#include "editing/operations/slicealignment.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <random>

#include <gtest/gtest.h>

#include "document/stackslice.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/colormap.h"
#include "images/rasters/image.h"
#include "images/sections/sectionsource.h"
#include "progress/progressmonitor.h"
#include "progress/progresssubject.h"
#include "support/sharedtiles.h"
#include "support/stackfolder.h"
#include "support/temporaryfolder.h"
#include "support/tissue.h"

namespace vorlen {

namespace {

using State = SliceAlignment::State;

constexpr double degree = 3.14159265358979323846 / 180;

/// A stack of sections of one piece of tissue, in files, of which each shows what its motion says.
class TissueStack {
public:
    void add(const std::string& name, const SectionImage& section,
             const std::function<double(int, int, double)>& change = {}) {
        const int rows = section.grey.getSize1(), columns = section.grey.getSize2();
        Image image(columns, rows, 8);
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < columns; ++j) {
                const double value = change ? change(i, j, section.grey[i][j]) : double(section.grey[i][j]);
                image.getData()[i * columns + j] = static_cast<unsigned char>(std::clamp(std::lround(value), 0L, 255L));
            }
        add(name, image, section.pixelWidth, section.pixelHeight);
    }

    void add(const std::string& name, const Image& image, double pixelWidth = 1, double pixelHeight = 1) {
        ImageWriter().write(image, __folder.file(name + ".tif"), true);
        auto slice = std::make_unique<StackSlice>();
        ImageSourceFile source;
        source.setFilename(__folder.file(name + ".tif"));
        slice->setImageSource(source);
        slice->setName(name);
        PixelCalibration calibration;
        calibration.setPixelWidth(float(pixelWidth));
        calibration.setPixelHeight(float(pixelHeight));
        calibration.compute();
        slice->setPixelCalibration(calibration);
        std::vector<std::unique_ptr<StackSlice>> slices;
        slices.push_back(std::move(slice));
        EXPECT_TRUE(insertSlices(stack, stack.getNumSlices(), std::move(slices)));
    }

    /// The mean distance over the slice from where it belongs on the other one.
    double offset(int slice, int onto, const RigidMotion& truth, double side) {
        RigidMotion place;
        for (int k = onto + 1; k <= slice; ++k) {
            const PixelCalibration& pixel = stack.getSlice(k).getPixelCalibration();
            place =
                place * motionOf(stack.getSlice(k).getRegistration(), pixel.getPixelWidth(), pixel.getPixelHeight());
        }
        return meanDistance(place, truth, side, side);
    }

    RegistrationReport registered(const AlignmentOptions& options = {}) {
        ProgressSubject progress;
        RegistrationReport report;
        EXPECT_TRUE(registerSlices(stack, options, progress, &report));
        return report;
    }

    void remove(const std::string& name) { std::filesystem::remove(__folder.file(name + ".tif")); }

    VRLStack stack;

private:
    StackFolder __folder;
};

const std::vector<RigidMotion> places = {{},          {3 * degree, 5, -3},  {-2 * degree, -6, 4},
                                         {0, 2.5, 7}, {4 * degree, -4, -4}, {1 * degree, 6, 1}};

RigidMotion step(int target, int source) {
    return places[std::size_t(target)].inverse() * places[std::size_t(source)];
}

// The motions are in the length unit; the third slice has pixels of its own, and of another count, the fourth lay
// somewhere else before.
TEST(SliceAlignment, bringsSlicesBackWhateverTheirPixelsAndWhereTheyLay) {
    TissueStack tissue;
    for (int i = 0; i < 5; ++i) {
        const auto& place = places[std::size_t(i)];
        tissue.add("s" + std::to_string(i),
                   i == 2 ? sectionOfTissue(110, 160, place, 1, 1.25, 1.5) : sectionOfTissue(80, 160, place, 1, 1, 2));
    }
    tissue.stack.getSlice(3).setRegistration(Registration(-8, 2, 5));
    const RegistrationReport report = tissue.registered();
    ASSERT_EQ(report.slices.size(), 5u);
    EXPECT_EQ(report.slices[0].state, State::First);
    for (int i = 1; i < 5; ++i) {
        EXPECT_LT(tissue.offset(i, i - 1, step(i - 1, i), 160), 0.3) << i;
        const SliceAlignment& one = report.slices[std::size_t(i)];
        EXPECT_EQ(one.state, State::Registered) << i << one.reason;
        EXPECT_EQ(one.onto, i - 1);
        EXPECT_GT(one.scoreAfter, one.scoreBefore) << i;
        EXPECT_EQ(one.after, tissue.stack.getSlice(i).getRegistration());
    }
    EXPECT_GT(report.meanScoreAfter(), 0.9);
    // In one step; and what lies well stays to the digit.
    tissue.stack.history()->undo();
    EXPECT_EQ(tissue.stack.getSlice(3).getRegistration(), Registration(-8, 2, 5));
    EXPECT_TRUE(tissue.stack.getSlice(4).getRegistration().isNull());
    tissue.stack.history()->redo();
    const Registration found = tissue.stack.getSlice(1).getRegistration();
    EXPECT_EQ(tissue.registered().count(State::Unchanged), 4);
    EXPECT_EQ(tissue.stack.getSlice(1).getRegistration(), found);
    bool isComparable = false;
    EXPECT_NEAR(registrationScore(tissue.stack.getSlice(1), tissue.stack.getSlice(0), found, &isComparable),
                report.slices[1].scoreAfter, 1e-3);
    EXPECT_TRUE(isComparable);
    tissue.add("black", sectionOfTissue(80, 160, {}), [](int, int, double) { return 0; });
    EXPECT_EQ(registrationScore(tissue.stack.getSlice(5), tissue.stack.getSlice(4), {}, &isComparable), 0);
    EXPECT_FALSE(isComparable);
}

TEST(SliceAlignment, slicesThatNothingFitsAreLeftAloneAndNamed) {
    TissueStack tissue;
    const auto good = [&](int i) {
        tissue.add("good" + std::to_string(i), sectionOfTissue(140, 140, places[std::size_t(i)]));
    };
    const SectionImage plain = sectionOfTissue(140, 140, {});
    good(0);
    tissue.add("blank", plain, [](int, int, double) { return 0; });
    good(1);
    tissue.add("white", plain, [](int i, int, double v) { return i < 2 ? v : 255; });
    tissue.add("narrow", sectionOfTissue(140, 1, {}));
    good(2);
    tissue.add("foreign", sectionOfTissue(140, 140, {}, 7));
    good(3);
    const SectionImage source = sectionOfTissue(140, 140, {0.05, 3, 4});
    tissue.add("behind", source, [&](int i, int j, double) { return source.grey[i][139 - j]; });
    good(4);
    tissue.add("missing", plain);
    good(5);
    tissue.remove("missing");
    tissue.add("cut", sectionOfTissue(140, 140, {0.02, 1, 2}), [](int, int, double v) { return v > 127 ? 255 : 0; });
    for (const int i : {6, 8})
        tissue.stack.getSlice(i).setRegistration(Registration(1.5, -2, 3));
    const RegistrationReport report = tissue.registered();
    const std::pair<int, const char*> bad[] = {{1, "blank"},
                                               {3, "saturated"},
                                               {4, "too small"},
                                               {6, "it fits none of its neighbours"},
                                               {8, "mirrored: it fits when it is turned over"},
                                               {10, "its image can't be read"},
                                               {12, "saturated"}};
    for (const auto& [place, reason] : bad) {
        const SliceAlignment& one = report.slices[std::size_t(place)];
        EXPECT_EQ(one.state, State::LeftAlone) << one.name;
        EXPECT_EQ(one.reason.substr(0, std::string(reason).size()), reason) << one.name;
        EXPECT_EQ(one.mirrored, place == 8) << one.name;
        EXPECT_EQ(tissue.stack.getSlice(place).getRegistration(), one.before) << one.name;
    }
    // The others lie on each other across them.
    const int order[] = {0, 2, 5, 7, 9, 11};
    for (int k = 1; k < 6; ++k) {
        EXPECT_EQ(report.slices[std::size_t(order[k])].state, State::Registered) << k;
        EXPECT_LT(tissue.offset(order[k], order[k - 1], step(k - 1, k), 140), 0.4) << k;
    }
}

TEST(SliceAlignment, tellsHowLittleIsKnownOfTheTurnOfASpot) {
    TissueStack spots, full;
    for (int i = 0; i < 3; ++i) {
        const auto spot = [i](int row, int column, double) {
            return 30 +
                   200 * std::exp(-(std::pow(row - 60 - 3 * i, 2) + std::pow(column - 64 + 2 * i, 2)) / (200 + 50 * i));
        };
        spots.add("s" + std::to_string(i), sectionOfTissue(120, 130, {}), spot);
        full.add("s" + std::to_string(i), sectionOfTissue(120, 130, places[std::size_t(i)]));
    }
    const RegistrationReport ofSpots = spots.registered(), ofAll = full.registered();
    for (std::size_t i = 1; i < 3; ++i) {
        EXPECT_EQ(ofSpots.slices[i].state, State::Registered);
        EXPECT_GT(ofSpots.slices[i].turnDoubt, 0.75);
        const std::string& reason = ofSpots.slices[i].reason;
        EXPECT_TRUE(reason.starts_with("little tells how it is turned: it may be ") ||
                    (ofSpots.slices[i].turnDoubt >= 90 && reason == "nothing tells how it is turned"))
            << reason;
        EXPECT_LT(ofAll.slices[i].turnDoubt, 0.75);
        EXPECT_LT(ofAll.slices[i].shiftDoubt, 1);
        EXPECT_EQ(ofAll.slices[i].reason, "");
    }
}

// Noise all over the frame tells nothing of the turn either; nor do pairs that were found of others only.
TEST(SliceAlignment, namesEachTurnThatNoiseHides) {
    std::mt19937 generator(3);
    std::normal_distribution<double> noise(0, 10);
    TissueStack spots;
    const double turns[] = {0, 8, -6, 11, -3, 5};
    for (int i = 0; i < 6; ++i) {
        const RigidMotion place{turns[i] * degree, 0, 0};
        const PlanePoint middle = place.inverse().apply({4, -46});
        spots.add("s" + std::to_string(i), sectionOfTissue(181, 217, {}), [&](int row, int column, double) {
            const double away = std::hypot(column - 108 - middle.x, row - 90 - middle.y) / (5.0 + i);
            return 120 * std::exp(-std::pow(away, 6)) + noise(generator);
        });
    }
    const RegistrationReport report = spots.registered();
    int numOff = 0;
    for (int i = 1; i < 6; ++i) {
        const SliceAlignment& one = report.slices[std::size_t(i)];
        const double truth = turns[i] - turns[i - 1];
        const double off = std::abs(std::remainder(double(one.after.getRotationAngle()) - truth, 360));
        numOff += off > 1 ? 1 : 0;
        if (one.state == State::Registered || one.state == State::Unchanged) {
            EXPECT_GT(one.turnDoubt, 0.5 * off) << one.name << ": " << one.reason;
        }
    }
    EXPECT_GT(numOff, 2); // a round spot does not tell it
}

TEST(SliceAlignment, namesShiftsThatParallelFibresHide) {
    std::mt19937 generator(3);
    std::normal_distribution<double> noise(0, 5);
    TissueStack fibres;
    for (int i = 0; i < 4; ++i)
        fibres.add("s" + std::to_string(i), sectionOfTissue(150, 170, {}),
                   [&](int, int column, double) { return tissue(column - 4 * i, 7, 1) + noise(generator); });
    const RegistrationReport report = fibres.registered();
    for (std::size_t i = 1; i < 4; ++i) {
        EXPECT_EQ(report.slices[i].state, State::Registered) << i;
        EXPECT_NEAR(report.slices[i].after.getHorShift(), -4, 0.3) << i;
        EXPECT_GT(report.slices[i].shiftDoubt, 10) << i;
        EXPECT_EQ(report.slices[i].reason.substr(0, 36), "little tells how it is shifted: it m") << i;
    }
}

// In a stack of greys two that are cut off to black and white would only find each other's outline; a stack of masks is
// all of that kind.
TEST(SliceAlignment, blackAndWhiteSlicesAreSaturatedUnlessAllAre) {
    const auto cut = [](int, int, double v) { return v > 127 ? 255 : 0; };
    TissueStack greys, masks;
    for (int i = 0; i < 6; ++i) {
        const SectionImage section = sectionOfTissue(140, 140, places[std::size_t(i)]);
        const std::string name = "s" + std::to_string(i);
        if (i == 1 || i == 3 || i == 4)
            greys.add(name, section, cut);
        else
            greys.add(name, section);
        masks.add(name, section, cut);
    }
    const RegistrationReport ofGreys = greys.registered(), ofMasks = masks.registered();
    for (const int i : {1, 3, 4}) {
        EXPECT_EQ(ofGreys.slices[std::size_t(i)].state, State::LeftAlone) << i;
        EXPECT_EQ(ofGreys.slices[std::size_t(i)].reason, "saturated") << i;
    }
    EXPECT_LT(greys.offset(2, 0, step(0, 2), 140), 0.4);
    EXPECT_LT(greys.offset(5, 2, step(2, 5), 140), 0.4);
    for (int i = 1; i < 6; ++i)
        EXPECT_LT(masks.offset(i, i - 1, step(i - 1, i), 140), 0.5) << i;
}

/// Tissue that is the same on both sides but for a share that is odd, and for what each section alone has.
struct Symmetry {
    double odd;
    bool topToBottom; ///< else left to right

    SectionImage section(const RigidMotion& motion, int own, double ownShare) const {
        SectionImage section = sectionOfTissue(120, 130, {});
        for (int i = 0; i < 120; ++i)
            for (int j = 0; j < 130; ++j) {
                const PlanePoint p = motion.apply({j + 0.5 - 65, i + 0.5 - 60});
                const double same = topToBottom ? tissue(p.x, std::abs(p.y), 1) : tissue(std::abs(p.x), p.y, 1);
                const double common = (1 - odd) * same + odd * tissue(p.x, p.y, 2);
                section.grey[i][j] = float((1 - ownShare) * common + ownShare * tissue(p.x, p.y, own));
            }
        return section;
    }
};

TEST(SliceAlignment, ofSectionsThatAreNearlySymmetricOnlyTheMirroredOneIsNamed) {
    struct Case {
        Symmetry symmetry;
        double ownShare, elsewhere;
        int turnedOver;
    };
    // The third and fourth fit well either way; the last looks upside down from behind, in a stack that fits less.
    for (const auto& [symmetry, ownShare, elsewhere, turnedOver] :
         {Case{{0.1, false}, 0.15, 0.15, -1}, Case{{0.25, false}, 0.15, 0.15, 3}, Case{{0.15, false}, 0.04, 0.04, -1},
          Case{{0.15, false}, 0.04, 0.04, 3}, Case{{0.15, true}, 0.04, 0.2, 3}}) {
        TissueStack slices;
        for (int i = 0; i < 6; ++i) {
            const double share = i == turnedOver || i == turnedOver - 1 ? ownShare : elsewhere;
            const SectionImage section = symmetry.section(places[std::size_t(i)], 20 + i, share);
            const bool flip = i == turnedOver;
            slices.add("s" + std::to_string(i), section, [&section, flip](int row, int column, double value) {
                return flip ? double(section.grey[row][129 - column]) : value;
            });
        }
        const RegistrationReport report = slices.registered();
        for (int i = 1; i < 6; ++i) {
            const SliceAlignment& one = report.slices[std::size_t(i)];
            EXPECT_EQ(one.mirrored, i == turnedOver) << symmetry.odd << ' ' << symmetry.topToBottom << ' ' << i;
            EXPECT_EQ(one.state, i == turnedOver ? State::LeftAlone : State::Registered) << symmetry.odd << ' ' << i;
        }
    }
}

// The one behind it turns as far against it, but lay well.
TEST(SliceAlignment, onlyTheSliceThatLayUpsideDownIsNamedSo) {
    TissueStack tissue;
    tissue.add("first", sectionOfTissue(110, 110, {}));
    tissue.add("upside", sectionOfTissue(110, 110, {3.14159265, 4, -3}));
    tissue.add("behind", sectionOfTissue(110, 110, {0.05, 2, 3}));
    const RegistrationReport report = tissue.registered();
    EXPECT_EQ(report.slices[1].reason, "it lay upside down");
    EXPECT_EQ(report.slices[2].state, State::Registered);
    EXPECT_EQ(report.slices[2].reason, "");
    EXPECT_NEAR(std::abs(std::remainder(double(report.slices[2].after.getRotationAngle()), 360.0)), 180, 10);
}

TEST(SliceAlignment, lockedSlicesAndThoseOutOfTheRangeKeepTheirRegistration) {
    TissueStack tissue;
    for (int i = 0; i < 6; ++i) {
        tissue.add("s" + std::to_string(i), sectionOfTissue(120, 120, places[std::size_t(i)]));
        if (i > 0)
            tissue.stack.getSlice(i).setRegistration(Registration(0.5 * i, 1, 0));
    }
    AlignmentOptions options;
    options.first = 2;
    options.last = 4;
    options.locked = {3};
    const RegistrationReport report = tissue.registered(options);
    for (const int i : {1, 3, 5}) {
        EXPECT_EQ(report.slices[std::size_t(i)].state, State::Locked) << i;
        EXPECT_EQ(tissue.stack.getSlice(i).getRegistration(), Registration(0.5 * i, 1, 0)) << i;
    }
    for (const int i : {2, 4})
        EXPECT_LT(tissue.offset(i, i - 1, step(i - 1, i), 120), 0.4) << i;

    ProgressSubject progress;
    const auto refusal = [&](int first, int last, std::vector<int> locked, int fixed) {
        AlignmentOptions bad;
        bad.first = first;
        bad.last = last;
        bad.locked = std::move(locked);
        bad.reference = AlignmentReference::FixedSlice;
        bad.fixedSlice = fixed;
        return registerSlices(tissue.stack, bad, progress).getReason();
    };
    EXPECT_EQ(refusal(3, 2, {}, 0), "The range of slices is not in this stack");
    EXPECT_EQ(refusal(0, 6, {}, 0), "The range of slices is not in this stack");
    EXPECT_EQ(refusal(0, -1, {6}, 0), "A locked slice is not in this stack");
    EXPECT_EQ(refusal(0, -1, {}, -1), "The reference slice is not in this stack");
}

// Sections of tissue that wanders to one side: neighbours straighten it, and a path keeps its course.
TEST(SliceAlignment, theReferenceDecidesWhetherASlowCourseStays) {
    TissueStack tissue;
    for (int i = 0; i < 9; ++i)
        tissue.add("s" + std::to_string(i), sectionOfTissue(100, 100, {0, 0.5 * i + (i % 2 == 0 ? 1.5 : -1.5), 0}));
    const auto course = [&](AlignmentReference reference) {
        AlignmentOptions options;
        options.reference = reference;
        options.fixedSlice = 4;
        options.window = 2;
        tissue.registered(options);
        double sum = 0;
        for (int i = 1; i < 9; ++i)
            sum += tissue.stack.getSlice(i).getRegistration().getHorShift();
        tissue.stack.history()->undo();
        return sum;
    };
    EXPECT_NEAR(course(AlignmentReference::Neighbours), 4, 0.2);
    EXPECT_NEAR(course(AlignmentReference::FixedSlice), 4, 0.2);
    EXPECT_NEAR(course(AlignmentReference::Template), 4, 0.3);
    EXPECT_LT(std::abs(course(AlignmentReference::SmoothedPath)), 1.5);
}

TEST(SliceAlignment, aPairIsRegisteredAloneAndNeverWorseThanItWas) {
    TissueStack tissue;
    for (int i = 0; i < 2; ++i)
        tissue.add("s" + std::to_string(i), sectionOfTissue(120, 120, places[std::size_t(i)]));
    tissue.add("foreign", sectionOfTissue(120, 120, {}, 5));
    const StackSlice &first = tissue.stack.getSlice(0), &second = tissue.stack.getSlice(1);
    const SliceAlignment found = registerPair(second, first, Registration(1, 1, 0));
    EXPECT_EQ(found.state, State::Registered);
    EXPECT_EQ(found.before, Registration(1, 1, 0));
    EXPECT_LT(meanDistance(motionOf(found.after, 1, 1), step(0, 1), 120, 120), 0.3);
    const SliceAlignment again = registerPair(second, first, found.after);
    EXPECT_GE(again.scoreAfter, found.scoreAfter);
    EXPECT_LT(again.moved, 0.05);
    const SliceAlignment none = registerPair(tissue.stack.getSlice(2), first, Registration(7, 8, 9));
    EXPECT_EQ(none.state, State::LeftAlone);
    EXPECT_EQ(none.after, Registration(7, 8, 9));
    EXPECT_EQ(none.reason, "the two slices don't fit");
}

// Palette images are looked up, colours averaged, and 16 bits kept.
TEST(SliceAlignment, greyValuesComeFromEveryKindOfImage) {
    TissueStack tissue;
    Image indexed(2, 1, 8), wide(2, 1, 16), colour(2, 1, 24);
    Colormap map(2);
    const unsigned char first[] = {30, 60, 90}, second[] = {200, 220, 180};
    for (int k = 0; k < 2; ++k) {
        const unsigned char* const entry = k == 0 ? first : second;
        map.getRed()[k] = entry[0];
        map.getGreen()[k] = entry[1];
        map.getBlue()[k] = entry[2];
        std::copy(entry, entry + 3, colour.getData() + 3 * k);
        indexed.getData()[k] = static_cast<unsigned char>(k);
        const std::uint16_t value = k == 0 ? 1000 : 40000;
        std::copy_n(reinterpret_cast<const unsigned char*>(&value), 2, wide.getData() + 2 * k);
    }
    indexed.setColormap(map);
    tissue.add("indexed", indexed);
    tissue.add("wide", wide);
    tissue.add("colour", colour, 0.5, 2);
    const float expected[3][2] = {{60, 200}, {1000, 40000}, {60, 200}};
    for (int i = 0; i < 3; ++i) {
        const SectionImage section = sectionImageOf(tissue.stack.getSlice(i));
        ASSERT_EQ(section.grey.getSize2(), 2);
        for (int k = 0; k < 2; ++k)
            EXPECT_EQ(section.grey[0][k], expected[i][k]) << i;
        EXPECT_EQ(section.pixelHeight, i == 2 ? 2 : 1);
    }
    // Of a section too large for memory, a smaller copy that is in its file, with larger pixels.
    const TemporaryFolder folder;
    ImageSourceFile source;
    source.setFilename(SharedTiles::write(folder, "large.tif", 9000, 8000, 3));
    auto* const large = new StackSlice;
    large->setImageSource(source);
    tissue.stack.addSlice(large);
    const SectionImage section = sectionImageOf(*large);
    ASSERT_EQ(section.grey.getSize2(), 2250);
    ASSERT_EQ(section.grey.getSize1(), 2000);
    EXPECT_EQ(section.grey[1999][1234], float(SharedTiles::value(1, 1999, 1234)));
    EXPECT_EQ(section.pixelWidth, 4);
    EXPECT_EQ(section.pixelHeight, 4);
}

// Smaller copies of a large section are made at first, which takes long: cancelled in the midst, all that was made
// goes.
TEST(SliceAlignment, endsWhileItMakesTheSmallerCopiesOfALargeSection) {
    class Impatient : public ProgressMonitor {
    public:
        using ProgressMonitor::subjectProgressed;
        void subjectProgressed(unsigned int current, unsigned int) override {
            if (++numCalls != 2)
                return;
            EXPECT_EQ(current, 0u); // no slice is through
            currentSubject()->cancel();
        }
        int numCalls = 0;
    };
    const TemporaryFolder folder;
    VRLStack stack;
    ImageSourceFile source;
    {
        Image image(9000, 7500, 8);
        image.clear();
        ImageWriter().write(image, folder.file("flat.tif"), true);
    }
    source.setFilename(folder.file("flat.tif"));
    ASSERT_TRUE(isLargeSection(source));
    for (int i = 0; i < 2; ++i) {
        auto* const slice = new StackSlice;
        slice->setImageSource(source);
        stack.addSlice(slice);
    }
    Impatient monitor;
    ProgressSubject progress;
    progress.addMonitor(monitor);
    const RegistrationReport report = findAlignment(stack, {}, progress);
    EXPECT_TRUE(report.cancelled);
    EXPECT_FALSE(openLargeSection(source)->isBuilt());
    int numCalls = 0;
    EXPECT_EQ(sectionImageOf(stack.getSlice(0), [&numCalls] { return ++numCalls < 3; }).grey.getSize1(), 0);
    EXPECT_GE(numCalls, 3);
    EXPECT_LT(numCalls, 10);
}

} // namespace

} // namespace vorlen
