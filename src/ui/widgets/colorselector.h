#pragma once

#include <QColor>
#include <QPushButton>

namespace vorlen {

/// A button painted in a colour; a click lets the user choose another one.
class ColorSelector : public QPushButton {
    Q_OBJECT

public:
    explicit ColorSelector(QWidget* parent = nullptr);

    void setColor(const QColor& color);
    const QColor& getColor() const { return __color; }

signals:
    /// The user has chosen a colour.
    void valueChanged(const QColor& color);

private:
    void select();

    QColor __color = Qt::white;
};

} // namespace vorlen
