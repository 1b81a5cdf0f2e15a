#pragma once

#include <QColor>
#include <QFrame>
#include <QString>

class QLabel;

namespace vorlen {

class StackSlice;

/// Name and depth of a slice under its thumbnail. Text that is too long for the width ends in dots.
class VRLPanoramaLabel : public QFrame {
    Q_OBJECT

public:
    explicit VRLPanoramaLabel(QWidget* parent = nullptr);

    void setSlice(const StackSlice& slice);
    void clear();

    /// Bold on dark grey, or plain.
    void setSelected(bool selected);

    QString nameText() const { return __nameText; }
    QString depthText() const { return __depthText; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void elide();

    QLabel* __name;
    QLabel* __depth;
    QString __nameText;
    QString __depthText;
    static QColor __plainBackground; // the first that was seen
};

} // namespace vorlen
