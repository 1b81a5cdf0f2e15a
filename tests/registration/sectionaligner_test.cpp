#include "registration/sectionaligner.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <string>

#include <malloc.h>

#include <gtest/gtest.h>

#include "registration/principalaxesmotion.h"
#include "support/tissue.h"

namespace vorlen {

namespace {

constexpr double degree = 3.14159265358979323846 / 180;

SectionMatch matchOf(const SectionImage& source, const SectionImage& target, const RigidMotion& start = {},
                     AlignmentMethod method = AlignmentMethod::Auto) {
    const double pixel = std::max(SectionAligner::workingPixel(source), SectionAligner::workingPixel(target));
    return SectionAligner::match(*SectionAligner::prepare(source, pixel), *SectionAligner::prepare(target, pixel),
                                 start, method);
}

void change(SectionImage& section, const std::function<float(int, int, float)>& made) {
    for (int i = 0; i < section.grey.getSize1(); ++i)
        for (int j = 0; j < section.grey.getSize2(); ++j)
            section.grey[i][j] = made(i, j, section.grey[i][j]);
}

/// Within a tenth of a pixel and a hundredth of a degree.
void expectMotion(const SectionMatch& match, const RigidMotion& motion, double pixel, const char* what) {
    EXPECT_TRUE(match.found) << what;
    EXPECT_NEAR(std::remainder(match.motion.angle - motion.angle, 360 * degree) / degree, 0, 0.01) << what;
    EXPECT_NEAR(match.motion.x, motion.x, 0.1 * pixel) << what;
    EXPECT_NEAR(match.motion.y, motion.y, 0.1 * pixel) << what;
}

TEST(SectionAligner, findsKnownMotionsToATenthOfAPixel) {
    const SectionImage target = sectionOfTissue(240, 300, {});
    for (const RigidMotion& motion :
         {RigidMotion{}, {0, 7.3, -4.6}, {12 * degree, 20, 11}, {-75 * degree, -9, 14}, {180 * degree, 3, 2}}) {
        const SectionMatch match = matchOf(sectionOfTissue(240, 300, motion), target);
        expectMotion(match, motion, 1, "a motion");
        EXPECT_GT(match.score, 0.9);
        EXPECT_GT(match.support, 0.8);
        EXPECT_FALSE(match.inverted);
    }
}

TEST(SectionAligner, holdsUnderBrightnessContrastNoiseAndDamage) {
    const RigidMotion motion{8 * degree, 12.4, -9.7};
    const SectionImage target = sectionOfTissue(260, 260, {});
    const SectionImage plain = sectionOfTissue(260, 260, motion);
    SectionImage section = plain;
    change(section, [](int, int, float v) { return 40 + 0.4f * v; });
    expectMotion(matchOf(section, target), motion, 1, "gain and offset");
    change(section, [](int, int, float v) { return 255 - v; });
    const SectionMatch inverted = matchOf(section, target);
    expectMotion(inverted, motion, 1, "inverted");
    EXPECT_TRUE(inverted.inverted);

    const auto near = [&](const SectionImage& damaged, const char* what) {
        const SectionMatch match = matchOf(damaged, target);
        EXPECT_TRUE(match.found) << what;
        EXPECT_LT(meanDistance(match.motion, motion, 260, 260), 0.5) << what;
    };
    section = plain;
    change(section, [](int i, int j, float v) { return v + 60 * float(latticeValue(i, j, 77) - 0.5); });
    near(section, "noise");
    section = plain;
    change(section, [](int i, int j, float v) { return std::abs(i - j / 2 - 60) < 12 ? 255 : v; });
    near(section, "a tear");
    section = plain; // brighter to one side
    change(section, [](int, int j, float v) { return v + 0.5f * float(j); });
    near(section, "shading");
    section = plain; // too bright for the camera in the middle: what is left there has its say
    const auto lit = [](int i, int j, float v) {
        return (std::hypot(i - 130, j - 130) < 100 ? 1.7f : 0.6f) * v + 40 * float(latticeValue(i, j, 78) - 0.5);
    };
    change(section, lit);
    const int numBlocks = matchOf(section, target).numBlocks;
    change(section, [](int, int, float v) { return std::clamp(v, 0.0f, 255.0f); });
    near(section, "too bright");
    EXPECT_GT(matchOf(section, target).numBlocks, 0.8 * numBlocks);
    section = plain; // a turned picture in a black frame
    change(section, [](int i, int j, float v) {
        const double x = j - 130, y = i - 130;
        return std::abs(0.96 * x + 0.28 * y) > 105 || std::abs(0.96 * y - 0.28 * x) > 105 ? 0 : v;
    });
    near(section, "a black frame");
    section.grey[0][0] = std::numeric_limits<float>::quiet_NaN();
    near(section, "no number");
}

// Two stains, or contrast that is inverted in part: the greys belong together, but no line tells how.
TEST(SectionAligner, findsByMutualInformationWhatHasNoCorrelation) {
    const RigidMotion motion{8 * degree, 9.4, -7.7};
    const SectionImage target = sectionOfTissue(200, 200, {}), plain = sectionOfTissue(200, 200, motion);
    SectionImage folded = plain; // dark and bright parts are both bright
    change(folded, [](int, int, float v) { return 2 * std::abs(v - 128); });
    const SectionMatch match = matchOf(folded, target, {}, AlignmentMethod::MutualInformation);
    expectMotion(match, motion, 1, "folded greys");
    EXPECT_EQ(match.method, AlignmentMethod::MutualInformation);
    EXPECT_GT(match.score, 0.8);

    SectionImage waved = plain;
    change(waved, [](int, int, float v) { return 128 + 100 * std::sin(v / 255 * 9); });
    const SectionMatch chosen = matchOf(waved, target);
    EXPECT_EQ(chosen.method, AlignmentMethod::MutualInformation) << "by the automatic choice";
    EXPECT_TRUE(chosen.found);
    EXPECT_LT(meanDistance(chosen.motion, motion, 200, 200), 0.3);
    const auto source = SectionAligner::prepare(waved, 1), onto = SectionAligner::prepare(target, 1);
    EXPECT_NEAR(SectionAligner::score(*source, *onto, chosen.motion, AlignmentMethod::MutualInformation), chosen.score,
                1e-9);
    EXPECT_LT(SectionAligner::score(*source, *onto, chosen.motion), 0.4);
    EXPECT_LT(SectionAligner::score(*source, *onto, {1, 20, 20}, AlignmentMethod::MutualInformation), 0.75);

    EXPECT_FALSE(
        matchOf(sectionOfTissue(200, 200, {0.6, 5, 5}, 2), target, {}, AlignmentMethod::MutualInformation).found);
}

// Also where both sections have pixels of their own, and where images are greater than what is worked with.
TEST(SectionAligner, worksInTheLengthUnitWhateverThePixels) {
    const RigidMotion motion{-5 * degree, 15, 6};
    const SectionImage target = sectionOfTissue(150, 300, {}, 1, 1, 2);
    expectMotion(matchOf(sectionOfTissue(150, 300, motion, 1, 1, 2), target), motion, 1, "pixels twice as high");
    expectMotion(matchOf(sectionOfTissue(200, 200, motion, 1, 1.5, 1.5), target), motion, 1.5, "another size");
    const RigidMotion small{3 * degree, 3.1, -2.2};
    expectMotion(matchOf(sectionOfTissue(1500, 1400, small, 1, 0.2, 0.2), sectionOfTissue(1400, 1500, {}, 1, 0.2, 0.2)),
                 small, 0.2, "a great image");
}

TEST(SectionAligner, eachMethodFindsItByItself) {
    const RigidMotion motion{25 * degree, -18, 7};
    const SectionImage source = sectionOfTissue(300, 300, motion), target = sectionOfTissue(300, 300, {});
    for (const AlignmentMethod method : {AlignmentMethod::Features, AlignmentMethod::Intensity}) {
        const SectionMatch match = matchOf(source, target, {}, method);
        EXPECT_TRUE(match.found);
        EXPECT_EQ(match.method, method);
        EXPECT_LT(meanDistance(match.motion, motion, 300, 300), method == AlignmentMethod::Features ? 0.2 : 0.1);
    }
    // A greater one, the features of which are found in tiles and at half the size.
    const RigidMotion far{-40 * degree, 31, -22};
    const SectionImage onto = sectionOfTissue(500, 620, {});
    const SectionImage great = sectionOfTissue(500, 620, far);
    const SectionMatch byTiles = matchOf(great, onto, {}, AlignmentMethod::Features);
    EXPECT_TRUE(byTiles.found);
    EXPECT_LT(meanDistance(byTiles.motion, far, 620, 500), 0.2);
    // A bar that lies askew on pixels twice as high as wide, by hand: its middle and its axis.
    const auto bar = [](double angle, double x, double y) {
        SectionImage image{PixelMatrix<float>(100, 200), 1, 2};
        change(image, [&](int i, int j, float) {
            const double u = j - 100 - x, v = 2 * (i - 50) - y;
            const double along = std::cos(angle) * u + std::sin(angle) * v,
                         across = std::cos(angle) * v - std::sin(angle) * u;
            return float(200 * std::exp(-along * along / 800 - across * across / 50));
        });
        return image;
    };
    const auto axes = principalAxesMotion(bar(0.5, 10, -4), bar(0.2, 0, 0), false);
    ASSERT_TRUE(axes.has_value());
    EXPECT_NEAR(axes->angle, -0.3, 1e-3);
    const PlanePoint middle = axes->apply({10, -4});
    EXPECT_NEAR(std::hypot(middle.x, middle.y), 0, 0.01);
    EXPECT_FALSE(principalAxesMotion({PixelMatrix<float>(), 1, 1}, bar(0, 0, 0), false).has_value());
}

/// Black but for a spot of tissue, which is another one for each seed, and for what else is wanted.
SectionImage sectionWithSpot(PlanePoint spot, int seed, double barAngle = -1) {
    SectionImage section{PixelMatrix<float>(180, 200), 1, 1};
    change(section, [&](int i, int j, float) {
        const double x = j - 100 - spot.x, y = i - 90 - spot.y;
        const double along = std::cos(barAngle) * x + std::sin(barAngle) * y,
                     across = std::cos(barAngle) * y - std::sin(barAngle) * x;
        const bool inBar = barAngle >= 0 && std::abs(along - 45) < 12 && std::abs(across) < 6;
        if (std::hypot(x, y) > 11 && !inBar)
            return 0.0f;
        return float(150 + 0.3 * tissue(x, y, seed));
    });
    return section;
}

TEST(SectionAligner, tellsHowSureTheAngleIsAndTurnsNoRoundSpot) {
    const PlanePoint from{30, -12}, to{-14, 18};
    double surest = 1;
    for (const int seed : {2, 3}) {
        const SectionMatch match = matchOf(sectionWithSpot(from, seed), sectionWithSpot(to, 1));
        EXPECT_TRUE(match.found);
        EXPECT_LT(std::abs(std::remainder(match.motion.angle, 360 * degree)), 15 * degree) << seed;
        surest = std::min(surest, match.angleSpread);
        const PlanePoint moved = match.motion.apply(from);
        EXPECT_LT(std::hypot(moved.x - to.x, moved.y - to.y), 1) << seed;
        EXPECT_LT(std::hypot(match.middle.x - from.x, match.middle.y - from.y), 4) << seed;
    }
    const SectionMatch held = matchOf(sectionWithSpot(from, 2, 20 * degree), sectionWithSpot(to, 1, 0));
    EXPECT_NEAR(std::remainder(held.motion.angle / degree, 360.0), -20, 1);
    EXPECT_LT(held.angleSpread, surest);
    EXPECT_GT(surest, 0.01);
    const SectionMatch full = matchOf(sectionOfTissue(180, 200, {0.1, 3, 4}), sectionOfTissue(180, 200, {}));
    EXPECT_LT(full.angleSpread, 0.002);
}

// Noise has slopes all over the frame, but tells nothing of how a section is turned.
TEST(SectionAligner, noiseMakesTheAngleNoSurer) {
    std::mt19937 generator(1);
    std::normal_distribution<double> noise(0, 8);
    const auto noisy = [&](SectionImage section) {
        change(section, [&](int, int, float v) { return float(std::clamp(v + noise(generator), 0.0, 255.0)); });
        return section;
    };
    const SectionImage full = sectionOfTissue(180, 200, {0.1, 3, 4}), fullOnto = sectionOfTissue(180, 200, {});
    double squares = 0;
    for (int seed = 2; seed < 7; ++seed) {
        const SectionMatch spot = matchOf(noisy(sectionWithSpot({4, -3}, seed)), noisy(sectionWithSpot({-6, 5}, 1)));
        EXPECT_TRUE(spot.found) << seed;
        EXPECT_GT(spot.angleSpread, 0.5 * degree) << seed;
        const SectionMatch held = matchOf(noisy(full), noisy(fullOnto));
        EXPECT_LT(held.angleSpread, 0.01 * degree) << seed;
        squares += std::pow(std::remainder(held.motion.angle - 0.1, 360 * degree) / held.angleSpread, 2) / 5;
    }
    EXPECT_GT(squares, 0.05); // what is told is about as far off as it is
    EXPECT_LT(squares, 4);
}

// Parallel fibres tell how far they are shifted across, and not along.
TEST(SectionAligner, tellsThatFibresMaySlideAlongThemselves) {
    std::mt19937 generator(1);
    std::normal_distribution<double> noise(0, 5);
    const auto fibres = [&](double degrees, double shift) {
        SectionImage section{PixelMatrix<float>(180, 200), 1, 1};
        change(section, [&](int i, int j, float) {
            const double across = std::cos(degrees * degree) * (j - 100) + std::sin(degrees * degree) * (i - 90);
            return float(tissue(across - shift, 7, 1) + noise(generator));
        });
        return section;
    };
    const auto whole = [&](SectionImage section) {
        change(section, [&](int, int, float v) { return float(v + noise(generator)); });
        return section;
    };
    for (const double degrees : {0.0, 30.0, 115.0}) {
        const SectionMatch match = matchOf(fibres(degrees, 6), fibres(degrees, 0));
        EXPECT_GT(match.shiftSpread, 3) << degrees;
        EXPECT_LT(match.angleSpread, 0.1 * degree) << degrees;
        const double across = std::cos(degrees * degree) * match.motion.x + std::sin(degrees * degree) * match.motion.y;
        EXPECT_NEAR(across, -6, 0.2) << degrees;
    }
    const SectionMatch match =
        matchOf(whole(sectionOfTissue(180, 200, {0.1, 3, 4})), whole(sectionOfTissue(180, 200, {})));
    EXPECT_LT(match.shiftSpread, 0.05);
    EXPECT_GT(match.shiftSpread, 0.0005);
}

TEST(SectionAligner, sectionsThatDoNotBelongTogetherAreNotFoundToFit) {
    const SectionImage target = sectionOfTissue(256, 256, {});
    for (int seed = 2; seed < 5; ++seed)
        EXPECT_FALSE(matchOf(sectionOfTissue(256, 256, {0.3 * seed, 5, 5}, seed), target).found) << seed;
    SectionImage behind = sectionOfTissue(256, 256, {0.2, 5, -8});
    for (int i = 0; i < 256; ++i)
        std::reverse(behind.grey[i].data(), behind.grey[i].data() + 256);
    EXPECT_FALSE(matchOf(behind, target).found);
    const auto prepared = [](const SectionImage& section) { return SectionAligner::prepare(section, 1); };
    EXPECT_TRUE(SectionAligner::isMirrored(*prepared(behind), *prepared(target), {}));
    EXPECT_FALSE(SectionAligner::isMirrored(*prepared(sectionOfTissue(256, 256, {}, 9)), *prepared(target), {}));
}

TEST(SectionAligner, namesWhatNothingCanBeMatchedWith) {
    const auto faultOf = [](int rows, int columns, const std::function<float(int, int, float)>& made) {
        SectionImage section = sectionOfTissue(rows, columns, {});
        change(section, made);
        const auto prepared = SectionAligner::prepare(section, 1);
        const auto other = SectionAligner::prepare(sectionOfTissue(100, 100, {}), 1);
        if (!SectionAligner::fault(*prepared).empty()) {
            EXPECT_FALSE(SectionAligner::match(*prepared, *other, {}).found);
            EXPECT_FALSE(SectionAligner::match(*other, *prepared, {}).found);
            EXPECT_EQ(SectionAligner::score(*other, *prepared, {}), 0);
        }
        return SectionAligner::fault(*prepared);
    };
    const float nothing = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(faultOf(100, 100, [](int, int, float v) { return v; }), "");
    EXPECT_EQ(faultOf(100, 100, [](int, int, float) { return 0; }), "blank");
    EXPECT_EQ(faultOf(100, 100, [](int, int, float) { return 130; }), "blank");
    EXPECT_EQ(faultOf(100, 100, [&](int, int, float) { return nothing; }), "blank");
    EXPECT_EQ(faultOf(100, 100, [](int, int, float) { return 255; }), "saturated");
    EXPECT_EQ(faultOf(100, 100, [](int i, int, float v) { return i < 3 ? v : 255; }), "saturated");
    EXPECT_EQ(faultOf(100, 100, [](int, int, float) { return 254; }), "saturated"); // by a file with losses
    EXPECT_EQ(faultOf(100, 1, [](int, int, float v) { return v; }), "too small");
    EXPECT_EQ(faultOf(0, 0, [](int, int, float v) { return v; }), "too small");
}

// Great ones are held as whole numbers: also with a frame that is far off from all greys, by which these must not be
// counted, and seen from behind. The expected motion is the one that the section was made with.
TEST(SectionAligner, greatSectionsAreFoundToTheSameFractionOfAPixel) {
    const RigidMotion motion{0.03, 11.3, -7.6};
    const SectionImage target = sectionOfTissue(560, 620, {});
    SectionImage source = sectionOfTissue(560, 620, motion);
    EXPECT_LT(meanDistance(matchOf(source, target).motion, motion, 620, 560), 0.05);
    SectionImage framed = source;
    change(framed, [](int i, int j, float v) { return i < 40 || j < 57 ? -9999.0f : v; });
    const SectionMatch match = matchOf(framed, target);
    EXPECT_LT(meanDistance(match.motion, motion, 620, 560), 0.05);
    EXPECT_GT(match.score, 0.99);
    for (int i = 0; i < 560; ++i)
        std::reverse(source.grey[i].data(), source.grey[i].data() + 620);
    EXPECT_TRUE(
        SectionAligner::isMirrored(*SectionAligner::prepare(source, 1), *SectionAligner::prepare(target, 1), {}));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(SectionAligner, featuresTakeAFewImagesOfMemory) {
    const auto megabytes = [](const std::string& key) {
        std::ifstream status("/proc/self/status");
        std::string line;
        while (std::getline(status, line))
            if (line.starts_with(key))
                return std::stod(line.substr(key.size())) / 1024;
        return 0.0;
    };
    const SectionImage source = sectionOfTissue(1024, 1024, {0.2, 17, -9}), target = sectionOfTissue(1024, 1024, {});
    const auto first = SectionAligner::prepare(source, 1), second = SectionAligner::prepare(target, 1);
    malloc_trim(0); // what was freed is taken again
    std::ofstream("/proc/self/clear_refs") << 5;
    const double before = megabytes("VmRSS:");
    if (megabytes("VmHWM:") > before + 1)
        GTEST_SKIP() << "this system does not forget the greatest memory";
    EXPECT_TRUE(SectionAligner::match(*first, *second, {}, AlignmentMethod::Features).found);
    EXPECT_LT(megabytes("VmHWM:") - before, 6 * 4); // six images of floats; in one go they took fifteen
}
#endif

// Cut off to black and white, with the blur of a file with losses; so far that most of it is; and a mask, the greys of
// which are no more than 0 and 1.
TEST(SectionAligner, whatIsBlackAndWhiteIsMatchedWithItsKindAlone) {
    const auto cut = [](const RigidMotion& motion, float gain, float white) {
        SectionImage section = sectionOfTissue(160, 160, motion);
        change(section, [&](int i, int j, float v) {
            const float blur = float((i + j) % 3), grey = std::clamp(127 + gain * (v - 127), blur, 255 - blur);
            return grey * white / 255;
        });
        return SectionAligner::prepare(section, 1);
    };
    const RigidMotion motion{0.1, 4, -3};
    const auto grey = cut({}, 1, 255), hard = cut(motion, 1000, 255), other = cut({}, 1000, 255),
               bright = cut(motion, 10, 255), mask = cut(motion, 1000, 1);
    EXPECT_EQ(SectionAligner::weakness(*grey), "");
    EXPECT_EQ(SectionAligner::weakness(*hard), "saturated");
    EXPECT_EQ(SectionAligner::weakness(*bright), "mostly saturated");
    EXPECT_EQ(SectionAligner::weakness(*mask), "");
    EXPECT_FALSE(SectionAligner::match(*hard, *grey, {}).found);
    EXPECT_FALSE(SectionAligner::match(*grey, *hard, {}).found);
    for (const auto& [source, target] : {std::pair(hard, other), {bright, grey}, {mask, grey}}) {
        const SectionMatch match = SectionAligner::match(*source, *target, {});
        EXPECT_TRUE(match.found);
        EXPECT_LT(meanDistance(match.motion, motion, 160, 160), 0.5);
    }
}

} // namespace

} // namespace vorlen
