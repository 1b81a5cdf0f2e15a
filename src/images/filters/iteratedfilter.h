#pragma once

namespace vorlen {

/// What filters share that can be applied several times in a row.
class IteratedFilter {
public:
    virtual ~IteratedFilter() = default;

    /// 1 at first. Below 1 the filter changes nothing.
    void setNumIterations(int numIterations) { __numIterations = numIterations; }
    int getNumIterations() const { return __numIterations; }

private:
    int __numIterations = 1;
};

} // namespace vorlen
