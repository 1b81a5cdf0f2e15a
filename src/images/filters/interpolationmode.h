#pragma once

namespace vorlen {

/// How a value between the elements of a matrix or volume is found: the element nearest in the sense of the using
/// class, or the weighted mean of the neighbours (bilinear in a matrix, trilinear in a volume).
enum InterpolationMode { NearestInterpolationMode = 0, LinearInterpolationMode = 1 };

} // namespace vorlen
