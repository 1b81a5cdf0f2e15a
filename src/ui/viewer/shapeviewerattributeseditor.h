#pragma once

#include "ui/viewer/shapepainterattributesgl.h"

#include <QWidget>

#include <optional>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QPushButton;
class QSpinBox;

namespace vorlen {

/// Edits one record of drawing attributes; what is undefined shows as an empty entry, a blank, or a check box between
/// its two states. Starts disabled; its owner enables it when there is a selection.
///
/// The controls hold whole numbers: a value with a fraction shows without it, and keeps it as long as its control is
/// not touched. The check boxes say their state in words.
class ShapeViewerAttributesEditor : public QWidget {
    Q_OBJECT

public:
    explicit ShapeViewerAttributesEditor(QWidget* parent = nullptr);

    /// Shows the record, which becomes the applied state. Tells nothing.
    void setAttributes(const ShapePainterAttributesGL& attributes);
    ShapePainterAttributesGL getAttributes() const;
    /// Shows a record without values.
    void clear();

    /// In immediate mode every change is told at once and there are no buttons.
    void setImmediate(bool immediate);

public slots:
    void runColorSelection();

signals:
    /// There are new attributes to apply.
    void attributesChanged();

private slots:
    void processChange();
    void apply();
    void cancel();

private:
    QComboBox* __addCombo(QGridLayout& grid, const QString& label, const QStringList& entries);
    QSpinBox* __addSpin(QGridLayout& grid, const QString& label, int maximum);
    QCheckBox* __addCheck(QGridLayout& grid, const QString& label, Qt::CheckState start);
    void __addRow(QGridLayout& grid, const QString& label, QWidget& control);
    void __show(const ShapePainterAttributesGL& attributes);
    void __showColor();

    ShapePainterAttributesGL __applied;
    std::optional<Vector<int>> __shownColor;
    bool __immediate = false;
    bool __showing = false;
    QComboBox* __displayMode;
    QComboBox* __vertexSymbol;
    QSpinBox* __symbolSize;
    QSpinBox* __lineWidth;
    QSpinBox* __opacity;
    QSpinBox* __shininess;
    QSpinBox* __smoothing;
    QPushButton* __color;
    QCheckBox* __beginCap;
    QCheckBox* __endCap;
    QCheckBox* __visible;
    QPushButton* __applyButton;
    QPushButton* __cancelButton;
};

} // namespace vorlen
