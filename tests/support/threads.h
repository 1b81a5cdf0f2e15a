#pragma once

#include "images/filters/parallelwork.h"

namespace vorlen {

/// Sets the number of threads of parallel work for as long as it lives.
class Threads {
public:
    explicit Threads(int threads) { ParallelWork::setThreads(threads); }
    ~Threads() { ParallelWork::setThreads(0); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
};

} // namespace vorlen
