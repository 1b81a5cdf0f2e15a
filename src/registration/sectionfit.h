#pragma once

#include "registration/preparedsection.h"
#include "registration/rigidmotion.h"
#include "registration/sectionaligner.h"

namespace vorlen {

// What SectionAligner does at one scale of two sections, for its sources alone: the source is brought onto the target,
// and it is told how well it lies there.

/// In radians: how far an angle is trusted that nothing in the images tells.
constexpr double angleDoubt = 0.02;
/// The same of a shift, as a part of the size of a section.
constexpr double shiftDoubt = 0.01;

/// Part of the blocks that agree by chance.
constexpr double chanceShare = 0.09;

/// Gauss-Newton steps that raise the correlation of target and moved source, until one is shorter than so many pixels.
/// False when there is too little overlap.
bool refine(const SectionLevel& full, const SectionLevel& source, RigidMotion& motion, int numSteps, double enough);

/// What the images tell of a motion: sets the spreads of its angle and its shift and the point about which it turns.
/// The motion found is where what remains, times the slopes of the target, comes to nothing: what remains moves it by
/// its own variance, taken over blocks, over the slopes that both sections share (the "sandwich" of White 1982).
void tellSpread(SectionMatch& match, const SectionLevel& target, const SectionLevel& source);

/// Absolute correlation, the light taken off, lessened where the overlap is less than half of the smaller section.
double scoreAt(const SectionLevel& target, const SectionLevel& source, const RigidMotion& motion,
               bool* inverted = nullptr);

/// The blocks of the overlap that have structure, and how many of them lie where the motion brings them.
struct BlockSupport {
    int numBlocks = 0;
    double share = 0;
};

/// Whether enough of the blocks agree, by the support and the score of a match, that it is no chance.
bool isBorneOut(const SectionMatch& match);

/// Of a motion: each block of the target is looked for a few pixels about in the moved source. Where the contrast is
/// inverted by its negative.
BlockSupport supportAt(const SectionLevel& target, const SectionLevel& source, const RigidMotion& motion,
                       bool inverted);

} // namespace vorlen
