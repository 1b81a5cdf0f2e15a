#include "ui/tools/toollist.h"

#include "document/model.h"
#include "document/stacksliceselectioninfo.h"
#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatordouglaspeuckerdecimationdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatoreditiondelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorfourierdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorreorigindelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorresamplingdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorselectiondelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorsnakedelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorsplitdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorthresholdingdelegate.h"

namespace vorlen {

namespace {

using Creation = VRLSliceEditWidgetMediatorCreationDelegate;
using DouglasPeucker = VRLSliceEditWidgetMediatorDouglasPeuckerDecimationDelegate;
using Edition = VRLSliceEditWidgetMediatorEditionDelegate;
using Fourier = VRLSliceEditWidgetMediatorFourierDelegate;
using Reorigin = VRLSliceEditWidgetMediatorReoriginDelegate;
using Resampling = VRLSliceEditWidgetMediatorResamplingDelegate;
using Selection = VRLSliceEditWidgetMediatorSelectionDelegate;
using Snake = VRLSliceEditWidgetMediatorSnakeDelegate;
using Split = VRLSliceEditWidgetMediatorSplitDelegate;
using Thresholding = VRLSliceEditWidgetMediatorThresholdingDelegate;
using Selected = StackSliceSelectionInfo;
using Tool = ToolCommand::Tool;

template <class Class>
Tool* make(ToolHost& host) {
    return new Class(host);
}

/// Starts a tool.
void run(Tool& tool, const QString&) {
    tool.activate();
}

/// Starts a tool for a model.
template <class Class>
void runFor(Tool& tool, const QString& model) {
    static_cast<Class&>(tool).activate(model);
}

/// An operation of the tool for what is selected; its argument is the model, where it has one.
std::function<void(Tool&, const QString&)> call(void (Selection::*work)()) {
    return [work](Tool& tool, const QString&) { (static_cast<Selection&>(tool).*work)(); };
}
std::function<void(Tool&, const QString&)> call(void (Selection::*work)(const QString&)) {
    return [work](Tool& tool, const QString& model) { (static_cast<Selection&>(tool).*work)(model); };
}

bool always(const Selected&) {
    return true;
}

bool nothing(const Selected& selected) {
    return selected.emptySelection();
}

bool something(const Selected& selected) {
    return !selected.emptySelection();
}

bool oneItem(const Selected& selected) {
    return something(selected) && !selected.multipleSelection();
}

bool oneGeometry(const Selected& selected) {
    return selected.homogeneousSelection();
}

bool noSeveralNorPoints(const Selected& selected) {
    return !selected.multipleSelection() && selected.selectionGeometry() != PolypointPrimitive;
}

bool wholePolygon(const Selected& selected) {
    return !selected.multipleSelection() && !selected.partialSelection() &&
           selected.selectionGeometry() == PolygonPrimitive;
}

bool wholeContour(const Selected& selected) {
    return wholePolygon(selected) || (!selected.multipleSelection() && !selected.partialSelection() &&
                                      selected.selectionGeometry() == PolylinePrimitive);
}

bool isOfThatGeometry(const Model& model, const Selected& selected) {
    return model.getProperties().definesGeometry() &&
           model.getProperties().getGeometry() == selected.selectionGeometry();
}

constexpr auto Draw = ToolMenu::Draw;
constexpr auto Edit = ToolMenu::Edit;
constexpr auto Top = ToolMenu::Top;

} // namespace

QString toolMenuTitle(ToolMenu menu) {
    return menu == Draw ? "Draw" : menu == Edit ? "Edit" : QString();
}

bool isToolMenuEnabled(ToolMenu menu, const StackSliceSelectionInfo& selected) {
    return menu != Edit || something(selected);
}

const std::vector<ToolCommand>& toolCommands() {
    // clang-format off
    static const std::vector<ToolCommand> commands = {
        {"draw.manual", "Manual", "", "", Draw, always, make<Creation>, runFor<Creation>, ToolModels::OfStack, {}, true},
        {"draw.automatic", "Automatic", "", "", Draw, always, make<Thresholding>, runFor<Thresholding>, ToolModels::Polygons, {}, true},
        {"edit.properties", "Properties...", "", "", Edit, noSeveralNorPoints, make<Selection>, call(&Selection::editSelectionProperties)},
        {"edit.points", "Edit points", "", "E", Edit, oneItem, make<Edition>, run},
        {"edit.decimate", "Decimate", "", "", Edit, something, make<Selection>, call(&Selection::decimateSelection)},
        {"edit.douglaspeucker", "Decimate (Douglas-Peucker)", "", "", Edit, wholeContour, make<DouglasPeucker>, run},
        {"edit.resample", "Resample", "", "R", Edit, wholePolygon, make<Resampling>, run},
        {"edit.origin", "Change origin", "", "", Edit, wholePolygon, make<Reorigin>, run},
        {"edit.split", "Split contour", "", "", Edit, wholePolygon, make<Split>, run},
        {"edit.smooth", "Smooth (Fourier)", "", "", Edit, wholePolygon, make<Fourier>, run},
        {"edit.snake", "Run Snake", "", "S", Edit, wholePolygon, make<Snake>, run},
        {"select.model", "Select", "", "", Top, nothing, make<Selection>, call(&Selection::selectModelItems), ToolModels::OfSlice},
        {"convert", "Convert", "", "", Top, oneGeometry, make<Selection>, call(&Selection::convertSelection), ToolModels::OfStack, isOfThatGeometry},
        {"delete", "Delete", "", "Delete", Top, something, make<Selection>, call(&Selection::removeSelection)},
        {"select.all", "Select all", "", "Ctrl+A", ToolMenu::None, always, make<Selection>, call(&Selection::selectAllModelItems)},
    };
    // clang-format on
    return commands;
}

ToolCommand::ToolMaker restingToolMaker() {
    return make<Selection>;
}

} // namespace vorlen
