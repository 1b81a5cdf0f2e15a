#pragma once

#include <memory>

#include <QString>
#include <QTableWidget>

#include "editing/stacks/vrlstack.h"
#include "support/documentmaker.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

/// Twelve slices "s0" to "s11" at 5, 15, ... 115 mm, of pixels 2 mm wide and 3 mm high, with a model of every kind:
/// "tube", the rectangle of 4 by 2 pixels (8 mm by 6 mm) on s0, s2 and s10, drawn backwards on s2; "pair", two
/// rectangles of the same and of half that width on s1; "line", an open line on s3; "dots", five points on s2 and s4;
/// "nothing", a polygon model without items.
inline std::unique_ptr<VRLStack> makeAnalysisStack() {
    auto stack = std::make_unique<VRLStack>();
    stack->setName("small");
    stack->setDefaultSliceSpacing(10);
    addSlices(*stack, 12);
    stack->getSlice(0).setAbsolutePosition(5);
    PixelCalibration calibration;
    calibration.setPixelWidth(2);
    calibration.setPixelHeight(3);
    stack->setDefaultPixelCalibration(calibration);
    for (int i = 0; i < stack->getNumSlices(); ++i)
        stack->getSlice(i).setPixelCalibration(calibration);
    stack->setLengthUnit(LengthUnit(-3));

    Model& tube = addModel(*stack, "tube");
    addItem(tube, stack->getSlice(10), {{0, 0}, {4, 0}, {4, 2}, {0, 2}});
    addItem(tube, stack->getSlice(0), {{0, 0}, {4, 0}, {4, 2}, {0, 2}});
    addItem(tube, stack->getSlice(2), {{0, 2}, {4, 2}, {4, 0}, {0, 0}});
    Model& pair = addModel(*stack, "pair");
    addItem(pair, stack->getSlice(1), {{0, 0}, {4, 0}, {4, 2}, {0, 2}});
    addItem(pair, stack->getSlice(1), {{10, 0}, {12, 0}, {12, 2}, {10, 2}});
    addItem(addModel(*stack, "line", PolylinePrimitive), stack->getSlice(3), {{0, 0}, {3, 0}, {3, 4}});
    Model& dots = addModel(*stack, "dots", PolypointPrimitive);
    addItem(dots, stack->getSlice(4), {{7, 8}, {100, 9}});
    addItem(dots, stack->getSlice(2), {{1, 2}, {20, 4}, {5, 6}});
    addModel(*stack, "nothing");
    return stack;
}

/// The whole table as it would be saved.
inline std::string tableText(const VRLTableWidget& table) {
    return table.selectionText(QTableWidgetSelectionRange(0, 0, table.rowCount() - 1, table.columnCount() - 1))
        .toStdString();
}

/// The texts of a column, from top to bottom, with blanks between.
inline std::string columnText(const QTableWidget& table, int column) {
    QStringList texts;
    for (int row = 0; row < table.rowCount(); ++row)
        texts += table.item(row, column)->text();
    return texts.join(' ').toStdString();
}

} // namespace vorlen
