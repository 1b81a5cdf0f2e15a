"""Pictures of density maps for the report: NRRD files as SVG each a PNG within an SVG."""

import base64
import gzip
import html
import struct
import zlib

import numpy

# Dark blue to yellow through grey, so that it is read alike by all eyes and in print.
SEQUENTIAL = ((0, 32, 76), (60, 77, 110), (124, 123, 120), (187, 175, 113), (255, 234, 70))
DIVERGING = ((42, 111, 176), (150, 185, 218), (247, 247, 247), (232, 163, 139), (200, 85, 43))
TYPES = {"float": "f4", "double": "f8"}


def read(name):
    """The values of a map, indexed by plane, row and column, and its box ((x, y, z) of the least and greatest face)."""
    with open(name, "rb") as file:
        data = file.read()
    end = data.index(b"\n\n")
    fields = dict(line.split(": ", 1) for line in data[:end].decode().splitlines()[1:]
                  if ": " in line and not line.startswith("#"))
    body = data[end + 2:]
    if fields["encoding"] in ("gzip", "gz"):
        body = gzip.decompress(body)
    elif fields["encoding"] != "raw":
        raise ValueError(f"{name}: encoding {fields['encoding']}")
    kind = numpy.dtype(TYPES[fields["type"]]).newbyteorder("<" if fields.get("endian", "little") == "little" else ">")
    sizes = [int(word) for word in fields["sizes"].split()]
    values = numpy.frombuffer(body, kind, sizes[0] * sizes[1] * sizes[2]).reshape(sizes[::-1])

    def vectors(text):
        return [[float(number) for number in part.strip("()").split(",")] for part in text.split()]

    origin = numpy.array(vectors(fields["space origin"])[0])
    steps = numpy.array(vectors(fields["space directions"])).diagonal()
    faces = numpy.array([origin - steps / 2, origin + steps * (numpy.array(sizes) - 0.5)])
    return values.astype(float), numpy.array([faces.min(0), faces.max(0)]), steps


def png(pixels):
    """The bytes of a PNG file; pixels: rows x columns x 3 of 8 bits."""
    rows, columns, _ = pixels.shape

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    lines = b"".join(b"\0" + line.tobytes() for line in pixels.astype(numpy.uint8))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", columns, rows, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(lines, 9)) + chunk(b"IEND", b""))


def coloured(values, low, high, colours):
    """Rows x columns x 3 of 8 bits; low has the first colour and high the last."""
    place = numpy.clip((values - low) / (high - low) if high > low else numpy.zeros_like(values), 0, 1)
    steps = numpy.linspace(0, 1, len(colours))
    table = numpy.array(colours, float)
    return numpy.rint(numpy.stack([numpy.interp(place, steps, table[:, k]) for k in range(3)], -1)).astype(numpy.uint8)


def data_url(content):
    return "data:image/png;base64," + base64.b64encode(content).decode()


def projected(values, axis):
    """The value farthest from 0 along an axis (0: x, 1: y, 2: z), with the higher one of the others first."""
    stack = numpy.moveaxis(values, 2 - axis, 0)
    flat = stack.reshape(stack.shape[0], -1)
    return numpy.take_along_axis(flat, numpy.abs(flat).argmax(0)[None], 0)[0].reshape(stack.shape[1:])


def picture(name, box, high, caption, signed=False, width=240):
    """A map, seen along the shortest side of the box of all maps and in its place there; high: end of the colours."""
    values, own, steps = read(name)
    axis = int(numpy.argmin(box[1] - box[0]))
    x, y = (k for k in range(3) if k != axis)
    flat = projected(values, axis)
    # Rows of the picture go down, and the axis goes up.
    if steps[y] > 0:
        flat = flat[::-1]
    if steps[x] < 0:
        flat = flat[:, ::-1]
    colours = DIVERGING if signed else SEQUENTIAL
    low = -high if signed else 0
    across, down = (box[1][k] - box[0][k] for k in (x, y))
    scale = width / max(across, down)
    tall = down * scale
    bar = coloured(numpy.linspace(low, high, 64)[None], low, high, colours)
    return (f'<figure><svg viewBox="0 0 {width} {tall + 42:.1f}" width="{width}" height="{tall + 42:.1f}">'
            f'<rect width="{across * scale:.1f}" height="{tall:.1f}" class="ground"/>'
            f'<image xlink:href="{data_url(png(coloured(flat, low, high, colours)))}"'
            f' x="{(own[0][x] - box[0][x]) * scale:.2f}" y="{(box[1][y] - own[1][y]) * scale:.2f}"'
            f' width="{(own[1][x] - own[0][x]) * scale:.2f}" height="{(own[1][y] - own[0][y]) * scale:.2f}"'
            ' preserveAspectRatio="none" class="cells"/>'
            f'<image xlink:href="{data_url(png(bar))}" x="60" y="{tall + 8:.1f}" width="{width - 120}" height="10"'
            ' preserveAspectRatio="none"/>'
            f'<text x="55" y="{tall + 17:.1f}" text-anchor="end">{low:.3g}</text>'
            f'<text x="{width - 55}" y="{tall + 17:.1f}">{high:.3g}</text>'
            f'<text x="{width / 2}" y="{tall + 35:.1f}" text-anchor="middle">'
            f'{across:.4g} in {"XYZ"[x]} by {down:.4g} in {"XYZ"[y]}</text></svg>'
            f"<figcaption>{html.escape(caption)}</figcaption></figure>")


def common(names):
    """The box of all maps, and the greatest distance from 0 of any value."""
    maps = [read(name) for name in names]
    box = numpy.array([numpy.min([box[0] for _, box, _ in maps], 0), numpy.max([box[1] for _, box, _ in maps], 0)])
    return box, max(float(numpy.abs(values).max()) for values, _, _ in maps)
