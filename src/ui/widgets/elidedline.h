#pragma once

#include <QLabel>

namespace vorlen {

/// A line of plain text that ends in three dots where it has no room, and widens no window. Its tip is the whole text.
class ElidedLine : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLine(QWidget* parent = nullptr);

    void setLine(const QString& text);

    /// Gives the text a second line wherever one has no room for so many characters; 0, as at first, for never. The
    /// height follows from the width alone, so that nothing moves when the text changes.
    void setRoomFor(int characters);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    int numLines() const;

    int __numCharacters = 0;
};

} // namespace vorlen
