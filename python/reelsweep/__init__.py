"""Reelsweep tidies edited video timelines (XMEML, FCPXML) for turnover.

    document = reelsweep.open("film.xml")
    tidied = document.tidy(["removeDisabledVideoClips", "collapseTracks"])
    tidied.save("film-Tidied.xml")

The source sequences stay as they are: a tidy works on copies. What cannot be done raises
reelsweep.Error, with the file and the line where those are known.
"""

from ._reelsweep import (
    Change,
    Comparison,
    Document,
    Error,
    Item,
    Kept,
    Place,
    Sequence,
    SequenceLedger,
    Tidied,
    Timeline,
    Track,
    default_passes,
    fcpx_passes,
    open,
    passes,
)

__all__ = [
    "Change",
    "Comparison",
    "Document",
    "Error",
    "Item",
    "Kept",
    "Place",
    "Sequence",
    "SequenceLedger",
    "Tidied",
    "Timeline",
    "Track",
    "default_passes",
    "fcpx_passes",
    "open",
    "passes",
]
