"""Checks and measures one stack, and writes beside the result what it came from.

Usage: measure.py PROGRAM STACK MEASURES.json PROVENANCE.json

MEASURES holds what `vorlen-cli measure --format json` prints, PROVENANCE the version of the program, the command, the
SHA-256 of the stack and the warnings of `vorlen-cli check`. Both are written under another name and renamed, so that
a job that is killed leaves no half of a file. Exit status: 0, or that of the program when it could not measure.
"""

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


def call(*words, good=(0,)):
    done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    sys.stderr.write(done.stderr)
    if done.returncode not in good:
        sys.stderr.write(f"{' '.join(words)} ended with {done.returncode}\n")
        # A negative status tells of a signal: 128 and its number, as a shell has it.
        sys.exit(done.returncode if done.returncode > 0 else 128 - done.returncode)
    return done.stdout


def main(program, stack, measures, provenance):
    version = call(program, "--version").strip()
    # Status 1 tells of problems in the document: they are reported, and do not end the study.
    check = call(program, "check", stack, good=(0, 1)).splitlines()
    command = [program, "measure", "--format", "json", stack]
    text = call(*command)
    json.loads(text)
    write(measures, text)
    record = {
        "program": version,
        "command": ["vorlen-cli", *command[1:]],
        "inputs": {stack: hashlib.sha256(pathlib.Path(stack).read_bytes()).hexdigest()},
        "warnings": [line for line in check if ": warning:" in line or ": error:" in line],
    }
    write(provenance, json.dumps(record, indent=2, ensure_ascii=False) + "\n")


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    main(*sys.argv[1:])
