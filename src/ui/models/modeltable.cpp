#include "ui/models/modeltable.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QMimeData>
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

namespace vorlen {

namespace {

/// Of 16 pixels, or of 32 on a finer screen; the colours stay as they are where the row is selected.
QIcon painted(const std::function<void(QPainter&)>& paint) {
    QIcon icon;
    for (const int size : {16, 32}) {
        QPixmap picture(size, size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 16.0, size / 16.0);
        paint(painter);
        painter.end();
        icon.addPixmap(picture);
        icon.addPixmap(picture, QIcon::Selected);
    }
    return icon;
}

QIcon swatch(const QColor& color) {
    return painted([&color](QPainter& painter) {
        painter.setPen(color.darker(150));
        painter.setBrush(color);
        painter.drawRoundedRect(QRectF(1.5, 1.5, 13, 13), 3, 3);
    });
}

/// Cards one behind the other, in the colours of the first models.
QIcon cards(const std::vector<QColor>& colors) {
    return painted([&colors](QPainter& painter) {
        for (std::size_t i = std::min<std::size_t>(colors.size(), 3); i-- > 0;) {
            const double shift = 2.5 * double(i);
            painter.setPen(colors[i].darker(150));
            painter.setBrush(colors[i]);
            painter.drawRoundedRect(QRectF(1.5 + shift, 5.5 - shift, 8, 8), 2, 2);
        }
    });
}

constexpr const char* mimeType = "application/x-vorlen-models";

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

ModelTable::ModelTable(ModelViews& views, QObject* parent) : QAbstractItemModel(parent), __views(views) {
    const auto all = [this] { tellOfAll(0); };
    connect(&views, &ModelViews::changed, this, all);
    connect(&views, &ModelViews::currentChanged, this, all);
}

void ModelTable::setStack(VRLStack* stack) {
    __stack = stack;
    __slice = nullptr;
    makeRows();
    count();
}

void ModelTable::makeRows() {
    beginResetModel();
    __nodes.clear();
    __root->children.clear();
    __numGroups = 0;
    for (int i = 0; __stack != nullptr && i < __stack->getNumModels(); ++i) {
        Model& model = __stack->getModel(i);
        Node& parent = groupFor(QString::fromStdString(model.getGroup()));
        parent.children.push_back(std::make_unique<Node>(Node{&model, {}, &parent, {}}));
        __nodes[&model] = parent.children.back().get();
    }
    endResetModel();
}

void ModelTable::setSlice(const StackSlice* slice) {
    __slice = slice;
    count();
}

ModelTable::Node& ModelTable::nodeAt(const QModelIndex& index) const {
    return index.isValid() ? *static_cast<Node*>(index.internalPointer()) : *__root;
}

int ModelTable::rowIn(const Node& parent, const Node& node) {
    const auto found = std::find_if(parent.children.begin(), parent.children.end(),
                                    [&node](const auto& child) { return child.get() == &node; });
    return int(found - parent.children.begin());
}

QModelIndex ModelTable::indexOf(const Node& node, int column) const {
    if (node.parent == nullptr)
        return QModelIndex();
    return createIndex(rowIn(*node.parent, node), column, &node);
}

QModelIndex ModelTable::indexOf(const Model& model) const {
    const auto found = __nodes.find(&model);
    return found == __nodes.end() ? QModelIndex() : indexOf(*found->second, Name);
}

Model* ModelTable::modelAt(const QModelIndex& index) const {
    return nodeAt(index).model;
}

std::vector<Model*> ModelTable::modelsAt(const QModelIndex& index) const {
    const Node& node = nodeAt(index);
    if (node.model != nullptr)
        return {node.model};
    std::vector<Model*> models;
    if (index.isValid())
        for (const auto& child : node.children)
            models.push_back(child->model);
    return models;
}

/// The root for no name; null where the group has no row.
ModelTable::Node* ModelTable::findGroup(const QString& group) const {
    if (group.isEmpty())
        return __root.get();
    for (int i = 0; i < __numGroups; ++i)
        if (__root->children[std::size_t(i)]->group == group)
            return __root->children[std::size_t(i)].get();
    return nullptr;
}

/// The root for no name. The group's row is made where there is none: the groups stand before the models.
ModelTable::Node& ModelTable::groupFor(const QString& group) {
    if (Node* const known = findGroup(group))
        return *known;
    const auto made = __root->children.insert(__root->children.begin() + __numGroups,
                                              std::make_unique<Node>(Node{nullptr, group, __root.get(), {}}));
    ++__numGroups;
    return **made;
}

/// The same, with a word to the views about a row that is made.
ModelTable::Node& ModelTable::shownGroupFor(const QString& group) {
    if (Node* const known = findGroup(group))
        return *known;
    beginInsertRows({}, __numGroups, __numGroups);
    Node& made = groupFor(group);
    endInsertRows();
    return made;
}

/// Behind the models that stand before it in the stack.
int ModelTable::placeFor(const Node& parent, const Model& model) const {
    const int rank = __stack->findModel(model);
    int place = int(parent.children.size());
    while (place > 0 && parent.children[std::size_t(place - 1)]->model != nullptr &&
           __stack->findModel(*parent.children[std::size_t(place - 1)]->model) > rank)
        --place;
    return place;
}

QModelIndex ModelTable::index(int row, int column, const QModelIndex& parent) const {
    const Node& above = nodeAt(parent);
    if (row < 0 || column < 0 || column >= NumColumns || row >= int(above.children.size()))
        return QModelIndex();
    return createIndex(row, column, above.children[std::size_t(row)].get());
}

QModelIndex ModelTable::parent(const QModelIndex& index) const {
    return index.isValid() ? indexOf(*nodeAt(index).parent, 0) : QModelIndex();
}

int ModelTable::rowCount(const QModelIndex& parent) const {
    return parent.column() > 0 ? 0 : int(nodeAt(parent).children.size());
}

int ModelTable::columnCount(const QModelIndex&) const {
    return int(NumColumns);
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
    return QString::fromStdString(model.getName()) + " (" + geometryText(model) + ")";
}

/// What is true of its models together.
QVariant ModelTable::groupData(const Node& group, int column, int role) const {
    const auto isShown = [this](const auto& node) { return !__views.isHidden(*node->model); };
    const auto isLocked = [this](const auto& node) { return __views.isLocked(*node->model); };
    const bool shown = std::any_of(group.children.begin(), group.children.end(), isShown);
    const bool locked = std::all_of(group.children.begin(), group.children.end(), isLocked);
    int here = 0, all = 0;
    if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
        for (const auto& node : group.children) {
            here += text(*node->model, Here).toInt();
            all += node->model->getNumItems();
        }
    switch (role) {
    case Qt::EditRole:
        return column == Name ? QVariant(group.group) : QVariant();
    case Qt::DisplayRole:
        return column == Name   ? QVariant(group.group)
               : column == Here ? QVariant(here)
               : column == All  ? QVariant(all)
                                : QVariant();
    case Qt::DecorationRole: {
        if (column == Shown)
            return VRLIcons::icon(shown ? "eye" : "eyeclosed");
        if (column == Locked)
            return VRLIcons::icon(locked ? "lock" : "lockopen");
        if (column != Name)
            return QVariant();
        std::vector<QColor> colors;
        for (std::size_t i = 0; i < std::min<std::size_t>(group.children.size(), 3); ++i)
            colors.push_back(colorOf(*group.children[i]->model));
        return cards(colors);
    }
    case Qt::ToolTipRole:
        if (column == Shown)
            return shown ? "Click: hide all models of the group" : "Click: show all models of the group";
        if (column == Locked)
            return locked ? "Click: unlock all models of the group" : "Click: lock all models of the group";
        return QString("%1 (group of %2)").arg(group.group).arg(group.children.size());
    case Qt::AccessibleTextRole:
        return column == Shown    ? QVariant(shown ? "shown" : "hidden")
               : column == Locked ? QVariant(locked ? "locked" : "not locked")
               : column == Name   ? QVariant("Group " + group.group)
                                  : QVariant(QString::number(column == Here ? here : all));
    case Qt::TextAlignmentRole:
        return column == Name ? QVariant() : QVariant(Qt::AlignVCenter | Qt::AlignRight);
    default:
        return QVariant();
    }
}

QVariant ModelTable::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return QVariant();
    const Node& node = nodeAt(index);
    if (node.model == nullptr)
        return groupData(node, index.column(), role);
    const Model& model = *node.model;
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
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    Qt::ItemFlags usual = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled;
    if (modelAt(index) != nullptr)
        usual |= Qt::ItemNeverHasChildren;
    return index.column() == Name ? usual | Qt::ItemIsEditable : usual;
}

bool ModelTable::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || index.column() != Name || __stack == nullptr)
        return false;
    const std::string name = value.toString().simplified().toStdString();
    if (modelAt(index) == nullptr) { // its row goes: not while it is edited
        if (!name.empty())           // which is no name for a group
            QMetaObject::invokeMethod(
                this, [this, group = nodeAt(index).group.toStdString(), name] { renameGroup(group, name); },
                Qt::QueuedConnection);
        return !name.empty();
    }
    Model& model = *modelAt(index);
    if (name == QString::fromStdString(model.getName()).simplified().toStdString())
        return true;
    const Outcome outcome = renameModel(*__stack, model, name);
    if (!outcome)
        emit refused(QString::fromStdString(outcome.getReason()));
    return bool(outcome);
}

void ModelTable::renameGroup(const std::string& group, const std::string& name) {
    if (__stack == nullptr)
        return;
    if (const Outcome outcome = groupModels(*__stack, modelsOfGroup(*__stack, group), name); !outcome)
        emit refused(QString::fromStdString(outcome.getReason()));
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
    if (__stack == nullptr || __stack->findModel(*model) < 0 || holds(*model))
        return;
    addNode(*model);
    countLater();
}

void ModelTable::modelDeleteEvent(VRLModelDeleteEvent& event) {
    const auto found = __nodes.find(event.getModel());
    if (found == __nodes.end())
        return;
    Node& parent = *found->second->parent;
    const int row = rowIn(parent, *found->second);
    beginRemoveRows(indexOf(parent, 0), row, row);
    __nodes.erase(found);
    parent.children.erase(parent.children.begin() + row);
    endRemoveRows();
    removeGroupIfEmpty(parent);
    countLater();
}

void ModelTable::tellOf(const Model& model) {
    const QModelIndex row = indexOf(model);
    if (!row.isValid())
        return;
    emit dataChanged(row.siblingAtColumn(0), row.siblingAtColumn(NumColumns - 1));
    if (const QModelIndex group = row.parent(); group.isValid()) // which shows the colours
        emit dataChanged(group, group.siblingAtColumn(NumColumns - 1));
}

/// From the column on, in all rows.
void ModelTable::tellOfAll(int column) {
    if (__root->children.empty())
        return;
    emit dataChanged(index(0, column), index(rowCount() - 1, NumColumns - 1));
    for (int i = 0; i < __numGroups; ++i) {
        const QModelIndex group = index(i, 0);
        emit dataChanged(index(0, column, group), index(rowCount(group) - 1, NumColumns - 1, group));
    }
}

void ModelTable::addNode(Model& model) {
    Node& parent = shownGroupFor(QString::fromStdString(model.getGroup()));
    const int row = placeFor(parent, model);
    beginInsertRows(indexOf(parent, 0), row, row);
    const auto made =
        parent.children.insert(parent.children.begin() + row, std::make_unique<Node>(Node{&model, {}, &parent, {}}));
    __nodes[&model] = made->get();
    endInsertRows();
}

void ModelTable::removeGroupIfEmpty(Node& group) {
    if (group.parent == nullptr || !group.children.empty())
        return;
    const int row = rowIn(*__root, group);
    beginRemoveRows({}, row, row);
    __root->children.erase(__root->children.begin() + row);
    --__numGroups;
    endRemoveRows();
}

/// A step may change the groups of many.
void ModelTable::regroupLater(const Model& model) {
    const auto found = __nodes.find(&model);
    if (found == __nodes.end() || found->second->parent->group == QString::fromStdString(model.getGroup()))
        return;
    if (__toRegroup.empty())
        QMetaObject::invokeMethod(this, &ModelTable::regroup, Qt::QueuedConnection);
    __toRegroup.push_back(&model);
}

void ModelTable::regroup() {
    const std::vector<const Model*> models = std::move(__toRegroup);
    __toRegroup.clear();
    if (models.empty())
        return;
    constexpr std::size_t fewest = 20; // for which all rows are made anew: a move costs what the list costs
    if (models.size() < fewest)
        for (const Model* model : models)
            moveToGroup(model);
    else
        makeRows();
    emit regrouped();
}

/// Moves the model's row to where its group is now, if it is not there.
void ModelTable::moveToGroup(const Model* model) {
    const auto found = __nodes.find(model);
    if (found == __nodes.end())
        return; // it has gone meanwhile
    const QString name = QString::fromStdString(model->getGroup());
    if (found->second->parent->group == name)
        return;
    Node& node = *found->second;
    Node& from = *node.parent;
    Node& to = shownGroupFor(name);
    const int row = rowIn(from, node), place = placeFor(to, *model);
    beginMoveRows(indexOf(from, 0), row, row, indexOf(to, 0), place);
    std::unique_ptr<Node> moved = std::move(from.children[std::size_t(row)]);
    from.children.erase(from.children.begin() + row);
    moved->parent = &to;
    to.children.insert(to.children.begin() + place, std::move(moved));
    endMoveRows();
    removeGroupIfEmpty(from);
}

void ModelTable::modelPropertiesEvent(VRLModelPropertiesEvent& event) {
    regroupLater(*event.getModel());
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
    tellOfAll(Here);
    emit counted();
}

QStringList ModelTable::mimeTypes() const {
    return {mimeType};
}

/// The places of the models in the stack: none goes to another one.
QMimeData* ModelTable::mimeData(const QModelIndexList& indexes) const {
    std::vector<const Model*> models;
    for (const QModelIndex& index : indexes)
        for (const Model* model : modelsAt(index))
            if (std::find(models.begin(), models.end(), model) == models.end())
                models.push_back(model);
    QStringList ranks;
    for (const Model* model : models)
        ranks += QString::number(__stack->findModel(*model));
    auto data = std::make_unique<QMimeData>();
    data->setData(mimeType, ranks.join(' ').toLatin1());
    return data.release(); // the drag deletes it
}

std::vector<Model*> ModelTable::draggedModels(const QMimeData& data) const {
    std::vector<Model*> models;
    for (const QByteArray& rank : data.data(mimeType).split(' ')) {
        bool isNumber = false;
        const int i = rank.toInt(&isNumber);
        if (isNumber && __stack != nullptr && i >= 0 && i < __stack->getNumModels())
            models.push_back(&__stack->getModel(i));
    }
    return models;
}

bool ModelTable::canDropMimeData(const QMimeData* data, Qt::DropAction action, int, int, const QModelIndex&) const {
    return action == Qt::MoveAction && data->hasFormat(mimeType) && __stack != nullptr;
}

bool ModelTable::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                              const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    const Node& at = nodeAt(parent);
    const QString group = at.model != nullptr ? at.parent->group : at.group;
    const Outcome outcome = groupModels(*__stack, draggedModels(*data), group.toStdString());
    if (!outcome)
        emit refused(QString::fromStdString(outcome.getReason()));
    return false;
}

} // namespace vorlen
