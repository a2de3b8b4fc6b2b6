import os
from collections.abc import Callable, Sequence as Many
from typing import Literal

passes: tuple[str, ...]
"""The passes on XMEML, in the order of a run."""
default_passes: tuple[str, ...]
"""Those that are on by default."""
fcpx_passes: tuple[str, ...]
"""The passes on FCPXML alone, in the order of a run."""

class Error(RuntimeError):
    """What could not be done. `line` and `column` count from 1; 0 is not known."""

    code: Literal[
        "usage",
        "input-unreadable",
        "input-invalid",
        "output-failed",
        "processing",
        "not-the-same",
        "cancelled",
        "internal",
    ]
    message: str
    detail: str
    file: str
    line: int
    column: int
    element: str

class Sequence:
    """A sequence of a document."""

    @property
    def index(self) -> int: ...
    @property
    def title(self) -> str: ...
    @property
    def uuid(self) -> str: ...

class Item:
    """A clip, generator or transition. Ends are exclusive; times are whole frames."""

    @property
    def kind(self) -> Literal["clip", "generator", "transition"]: ...
    @property
    def name(self) -> str: ...
    @property
    def id(self) -> str: ...
    @property
    def start(self) -> int: ...
    @property
    def end(self) -> int: ...
    @property
    def source_start(self) -> int:
        """The frame of the media at the cut, from 0 at its first one."""
    @property
    def source_end(self) -> int: ...
    @property
    def source_timecode(self) -> str: ...
    @property
    def enabled(self) -> bool: ...
    @property
    def media(self) -> str: ...
    @property
    def path(self) -> str:
        """As the file has it: a URL."""
    @property
    def reel(self) -> str: ...

class Track:
    @property
    def label(self) -> str:
        """ "V1" is the lowest video track."""
    @property
    def name(self) -> str: ...
    @property
    def enabled(self) -> bool: ...
    @property
    def items(self) -> list[Item]: ...

class Timeline:
    """A sequence as plain values: video tracks, lowest first, then audio tracks."""

    @property
    def name(self) -> str: ...
    @property
    def rate(self) -> str:
        """ "25", "29.97"; empty when it is not known."""
    @property
    def timebase(self) -> int: ...
    @property
    def ntsc(self) -> bool: ...
    @property
    def drop_frame(self) -> bool: ...
    @property
    def start(self) -> int:
        """What the time code of frame 0 counts."""
    @property
    def end(self) -> int: ...
    @property
    def tracks(self) -> list[Track]: ...
    def timecode(self, frame: int) -> str: ...

class Place:
    """Where something stood; None for a time that it does not have, -1 inside a transition."""

    @property
    def track(self) -> str | None: ...
    @property
    def start(self) -> int | None: ...
    @property
    def end(self) -> int | None: ...
    @property
    def in_(self) -> int | None: ...
    @property
    def out(self) -> int | None: ...

class Change:
    @property
    def pass_name(self) -> str: ...
    @property
    def kind(self) -> Literal["removed", "moved", "trimmed", "split", "inserted", "changed"]: ...
    @property
    def element(self) -> str: ...
    @property
    def name(self) -> str: ...
    @property
    def id(self) -> str: ...
    @property
    def before(self) -> Place: ...
    @property
    def after(self) -> Place: ...
    @property
    def reason(self) -> str: ...

class Kept:
    """A clip that a pass left alone, and why."""

    @property
    def pass_name(self) -> str: ...
    @property
    def name(self) -> str: ...
    @property
    def id(self) -> str: ...
    @property
    def place(self) -> Place: ...
    @property
    def reason(self) -> str: ...

class Comparison:
    """How two sequences compare, frame by frame."""

    @property
    def before(self) -> str: ...
    @property
    def after(self) -> str: ...
    @property
    def same(self) -> bool: ...
    @property
    def as_asked(self) -> bool:
        """Nothing differs but what the passes were asked to change."""
    @property
    def frames(self) -> int: ...
    @property
    def same_picture(self) -> int: ...
    @property
    def same_sound(self) -> int: ...
    @property
    def changed_picture(self) -> int: ...
    @property
    def changed_sound(self) -> int: ...
    @property
    def differences(self) -> list[str]: ...

class SequenceLedger:
    """What was changed in one sequence."""

    @property
    def title(self) -> str: ...
    @property
    def uuid(self) -> str: ...
    @property
    def items_before(self) -> int: ...
    @property
    def items_after(self) -> int: ...
    @property
    def balances(self) -> bool: ...
    @property
    def changes(self) -> list[Change]: ...
    @property
    def kept(self) -> list[Kept]: ...
    @property
    def picture(self) -> Comparison | None: ...

class Tidied:
    """What a tidy has made."""

    @property
    def ledger(self) -> list[SequenceLedger]:
        """Made anew at every access: keep it in a variable."""
    @property
    def timelines(self) -> list[Timeline]:
        """The tidied copies."""
    @property
    def notes(self) -> list[str]: ...
    def save(self, path: str | os.PathLike[str], overwrite: bool = False) -> None:
        """Writes the document: whole, or not at all."""

class Document:
    """An opened file. It may be used from any thread, by one call at a time."""

    @property
    def path(self) -> str: ...
    @property
    def format(self) -> Literal["xmeml", "fcpxml"]: ...
    @property
    def sequences(self) -> list[Sequence]:
        """None for FCPXML, which is tidied as a whole."""
    def timeline(self, sequence: Sequence | int | str) -> Timeline:
        """A sequence, its index, its title or its uuid."""
    def tidy(
        self,
        passes: Many[str] | None = None,
        *,
        sequences: list[Sequence | int | str] | None = None,
        keep_picture: bool = True,
        import_safe: bool = True,
        keep: Many[str] = ...,
        ignored_effects: Many[str] = ...,
        marker_kinds: Many[str] | None = None,
        progress: Callable[[str], object] | None = None,
    ) -> Tidied:
        """Tidies copies of the sequences; without passes, with those that are on by default.

        `progress` hears what is being done. What it raises stops the tidy and comes back here.
        """
    def verify(self, other: Document) -> list[Comparison]:
        """Each sequence against the one of its name, or its tidied copy, in another document."""

def open(path: str | os.PathLike[str]) -> Document: ...
