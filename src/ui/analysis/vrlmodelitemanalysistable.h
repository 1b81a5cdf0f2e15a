#pragma once

#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

class Model;
class VRLStack;

/// The measurements of one model's items, each in its own slice: a row for each outline, or for each point of a point
/// model. Measured when the model is set, and not followed up later.
///
/// Without a model the table says what to do in its empty space.
class VRLModelItemAnalysisTable : public VRLTableWidget {
    Q_OBJECT

public:
    explicit VRLModelItemAnalysisTable(QWidget* parent = nullptr);

    /// Forgets the model and empties the table.
    void setStack(const VRLStack& stack);

    /// The model is one of the stack's. Stack and model are seen only while this operation runs.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual" // the base's operation of this name is private
    void setModel(const Model& model);
#pragma GCC diagnostic pop

    /// Forgets the model and shows nothing.
    void removeModel();

    /// What stands in the empty space.
    void setHint(const QString& hint);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const VRLStack* __stack = nullptr;
    QString __hint;
};

} // namespace vorlen
