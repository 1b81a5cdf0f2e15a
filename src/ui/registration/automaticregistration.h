#pragma once

#include <string>
#include <vector>

#include "editing/operations/slicealignment.h"
#include "ui/cuts/stacktask.h"
#include "values/registration.h"

namespace vorlen {

/// What was found about one slice.
struct SlicePlacement {
    const StackSlice* slice = nullptr; // of the stack itself, as a mark
    int place = 0;                     // in the stack
    Registration registration;         // the one that the score is that of
    bool found = false;                // the registration is another than before
    double score = -1;                 // as SectionMarks has it
    std::string remark;                // why nothing was found, or what else is to be said; mostly empty
};

/// Registers slices, or tells how well they fit, beside the window. It looks only: what was found is for the owner to
/// set.
class AutomaticRegistration : public StackTask {
    Q_OBJECT

public:
    using StackTask::StackTask;
    ~AutomaticRegistration() override;

    /// Each does nothing while a run goes on.

    /// One slice on the one before it, beginning where this registration puts it.
    void registerSlice(const Stack& stack, int place, const Registration& from,
                       AlignmentMethod method = AlignmentMethod::Auto);
    /// All slices together.
    void registerAll(const Stack& stack, const AlignmentOptions& options);
    /// How well the slices at these places fit the one before them. Each is told of by scored().
    void score(const Stack& stack, const std::vector<int>& places);

    /// Of the last run that has ended.
    const std::vector<SlicePlacement>& placements() const { return __placements; }
    /// Of the last run over all slices.
    const RegistrationReport& report() const { return __report; }

signals:
    void scored(const vorlen::SlicePlacement& placement);

private:
    void note(const Stack& copy, int place, const Registration& registration, double score, const std::string& remark);

    std::vector<SlicePlacement> __placements;
    RegistrationReport __report;
};

} // namespace vorlen
