#pragma once

#include <QFrame>

#include "ui/tools/vrlsnakeconfig.h"

class QCheckBox;
class QDoubleSpinBox;
class QSpinBox;

namespace vorlen {

/// The controls of a snake's parameters.
///
/// Decisions: values beyond the range of a control become its nearest end. The choices for the run
/// over the slices stay when it is switched off, and mean nothing then.
class VRLSnakeConfigEditor : public QFrame {
    Q_OBJECT

public:
    explicit VRLSnakeConfigEditor(QWidget* parent = nullptr);

    void setConfig(const VRLSnakeConfig& config);

    /// What has no control has its default: the distance and the lower regularization.
    VRLSnakeConfig getConfig() const;

signals:
    /// By the user.
    void changed();

private slots:
    void allSliceBoxChanged(int state);

private:
    QDoubleSpinBox* __alpha;
    QDoubleSpinBox* __threshold;
    QDoubleSpinBox* __regMax;
    QCheckBox* __adaptive;
    QCheckBox* __replaces;
    QCheckBox* __allSlices;
    QSpinBox* __reach;
    QCheckBox* __propagation;
    QCheckBox* __passesOver;
    QSpinBox* __scale;
};

} // namespace vorlen
