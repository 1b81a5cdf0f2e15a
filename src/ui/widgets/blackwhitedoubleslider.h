#pragma once

#include <QFrame>

namespace vorlen {

/// Contrast slider: two discs on a bar from black to white, for the grey level that is shown as black and the one that
/// is shown as white, as fractions of the whole range. The black level stays below the white one by a pixel at least.
class BlackWhiteDoubleSlider : public QFrame {
    Q_OBJECT

public:
    explicit BlackWhiteDoubleSlider(QWidget* parent = nullptr);

    float getBlack() const { return __black; }
    float getWhite() const { return __white; }

public slots:
    /// Back to the whole range, 0 and 1.
    void reset();
    /// Both from 0 to 1, the black level below the white one; anything else is brought there.
    void setValues(float black, float white);

signals:
    void valuesChanged(const float black, const float white);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    enum class Drag { None, Black, White };

    bool discContains(float level, const QPointF& position) const;
    void dragTo(int x);

    float __black = 0;
    float __white = 1;
    Drag __drag = Drag::None;
};

} // namespace vorlen
