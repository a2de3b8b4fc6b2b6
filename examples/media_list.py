#!/usr/bin/env python3
"""Prints which media the tidied sequences of a file use, as comma-separated values.

usage: media_list.py FILE

One line for each clip that plays: sequence, track, where it stands, media, source, path.
"""

import csv
import sys
import urllib.parse

import reelsweep


def rows(timeline: reelsweep.Timeline):
    for track in timeline.tracks:
        if not track.enabled:
            continue
        for item in track.items:
            if item.kind == "clip" and item.enabled and item.path:
                yield [
                    timeline.name,
                    track.label,
                    timeline.timecode(item.start),
                    timeline.timecode(item.end),
                    item.media,
                    item.source_timecode,
                    item.source_end - item.source_start,
                    urllib.parse.unquote(urllib.parse.urlparse(item.path).path),
                ]


def main(arguments: list[str]) -> int:
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    try:
        tidied = reelsweep.open(arguments[0]).tidy()
    except reelsweep.Error as error:
        print(error, file=sys.stderr)
        return 1
    writer = csv.writer(sys.stdout)
    writer.writerow(["Sequence", "Track", "Start", "End", "Media", "Source", "Frames", "Path"])
    for timeline in tidied.timelines:
        writer.writerows(rows(timeline))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
