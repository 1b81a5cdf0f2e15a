#include "ui/widgets/vrlprogressdialog.h"

#include <QProgressBar>
#include <QPushButton>

#include <gtest/gtest.h>

#include "progress/progresssubject.h"
#include "ui/widgets/vrlstatusbar.h"

namespace vorlen {

namespace {

/// Work of 100 steps that looks at its cancel flag at each.
class Work : public ProgressSubject {
public:
    int run() {
        notifyStarted("start");
        int step = 0;
        for (; step < 100 && !isCanceled(); ++step)
            notifyProgressed(static_cast<unsigned int>(step + 1), 100);
        if (isCanceled())
            notifyCanceled("");
        else
            notifyFinished("done");
        return step;
    }
};

} // namespace

TEST(VRLProgressDialog, itsButtonCancelsTheWorkThatSpeaks) {
    VRLProgressDialog dialog;
    Work work;
    work.addMonitor(dialog);
    QObject::connect(&dialog, &QProgressDialog::canceled, [] {});
    // The click comes while the work reports: the dialog lets all events through.
    QMetaObject::invokeMethod(
        &dialog, [&dialog] { dialog.findChild<QPushButton*>()->click(); }, Qt::QueuedConnection);
    EXPECT_LT(work.run(), 100);
    EXPECT_TRUE(work.isCanceled());
    EXPECT_TRUE(dialog.wasCanceled());
    dialog.cancelCurrentSubject(); // nobody speaks
}

TEST(VRLProgressDialog, showsTextsAndPercentages) {
    VRLProgressDialog dialog;
    Work work;
    work.addMonitor(dialog);
    work.notifyProgressed("Smoothing...");
    EXPECT_EQ(dialog.labelText(), "Smoothing...");
    work.notifyProgressed(1, 3);
    EXPECT_EQ(dialog.value(), 33);
    work.notifyProgressed(5, 0);
    EXPECT_EQ(dialog.value(), 33);
}

TEST(VRLStatusBar, showsTextsAndPercentagesAndEndsWithAMessage) {
    VRLStatusBar bar;
    Work work;
    work.addMonitor(bar);
    work.notifyStarted("start");
    EXPECT_EQ(bar.message(), "");
    work.notifyProgressed("Reading...");
    EXPECT_EQ(bar.message(), "Reading...");
    work.notifyProgressed(2, 3);
    EXPECT_EQ(bar.progressBar().value(), 66);
    EXPECT_FALSE(bar.progressBar().isHidden());
    work.notifyProgressed(1, 0);
    work.notifyFinished("done");
    EXPECT_EQ(bar.message(), "done");
    EXPECT_LT(bar.progressBar().value(), 0);
    EXPECT_TRUE(bar.progressBar().isHidden());
}

} // namespace vorlen
