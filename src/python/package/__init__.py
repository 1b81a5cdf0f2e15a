"""Reconstruction of anatomy from serial sections: the engine of Vorlen, for Python.

Vertices on slices are pixels, (column, row), with the centre of the first pixel at (0, 0). World coordinates are
(X, Y, Z) in the stack's length unit, Y up, Z along the stack. Images are rows x columns, volumes planes x rows x columns.

What cannot be done raises vorlen.Error, or one of its kinds: FileError, RefusedError. Long work lets other threads of
Python go on, calls progress(done, total) some times a second, and ends by Ctrl+C or by what progress raises. A stack
that long work looks at is not to be used by other threads meanwhile, which raises vorlen.Error.
"""

from ._core import (
    Error,
    FileError,
    Item,
    Model,
    RefusedError,
    Slice,
    Stack,
    Surface,
    __version__,
    compare,
    density,
    new,
    normalize,
    open,
    read_image,
    set_threads,
)

__all__ = [
    "Error",
    "FileError",
    "Item",
    "Model",
    "RefusedError",
    "Slice",
    "Stack",
    "Surface",
    "compare",
    "density",
    "new",
    "normalize",
    "open",
    "read_image",
    "set_threads",
]
