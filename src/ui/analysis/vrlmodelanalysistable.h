#pragma once

#include "document/modelproperties.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

class VRLStack;

/// The measurements of a stack's models of one geometry in space: a row for each model, in the stack's order. Measured
/// when stack or geometry are set, and not followed up later.
///
/// A measure that is not available shows "NA", with the reason as tool tip.
class VRLModelAnalysisTable : public VRLTableWidget {
    Q_OBJECT

public:
    explicit VRLModelAnalysisTable(QWidget* parent = nullptr);

    /// The stack is seen by setStack() and setModelGeometry() only, and must live when they are called.
    void setStack(const VRLStack& stack);

    /// At first no geometry is set, and no model is shown.
    void setModelGeometry(MPrimitive geometry);

private:
    void refresh();

    static constexpr MPrimitive noGeometry = MPrimitive(3);

    const VRLStack* __stack = nullptr;
    MPrimitive __geometry = noGeometry;
};

} // namespace vorlen
