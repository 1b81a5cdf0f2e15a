#include "ui/tools/toollist.h"

#include "document/model.h"
#include "document/stacksliceselectioninfo.h"
#include "ui/tools/automatictool.h"
#include "ui/tools/brushtool.h"
#include "ui/tools/measuringtool.h"
#include "ui/tools/movingtool.h"
#include "ui/tools/snaketool.h"
#include "ui/tools/startingtool.h"
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
#include "ui/tools/wiretool.h"

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

bool severalPolygons(const Selected& selected) {
    return selected.multipleSelection() && selected.selectionGeometry() == PolygonPrimitive;
}

/// With nothing selected they work on the current model.
bool nothingOrPolygon(const Selected& selected) {
    return nothing(selected) || (oneItem(selected) && selected.selectionGeometry() == PolygonPrimitive);
}

bool wholeContour(const Selected& selected) {
    return wholePolygon(selected) || (!selected.multipleSelection() && !selected.partialSelection() &&
                                      selected.selectionGeometry() == PolylinePrimitive);
}

bool isOfThatGeometry(const Model& model, const Selected& selected) {
    return model.getProperties().definesGeometry() &&
           model.getProperties().getGeometry() == selected.selectionGeometry();
}

bool isConnectedModel(const Model& model, const Selected&) {
    return model.getProperties().definesGeometry() && model.getProperties().getGeometry() != PolypointPrimitive;
}

Tool* makeDrawing(ToolHost& host) {
    return new StartingTool(host, "draw.manual",
                            "Click for vertices, or hold the button and draw; close the outline at its start, by "
                            "Return or a double click.");
}

Tool* makeWiring(ToolHost& host) {
    return new StartingTool(host, "draw.wire",
                            "Click on an edge, and go on along it with clicks; close the outline at its start, by "
                            "Return or a double click.",
                            WireTool::newWireOptions);
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
        {.info = {.id = selectingToolId, .text = "Select", .tip = "Select outlines and points", .icon = "toolselect", .keys = "Q", .checkable = true}, .menu = ToolMenu::None, .isEnabled = always, .make = make<Selection>, .stays = true},
        {.info = {.id = "tool.draw", .text = "Draw", .tip = "Draw outlines of the current model, one after the other", .icon = "tooldraw", .keys = "D", .checkable = true}, .menu = ToolMenu::None, .isEnabled = always, .make = makeDrawing, .stays = true},
        {.info = {.id = "tool.wire", .text = "Live wire", .tip = "Draw along the edges of the image: click here and there, and the outline follows", .icon = "toolwire", .keys = "L", .checkable = true}, .menu = ToolMenu::None, .isEnabled = always, .make = makeWiring, .stays = true},
        {.info = {.id = "tool.brush", .text = "Brush", .tip = "Paint outlines of the current model; with Ctrl, erase", .icon = "toolbrush", .keys = "B", .checkable = true}, .menu = ToolMenu::None, .isEnabled = always, .make = make<BrushTool>, .stays = true},
        {.info = {.id = "tool.automatic", .text = "Automatic", .tip = "Drag a box around a structure, or click on it: its outline, for the current model", .icon = "toolautomatic", .keys = "A", .checkable = true}, .menu = ToolMenu::None, .isEnabled = always, .make = make<AutomaticTool>, .stays = true},
        {.info = {.id = "tool.move", .text = "Move, turn, scale", .tip = "Drag an outline: move it; with Shift, turn it; with Ctrl, scale it", .icon = "toolmove", .keys = "M", .checkable = true}, .menu = ToolMenu::None, .isEnabled = always, .make = make<MovingTool>, .stays = true},
        {.info = {.id = "tool.measure", .text = "Measure", .tip = "Drag: measure a distance; drag on from its end: an angle", .icon = "toolmeasure", .keys = "T", .checkable = true}, .menu = ToolMenu::None, .isEnabled = always, .make = make<MeasuringTool>, .stays = true},
        {.info = {.id = "tool.snake", .text = "Snake", .tip = "Click on an outline: it finds the edges of the image around it", .icon = "toolsnake", .keys = "Shift+S", .checkable = true}, .menu = ToolMenu::None, .isEnabled = always, .make = make<SnakeTool>, .stays = true},
        {{.id = "brush.larger", .text = "Larger brush", .tip = "Make the brush larger", .keys = "]"}, ToolMenu::None, always, make<BrushTool>, [](Tool& tool, const QString&) { static_cast<BrushTool&>(tool).grow(1.25); }},
        {{.id = "brush.smaller", .text = "Smaller brush", .tip = "Make the brush smaller", .keys = "["}, ToolMenu::None, always, make<BrushTool>, [](Tool& tool, const QString&) { static_cast<BrushTool&>(tool).grow(0.8); }},
        {{.id = "draw.manual", .text = "Manual", .tip = "Draw a contour, line or point of the model chosen"}, Draw, always, make<Creation>, runFor<Creation>, ToolModels::OfStack, {}, true},
        {{.id = "draw.automatic", .text = "Automatic", .tip = "Outline what is brighter or darker than a threshold, at a click"}, Draw, always, make<Thresholding>, runFor<Thresholding>, ToolModels::Polygons, {}, true},
        {{.id = "draw.wire", .text = "Live wire", .tip = "Draw along the edges of the image, for the model chosen"}, Draw, always, make<WireTool>, runFor<Creation>, ToolModels::OfStack, isConnectedModel, true},
        {{.id = "edit.properties", .text = "Properties...", .tip = "Colour, width and texts of what is selected"}, Edit, noSeveralNorPoints, make<Selection>, call(&Selection::editSelectionProperties)},
        {{.id = "edit.points", .text = "Edit points", .tip = "Move, insert and delete vertices", .icon = "movepoints", .keys = "E"}, Edit, oneItem, make<Edition>, run},
        {{.id = "edit.decimate", .text = "Decimate", .tip = "Leave out the vertices that the outline does not need"}, Edit, something, make<Selection>, call(&Selection::decimateSelection)},
        {{.id = "edit.douglaspeucker", .text = "Decimate (Douglas-Peucker)", .tip = "Leave out vertices within a tolerance that a dialog asks for"}, Edit, wholeContour, make<DouglasPeucker>, run},
        {{.id = "edit.resample", .text = "Resample", .tip = "Vertices at equal distances", .keys = "R"}, Edit, wholePolygon, make<Resampling>, run},
        {{.id = "edit.origin", .text = "Change origin", .tip = "Choose the first vertex"}, Edit, wholePolygon, make<Reorigin>, run},
        {{.id = "edit.split", .text = "Split contour", .tip = "Cut a contour in two along a line", .icon = "toolsplit", .keys = "K"}, Edit, wholePolygon, make<Split>, run},
        {{.id = "edit.join", .text = "Join contours", .tip = "Make one contour of those that are selected", .icon = "tooljoin", .keys = "J"}, Edit, severalPolygons, make<Selection>, call(&Selection::joinSelection)},
        {{.id = "edit.smooth", .text = "Smooth (Fourier)", .tip = "Keep the low frequencies of the contour"}, Edit, wholePolygon, make<Fourier>, run},
        {{.id = "edit.snake", .text = "Run Snake", .tip = "Let the contour find the edges of the image", .icon = "toolsnake", .keys = "S"}, Edit, wholePolygon, make<Snake>, run},
        {{.id = "snake.run", .text = "Run Snake as set", .tip = "Let the contour find the edges of the image, with the options of the snake tool"}, Edit, wholePolygon, make<Snake>, [](Tool& tool, const QString&) { static_cast<Snake&>(tool).activateAsSet(); }},
        {{.id = "copy.next", .text = "Copy to next slice", .tip = "Copy what is selected, or the current model, to the next slice, and go there", .keys = "Shift+PgUp"}, Edit, always, make<Selection>, call(&Selection::copyToNextSlice)},
        {{.id = "copy.previous", .text = "Copy to previous slice", .tip = "Copy what is selected, or the current model, to the previous slice, and go there", .keys = "Shift+PgDown"}, Edit, always, make<Selection>, call(&Selection::copyToPreviousSlice)},
        {{.id = "copy.slices", .text = "Copy to slices...", .tip = "Copy what is selected, or the current model, to several slices before and after this one"}, Edit, always, make<Selection>, call(&Selection::copyToSlices)},
        {{.id = "gap.fill", .text = "Fill gap", .tip = "Outline the model on the slices between this outline and the next one", .keys = "G"}, Edit, nothingOrPolygon, make<Selection>, call(&Selection::fillGap)},
        {{.id = "gap.fillAll", .text = "Fill all gaps", .tip = "Outline the model on all slices that lack it between others", .keys = "Shift+G"}, Edit, nothingOrPolygon, make<Selection>, call(&Selection::fillAllGaps)},
        {{.id = "select.model", .text = "Select", .tip = "Select the items of a model on this slice"}, Top, nothing, make<Selection>, call(&Selection::selectModelItems), ToolModels::OfSlice},
        {{.id = "convert", .text = "Convert", .tip = "Give what is selected to another model"}, Top, oneGeometry, make<Selection>, call(&Selection::convertSelection), ToolModels::OfStack, isOfThatGeometry},
        {{.id = "copy.clipboard", .text = "Copy", .tip = "Copy what is selected, to be pasted on other slices", .keys = "Ctrl+C"}, ToolMenu::None, something, make<Selection>, call(&Selection::copySelection)},
        {{.id = "paste.clipboard", .text = "Paste", .tip = "Put what was copied on this slice, where it lies in space", .keys = "Ctrl+V"}, ToolMenu::None, always, make<Selection>, call(&Selection::pasteItems)},
        {{.id = "delete", .text = "Delete", .tip = "Delete what is selected", .keys = "Delete"}, Top, something, make<Selection>, call(&Selection::removeSelection)},
        {{.id = "select.all", .text = "Select all", .tip = "Select all items on this slice", .keys = "Ctrl+A"}, ToolMenu::None, always, make<Selection>, call(&Selection::selectAllModelItems)},
    };
    // clang-format on
    return commands;
}

const CommandInfo& cancelToolCommand() {
    static const CommandInfo info = {
        .id = "tool.cancel", .text = "Cancel", .tip = "End what is being done, or deselect", .keys = "Escape"};
    return info;
}

ToolCommand::ToolMaker restingToolMaker() {
    return make<Selection>;
}

} // namespace vorlen
