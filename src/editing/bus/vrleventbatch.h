#pragma once

#include <exception>

#include "editing/bus/vrleventclient.h"

namespace vorlen {

/// Does the work within a batch of events, or within the one that is open. A failure of the work goes before one that
/// clients have at the end of the batch.
template <class Work>
void inEventBatch(Work&& work) {
    if (VRLEventClient::eventBatchEnabled())
        return work();
    VRLEventClient::enableEventBatch(true);
    std::exception_ptr failure;
    try {
        work();
    } catch (...) {
        failure = std::current_exception();
    }
    try {
        VRLEventClient::enableEventBatch(false);
    } catch (...) {
        if (!failure)
            throw;
    }
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace vorlen
