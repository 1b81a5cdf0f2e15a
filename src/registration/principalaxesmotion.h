#pragma once

#include <optional>

#include "registration/sectionaligner.h"

namespace vorlen {

/// The motion that carries the source's centre of mass and its axis of greatest spread onto those of the target, with
/// the grey values as masses (255 less them when inverted) and pixels of any shape: see MatrixPrincipalAxesAnalysis.
/// The turn is the one of at most a quarter turn, as an axis has no sense. Nothing when an image has no mass.
std::optional<RigidMotion> principalAxesMotion(const SectionImage& source, const SectionImage& target, bool inverted);

} // namespace vorlen
