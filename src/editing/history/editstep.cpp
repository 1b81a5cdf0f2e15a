#include "editing/history/editstep.h"

#include "editing/history/vrlaction.h"

namespace vorlen {

EditStep::EditStep(VRLActionHistory& history) : __history(&history) {
    history.openStep();
    __number = history.stepNumber();
}

EditStep::~EditStep() {
    if (isMine())
        __history->abandonStep();
}

bool EditStep::isMine() const {
    return __history && __history->isStepOpen() && __history->stepNumber() == __number;
}

void EditStep::apply(std::unique_ptr<VRLAction> action) {
    if (isMine())
        __history->apply(std::move(action));
}

void EditStep::record(std::unique_ptr<VRLAction> action) {
    if (isMine())
        __history->record(std::move(action));
}

void EditStep::commit() {
    if (isMine())
        __history->closeStep();
}

int EditStep::getNumActions() const {
    return isMine() ? __history->getNumOpenActions() : 0;
}

} // namespace vorlen
