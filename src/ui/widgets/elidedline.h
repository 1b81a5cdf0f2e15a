#pragma once

#include <QLabel>

namespace vorlen {

/// A line of plain text that ends in three dots where it has no room, and widens no window. Its tip is the whole text.
class ElidedLine : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLine(QWidget* parent = nullptr);

    void setLine(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace vorlen
