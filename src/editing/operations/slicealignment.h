#pragma once

#include <functional>
#include <string>
#include <vector>

#include "editing/operations/outcome.h"
#include "registration/sectionaligner.h"
#include "values/registration.h"

namespace vorlen {

class ProgressSubject;
class Slice;
class Stack;
class StackSlice;
class VRLStack;

/// What the slices of a stack are brought onto.
enum class AlignmentReference {
    Neighbours,   ///< each other: up to three slices before and behind
    FixedSlice,   ///< one slice of the stack, where they fit it; their neighbours elsewhere
    Template,     ///< the median of their neighbours as these came to lie
    SmoothedPath, ///< each other, but the slow course of the stack stays as it was
};

/// How slices are registered.
struct AlignmentOptions {
    AlignmentMethod method = AlignmentMethod::Auto;
    AlignmentReference reference = AlignmentReference::Neighbours;
    int fixedSlice = 0; ///< place in the stack, for FixedSlice
    int first = 0;      ///< places of the first and the last slice that may move; -1: the last of the stack
    int last = -1;
    std::vector<int> locked; ///< places of slices that keep their registration: how they lie on the one before
    bool inverted = false;   ///< for principal axes: dark parts are the tissue
    int window = 5;          ///< slices of a template, and of the smoothing of a path
};

/// What became of one slice.
struct SliceAlignment {
    enum class State {
        Registered, ///< it has a new registration
        Unchanged,  ///< it lay well already: what was found is what was there
        LeftAlone,  ///< nothing better was found; the reason says why
        Locked,     ///< locked or out of the range
        First,      ///< the first of the stack has nothing to lie on
    };

    /// In degrees: a turn that is known no more surely than this is remarked on.
    static constexpr double doubtfulTurn = 0.75;
    /// In pixels of the slice: the same of a shift.
    static constexpr double doubtfulShift = 3;

    int slice = 0;
    std::string name;
    int onto = -1; ///< the slice that it is compared with: the nearest before it that shows anything; -1: none
    State state = State::LeftAlone;
    std::string reason; ///< in words, for those left alone and whatever else is to be said
    Registration before, after;
    double scoreBefore = 0, scoreAfter = 0; ///< see SectionAligner::score(), by the method that found it
    double support = 0;                     ///< see SectionMatch
    double moved = 0;                       ///< mean way of its pixels against the slice before, in pixels
    double turnDoubt = 0;                   ///< how far off its turn may well be, in degrees, by what the images tell
    double shiftDoubt = 0;                  ///< the same of its shift, in pixels, in the direction that is told least
    std::string method;                     ///< that found its place; empty when none did
    bool mirrored = false;

    /// The word that tables use.
    const char* stateWord() const;
};

/// What a run came to: one entry for each slice of the stack, in its order.
struct RegistrationReport {
    std::vector<SliceAlignment> slices;
    bool cancelled = false; ///< stopped early: slices that were not reached are left alone

    /// Mean of the scores of the slices that are compared with another; 0 without any.
    double meanScoreBefore() const;
    double meanScoreAfter() const;
    int count(SliceAlignment::State state) const;
};

/// The grey values of a slice on the pixels of its image, and its pixel size; of a section too large for memory those
/// of a smaller image with larger pixels, of at most 4096 in width and height. Colours become their mean; an image with
/// a palette is looked up in it. Throws what reading throws.
///
/// Smaller images that a section lacks are made first, which takes as long as reading all of it: meanwhile goesOn() is
/// asked again and again, on this thread, and where it says no the image has no pixels, and nothing is kept.
SectionImage sectionImageOf(const Slice& slice, const std::function<bool()>& goesOn = {});

/// How well a slice, with a registration, fits the one that it lies on; 0, and not comparable, when one of them is
/// blank and the like. Throws what reading throws.
double registrationScore(const StackSlice& slice, const StackSlice& onto, const Registration& registration,
                         bool* isComparable = nullptr);

/// Registers one slice on another, beginning with a registration: looks only. With state Registered, Unchanged or
/// LeftAlone; images that can't be read leave it alone. The score is never less than that of the start.
SliceAlignment registerPair(const StackSlice& slice, const StackSlice& onto, const Registration& start,
                            const AlignmentOptions& options = {});

/// Looks for the registrations of a stack: each slice is matched with up to three before it, and the places of all
/// follow from all pairs together. Slices that can't be read, are blank, fit nothing or would fit worse than before are
/// left as they are, on the slice before them, and named. Stops early when the progress is cancelled, with what was
/// found up to there. Holds four prepared images at a time.
RegistrationReport findAlignment(const Stack& stack, const AlignmentOptions& options, ProgressSubject& progress);

/// Finds them and sets them in one step; when cancelled those that were found until then. Refused for fewer than two
/// slices, and for a range or slices that there are not.
Outcome registerSlices(VRLStack& stack, const AlignmentOptions& options, ProgressSubject& progress,
                       RegistrationReport* report = nullptr);

} // namespace vorlen
