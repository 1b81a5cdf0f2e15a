#pragma once

namespace vorlen {

class Image;
class Slice;

/// Reads the slice's image and makes plain grey of 8 bits of it; indexes become the grey of their colours. Throws what
/// Slice::load() throws.
void loadGrey(const Slice& slice, Image& image);

/// Brings a plain grey image to this size. One that gets smaller is smoothed first, so that each pixel shows what it
/// stands for.
void smoothToSize(Image& image, int width, int height);
void resizeTo(Image& image, int width, int height);

} // namespace vorlen
