#pragma once

#include <QWidget>

class QLabel;
class QSlider;
class QSpinBox;

namespace vorlen {

/// A whole number with a label: slider and spin box, kept equal, and a suffix behind them. The value starts at 0, or at
/// the end of the range that is nearest to it.
class QInputBox : public QWidget {
    Q_OBJECT

public:
    QInputBox(const QString& label, QWidget* parent, int minimum, int maximum, const QString& suffix);

    void setMinimum(int minimum);
    void setMaximum(int maximum);
    int getValue() const;

public slots:
    void setValue(int value);

signals:
    void valueChanged(int value);

private:
    QSlider* __slider;
    QSpinBox* __spinBox;
};

} // namespace vorlen
