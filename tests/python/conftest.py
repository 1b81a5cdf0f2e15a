"""Images and stacks for the tests of the module for Python."""

import struct
import sys

sys.dont_write_bytecode = True

import numpy as np
import pytest

import vorlen


def write_tiff(path, pixels):
    """A plain grey TIFF file of 8 or 16 bits, or of 8-bit colours."""
    pixels = np.ascontiguousarray(pixels)
    rows, columns = pixels.shape[:2]
    samples = pixels.shape[2] if pixels.ndim == 3 else 1
    data = pixels.astype(pixels.dtype.newbyteorder("<")).tobytes()
    bits = 8 * pixels.dtype.itemsize
    entries = [(256, 4, columns), (257, 4, rows), (258, 3, bits), (259, 3, 1), (262, 3, 2 if samples == 3 else 1),
               (273, 4, 8), (277, 3, samples), (278, 4, rows), (279, 4, len(data))]
    if samples == 3:
        # Three shorts do not fit into an entry: they lie behind the pixels.
        entries[2] = (258, 3, 8 + len(data), 3)
    directory = 8 + len(data) + 6
    with open(path, "wb") as file:
        file.write(b"II*\0" + struct.pack("<I", directory) + data + struct.pack("<3H", 8, 8, 8))
        file.write(struct.pack("<H", len(entries)))
        for tag, kind, value, *count in entries:
            file.write(struct.pack("<HHII", tag, kind, count[0] if count else 1, value))
        file.write(struct.pack("<I", 0))


def circle(centre, radius, count=48):
    """count x 2 pixels (column, row), rounded to whole ones."""
    angles = np.linspace(0, 2 * np.pi, count, endpoint=False)
    return np.rint(np.asarray(centre) + radius * np.stack([np.cos(angles), np.sin(angles)], 1))


@pytest.fixture
def images(tmp_path):
    """Six images of 60 x 80 pixels: files and arrays."""
    random = np.random.default_rng(7)
    arrays = [random.integers(0, 256, (60, 80), dtype=np.uint8) for _ in range(6)]
    files = [str(tmp_path / f"s{k}.tif") for k in range(6)]
    for file, array in zip(files, arrays):
        write_tiff(file, array)
    return files, arrays


@pytest.fixture
def stack(images):
    """Six slices 2 apart with pixels of 0.5 x 0.5, and a ball-like model of five outlines."""
    made = vorlen.new("Test", images[0], spacing=2, pixel_size=(0.5, 0.5), unit="um")
    ball = made.add_model("Ball")
    for k, radius in zip(range(5), (9, 14, 16, 14, 9)):
        ball.add_item(made.slices[k], circle((40, 30), radius))
    return made
