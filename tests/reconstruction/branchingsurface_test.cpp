#include "reconstruction/branchingsurface.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <tuple>

#include <gtest/gtest.h>

#include "shapes/surfacecertificate.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

using Outline = std::vector<PlanePoint>;
using Outlines = std::vector<Outline>;

Outline ellipse(double x, double y, double a, double b, double angle = 0, int n = 120) {
    Outline points;
    for (int k = 0; k < n; ++k) {
        const double u = a * std::cos(2 * pi * k / n), v = b * std::sin(2 * pi * k / n);
        points.push_back(
            {x + u * std::cos(angle) - v * std::sin(angle), y + u * std::sin(angle) + v * std::cos(angle)});
    }
    return points;
}

Outline disc(double x, double y, double r) {
    return ellipse(x, y, r, r);
}

Outline square(double x, double y, double half) {
    return {{x - half, y - half}, {x + half, y - half}, {x + half, y + half}, {x - half, y + half}};
}

/// Sections at heights first, first + spacing, ..., each with the outlines of its height.
BranchingSurface surfaceOf(double first, double spacing, int count, const std::function<Outlines(double)>& at,
                           bool descending = false) {
    std::vector<SectionParts> sections;
    std::vector<double> heights;
    for (int k = 0; k < count; ++k) {
        SectionParts section(first + k * spacing);
        for (const Outline& outline : at(section.getHeight()))
            section.add(outline);
        section.build();
        heights.push_back(section.getHeight());
        if (!section.getParts().empty())
            sections.push_back(std::move(section));
    }
    return BranchingSurface(std::move(sections), std::move(heights), descending);
}

SurfaceCertificate certificateOf(const BranchingSurface& surface, SurfaceEnd end = SurfaceEnd::HalfSection) {
    return SurfaceCertificate::of(surface.build({end, end}, 2));
}

void expectSound(const SurfaceCertificate& certificate, int parts, int genus) {
    EXPECT_TRUE(certificate.isSound()) << certificate.toText();
    EXPECT_EQ(certificate.parts, parts) << certificate.toText();
    EXPECT_EQ(certificate.genus(), genus) << certificate.toText();
}

void expectNear(double measured, double truth, double share) {
    EXPECT_NEAR(measured, truth, share * truth) << 100 * (measured / truth - 1) << " percent";
}

} // namespace

TEST(BranchingSurface, ballsHollowOrNotKeepTheirVolume) {
    const auto ball = [](double r, double z) {
        return std::fabs(z) < r ? Outlines{disc(0, 0, std::sqrt(r * r - z * z))} : Outlines{};
    };
    const auto solid = surfaceOf(-10.1, 0.4, 60, [&](double z) { return ball(10, z); });
    expectSound(certificateOf(solid), 1, 0);
    expectNear(certificateOf(solid).volume, 4.0 / 3 * pi * 1000, 0.003);
    const auto hollow = surfaceOf(-10.1, 0.4, 60, [&](double z) {
        Outlines outlines = ball(10, z);
        for (const Outline& inner : ball(6, z))
            outlines.push_back(inner);
        return outlines;
    });
    expectSound(certificateOf(hollow), 2, 0);
    expectNear(certificateOf(hollow).volume, 4.0 / 3 * pi * (1000 - 216), 0.003);
    EXPECT_EQ(hollow.getNumUnfollowed(), 0);
}

TEST(BranchingSurface, aTubeSplitsInTwoAlike) {
    // A trunk that becomes two limbs, upright and slanted; the limbs have the trunk's area together, or more.
    for (const double shift : {0.0, 0.7, 1.5})
        for (const double limb : {7.0711, 10.0}) {
            const auto tree = surfaceOf(0, 5, 20, [&](double z) {
                const double x = shift * 10 * z / 5;
                return z < 47 ? Outlines{disc(x, 0, 10)} : Outlines{disc(x - 11, 0, limb), disc(x + 11, 0, limb)};
            });
            const auto certificate = certificateOf(tree, SurfaceEnd::Flat);
            expectSound(certificate, 1, 0);
            EXPECT_EQ(tree.getNumUnfollowed(), 0);
            const double trunk = pi * 100, limbs = 2 * pi * limb * limb;
            expectNear(certificate.volume, 45 * trunk + 5 * (trunk + limbs) / 2 + 45 * limbs, 0.005);
        }
}

// On the section where a trunk parts its limbs touch in a point, or nearly; on the one before a neck joins them. The
// surface goes on over both, without lids between.
TEST(BranchingSurface, limbsMayTouchWhereTheyPart) {
    const double r = 6, apart = 5.76, waist = std::acos(apart / r);
    Outline trunk;
    for (const int side : {1, -1})
        for (int k = 1; k <= 60; ++k) {
            const double angle = (side > 0 ? -pi : 0) + waist + (2 * pi - 2 * waist) * k / 60;
            trunk.push_back({side * apart + r * std::cos(angle), r * std::sin(angle)});
        }
    for (const double gap : {0.0, 0.001, 0.02}) {
        const auto fork = surfaceOf(0, 1, 4, [&](double z) {
            return z < 1.5 ? Outlines{trunk} : Outlines{disc(-r - gap / 2, 0, r), disc(r + gap / 2, 0, r)};
        });
        EXPECT_EQ(fork.getNumUnfollowed(), 0) << gap;
        expectSound(certificateOf(fork, SurfaceEnd::Flat), 1, 0);
        // Of walls that stand upright: the way round the trunk, and the two discs.
        const double round = 4 * r * (pi - waist), discs = 4 * pi * r;
        expectNear(fork.wallArea(2), round + (round + discs) / 2 + discs, 0.03);
    }
}

// A slanted tube beside another one goes on slanted to half a section beyond its outlines, and so does its barycentre.
TEST(BranchingSurface, slantedTubesEndSlanted) {
    const double r = 10, spacing = 5, shift = 8;
    const auto tubes = surfaceOf(0, spacing, 11, [&](double z) {
        return Outlines{disc(shift * z / spacing, 0, r), disc(shift * z / spacing, 40, r)};
    });
    const TriMesh<double> mesh = tubes.build(SurfaceEnds(), 2);
    expectSound(SurfaceCertificate::of(mesh), 2, 0);
    double left = 0, right = 0;
    for (int k = 0; k < mesh.getNumVertices(); ++k) {
        left = std::min(left, mesh[k][0]);
        right = std::max(right, mesh[k][0]);
    }
    EXPECT_NEAR(left, -shift / 2 - r, 1e-9);
    EXPECT_NEAR(right, 10.5 * shift + r, 1e-9);
    // The wall of a slanted tube: around the ring, the height by the slant that each place sees.
    double wall = 0;
    for (int k = 0; k < 3600; ++k)
        wall += r * 2 * pi / 3600 * 11 * std::hypot(spacing, shift * std::cos(2 * pi * k / 3600));
    expectNear(mesh.area(), 2 * (wall + 2 * pi * r * r), 0.003);
}

TEST(BranchingSurface, aTorusCutLengthwiseIsARing) {
    const double ring = 30, tube = 10;
    const auto at = [&](double z) {
        // The torus lies about the axis Y: a section at z is where (sqrt(x^2 + z^2) - ring)^2 + y^2 < tube^2.
        Outlines outlines;
        const double outer = ring + tube, inner = ring - tube;
        if (std::fabs(z) >= outer)
            return outlines;
        const auto border = [&](double x) {
            const double d = std::hypot(x, z) - ring;
            return std::sqrt(std::max(0.0, tube * tube - d * d));
        };
        const double right = std::sqrt(outer * outer - z * z);
        const double left = std::fabs(z) < inner ? std::sqrt(inner * inner - z * z) : -right;
        const int n = 100;
        Outline outline;
        for (int k = 0; k < 2 * n; ++k) {
            const double x = (left + right) / 2 - (right - left) / 2 * std::cos(pi * k / n);
            const double y = k < n ? -border(x) : border(x);
            outline.push_back({std::round(1024 * x) / 1024, std::round(1024 * y) / 1024}); // as in a file
        }
        outlines.push_back(outline);
        if (std::fabs(z) < inner) {
            for (PlanePoint& p : outline)
                p.x = -p.x;
            outlines.push_back(outline);
        }
        return outlines;
    };
    // Of the second ones two go just where the hole ends: the outline there touches itself; of the third ones nearly.
    for (const auto& [first, spacing, count] :
         {std::tuple(-39.6, 80.0 / 53, 53), {-39.0, 1.0, 79}, {-39.00001, 1.0, 79}}) {
        const auto torus = surfaceOf(first, spacing, count, at);
        const auto mesh = torus.build(SurfaceEnds(), 2);
        const auto certificate = SurfaceCertificate::of(mesh);
        expectSound(certificate, 1, 1);
        EXPECT_EQ(torus.getNumUnfollowed(), 0);
        expectNear(certificate.volume, 2 * pi * pi * ring * tube * tube, 0.005);
        expectNear(mesh.area(), 4 * pi * pi * ring * tube, 0.006);
    }
}

TEST(BranchingSurface, nestedSquaresAreRingsAndIslands) {
    const auto nested = surfaceOf(0, 10, 11, [](double) {
        return Outlines{square(0, 0, 15), square(0, 0, 25), square(0, 0, 5)};
    });
    const auto certificate = certificateOf(nested, SurfaceEnd::Flat);
    expectSound(certificate, 2, 1);
    EXPECT_NEAR(certificate.volume, 100 * (2500 - 900 + 100), 1e-6);
}

TEST(BranchingSurface, partsBeginEndSplitMergeAndHoldHolesInOne) {
    for (const bool descending : {false, true}) {
        const auto crowd = surfaceOf(
            0, 4, 16,
            [](double z) {
                Outlines outlines = {disc(-60, 0, 12)};
                if (z > 8 && z < 40)
                    outlines.push_back(disc(-60, 0, 6));
                if (z < 20)
                    outlines.push_back(disc(0, 0, 9));
                else if (z < 40)
                    outlines.insert(outlines.end(), {disc(-9, 0, 7), disc(9, 0, 7)});
                else
                    outlines.push_back(ellipse(0, 0, 14, 8));
                if (z > 30)
                    outlines.push_back(disc(60, 0, 10));
                return outlines;
            },
            descending);
        for (const SurfaceEnd end : {SurfaceEnd::Flat, SurfaceEnd::HalfSection, SurfaceEnd::NextSection}) {
            const auto certificate = certificateOf(crowd, end);
            EXPECT_TRUE(certificate.isSound()) << certificate.toText();
            EXPECT_EQ(certificate.parts, 4); // and the hollow
            EXPECT_EQ(certificate.euler, 2 * 4 - 2);
        }
        EXPECT_FALSE(certificateOf(crowd, SurfaceEnd::Open).closed);
        EXPECT_EQ(crowd.getNumUnfollowed(), 0);
    }
}

// A ring whose wall opens to the side, and a part whose hole becomes a bay and goes: no hole ends in the open.
TEST(BranchingSurface, aHoleThatBecomesABayOpens) {
    const auto horseshoe = [](double gap) {
        Outline points;
        const double half = gap / 2, turn = std::asin(half / 20), innerTurn = std::asin(half / 10);
        for (int k = 0; k <= 60; ++k) {
            const double a = turn + (2 * pi - 2 * turn) * k / 60;
            points.push_back({20 * std::cos(a), 20 * std::sin(a)});
        }
        for (int k = 60; k >= 0; --k) {
            const double a = innerTurn + (2 * pi - 2 * innerTurn) * k / 60;
            points.push_back({10 * std::cos(a), 10 * std::sin(a)});
        }
        return points;
    };
    const auto cup = surfaceOf(0, 2, 10, [&](double z) {
        return z < 9 ? Outlines{disc(0, 0, 20), disc(0, 0, 10)} : Outlines{horseshoe(6)};
    });
    const auto certificate = certificateOf(cup, SurfaceEnd::Flat);
    expectSound(certificate, 1, 1);
    EXPECT_EQ(cup.getNumUnfollowed(), 0);
    const double ring = pi * 300, open = ring - 6 * 10;
    expectNear(certificate.volume, 8 * ring + 2 * (ring + open) / 2 + 8 * open, 0.01);
}

// Outlines that cross themselves and each other, touch in points and along edges, lie on each other, stand twice on a
// vertex, and have no inside: the volume is that of the even-odd region.
TEST(BranchingSurface, outlinesMayCrossAndTouch) {
    const Outline figure8 = {{0, 0}, {10, 10}, {10, 0}, {0, 10}};
    const std::pair<Outlines, double> cases[] = {
        {{figure8}, 50},
        {{square(0, 0, 10), square(10, 10, 10)}, 600},
        {{square(0, 0, 10), square(20, 20, 10)}, 800},
        {{square(0, 0, 10), square(20, 0, 10)}, 800},
        {{square(0, 0, 10), square(0, 0, 10), square(40, 0, 5)}, 100},
        {{{{0, 0}, {5, 5}, {10, 0}, {10, 0}, {10, 10}, {5, 5}, {0, 10}, {0, 0}}}, 50},
        {{{{0, 0}, {10, 0}, {5, 0}}, square(30, 0, 5)}, 100},
        {{disc(0, 0, 10), {{-20, -1}, {20, -1}, {20, 1}, {-20, 1}}}, pi * 100 + 80 - 2 * 39.93}};
    for (const auto& [outlines, area] : cases) {
        const auto prism = surfaceOf(0, 5, 4, [&outlines = outlines](double) { return outlines; });
        const auto certificate = certificateOf(prism, SurfaceEnd::Flat);
        EXPECT_TRUE(certificate.isSound()) << area << ' ' << certificate.toText();
        expectNear(certificate.volume, 15 * area, 0.002);
    }
}

// Crowds of parts at random, some with holes, on pixels or not: whatever comes out is closed and a manifold, and its
// volume is near the sum over the sections.
TEST(BranchingSurface, whateverIsDrawnGivesASoundSurface) {
    std::uint32_t seed = 1;
    const auto random = [&](double low, double high) {
        seed = seed * 1664525u + 1013904223u;
        return low + (high - low) * (seed >> 8) / double(1 << 24);
    };
    for (int trial = 0; trial < 2; ++trial) {
        double sum = 0;
        const bool pixels = trial % 2 == 0;
        const auto at = [&](double) {
            Outlines outlines;
            for (int k = 0; k < 6; ++k) {
                const double x = 40 * (k % 3) + random(-8, 8), y = 40 * (k / 3) + random(-8, 8), r = random(4, 26);
                if (random(0, 1) < 0.2)
                    continue;
                outlines.push_back(ellipse(x, y, r, random(3, 20), random(0, 3), 40));
                if (random(0, 1) < 0.4)
                    outlines.push_back(ellipse(x, y, r / 2, random(1, 6), random(0, 3), 24));
            }
            for (Outline& outline : outlines)
                for (PlanePoint& p : outline)
                    p = pixels ? PlanePoint{std::round(p.x), std::round(p.y)} : p;
            return outlines;
        };
        const auto crowd = surfaceOf(0, 10, 5, at);
        for (const SectionParts& section : crowd.getSections())
            sum += 10 * section.area();
        const auto certificate = certificateOf(crowd);
        EXPECT_TRUE(certificate.isSound()) << trial << ' ' << certificate.toText();
        expectNear(certificate.volume, sum, 0.1);
    }
}

TEST(BranchingSurface, unitsOfLengthMeanNothing) {
    const auto volumeIn = [](double unit) {
        const auto tree = surfaceOf(0, 5 * unit, 10, [unit](double z) {
            Outlines outlines = z < 22 * unit ? Outlines{disc(0, 0, 10)} : Outlines{disc(-8, 0, 6), disc(8, 0, 6)};
            outlines.push_back(square(50, 0, 9));
            if (z < 30 * unit)
                outlines.push_back(square(50, 0, 4));
            for (Outline& outline : outlines)
                for (PlanePoint& p : outline)
                    p = {unit * p.x, unit * p.y};
            return outlines;
        });
        const auto certificate = certificateOf(tree);
        EXPECT_TRUE(certificate.isSound()) << certificate.toText();
        return certificate.volume / (unit * unit * unit);
    };
    const double volume = volumeIn(1);
    for (const double unit : {1e-9, 1e-3, 1e6})
        EXPECT_NEAR(volumeIn(unit) / volume, 1, 1e-9);
}

} // namespace vorlen
