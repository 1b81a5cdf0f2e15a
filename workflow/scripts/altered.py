"""Makes the stacks of the small study: copies of the sample whose outlines are scaled by known factors.

Usage: altered.py SAMPLE.sdf FOLDER

Writes FOLDER/{a1,a2,a3,b1,b2,b3}.sdf and FOLDER/truth.json. Each outline is scaled about the mean of its vertices, so
that the volume of a structure grows with the square of the factor. The specimens of a group differ by -2, 0 and 2
percent in an order that changes from structure to structure and is the same spread in both groups: the groups differ
in nothing but the outlines of the ganglion, which are wider by CHANGE in group b. Every run writes the same bytes.
"""

import json
import pathlib
import re
import sys

CHANGED = "Ganglion"
CHANGE = 1.1
SPREAD = (-0.02, 0.0, 0.02)
ITEM = re.compile(r'(MODELITEM "([^"]*)" "[^"]*";\nMODELITEMDATA\n)([^;]*);')
CLOSED = ("Nucleus", "Ganglion", "Vessel")


def scaled(data, factor):
    points = [tuple(map(float, word.split(","))) for word in data.split()]
    middle = [sum(column) / len(points) for column in zip(*points)]
    moved = [[round(m + factor * (value - m)) for value, m in zip(point, middle)] for point in points]
    # The blank before each pair separates it from the one before; a line's end alone does not.
    return "\n".join(f" {x},{y}" for x, y in moved)


def factor(group, number, structure):
    if structure not in CLOSED:
        return 1.0
    shift = CLOSED.index(structure) + (2 if group == "b" else 0)
    natural = 1 + SPREAD[(number + shift) % len(SPREAD)]
    return natural * (CHANGE if group == "b" and structure == CHANGED else 1)


def main(sample, folder):
    text = pathlib.Path(sample).read_text(encoding="utf-8")
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    images = (pathlib.Path(sample).parent / "images").resolve()
    text = text.replace('ImagesPath "images/"', f'ImagesPath "{images}/"')
    text = text.replace("AbsoluteImagesPathPolicy false", "AbsoluteImagesPathPolicy true")
    for group in "ab":
        for number in range(3):
            name = f"{group}{number + 1}"
            altered = ITEM.sub(
                lambda item: item[1] + scaled(item[3], factor(group, number, item[2])) + ";", text)
            altered = altered.replace('STACK "Sample"', f'STACK "{name}"', 1)
            target = folder / f"{name}.sdf"
            # A file that is written anew would have its specimen measured anew.
            if not target.exists() or target.read_text(encoding="utf-8") != altered:
                target.write_text(altered, encoding="utf-8")
    truth = {name: CHANGE**2 if name == CHANGED else 1.0 for name in CLOSED}
    (folder / "truth.json").write_text(json.dumps(truth, indent=2) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
