#pragma once

#include <map>
#include <set>
#include <vector>

#include <QObject>

namespace vorlen {

class StackSlice;
class VRLStack;

/// What registration windows note about the slices of a stack as long as it is open: which are locked, so that their
/// registration stays, and how well each fits the slice before it.
///
/// A child of the stack, which goes with it. Slices are told apart by their address and never looked at.
class SectionMarks : public QObject {
    Q_OBJECT

public:
    /// The marks of the stack, made when they are first asked for.
    static SectionMarks& of(VRLStack& stack);

    void setLocked(const StackSlice& slice, bool locked);
    bool isLocked(const StackSlice& slice) const { return __locked.count(&slice) != 0; }
    /// For each slice of the stack.
    std::vector<bool> locked() const;

    /// From 0 to 1; below 0 forgets it.
    void setScore(const StackSlice& slice, double score);
    /// Below 0 for one that is not known.
    double score(const StackSlice& slice) const;

signals:
    void changed();

private:
    explicit SectionMarks(VRLStack& stack);

    VRLStack& __stack;
    std::set<const StackSlice*> __locked;
    std::map<const StackSlice*, double> __scores;
};

} // namespace vorlen
