#pragma once

#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

class VRLStack;

/// What lies on each slice: a row for each slice, a column for each model with the number of its outlines there, or of
/// its points for a point model. Counted when the stack is set, and not followed up later.
class VRLSliceAnalysisTable : public VRLTableWidget {
    Q_OBJECT

public:
    explicit VRLSliceAnalysisTable(QWidget* parent = nullptr);

    /// The stack is seen only while this operation runs.
    void setStack(const VRLStack& stack);
};

} // namespace vorlen
