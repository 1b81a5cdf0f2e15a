#include "ui/analysis/vrlsliceanalysistable.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "document/model.h"
#include "document/modelitem.h"
#include "editing/stacks/vrlstack.h"
#include "ui/analysis/analysistext.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

VRLSliceAnalysisTable::VRLSliceAnalysisTable(QWidget* parent) : VRLTableWidget(parent) {
    setSelectionMode(QAbstractItemView::ContiguousSelection);
    setAccessibleName("Numbers of outlines and points on the slices");
}

void VRLSliceAnalysisTable::setStack(const VRLStack& stack) {
    __stack = &stack;
    updateHeaders();
    updateContents();
    setAlternateBackgroundColor();
}

void VRLSliceAnalysisTable::updateHeaders() {
    QStringList headers = {"Slice"};
    for (int m = 0; m < __stack->getNumModels(); ++m)
        headers += QString::fromStdString(__stack->getModel(m).getName());
    beginContents(headers, __stack->getNumSlices());
    setHeaderToolTip(0, "A click sorts by the order of the stack");
    for (int m = 0; m < __stack->getNumModels(); ++m) {
        const bool points = __stack->getModel(m).getProperties().getGeometry() == PolypointPrimitive;
        setHeaderToolTip(m + 1, points ? "Number of points on the slice" : "Number of outlines on the slice");
    }
}

void VRLSliceAnalysisTable::updateContents() {
    const WaitCursor wait;
    std::unordered_map<const Model*, int> places;
    for (int m = 0; m < __stack->getNumModels(); ++m)
        places.emplace(&__stack->getModel(m), m);
    std::vector<int> counts(places.size());
    for (int s = 0; s < __stack->getNumSlices(); ++s) {
        const StackSlice& slice = __stack->getSlice(s);
        std::fill(counts.begin(), counts.end(), 0);
        for (int k = 0; k < slice.getNumItems(); ++k) {
            const ModelItem& item = slice.getItem(k);
            const auto place = places.find(item.getModel());
            if (place != places.end())
                counts[std::size_t(place->second)] += item.isConnected() ? 1 : item.getSize();
        }
        setRankedText(s, 0, QString::fromStdString(slice.getName()), s);
        for (std::size_t m = 0; m < counts.size(); ++m)
            setNumber(s, int(m) + 1, counts[m]);
    }
    endContents();
}

} // namespace vorlen
