#!/usr/bin/env python3
"""Writes a sequence as OpenTimelineIO JSON, or compares one with such a file.

usage: otio_exchange.py write FILE SEQUENCE OUT.otio
       otio_exchange.py compare FILE SEQUENCE IN.otio

Where the module opentimelineio is installed, it reads and checks the JSON. The command
"reelsweep-cli tidy --otio" writes more: markers, speeds, nested sequences, transitions.
"""

import json
import pathlib
import sys

import reelsweep

try:
    import opentimelineio
except ImportError:
    opentimelineio = None


def rational(value: int, rate: float) -> dict:
    return {"OTIO_SCHEMA": "RationalTime.1", "rate": rate, "value": float(value)}


def time_range(start: int, duration: int, rate: float) -> dict:
    return {
        "OTIO_SCHEMA": "TimeRange.1",
        "start_time": rational(start, rate),
        "duration": rational(duration, rate),
    }


def track_value(track: reelsweep.Track, rate: float) -> dict:
    children, at = [], 0
    for item in track.items:
        if item.kind == "transition":
            continue
        if item.start > at:
            gap = {"OTIO_SCHEMA": "Gap.1", "name": "", "metadata": {}}
            children.append(gap | {"source_range": time_range(0, item.start - at, rate)})
        media = {"OTIO_SCHEMA": "MissingReference.1", "name": item.media, "metadata": {}}
        if item.path:
            media |= {"OTIO_SCHEMA": "ExternalReference.1", "target_url": item.path}
        children.append(
            {
                "OTIO_SCHEMA": "Clip.2",
                "name": item.name,
                "metadata": {},
                "enabled": item.enabled,
                "source_range": time_range(item.source_start, item.end - item.start, rate),
                "media_references": {"DEFAULT_MEDIA": media},
                "active_media_reference_key": "DEFAULT_MEDIA",
            }
        )
        at = item.end
    kind = "Video" if track.label.startswith("V") else "Audio"
    return {
        "OTIO_SCHEMA": "Track.1",
        "name": track.name or track.label,
        "metadata": {},
        "kind": kind,
        "children": children,
    }


def document_of(timeline: reelsweep.Timeline) -> dict:
    rate = timeline.timebase * 1000 / 1001 if timeline.ntsc else float(timeline.timebase)
    tracks = [track_value(track, rate) for track in timeline.tracks]
    stack = {"OTIO_SCHEMA": "Stack.1", "name": "tracks", "metadata": {}, "children": tracks}
    return {
        "OTIO_SCHEMA": "Timeline.1",
        "name": timeline.name,
        "metadata": {},
        "global_start_time": rational(timeline.start, rate),
        "tracks": stack,
    }


def clips_of(document: dict) -> list[tuple]:
    """Each clip as track, name, first frame of the media and length."""
    found = []
    for track in document["tracks"]["children"]:
        for child in track["children"]:
            if child["OTIO_SCHEMA"].startswith("Clip"):
                times = child["source_range"]
                first = int(times["start_time"]["value"])
                found.append((track["name"], child["name"], first, int(times["duration"]["value"])))
    return found


def read(path: pathlib.Path) -> dict:
    text = path.read_text(encoding="utf-8")
    if opentimelineio is not None:
        text = opentimelineio.adapters.read_from_string(text, "otio_json").to_json_string()
    return json.loads(text)


def main(arguments: list[str]) -> int:
    if len(arguments) != 4 or arguments[0] not in ("write", "compare"):
        print(__doc__, file=sys.stderr)
        return 2
    what, file, sequence, other = arguments
    try:
        document = document_of(reelsweep.open(file).timeline(sequence))
    except reelsweep.Error as error:
        print(error, file=sys.stderr)
        return 1
    path = pathlib.Path(other)
    if what == "write":
        path.write_text(json.dumps(document, indent=4), encoding="utf-8")
        read(path)
        return 0
    mine, theirs = clips_of(document), clips_of(read(path))
    for clip in mine:
        if clip not in theirs:
            print("only in the sequence:", *clip)
    for clip in theirs:
        if clip not in mine:
            print("only in the other:", *clip)
    return 0 if mine == theirs else 6


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
