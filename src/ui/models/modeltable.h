#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <QAbstractItemModel>
#include <QString>

#include "editing/bus/vrleventclient.h"

namespace vorlen {

class Model;
class ModelViews;
class StackSlice;
class VRLStack;

/// The models of a stack as rows: whether each is shown and locked, its name with its colour, and how many items it has
/// on a slice and in all. Names are edited in it, each as a step of the stack's history; a click on the first two
/// columns is left to the view.
///
/// Models that are in a group are the rows below the row of their group, which tells the same of all of them: it is
/// shown where one of them is, and locked where all are. Models can be dragged to a group, to a model of a group, and
/// out of theirs, where no row is.
///
/// Counts are made anew once for many events.
class ModelTable : public QAbstractItemModel, public VRLEventClient {
    Q_OBJECT

public:
    enum Column { Shown, Locked, Name, Here, All, NumColumns };

    ModelTable(ModelViews& views, QObject* parent);

    void setStack(VRLStack* stack);
    /// The slice whose items are counted; null for none.
    void setSlice(const StackSlice* slice);

    /// Null for the row of a group, and for no row.
    Model* modelAt(const QModelIndex& index) const;
    /// The group's models for its row, else the one model.
    std::vector<Model*> modelsAt(const QModelIndex& index) const;
    /// In the column of names; invalid for a model that is not in the table.
    QModelIndex indexOf(const Model& model) const;
    bool holds(const Model& model) const { return __nodes.count(&model) > 0; }
    int numModels() const { return int(__nodes.size()); }
    int numGroups() const { return __numGroups; }

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    /// Puts the models into the group at the parent; false, as the rows are moved by what the document then tells.
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;

    /// Rows of models that have come into other groups stand there by now; else when the event loop comes to it.
    void regroup();

signals:
    /// A name that was entered was refused, for this reason.
    void refused(const QString& reason);
    /// The counts are right again after a change.
    void counted();
    /// A row went to another group, or out of its group.
    void regrouped();

private:
    /// A model, or a group with its models; the root holds the groups, and behind them the models without one.
    struct Node {
        Model* model = nullptr;
        QString group;
        Node* parent = nullptr;
        std::vector<std::unique_ptr<Node>> children;
    };

    Node& nodeAt(const QModelIndex& index) const;
    static int rowIn(const Node& parent, const Node& node);
    QModelIndex indexOf(const Node& node, int column) const;
    Node* findGroup(const QString& group) const;
    Node& groupFor(const QString& group);
    Node& shownGroupFor(const QString& group);
    int placeFor(const Node& parent, const Model& model) const;
    void addNode(Model& model);
    void removeGroupIfEmpty(Node& group);
    void regroupLater(const Model& model);
    void moveToGroup(const Model* model);
    void makeRows();
    void renameGroup(const std::string& group, const std::string& name);
    QVariant groupData(const Node& group, int column, int role) const;
    std::vector<Model*> draggedModels(const QMimeData& data) const;
    void countLater();
    void count();
    void tellOf(const Model& model);
    void tellOfAll(int column);
    QVariant text(const Model& model, int column) const;
    QVariant picture(const Model& model, int column) const;
    QString tip(const Model& model, int column) const;

    ModelViews& __views;
    VRLStack* __stack = nullptr;
    const StackSlice* __slice = nullptr;
    const std::unique_ptr<Node> __root = std::make_unique<Node>();
    std::map<const Model*, Node*> __nodes;
    int __numGroups = 0;
    std::vector<const Model*> __toRegroup;
    std::map<const Model*, int> __here;
    bool __countPending = false;
};

/// The colour in which a model's items are drawn.
QColor colorOf(const Model& model);

} // namespace vorlen
