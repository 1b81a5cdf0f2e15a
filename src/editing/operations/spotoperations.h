#pragma once

#include <string>

#include "editing/operations/outcome.h"
#include "spots/spotlabels.h"

namespace vorlen {

class VRLStack;

/// Adds spots to a stack as point models, in one step of its history, whatever their number: one model for all with the
/// basename, or one for each with the basename and its number from 000 on, coloured in turn by the entries of
/// Colormap::flag() without black and white. A name that is taken gets a number in brackets.
///
/// A spot's points are all its voxels, an item for each slice with some; with equivalent spheres it is the one point at
/// its mean place, on the nearest slice, whose size is the radius in pixels of the sphere of its volume, at least 1.
/// Points are rounded as by Maths::fround().
///
/// The labels have a plane for each slice of the stack. Without spots one model for all is made as well, an
/// empty one. Refused without spots for separate models, without a basename, for labels of another
/// number of planes, and while another step is open.
Outcome addSpots(VRLStack& stack, const SpotLabels& found, const VRLSpotExtractionConfig& config);

} // namespace vorlen
