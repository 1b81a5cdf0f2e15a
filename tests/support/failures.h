#pragma once

#include <string>

#include <gtest/gtest.h>

#include "numerics/exception.h"

namespace vorlen {

/// Expects that the operation throws just this error, with this place and this sentence.
template <class Error, class Operation>
void expectFailure(Operation operation, const std::string& where, const std::string& what) {
    try {
        operation();
        ADD_FAILURE() << "no failure: " << what;
    } catch (const Error& error) {
        EXPECT_EQ(where, error.getWhere());
        EXPECT_EQ(what, error.getWhat());
    } catch (const Exception& error) {
        ADD_FAILURE() << "another failure: " << error;
    }
}

} // namespace vorlen
