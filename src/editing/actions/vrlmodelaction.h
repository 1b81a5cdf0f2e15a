#pragma once

#include "editing/history/vrlaction.h"

namespace vorlen {

class Model;
class Stack;

/// Base of the actions on one model of a stack; both are seen.
class VRLModelAction : public VRLAction {
public:
    VRLModelAction(Stack& stack, Model& model) : __stack(&stack), __model(&model) {}

    Stack& getStack() const { return *__stack; }
    Model& getModel() const { return *__model; }

private:
    Stack* __stack;
    Model* __model;
};

} // namespace vorlen
