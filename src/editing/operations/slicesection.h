#pragma once

#include <functional>
#include <optional>
#include <string>

#include "editing/operations/slicealignment.h"
#include "registration/sectionaligner.h"

namespace vorlen {

/// A slice's image as it is matched, or why it can't be.
struct SliceSection {
    SectionAligner::SectionPointer section;
    std::optional<SectionImage> image; // kept for principal axes
    std::string fault;
    double width = 0, height = 0, pixel = 1; // of the section and of a pixel, in the length unit
};

/// The image of a slice made ready for the method, with pixels of the given size; 0: as the section itself needs. What
/// can't be read is the result's fault. Of goesOn see sectionImageOf().
SliceSection sliceSection(const StackSlice& slice, double pixel, AlignmentMethod method,
                          const std::function<bool()>& goesOn = {});

/// By the header alone; 0 for a slice without an image.
double workingPixelOfSlice(const StackSlice& slice);

/// The working pixel that serves all slices: the coarsest that one of them needs.
double workingPixelOf(const Stack& stack);

/// How source lies on target, by the method of the options.
SectionMatch matched(const SliceSection& source, const SliceSection& target, const RigidMotion& start,
                     const AlignmentOptions& options, bool search);

/// By which a pair is scored before and after: what tells nothing by its correlation is scored by what it was found by.
AlignmentMethod scoredBy(AlignmentMethod method, const SectionMatch* match);

/// A registration of a slice as a motion in the length unit, and back.
RigidMotion stepOf(const StackSlice& slice, const Registration& registration);
Registration registrationOfStep(const StackSlice& slice, const RigidMotion& motion);

/// The method's name as tables tell it.
const char* wordOf(AlignmentMethod method);

} // namespace vorlen
