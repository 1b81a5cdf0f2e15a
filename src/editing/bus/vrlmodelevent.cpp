#include "editing/bus/vrlmodelevent.h"

#include "numerics/exception.h"

Model* VRLModelEvent::getModel() const {
    if (__model == nullptr)
        throw ProgramError("Model* VRLModelEvent::getModel() const", "Model is null");
    return __model;
}
