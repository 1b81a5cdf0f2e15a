"""Runs one step of a study, and writes beside the result what it came from.

The command follows after `--`. What it prints goes to the file of --stdout, which is written under another name and
renamed, so that a job that is killed leaves no half of a file; the program itself writes its files in that way. The
provenance has the version of the program, the command, the SHA-256 of each input, the exit status and the program's
warnings. The step ends with the status of the program when that is none of --good.
"""

import argparse
import hashlib
import json
import os
import pathlib
import subprocess
import sys


def write(name, text):
    part = f"{name}.{os.getpid()}.part"
    with open(part, "w", encoding="utf-8") as file:
        file.write(text)
        file.flush()
        os.fsync(file.fileno())
    os.replace(part, name)


def digest(name):
    sha = hashlib.sha256()
    with open(name, "rb") as file:
        while block := file.read(1 << 20):
            sha.update(block)
    return sha.hexdigest()


def status_of(done):
    """The exit status; for a process that a signal has ended 128 and its number, as a shell has it."""
    return done.returncode if done.returncode >= 0 else 128 - done.returncode


def shapes(folder, model, members):
    """The files of a structure in a normalization: those of each group, and what is missing.

    members: the numbers of the specimens, from 0 in the order in which they were normalized, by commas; groups by
    colons. Returns a list of files for each group and the names of the specimens that have no such file.
    """
    names = [one["name"] for one in
             json.loads((pathlib.Path(folder) / "normalization.json").read_text(encoding="utf-8"))["specimens"]]
    groups, missing = [], []
    for part in members.split(":"):
        group = []
        for number in map(int, part.split(",")):
            found = [file for file in (pathlib.Path(folder) / f"{names[number]}-{model}{ending}"
                                       for ending in (".vs", ".vx", ".qm")) if file.exists()]
            if found:
                group.append(str(found[0]))
            else:
                missing.append(names[number])
        groups.append(group)
    return groups, missing


def parsed(words):
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--provenance", required=True)
    parser.add_argument("--stdout")
    parser.add_argument("--program", help="what is asked for its version, where the command begins with another one")
    parser.add_argument("--good", default="0", help="exit statuses that are no failure, by commas")
    parser.add_argument("--opened", action="store_true", help="fail when the check on stdout could not open the stack")
    parser.add_argument("--inputs", nargs="*", default=[])
    parser.add_argument("--stacks", help="a file whose lines name what is taken besides, after all else")
    parser.add_argument("--shapes", nargs=2, metavar=("NORMALIZED", "MODEL"))
    parser.add_argument("--members")
    if "--" not in words:
        parser.error("no command after --")
    middle = words.index("--")
    request = parser.parse_args(words[:middle])
    request.command = words[middle + 1:]
    if request.stacks:
        stacks = pathlib.Path(request.stacks).read_text(encoding="utf-8").splitlines()
        request.command += stacks
        request.inputs += stacks
    return request


def add_shapes(request):
    """Appends the files of the shapes to the command and the inputs; returns warnings of those that are missing."""
    folder, model = request.shapes
    groups, missing = shapes(folder, model, request.members)
    least = 2 if len(groups) > 1 else 1
    if min(map(len, groups)) < least:
        sys.exit(f"{model}: too few specimens have it in {folder}: {', '.join(missing)} have not")
    if len(groups) > 1:
        request.command += ["--groups", ",".join(str(len(group)) for group in groups)]
    files = [file for group in groups for file in group]
    request.command += files
    request.inputs += files
    return [f"{name} has no {model}, and is left out" for name in missing]


def main(words):
    request = parsed(words)
    warnings = add_shapes(request) if request.shapes else []
    program = request.program or request.command[0]
    version = subprocess.run([program, "--version"], stdout=subprocess.PIPE, text=True, check=True).stdout.strip()
    done = subprocess.run(request.command, stdout=subprocess.PIPE if request.stdout else None, stderr=subprocess.PIPE,
                          text=True)
    sys.stderr.write(done.stderr)
    status = status_of(done)
    if str(status) not in request.good.split(","):
        sys.stderr.write(f"{' '.join(request.command)} ended with {status}\n")
        return status
    if request.stdout:
        printed = json.loads(done.stdout)
        if request.opened and not all(one["opened"] for one in printed):
            sys.stderr.write(f"{', '.join(one['file'] for one in printed)} cannot be opened\n")
            return 3
        write(request.stdout, done.stdout)
    prefix = "vorlen-cli: "
    record = {
        "program": version,
        "command": ["vorlen-cli", *request.command[request.command.index(program) + 1:]],
        "inputs": {name: digest(name) for name in request.inputs},
        "status": status,
        "warnings": warnings + [line[len(prefix):] for line in done.stderr.splitlines() if line.startswith(prefix)],
    }
    write(request.provenance, json.dumps(record, indent=2, ensure_ascii=False) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
