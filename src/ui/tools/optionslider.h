#pragma once

#include <QWidget>

class QLabel;
class QSlider;
class QSpinBox;

namespace vorlen {

/// A whole number among the options of a tool: its name over a slider and a field.
class OptionSlider : public QWidget {
    Q_OBJECT

public:
    OptionSlider(const QString& name, const QString& toolTip, QWidget* parent = nullptr);

    void setRange(int least, int greatest);
    /// Shows the value without telling of it.
    void setValue(int value);
    int value() const;

    QSlider& slider() { return *__slider; }
    QSpinBox& field() { return *__field; }

signals:
    /// By the user.
    void chosen(int value);

private:
    void choose(int value);

    QLabel* __name;
    QSlider* __slider;
    QSpinBox* __field;
};

} // namespace vorlen
