#!/usr/bin/env python3
"""Tidies every XMEML file of a folder into another one, and says what it did.

usage: tidy_folder.py FOLDER OUTPUT-FOLDER [PASS...]

A file that cannot be tidied is named with what is wrong, and the others go on.
"""

import pathlib
import sys

import reelsweep


def tidy(source: pathlib.Path, target: pathlib.Path, passes: list[str]) -> None:
    document = reelsweep.open(source)
    tidied = document.tidy(passes or None)
    for sequence in tidied.ledger:
        proof = sequence.picture
        if proof is not None and not proof.as_asked:
            raise RuntimeError(f"{sequence.title}: {proof.changed_picture} frames have changed")
        print(
            f"{source.name}: {sequence.title}: {len(sequence.changes)} changes, "
            f"{sequence.items_before} items before, {sequence.items_after} after"
        )
        for kept in sequence.kept:
            print(f"  left alone: {kept.name}: {kept.reason}")
    tidied.save(target, overwrite=True)


def main(arguments: list[str]) -> int:
    if len(arguments) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    folder, output = pathlib.Path(arguments[0]), pathlib.Path(arguments[1])
    output.mkdir(parents=True, exist_ok=True)
    failed = 0
    for source in sorted(folder.glob("*.xml")):
        try:
            tidy(source, output / f"{source.stem}-Tidied.xml", arguments[2:])
        except RuntimeError as error:  # a reelsweep.Error is one, too
            print(error, file=sys.stderr)
            failed += 1
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
