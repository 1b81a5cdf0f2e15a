#include "ui/registration/automaticregistration.h"

#include <exception>

#include "document/stack.h"
#include "editing/operations/slicealignment.h"
#include "numerics/exception.h"
#include "ui/registration/sectionmarks.h"

namespace vorlen {

namespace {

/// How well the slice fits. Of images that can't be read nothing is to be compared.
double scoreOf(const Stack& stack, int place) {
    const StackSlice& slice = stack.getSlice(place);
    try {
        bool isComparable = true;
        const double score =
            registrationScore(slice, stack.getSlice(place - 1), slice.getRegistration(), &isComparable);
        return isComparable ? score : SectionMarks::incomparable;
    } catch (const std::exception&) {
        return SectionMarks::incomparable;
    } catch (const Exception&) {
        return SectionMarks::incomparable;
    }
}

} // namespace

AutomaticRegistration::~AutomaticRegistration() {
    stop();
}

void AutomaticRegistration::note(const Stack& copy, int place, const Registration& registration, double score,
                                 const std::string& remark) {
    SlicePlacement placement;
    placement.slice = original(place);
    placement.place = place;
    placement.registration = registration;
    placement.found = !(registration == copy.getSlice(place).getRegistration());
    placement.score = score;
    placement.remark = remark;
    __placements.push_back(placement);
}

void AutomaticRegistration::registerSlice(const Stack& stack, int place, const Registration& from,
                                          AlignmentMethod method) {
    if (isRunning())
        return;
    __placements.clear();
    AlignmentOptions options;
    options.method = method;
    start(stack, [this, place, from, options](const Stack& copy, ProgressSubject& progress) {
        const SliceAlignment found = registerPair(copy.getSlice(place), copy.getSlice(place - 1), from, options);
        if (!progress.isCanceled())
            note(copy, place, found.after, found.scoreAfter, found.reason);
    });
}

void AutomaticRegistration::registerAll(const Stack& stack, const AlignmentOptions& options) {
    if (isRunning())
        return;
    __placements.clear();
    __report = RegistrationReport();
    start(stack, [this, options](const Stack& copy, ProgressSubject& progress) {
        __report = findAlignment(copy, options, progress);
        for (const SliceAlignment& slice : __report.slices)
            if (slice.state != SliceAlignment::State::First)
                note(copy, slice.slice, slice.after, slice.onto == slice.slice - 1 ? slice.scoreAfter : -1,
                     slice.state == SliceAlignment::State::Locked ? std::string() : slice.reason);
    });
}

void AutomaticRegistration::score(const Stack& stack, const std::vector<int>& places) {
    if (isRunning())
        return;
    __placements.clear();
    start(stack, [this, places](const Stack& copy, ProgressSubject& progress) {
        for (const int place : places) {
            if (progress.isCanceled())
                return;
            note(copy, place, copy.getSlice(place).getRegistration(), scoreOf(copy, place), std::string());
            tell([this, placement = __placements.back()] { emit scored(placement); });
        }
    });
}

} // namespace vorlen
