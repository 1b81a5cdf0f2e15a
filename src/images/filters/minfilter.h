#pragma once

#include "images/filters/extremumfilter.h"

namespace vorlen {

/// Replaces each element by the smallest of its square or cubic window; see ExtremumFilter.
template <class T>
class MinFilter : public ExtremumFilter<T, false> {};

} // namespace vorlen
