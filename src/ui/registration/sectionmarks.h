#pragma once

#include <map>
#include <set>
#include <vector>

#include <QObject>

#include "values/registration.h"

namespace vorlen {

class StackSlice;
class VRLStack;

/// What registration windows note about the slices of a stack as long as it is open: which are locked, so that their
/// registration stays, and how well each fits the slice before it.
///
/// A child of the stack, which goes with it. Marks of slices that have gone are kept, and do no harm.
class SectionMarks : public QObject {
    Q_OBJECT

public:
    /// The marks of the stack, made when they are first asked for.
    static SectionMarks& of(VRLStack& stack);

    void setLocked(const StackSlice& slice, bool locked);
    bool isLocked(const StackSlice& slice) const { return __locked.count(&slice) != 0; }
    /// For each slice of the stack.
    std::vector<bool> locked() const;

    /// The score where one of the two slices shows nothing, as when it is blank: that is no bad fit.
    static constexpr double incomparable = 2;

    /// From 0 to 1, or incomparable, with this registration on the slice before.
    void setScore(const StackSlice* slice, const Registration& registration, double score);
    /// With the registration that the slice has; below 0 when it is not known.
    double score(const StackSlice& slice) const;
    /// Places of slices whose score is not known.
    std::vector<int> withoutScore() const;
    /// When images change, so do scores.
    void forgetScores();

signals:
    void changed();

private:
    explicit SectionMarks(VRLStack& stack);

    VRLStack& __stack;
    std::set<const StackSlice*> __locked;
    struct Score {
        Registration registration;
        double value;
        const StackSlice* onto; // the slice before, then
    };
    std::map<const StackSlice*, Score> __scores;
};

} // namespace vorlen
