#include "images/filters/parallelwork.h"

#include <atomic>
#include <chrono>
#include <numeric>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "support/countingmonitor.h"
#include "support/threads.h"

namespace vorlen {

namespace {

class Subject : public ProgressSubject {};

// Notes the threads that it is called on.
class ThreadMonitor : public CountingMonitor {
public:
    using CountingMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override {
        CountingMonitor::subjectProgressed(current, total);
        threads.insert(std::this_thread::get_id());
    }
    std::set<std::thread::id> threads;
};

} // namespace

// Each part runs once, no two at a time with the same worker, and all steps are told in order on this thread.
TEST(ParallelWork, runsEachPartOnceAndReportsOnTheCallersThread) {
    for (const int threads : {1, 2, 5}) {
        const Threads chosen(threads);
        EXPECT_EQ(ParallelWork::getThreads(), threads);
        Subject subject;
        ThreadMonitor monitor;
        subject.addMonitor(monitor);
        ParallelWork work(subject, 300);
        ASSERT_EQ(work.workers(), threads);
        std::vector<std::atomic<int>> runs(1000), busy(std::size_t(work.workers()));
        std::atomic<int> clashes = 0;
        const auto part = [&](int number, int worker) {
            clashes += busy[std::size_t(worker)]++ != 0;
            ++runs[std::size_t(number)];
            std::this_thread::yield();
            --busy[std::size_t(worker)];
        };
        EXPECT_TRUE(work.run(1000, 100, part));
        EXPECT_EQ(monitor.last, 100u);
        EXPECT_TRUE(work.run(0, 50, part));
        EXPECT_TRUE(work.run(1, 150, [](int, int) {}));
        EXPECT_EQ(clashes, 0);
        for (const auto& count : runs)
            ASSERT_EQ(count, 1);
        EXPECT_EQ(monitor.steps, 300);
        EXPECT_EQ(monitor.last, 300u);
        EXPECT_EQ(monitor.lastTotal, 300u);
        EXPECT_TRUE(monitor.rising);
        EXPECT_EQ(monitor.threads, std::set<std::thread::id>{std::this_thread::get_id()});
    }
}

TEST(ParallelWork, helpersTakePartsWhileTheCallerIsBusy) {
    const Threads chosen(2);
    Subject subject;
    ParallelWork work(subject, 2);
    std::atomic<int> waiting = 0;
    // Each part waits for the other, as only two threads can.
    EXPECT_TRUE(work.run(2, 2, [&](int, int) {
        ++waiting;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (waiting < 2 && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
    }));
    EXPECT_EQ(waiting, 2);
}

// Sums of numbers of very different size depend on their order.
TEST(ParallelWork, joinsWhatPartsFindInTheOrderOfTheirNumbers) {
    std::vector<double> values(500);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = (i % 3 == 0 ? 1e16 : 1.0) * (i % 2 == 0 ? 1.0 : -1.0) / double(i + 1);
    const double expected = std::accumulate(values.begin(), values.end(), 0.0);
    for (const int threads : {1, 2, 4}) {
        const Threads chosen(threads);
        Subject subject;
        ParallelWork work(subject, 1);
        EXPECT_EQ(work.reduce(
                      500, 0.0, [&](int number, int) { return values[std::size_t(number)]; },
                      [](double a, double b) { return a + b; }),
                  expected);
    }
}

TEST(ParallelWork, bringsTheExceptionOfTheLowestPartToTheCaller) {
    for (const int threads : {1, 3}) {
        const Threads chosen(threads);
        Subject subject;
        ParallelWork work(subject, 100);
        std::atomic<int> runs = 0;
        EXPECT_THROW(work.run(100000, 100,
                              [&](int number, int) {
                                  ++runs;
                                  if (number >= 3)
                                      throw std::out_of_range("part");
                              }),
                     std::out_of_range);
        EXPECT_LT(runs, 1000);
        EXPECT_TRUE(work.run(10, 100, [](int, int) {})); // goes on serving
    }
    EXPECT_THROW(ParallelWork::setThreads(-1), ValueError);
    EXPECT_THROW(ParallelWork::setThreads(1025), ValueError);
}

// A cancel from the monitor, and one from another thread, in the midst of parts that take no time or that look at it.
TEST(ParallelWork, stopsSoonAfterACancelAndSaysThatPartsAreMissing) {
    for (const int threads : {1, 2}) {
        const Threads chosen(threads);
        Subject subject;
        CountingMonitor monitor;
        monitor.cancelAt = 7;
        subject.addMonitor(monitor);
        ParallelWork work(subject, 1000);
        EXPECT_FALSE(
            work.run(1000, 1000, [](int, int) { std::this_thread::sleep_for(std::chrono::microseconds(100)); }));
        EXPECT_EQ(monitor.steps, 7);
        std::atomic<int> runs = 0;
        EXPECT_FALSE(work.run(1, 0, [&](int, int) { ++runs; }));
        EXPECT_EQ(runs, 0);

        subject.reset();
        std::thread canceller([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            subject.cancel();
        });
        EXPECT_FALSE(work.run(threads, 0, [&](int, int) {
            while (!work.isCanceled())
                std::this_thread::yield();
        }));
        canceller.join();
    }
}

TEST(ParallelWork, reportsPartsOfAnotherTotalAndTotalsThatNoReportCanHold) {
    Subject subject;
    CountingMonitor monitor;
    subject.addMonitor(monitor);
    ParallelWork(subject, 8, 20).run(4, 8, [](int, int) {});
    EXPECT_EQ(monitor.steps, 8);
    EXPECT_EQ(monitor.last, 20u);
    EXPECT_EQ(monitor.lastTotal, 20u);
    ParallelWork(subject, 1ULL << 40).run(3, 5, [](int, int) {});
    EXPECT_EQ(monitor.steps, 13);
    EXPECT_GE(monitor.lastTotal, 1u << 31);
}

TEST(Pieces, coverTheLengthWithoutGaps) {
    for (const int length : {0, 1, 7, 8, 9, 64})
        for (const int size : {1, 8, 100}) {
            const Pieces pieces(length, size);
            int covered = 0;
            for (int piece = 0; piece < pieces.count(); ++piece) {
                EXPECT_EQ(pieces.first(piece), covered);
                EXPECT_GT(pieces.last(piece), covered);
                EXPECT_LE(pieces.last(piece) - covered, size);
                covered = pieces.last(piece);
            }
            EXPECT_EQ(covered, length);
        }
}

} // namespace vorlen
