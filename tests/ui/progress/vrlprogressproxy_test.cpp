#include "ui/progress/vrlprogressproxy.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QThread>

#include <gtest/gtest.h>

#include "support/recordingmonitor.h"

namespace vorlen {

namespace {

/// Reports a piece of work when its thread starts.
class Worker : public VRLProgressProxy {
public:
    void run() {
        notifyStarted("start");
        notifyProgressed("half");
        notifyProgressed(1, 2);
        ranOn = QThread::currentThread();
        notifyFinished("end");
    }
    QThread* ranOn = nullptr;
};

/// Remembers on which thread it was told to have finished.
class Receiver : public VRLProgressProxy {
public:
    using VRLProgressProxy::subjectFinished;
    void subjectFinished(const std::string& text) override {
        heardOn = QThread::currentThread();
        hadSubject = hasSubject();
        VRLProgressProxy::subjectFinished(text);
    }
    QThread* heardOn = nullptr;
    bool hadSubject = true;
};

} // namespace

TEST(VRLProgressProxy, reportsCrossThreadsWithoutTheirTexts) {
    QThread thread;
    Worker worker;
    Receiver receiver;
    RecordingMonitor end;
    worker.addMonitor(receiver);
    worker.addMonitor(receiver); // no second connection
    receiver.addMonitor(end);
    worker.moveToThread(&thread);
    QObject::connect(&thread, &QThread::started, &worker, &Worker::run);
    QObject::connect(&worker, &VRLProgressProxy::finished, &thread, &QThread::quit, Qt::DirectConnection);
    thread.start();
    ASSERT_TRUE(thread.wait(10000));
    EXPECT_TRUE(end.heard.empty());
    QCoreApplication::processEvents();

    EXPECT_NE(worker.ranOn, QThread::currentThread());
    EXPECT_EQ(receiver.heardOn, QThread::currentThread());
    EXPECT_FALSE(receiver.hadSubject);
    EXPECT_EQ(end.heard, (std::vector<std::string>{"started ", "text half", "1/2", "finished "}));
}

TEST(VRLProgressProxy, directMonitorsHearTheTextsAndRemovedOnesNothing) {
    Worker worker;
    Receiver queued;
    RecordingMonitor direct, behindQueued;
    worker.addMonitor(direct);
    worker.addMonitor(queued);
    queued.addMonitor(behindQueued);
    worker.removeMonitor(queued);
    worker.run();
    QCoreApplication::processEvents();
    EXPECT_EQ(direct.heard.front(), "started start");
    EXPECT_EQ(direct.heard.back(), "finished end");
    EXPECT_TRUE(behindQueued.heard.empty());
}

} // namespace vorlen
