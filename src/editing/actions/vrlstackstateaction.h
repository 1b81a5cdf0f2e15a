#pragma once

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include <QString>

#include "editing/actions/stackstate.h"
#include "editing/history/vrlaction.h"
#include "values/imagesource.h"

namespace vorlen {

class VRLStack;

/// Gives a stack and slices of it another state, and keeps those they had: their properties, their order, their images.
///
/// All of it changes before anything is told, and the news come within one batch, so that an action on a thousand
/// slices is one change for those who listen. Equal states are no change, and nothing is told of them.
class VRLStackStateAction : public VRLAction {
public:
    VRLStackStateAction(VRLStack& stack, const QString& description);
    ~VRLStackStateAction() override;

    void setState(const StackState& state);

    /// Slices are slices of the stack; the latest state given for one counts.
    void setSliceState(StackSlice& slice, const SliceState& state);

    /// The state that the slice is to have, to be changed.
    SliceState& sliceState(StackSlice& slice);

    /// Another image for the slice.
    void setImageSource(StackSlice& slice, const ImageSource& source);

    /// The slice that is order[i] of the stack comes to place i. What else there is about the slices goes with them.
    void setOrder(const std::vector<int>& order);

    bool isNull() const override;
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    struct Change;
    struct News;

    Change& changeOf(StackSlice& slice);
    void exchange();
    News exchangeStates();
    void exchangeOrder();
    void tell(const News& news);
    void tellOfSpacing(const News& news);
    void tellModified();

    VRLStack& __stack;
    QString __description;
    std::optional<StackState> __state;              // the other one, always
    std::vector<std::unique_ptr<Change>> __changes; // of slices, in the order in which they were named
    std::unordered_map<const StackSlice*, Change*> __changeOf;
    std::vector<int> __order; // empty for the order that there is
};

} // namespace vorlen
