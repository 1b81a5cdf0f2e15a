#pragma once

#include "ui/tools/vrlcontourtooldialog.h"

namespace vorlen {

/// Asks for a number that a contour tool works by, such as a number of vertices.
class VRLCurveResamplingDialog : public VRLContourToolDialog {
    Q_OBJECT

public:
    VRLCurveResamplingDialog(QWidget* parent, const QString& title, const QString& label);

    int getValue() const;

    /// These send no signal. The range is 0 to 100 at first, the value 0.
    void setMinimum(int minimum);
    void setMaximum(int maximum);
    void setValue(int value);

signals:
    void numVerticesChanged(int value);

private:
    QInputBox* __box;
};

} // namespace vorlen
