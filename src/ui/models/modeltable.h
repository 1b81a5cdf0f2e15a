#pragma once

#include <map>
#include <vector>

#include <QAbstractTableModel>

#include "editing/bus/vrleventclient.h"

namespace vorlen {

class Model;
class ModelViews;
class StackSlice;
class VRLStack;

/// The models of a stack as the rows of a table: whether each is shown and locked, its name with its colour, and how
/// many items it has on a slice and in all. Names are edited in it, each as a step of the stack's history; a click on
/// the first two columns is left to the view.
///
/// Counts are made anew once for many events.
class ModelTable : public QAbstractTableModel, public VRLEventClient {
    Q_OBJECT

public:
    enum Column { Shown, Locked, Name, Here, All, NumColumns };

    ModelTable(ModelViews& views, QObject* parent);

    void setStack(VRLStack* stack);
    /// The slice whose items are counted; null for none.
    void setSlice(const StackSlice* slice);

    Model& modelAt(int row) const { return *__models[static_cast<std::size_t>(row)]; }
    /// -1 for a model that is not in the table.
    int rowOf(const Model& model) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;

signals:
    /// A name that was entered was refused, for this reason.
    void refused(const QString& reason);
    /// The counts are right again after a change.
    void counted();

private:
    void countLater();
    void count();
    void tellOf(const Model& model);
    QVariant text(const Model& model, int column) const;
    QVariant picture(const Model& model, int column) const;
    QString tip(const Model& model, int column) const;

    ModelViews& __views;
    VRLStack* __stack = nullptr;
    const StackSlice* __slice = nullptr;
    std::vector<Model*> __models;
    std::map<const Model*, int> __here;
    bool __countPending = false;
};

/// The colour in which a model's items are drawn.
QColor colorOf(const Model& model);

} // namespace vorlen
