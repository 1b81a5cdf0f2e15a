#include "ui/analysis/vrlsliceanalysistable.h"

#include <numeric>
#include <vector>

#include "editing/stacks/vrlstack.h"
#include "reconstruction/measurementtable.h"
#include "ui/analysis/measurementview.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

VRLSliceAnalysisTable::VRLSliceAnalysisTable(QWidget* parent) : VRLTableWidget(parent) {
    setSelectionMode(QAbstractItemView::ContiguousSelection);
    setAccessibleName("Numbers of outlines and points on the slices");
}

void VRLSliceAnalysisTable::setStack(const VRLStack& stack) {
    const WaitCursor wait;
    const MeasurementTable measurements = MeasurementTable::ofSlices(stack);
    std::vector<int> columns(measurements.getColumns().size());
    std::iota(columns.begin(), columns.end(), 0);
    columns.erase(columns.begin() + 1); // the position
    showMeasurements(*this, measurements, columns);
}

} // namespace vorlen
