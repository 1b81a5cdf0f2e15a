"""Which sources of a target can be compiled as one: those where no private name of one stands anywhere in another.

Called as a program, with the build folder, it reads "target<tab>source" lines from BUILD/unity/sources.txt and writes
BUILD/unity/groups.cmake, which tells CMake what to compile together.
"""
import collections
import functools
import pathlib
import re
import sys

UNNAMED = re.compile(r"^namespace \{$(.*?)^\} // namespace$", re.M | re.S)
DECLARED = re.compile(r"(?:\[\[\w+\]\] )?(?:(?:class|struct|enum class|enum|using) (\w+)|[^(={\[;/]*?(\w+)\s*(?:[(={\[;]|$))")
OUTSIDE = re.compile(r"^(?:static|const|constexpr|using) ")
MACRO = re.compile(r"^#\s*define\s+(\w+)", re.M)
MEMBER = re.compile(r"^template (?!class\b|struct\b)([^;(]*>)::(?:\w+|operator\W+)\(", re.M)
NOT_NAMES = {"operator", "double", "float", "int", "auto"}  # found where a declaration begins with them
TESTS = re.compile(r"^(?:TYPED_)?TEST(?:_F|_P|_SUITE)?\b|^INSTANTIATE_")
NOT_CODE = re.compile(r"//.*|\"(?:\\\\.|[^\"\\\\\n])*\"")
USED = re.compile(r"(?<![.\w])(?<!->)(?<!::)[A-Za-z_]\w*")
INCLUDE = re.compile(r'^#include "([^"]+)"', re.M)
TYPE = re.compile(r"^(?:class|struct|enum class|enum|using) (\w+)", re.M)
SRC = pathlib.Path(__file__).resolve().parent.parent / "src"
ALLOCATES = re.compile(r"^void\* operator new", re.M)  # for all of the program: compiled with others it warns of theirs
MOST_SOURCES = 16
MOST_BYTES = 120000


def template_of(member):
    """The class template of a member: of "void Grid<Cell<int>>" that is Grid."""
    depth = 0
    for at in range(len(member) - 1, -1, -1):
        depth += (member[at] == ">") - (member[at] == "<")
        if depth == 0:
            return re.search(r"\w*$", member[:at])[0]
    return ""


def private_names(text):
    """Those of unnamed namespaces, of static functions and constants, of aliases, and of macros; and the classes of which
    single members are instantiated, which must not come before all of the class is."""
    lines = [line for block in UNNAMED.findall(text) for line in block.splitlines()]
    lines += [line for line in text.splitlines() if OUTSIDE.match(line) and not line.startswith("using namespace")]
    names = set(MACRO.findall(text)) | {template_of(member) for member in MEMBER.findall(text)}
    for line in lines:
        found = None if line[:1] in ("", " ", "\t", "}", "/", "#") or TESTS.match(line) else DECLARED.match(line)
        if found:
            names.add(found[1] or found[2])
    return names - NOT_NAMES


def words(text):
    """All names that stand in the code but for members of others: a local one hides a private one of the same name, and
    warns."""
    code = NOT_CODE.sub("", text)
    return set(USED.findall(code)) | set(MACRO.findall(text))


@functools.cache
def read(header):
    """The types that a header of the project declares, and what it includes of the project."""
    path = SRC / header
    text = path.read_text(errors="replace") if path.exists() else ""
    return frozenset(TYPE.findall(text)), tuple(INCLUDE.findall(text))


def types_seen(text):
    """The types that the headers declare which a source includes, and those which these include."""
    types, seen, left = set(), set(), INCLUDE.findall(text)
    while left:
        header = left.pop()
        if header not in seen:
            seen.add(header)
            declared, includes = read(header)
            types |= declared
            left += includes
    return types


def clashing(items, text):
    """For each item those that it can't stand beside."""
    private = {item: private_names(text(item)) for item in items}
    hidden = {item: private[item] - {template_of(member) for member in MEMBER.findall(text(item))} for item in items}
    used = {item: words(text(item)) for item in items}
    seen = {item: types_seen(text(item)) for item in items}

    def hides(item, other):
        return private[item] & used[other] or hidden[item] & seen[other]

    return {item: {each for each in items if each != item and (hides(item, each) or hides(each, item))} for item in items}


def lots(items, text, fits):
    """Puts each item into the first lot that fits(lot, item) and where nothing clashes, or into a new one: those that
    clash with most come first (Welsh and Powell 1967), which makes fewer lots."""
    clashes = clashing(items, text)
    made = []
    for item in sorted(items, key=lambda each: -len(clashes[each])):
        for lot in made:
            if not clashes[item] & set(lot) and fits(lot, item):
                lot.append(item)
                break
        else:
            made.append([item])
    return [sorted(lot, key=items.index) for lot in made]


def main():
    folder = pathlib.Path(sys.argv[1]) / "unity"
    entries = [line.split("\t") for line in (folder / "sources.txt").read_text().splitlines()]
    count = collections.Counter(source for _, source in entries)
    targets = {}
    for target, source in entries:
        if count[source] == 1:
            targets.setdefault(target, []).append(pathlib.Path(source))
    text = ""
    for target, sources in targets.items():
        texts = {source: source.read_text(errors="replace") for source in sources}

        def fits(lot, source):
            if any(ALLOCATES.search(texts[each]) for each in [*lot, source]):
                return False
            return len(lot) < MOST_SOURCES and sum(len(texts[each]) for each in [*lot, source]) <= MOST_BYTES

        for number, lot in enumerate(lots(sources, texts.get, fits)):
            if len(lot) > 1:
                text += f"set_property(SOURCE {' '.join(str(each) for each in lot)} TARGET_DIRECTORY {target}\n"
                text += f"    PROPERTY UNITY_GROUP {number})\n"
    result = folder / "groups.cmake"
    if not result.exists() or result.read_text() != text:
        result.write_text(text)


if __name__ == "__main__":
    main()
