#pragma once

#include <QWidget>

class QSplitter;

namespace vorlen {

class VRLSliceListWidget;
class VRLStackListWidget;

/// The pane of a root window that lists the open stacks, and below them the slices of the current one.
class VRLRootBrowser : public QWidget {
    Q_OBJECT

public:
    explicit VRLRootBrowser(QWidget* parent = nullptr);

    VRLStackListWidget& stackList() { return *__stackList; }
    VRLSliceListWidget& sliceList() { return *__sliceList; }

private:
    VRLStackListWidget* __stackList;
    VRLSliceListWidget* __sliceList;
};

} // namespace vorlen
