#pragma once

#include <map>
#include <memory>
#include <vector>

#include <QFrame>
#include <QImage>

#include "registration/rigidmotion.h"
#include "ui/registration/stacktask.h"

namespace vorlen {

class Image;
class Stack;
class StackSlice;
class VRLStack;

/// A section as cuts see it.
struct CutSection {
    const Image* picture = nullptr; // plain grey, of any size; null as long as it is not there
    double width = 0, height = 0;   // of the section, in the length unit
    RigidMotion place;              // of the section in the frame of the stack, about its middle
};

/// A cut across all sections: a row for each, the last one on top, and a column for each of `columns` steps from `from`
/// to `to`. Across x at the height `at` in y, or across y at `at` in x, in the length unit. White beside the sections.
QImage cutThrough(const std::vector<CutSection>& sections, bool acrossX, double at, double from, double to,
                  int columns);

/// Reads small pictures of all slices beside the window.
class SmallPictures : public StackTask {
    Q_OBJECT

public:
    using StackTask::StackTask;
    ~SmallPictures() override;

    /// Pictures of at most this many pixels a side.
    void read(const Stack& stack, const std::vector<int>& places, int side);

signals:
    /// Null for an image that can't be read.
    void pictureRead(const vorlen::StackSlice* slice, std::shared_ptr<vorlen::Image> picture);
};

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
    void updateSections();
    void updateCuts();
    double shareOf(int which) const;

    VRLStack* __stack = nullptr;
    const StackSlice* __slice = nullptr;
    Registration __registration;
    SmallPictures __reader;
    std::map<const StackSlice*, std::shared_ptr<Image>> __pictures;
    std::vector<CutSection> __sections;
    double __from[2] = {0, 0}, __to[2] = {1, 1}; // extent of the stack in x and y
    double __at[2] = {0.5, 0.5};                 // share of the extent in x, y where the other cut goes
    QImage __cuts[2];
    bool __old = true;
};

} // namespace vorlen
