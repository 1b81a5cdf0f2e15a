#include "ui/models/modeltable.h"

#include <algorithm>

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QPainter>
#include <QPixmap>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/operations/modeloperations.h"
#include "editing/stacks/vrlstack.h"
#include "ui/icons/vrlicons.h"
#include "ui/models/modelviews.h"
#include "ui/widgets/plaintext.h"

namespace vorlen {

namespace {

QIcon swatch(const QColor& color) {
    QPixmap picture(16, 16);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(color.darker(150));
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(1.5, 1.5, 13, 13), 3, 3);
    painter.end();
    return picture;
}

QString geometryText(const Model& model) {
    if (!model.getProperties().definesGeometry())
        return "no geometry";
    switch (model.getProperties().getGeometry()) {
    case PolygonPrimitive:
        return "closed outlines";
    case PolylinePrimitive:
        return "open lines";
    case PolypointPrimitive:
        return "points";
    default:
        return "no geometry";
    }
}

} // namespace

QColor colorOf(const Model& model) {
    ModelItemProperties look;
    look.setDefaults();
    look.update(model.getItemProperties());
    const Vector<int>& color = look.getColor();
    return QColor(std::clamp(color[0], 0, 255), std::clamp(color[1], 0, 255), std::clamp(color[2], 0, 255));
}

ModelTable::ModelTable(ModelViews& views, QObject* parent) : QAbstractTableModel(parent), __views(views) {
    const auto all = [this] {
        if (!__models.empty())
            emit dataChanged(index(0, 0), index(rowCount() - 1, NumColumns - 1));
    };
    connect(&views, &ModelViews::changed, this, all);
    connect(&views, &ModelViews::currentChanged, this, all);
}

void ModelTable::setStack(VRLStack* stack) {
    beginResetModel();
    __stack = stack;
    __slice = nullptr;
    __models.clear();
    for (int i = 0; stack != nullptr && i < stack->getNumModels(); ++i)
        __models.push_back(&stack->getModel(i));
    endResetModel();
    count();
}

void ModelTable::setSlice(const StackSlice* slice) {
    __slice = slice;
    count();
}

int ModelTable::rowOf(const Model& model) const {
    const auto found = std::find(__models.begin(), __models.end(), &model);
    return found != __models.end() ? int(found - __models.begin()) : -1;
}

int ModelTable::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(__models.size());
}

int ModelTable::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(NumColumns);
}

QVariant ModelTable::text(const Model& model, int column) const {
    if (column == Name)
        return QString::fromStdString(model.getName());
    if (column == All)
        return model.getNumItems();
    const auto here = __here.find(&model);
    return column == Here ? QVariant(here != __here.end() ? here->second : 0) : QVariant();
}

QVariant ModelTable::picture(const Model& model, int column) const {
    if (column == Name)
        return swatch(colorOf(model));
    if (column == Shown)
        return VRLIcons::icon(__views.isHidden(model) ? "eyeclosed" : "eye");
    if (column == Locked)
        return VRLIcons::icon(__views.isLocked(model) ? "lock" : "lockopen");
    return QVariant();
}

QString ModelTable::tip(const Model& model, int column) const {
    if (column == Shown)
        return __views.isHidden(model) ? "Hidden on the slices. Click: show" : "Shown on the slices. Click: hide";
    if (column == Locked)
        return __views.isLocked(model) ? "Locked: its outlines can't be selected or changed. Click: unlock"
                                       : "Click: lock, so that its outlines can't be selected or changed";
    return plainTip(QString::fromStdString(model.getName()) + " (" + geometryText(model) + ")");
}

QVariant ModelTable::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount())
        return QVariant();
    const Model& model = modelAt(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return text(model, index.column());
    case Qt::DecorationRole:
        return picture(model, index.column());
    case Qt::ToolTipRole:
        return tip(model, index.column());
    case Qt::AccessibleTextRole:
        return index.column() == Shown    ? QVariant(__views.isHidden(model) ? "hidden" : "shown")
               : index.column() == Locked ? QVariant(__views.isLocked(model) ? "locked" : "not locked")
                                          : text(model, index.column()).toString();
    case Qt::TextAlignmentRole:
        return index.column() == Name ? QVariant() : QVariant(Qt::AlignVCenter | Qt::AlignRight);
    case Qt::FontRole: {
        QFont font;
        font.setBold(&model == __views.getCurrent());
        return font;
    }
    default:
        return QVariant();
    }
}

QVariant ModelTable::headerData(int section, Qt::Orientation orientation, int role) const {
    static const char* const titles[] = {"", "", "Model", "Here", "All"};
    static const char* const tips[] = {"Shown on the slices", "Locked", "The models of the stack",
                                       "Outlines and sets of points on this slice",
                                       "Outlines and sets of points in the stack"};
    if (orientation != Qt::Horizontal || section < 0 || section >= NumColumns)
        return QVariant();
    if (role == Qt::DisplayRole)
        return titles[section];
    return role == Qt::ToolTipRole ? QVariant(tips[section]) : QVariant();
}

Qt::ItemFlags ModelTable::flags(const QModelIndex& index) const {
    const Qt::ItemFlags usual = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    return index.column() == Name ? usual | Qt::ItemIsEditable : usual;
}

bool ModelTable::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || index.column() != Name || __stack == nullptr)
        return false;
    Model& model = modelAt(index.row());
    const std::string name = value.toString().simplified().toStdString();
    if (name == QString::fromStdString(model.getName()).simplified().toStdString())
        return true;
    const Outcome outcome = renameModel(*__stack, model, name);
    if (!outcome)
        emit refused(QString::fromStdString(outcome.getReason()));
    return bool(outcome);
}

void ModelTable::stackCloseEvent(VRLStackCloseEvent& event) {
    if (event.getStack() == __stack)
        setStack(nullptr);
}

void ModelTable::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (action.getSlice() == __slice && action.isInsertion() == action.reverted())
        __slice = nullptr;
    countLater();
}

void ModelTable::modelCreateEvent(VRLModelCreateEvent& event) {
    Model* const model = event.getModel();
    if (__stack == nullptr || __stack->findModel(*model) < 0 || rowOf(*model) >= 0)
        return;
    const int row = std::min(__stack->findModel(*model), rowCount());
    beginInsertRows({}, row, row);
    __models.insert(__models.begin() + row, model);
    endInsertRows();
    countLater();
}

void ModelTable::modelDeleteEvent(VRLModelDeleteEvent& event) {
    const int row = rowOf(*event.getModel());
    if (row < 0)
        return;
    beginRemoveRows({}, row, row);
    __models.erase(__models.begin() + row);
    endRemoveRows();
    countLater();
}

void ModelTable::tellOf(const Model& model) {
    if (const int row = rowOf(model); row >= 0)
        emit dataChanged(index(row, 0), index(row, NumColumns - 1));
}

void ModelTable::modelPropertiesEvent(VRLModelPropertiesEvent& event) {
    tellOf(*event.getModel());
}

void ModelTable::modelItemCreateEvent(VRLModelItemCreateEvent&) {
    countLater();
}

void ModelTable::modelItemDeleteEvent(VRLModelItemDeleteEvent&) {
    countLater();
}

void ModelTable::modelItemConvertEvent(VRLModelItemConvertEvent&) {
    countLater();
}

void ModelTable::countLater() {
    if (__countPending)
        return;
    __countPending = true;
    QMetaObject::invokeMethod(this, &ModelTable::count, Qt::QueuedConnection);
}

void ModelTable::count() {
    __countPending = false;
    __here.clear();
    for (int i = 0; __slice != nullptr && i < __slice->getNumItems(); ++i)
        ++__here[__slice->getItem(i).getModel()];
    if (!__models.empty())
        emit dataChanged(index(0, Here), index(rowCount() - 1, All));
    emit counted();
}

} // namespace vorlen
