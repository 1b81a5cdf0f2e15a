#include "editing/bus/vrlmodelevent.h"

#include "numerics/exception.h"

namespace vorlen {

Model* VRLModelEvent::getModel() const {
    if (__model == nullptr)
        throw ProgramError("Model* VRLModelEvent::getModel() const", "Model is null");
    return __model;
}

} // namespace vorlen
