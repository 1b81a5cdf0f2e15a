#pragma once

#include "images/filters/extremumfilter.h"

namespace vorlen {

/// Replaces each element by the greatest of its square or cubic window; see ExtremumFilter.
template <class T>
class MaxFilter : public ExtremumFilter<T, true> {};

} // namespace vorlen
