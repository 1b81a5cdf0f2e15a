#pragma once

#include "snake/snakeconfig.h"

namespace vorlen {

/// What the user chooses for a snake: its parameters, and the slices that it is to run on.
class VRLSnakeConfig : public SnakeConfig {
public:
    VRLSnakeConfig() = default;
    /// One slice, without propagation.
    explicit VRLSnakeConfig(const SnakeConfig& config);

    /// Whether the snake runs on a range of slices.
    bool getRunOverStack() const { return __runOverStack; }
    void setRunOverStack(bool runOverStack);

    /// Whether a slice of a range begins with the contour that was found on the slice before it.
    bool isPropagationEnabled() const { return __propagationEnabled; }
    void setPropagationEnabled(bool enabled);

    /// How many slices before and behind the current one the range has; 0 for all of the stack.
    int getReach() const { return __reach; }
    void setReach(int reach);

    /// Whether the contour that the snake begins with gives way to what is found on its slice.
    bool isReplacing() const { return __replacing; }
    void setReplacing(bool on) { __replacing = on; }

    /// Whether slices of the range that are outlined there already are left alone.
    bool isPassingOver() const { return __passingOver; }
    void setPassingOver(bool on) { __passingOver = on; }

private:
    bool __runOverStack = false;
    bool __propagationEnabled = false;
    int __reach = 10;
    bool __replacing = false;
    bool __passingOver = true;
};

} // namespace vorlen
