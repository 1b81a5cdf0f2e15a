#pragma once

namespace vorlen {

/// Takes the samples of a picture, row by row in any order.
class SampleSink {
public:
    virtual ~SampleSink() = default;

    /// Memory for the samples of this row just as they come, where the sink can take them without a copy; else null.
    virtual unsigned char* rowTarget(int row);
    /// The samples of a row, or the row's target with the samples in it. False when no more are wanted.
    virtual bool takeRow(int row, const unsigned char* samples) = 0;

protected:
    SampleSink() = default;
    SampleSink(const SampleSink&) = default;
    SampleSink& operator=(const SampleSink&) = default;
};

inline unsigned char* SampleSink::rowTarget(int) {
    return nullptr;
}

} // namespace vorlen
