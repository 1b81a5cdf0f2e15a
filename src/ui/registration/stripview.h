#pragma once

#include <QFrame>
#include <QImage>

#include "ui/cuts/sectioncuts.h"
#include "ui/cuts/sectionpictures.h"

namespace vorlen {

class StackSlice;
class VRLStack;

/// Cuts through a stack as it is registered, from left to right and from top to bottom of the sections: where they are
/// misaligned, what should be smooth in them is ragged.
///
/// A click moves the other cut to that place; a double click chooses the slice. The sections are seen reduced, and all
/// their small pictures together take at most 64 MB.
class StripView : public QFrame {
    Q_OBJECT

public:
    explicit StripView(QWidget* parent = nullptr);
    ~StripView() override;

    /// Slices and registrations of the stack, one of them with another registration than it has. Null shows nothing.
    void showStack(VRLStack* stack, const StackSlice* slice, const Registration& registration);

    /// Reads the pictures anew.
    void forgetPictures();

    /// Whether all pictures are there.
    bool isComplete() const;

    /// As painted: 0 across x, 1 across y.
    const QImage& cut(int which) const { return __cuts[which]; }

    QSize sizeHint() const override;

signals:
    void sliceChosen(int place);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    QRect strip(int which) const;
    void readMissing();
    void updateCuts();
    double shareOf(int which) const;

    VRLStack* __stack = nullptr;
    const StackSlice* __slice = nullptr;
    Registration __registration;
    SectionPictures __pictures;
    CutFrame __frame;
    double __at[2] = {0.5, 0.5}; // share of the extent in x, y where the other cut goes
    QImage __cuts[2];
    bool __old = true;
};

} // namespace vorlen
