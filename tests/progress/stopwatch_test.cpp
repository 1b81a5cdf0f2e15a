#include "progress/stopwatch.h"

#include <ctime>
#include <sstream>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

void work(std::clock_t ticks) {
    const std::clock_t start = std::clock();
    while (std::clock() - start < ticks) {
    }
}

std::string printed(const Stopwatch& watch) {
    std::ostringstream stream;
    watch.print(stream);
    return stream.str();
}

TEST(Stopwatch, printsNothingBeforeATimeIsTaken) {
    Stopwatch watch;
    EXPECT_EQ(printed(watch), "");
    watch.start("running");
    watch.stop("never started");
    EXPECT_EQ(printed(watch), "");
}

TEST(Stopwatch, addsUpTheTimesOfALabel) {
    testing::internal::CaptureStdout();
    {
        Stopwatch watch;
        for (int i = 0; i < 2; ++i) {
            watch.start("a");
            work(20000);
            watch.stop("a");
        }
        const std::string text = printed(watch);
        EXPECT_GE(std::stod(text.substr(text.find(": ") + 2)), 0.04);
        EXPECT_NE(text.find(" sec (100%)\n"), std::string::npos) << text;
        EXPECT_EQ(text.find("Total"), std::string::npos) << text;
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout().substr(0, 3), "a: ");
}

TEST(Stopwatch, ordersLabelsAndTotalsTwo) {
    testing::internal::CaptureStdout();
    {
        Stopwatch watch;
        for (const char* label : {"b", "a"}) {
            watch.start(label);
            work(5000);
            watch.stop(label);
        }
        const std::string text = printed(watch);
        EXPECT_EQ(text.find("a: "), 0u) << text;
        EXPECT_LT(text.find("\nb: "), text.find("\nTotal: ")) << text;
    }
    testing::internal::GetCapturedStdout();
}

} // namespace

} // namespace vorlen
