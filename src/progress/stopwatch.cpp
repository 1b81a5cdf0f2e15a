#include "progress/stopwatch.h"

#include <iostream>

namespace vorlen {

Stopwatch stopwatch;

Stopwatch::~Stopwatch() {
    if (!__sums.empty())
        print();
}

void Stopwatch::start(const std::string& label) {
    __starts[label] = std::clock();
}

void Stopwatch::stop(const std::string& label) {
    const auto started = __starts.find(label);
    if (started != __starts.end())
        __sums[label] += std::clock() - started->second;
}

void Stopwatch::print() const {
    print(std::cout);
}

void Stopwatch::print(std::ostream& stream) const {
    double total = 0;
    for (const auto& [label, ticks] : __sums)
        total += double(ticks);
    for (const auto& [label, ticks] : __sums) {
        const double share = total > 0 ? 100 * double(ticks) / total : 0;
        stream << label << ": " << double(ticks) / 1e6 << " sec (" << share << "%)\n";
    }
    if (__sums.size() >= 2)
        stream << "Total: " << total / 1e6 << '\n';
    stream.flush();
}

} // namespace vorlen
