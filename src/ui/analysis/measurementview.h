#pragma once

#include <vector>

namespace vorlen {

class MeasurementTable;
class VRLTableWidget;

/// Fills a table of a window with the columns of these places, with units in the headers and descriptions as tool tips.
/// What could not be measured shows "NA", with the reason as tool tip.
void showMeasurements(VRLTableWidget& widget, const MeasurementTable& measurements, const std::vector<int>& columns);

} // namespace vorlen
