#include "ui/app/vrlrootbrowser.h"

#include <QSettings>
#include <QSplitter>
#include <QVBoxLayout>

#include "ui/models/vrlslicelistwidget.h"
#include "ui/models/vrlstacklistwidget.h"

namespace vorlen {

namespace {

const QString splitterKey = "rootBrowserSplitterSizes";

} // namespace

VRLRootBrowser::VRLRootBrowser(QWidget* parent) : QWidget(parent) {
    __stackList = new VRLStackListWidget(this);
    __sliceList = new VRLSliceListWidget(this);
    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(__stackList);
    splitter->addWidget(__sliceList);
    splitter->setStretchFactor(1, 1); // few have more than a few stacks open
    splitter->setSizes({100, 500});
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(splitter);

    const QSettings settings;
    if (settings.contains(splitterKey))
        splitter->restoreState(settings.value(splitterKey).toByteArray());
    connect(splitter, &QSplitter::splitterMoved, this,
            [splitter] { QSettings().setValue(splitterKey, splitter->saveState()); });
}

} // namespace vorlen
