"""What is wrong with the settings and the table of specimens, told in the words of who wrote them."""

import csv
import difflib
import os
import pathlib
import re

import jsonschema
import yaml

COLUMNS = ("specimen", "group", "stack")
MOST = 20  # of what is wrong, the rest is counted

KINDS = {"number": "a number, such as 0.05", "integer": "a whole number", "boolean": "true or false",
         "string": "a text", "array": "a list, such as [a, b]", "object": "a section, with its settings below it",
         "null": "null"}


class SettingsError(Exception):
    """What is wrong, a line each."""

    def __init__(self, lines):
        more = [f"and {len(lines) - MOST} more"] if len(lines) > MOST else []
        super().__init__("\n".join(lines[:MOST] + more))


def tidied(config):
    """The settings without sections that are left empty, and with groups that look like numbers as texts."""
    config = {name: value for name, value in config.items() if value is not None}
    if isinstance(config.get("groups"), list):
        config["groups"] = [str(one) if type(one) is int else one for one in config["groups"]]
    return config


def repeats(node):
    """The names, as nodes, that stand twice in one section: the second would replace the first without a word."""
    if isinstance(node, yaml.MappingNode):
        seen = set()
        for name, value in node.value:
            if name.value in seen:
                yield name
            seen.add(name.value)
            yield from repeats(value)


def check_text(file):
    """Throws SettingsError with the line of a file of settings that cannot be read as settings."""
    try:
        text = pathlib.Path(file).read_bytes().decode("utf-8-sig")
        read = yaml.compose(text, yaml.SafeLoader)
    except OSError as error:
        raise SettingsError([f"{file} cannot be read: {error.strerror}"]) from None
    except UnicodeDecodeError as error:
        line = error.object[: error.start].count(b"\n") + 1
        raise SettingsError([f"{file}, line {line}: this is no UTF-8; save the file as text in UTF-8"]) from None
    except yaml.YAMLError as error:
        mark = getattr(error, "problem_mark", None)
        place = f"{file}, line {mark.line + 1}" if mark else str(file)
        lines = text.splitlines()
        tab = mark and mark.line < len(lines) and "\t" in lines[mark.line]
        reason = getattr(error, "problem", None) or getattr(error, "reason", None) or "this is no YAML"
        raise SettingsError([f"{place}: {reason}" + ("; indent by blanks, not by tabs" if tab else "")]) from None
    if not isinstance(read, yaml.MappingNode):
        raise SettingsError([f"{file} has no settings: each is a name, a colon and a value"])
    twice = [f"{file}, line {name.start_mark.line + 1}: '{name.value}' stands there twice" for name in repeats(read)]
    if twice:
        raise SettingsError(twice)


def unknown(error):
    known = sorted(error.schema["properties"])
    lines = []
    for name in error.instance:
        if name not in known:
            near = difflib.get_close_matches(str(name), known, 1)
            hint = f"did you mean {near[0]}?" if near else f"there are {', '.join(known)}"
            lines.append(f"there is no setting '{name}'; {hint}")
    return "; ".join(lines)


def sentence(error):
    value = error.instance
    shown = "nothing" if value is None else repr(value)
    if error.validator == "additionalProperties":
        return unknown(error)
    if error.validator == "type":
        kinds = error.validator_value if isinstance(error.validator_value, list) else [error.validator_value]
        text = f"{shown} is not {' or '.join(KINDS[kind] for kind in kinds)}"
        if isinstance(value, str) and re.fullmatch(r"\d+,\d+", value):
            text += "; numbers have a point, not a comma"
        if kinds == ["string"] and isinstance(value, (bool, float)):
            text += "; write it in quotes"
        return text
    if error.validator == "enum":
        return f"{shown} is not one of {', '.join(map(str, error.validator_value))}"
    if error.validator == "pattern" and "description" in error.schema:
        return f"{shown} is not {error.schema['description']}"
    return error.message


def check(config, schema):
    """Throws SettingsError with all that the schema, a file, does not allow: the place of each and a sentence."""
    rules = yaml.safe_load(pathlib.Path(schema).read_text(encoding="utf-8"))
    lines = []
    for error in jsonschema.Draft7Validator(rules).iter_errors(config):
        place = ".".join(str(part + 1) if isinstance(part, int) else part for part in error.absolute_path)
        lines.append(f"{place or 'settings'}: {sentence(error)}")
    if lines:
        raise SettingsError(sorted(lines))


def text_of(table):
    try:
        return pathlib.Path(table).read_bytes().decode("utf-8-sig")
    except FileNotFoundError:
        raise SettingsError([f"specimens: there is no table {table} in {os.getcwd()}"]) from None
    except OSError as error:
        raise SettingsError([f"specimens: {table} cannot be read: {error.strerror}"]) from None
    except UnicodeDecodeError as error:
        line = error.object[: error.start].count(b"\n") + 1
        raise SettingsError([f"{table}, line {line}: this is no UTF-8; save the table as text in UTF-8"]) from None


def specimens(table, groups, looks=True):
    """The rows of the table by the specimen's name. Throws SettingsError with all lines that cannot be used; looks: also
    those whose stack is not there, or is that of another line."""
    lines = text_of(table).splitlines()
    reader = csv.DictReader(lines, delimiter="\t", quoting=csv.QUOTE_NONE)
    reader.fieldnames = [name.strip() for name in reader.fieldnames or ()]
    if not set(COLUMNS) <= set(reader.fieldnames):
        first = lines[0] if lines else ""
        between = "commas" if "," in first else "semicolons" if ";" in first else "blanks" if " " in first else ""
        raise SettingsError([f"{table}: the first line must name specimen, group and stack, with tabs between"
                             + (f"; this one has {between}" if between else "")])
    rows, wrong, places, stacks = {}, [], {}, {}
    for row in reader:
        row = {name: (row[name] or "").strip() for name in COLUMNS}
        if not any(row.values()):
            continue
        found = faults(row, groups, places)
        if looks and row["stack"].endswith(".sdf"):
            found += faults_of_stack(row, places, stacks)
        wrong += [f"{table}, line {reader.line_num}: {fault}" for fault in found]
        places.setdefault(row["specimen"], reader.line_num)
        if looks:
            stacks.setdefault(os.path.realpath(row["stack"]), row["specimen"])
        rows.setdefault(row["specimen"], row)
    for group in groups:
        if sum(row["group"] == group for row in rows.values()) < 2:
            wrong.append(f"{table}: group {group} needs two specimens at least")
    if wrong:
        raise SettingsError(wrong)
    return rows


def faults(row, groups, places):
    """What is wrong with a row; places: lines of the names before."""
    empty = [name for name in COLUMNS if not row[name]]
    if empty:
        return [f"there is no {' and no '.join(empty)}: each line has specimen, group and stack, with tabs between"]
    name = row["specimen"]
    found = []
    if not re.fullmatch(r"[A-Za-z0-9_][A-Za-z0-9._-]*", name):
        found.append(f"a specimen's name has letters from A to Z, digits and . _ - only, for files are named by it, "
                     f"not '{name}'")
    if name in places:
        found.append(f"specimen {name} stands there twice, first in line {places[name]}")
    if row["group"] not in groups:
        found.append(f"group '{row['group']}' is none of {', '.join(groups)}, the groups of the settings")
    if not row["stack"].endswith(".sdf"):
        found.append(f"specimen {name} has no stack, a file that ends with .sdf, but '{row['stack']}'")
    return found


def faults_of_stack(row, places, stacks):
    """The same of its file; stacks: whose the files of the rows before are."""
    name, stack = row["specimen"], row["stack"]
    if not os.path.isfile(stack):
        return [f"there is no stack {stack}" + ("" if os.path.isabs(stack) else f" in {os.getcwd()}")]
    if os.path.realpath(stack) in stacks and name not in places:
        return [f"{stack} is the stack of specimen {stacks[os.path.realpath(stack)]}, too"]
    return []
