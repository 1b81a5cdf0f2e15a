#pragma once

#include <QColor>
#include <QWidget>

class QCheckBox;
class QSpinBox;

namespace vorlen {

class ColorSelector;

/// What the user can choose for the whole program.
class VRLPreferencesEditor : public QWidget {
    Q_OBJECT

public:
    explicit VRLPreferencesEditor(QWidget* parent = nullptr);

    /// Shows the stored preferences; is not told by preferencesChanged().
    void load();

    /// Stores what is shown.
    void store() const;

signals:
    void preferencesChanged();

private:
    QCheckBox* __autoDecimation;
    QCheckBox* __panoramaLabels;
    QSpinBox* __maxNumBackups;
    QSpinBox* __clickTolerance;
    ColorSelector* __backgroundColor;
};

} // namespace vorlen
