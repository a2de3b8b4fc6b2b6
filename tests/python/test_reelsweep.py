"""The Python module, on the bundled sample and on small files."""

import ast
import csv
import io
import json
import os
import pathlib
import subprocess
import sys
import threading

import pytest
import reelsweep

SOURCE = pathlib.Path(os.environ["REELSWEEP_SOURCE"])
SAMPLE = SOURCE / "resources/sample/harbour.xml"
TEASER = "Teaser 30s"


def test_reads_sequences_as_plain_values():
    document = reelsweep.open(SAMPLE)
    titles = [sequence.title for sequence in document.sequences]
    assert TEASER in titles
    timeline = document.timeline(TEASER)
    del document
    assert timeline.name == TEASER and timeline.rate == "25"
    assert [track.label for track in timeline.tracks] == ["V1", "V2", "V3", "V4", "A1", "A2", "A3"]
    for track in timeline.tracks:
        assert track.items == [] or track.items[-1].end <= timeline.end
    clip = next(item for item in timeline.tracks[0].items if item.kind == "clip" and item.path)
    assert clip.path.startswith("file://") and clip.end > clip.start
    assert timeline.timecode(0) == "01:00:00:00"


def test_tidies_proves_and_saves(tmp_path):
    document = reelsweep.open(str(SAMPLE))
    heard = []
    tidied = document.tidy(sequences=[TEASER, 1], progress=heard.append)
    assert heard and all(isinstance(text, str) for text in heard)
    ledger = tidied.ledger
    assert [sequence.title for sequence in ledger] == [document.sequences[1].title, TEASER]
    for sequence in ledger:
        assert sequence.balances and sequence.picture.as_asked
        assert sequence.picture.same_picture == sequence.picture.frames
        assert {change.pass_name for change in sequence.changes} <= {
            *reelsweep.default_passes,
            "importSafe",
        }
    removed = [c for c in ledger[1].changes if c.kind == "removed" and c.before.track]
    assert removed and all(c.after.track is None and c.reason for c in removed)
    assert [timeline.name for timeline in tidied.timelines][1] == TEASER + "-Tidied"

    out = tmp_path / "out.xml"
    tidied.save(out)
    with pytest.raises(reelsweep.Error) as taken:
        tidied.save(out)
    assert taken.value.code == "output-failed"
    tidied.save(out, overwrite=True)
    proof = document.verify(reelsweep.open(out))
    assert {(c.before, c.after) for c in proof} >= {(TEASER, TEASER + "-Tidied")}
    assert all(c.same and c.differences == [] for c in proof)


@pytest.mark.parametrize(
    "name, contents, code, line",
    [
        ("broken.xml", "<xmeml>\n<a></b>", "input-invalid", 2),
        ("page.xml", "<html/>", "input-invalid", 0),
        ("missing.xml", None, "input-unreadable", 0),
    ],
)
def test_raises_with_file_and_line(tmp_path, name, contents, code, line):
    path = tmp_path / name
    if contents is not None:
        path.write_text(contents)
    with pytest.raises(reelsweep.Error) as raised:
        reelsweep.open(path)
    error = raised.value
    assert (error.code, error.file, error.line) == (code, str(path), line)
    assert error.message and error.message in str(error)


@pytest.mark.parametrize(
    "arguments",
    [
        {"passes": ["noSuchPass"]},
        {"passes": ["fcpxRemoveMarkers"]},
        {"sequences": ["No such reel"]},
        {"sequences": [99]},
        {"sequences": []},
    ],
)
def test_refuses_what_does_not_exist(arguments):
    with pytest.raises(reelsweep.Error) as raised:
        reelsweep.open(SAMPLE).tidy(**arguments)
    assert raised.value.code == "usage"


def test_stops_when_the_callback_raises():
    class Enough(Exception):
        pass

    def progress(text):
        raise Enough(text)

    document = reelsweep.open(SAMPLE)
    with pytest.raises(Enough):
        document.tidy(progress=progress)
    assert document.tidy(sequences=[TEASER]).ledger[0].balances


def test_lets_go_of_the_interpreter_and_takes_one_call_at_a_time():
    document = reelsweep.open(SAMPLE)
    inside, go_on = threading.Event(), threading.Event()
    results = []

    def progress(text):
        inside.set()
        assert go_on.wait(60)

    worker = threading.Thread(target=lambda: results.append(document.tidy(progress=progress)))
    worker.start()
    # This thread runs while the other one is inside the library.
    assert inside.wait(60)
    with pytest.raises(reelsweep.Error) as busy:
        document.timeline(0)
    assert busy.value.code == "usage"
    go_on.set()
    worker.join(60)
    assert len(results) == 1 and document.timeline(0).tracks


def test_tidies_fcpxml(tmp_path):
    source = tmp_path / "in.fcpxml"
    source.write_text(
        '<fcpxml version="1.11"><event><clip duration="1s"><marker start="0s" value="m"/>'
        '<rating value="r"/></clip></event></fcpxml>'
    )
    document = reelsweep.open(source)
    assert document.format == "fcpxml" and document.sequences == []
    with pytest.raises(reelsweep.Error):
        document.tidy()
    document.tidy(["fcpxRemoveMarkers"], marker_kinds=["rating"]).save(tmp_path / "out.fcpxml")
    result = (tmp_path / "out.fcpxml").read_text()
    assert "<marker" in result and "<rating" not in result


def test_stubs_tell_of_everything():
    tree = ast.parse((SOURCE / "python/reelsweep/__init__.pyi").read_text())
    told = {"": set()}
    for node in tree.body:
        if isinstance(node, ast.AnnAssign):
            told[""].add(node.target.id)
        elif isinstance(node, (ast.ClassDef, ast.FunctionDef)):
            told[""].add(node.name)
        if isinstance(node, ast.ClassDef):
            told[node.name] = {n.name for n in node.body if isinstance(n, ast.FunctionDef)}
    assert told[""] == set(reelsweep.__all__)
    for name in reelsweep.__all__:
        there = getattr(reelsweep, name)
        if isinstance(there, type) and not issubclass(there, Exception):
            assert told[name] == {n for n in vars(there) if not n.startswith("_")}, name


def example(name, *arguments):
    return subprocess.run(
        [sys.executable, SOURCE / "examples" / name, *arguments],
        capture_output=True,
        text=True,
        check=False,
    )


def test_examples_do_what_they_say(tmp_path):
    (tmp_path / "in").mkdir()
    (tmp_path / "in/a.xml").write_bytes(SAMPLE.read_bytes())
    (tmp_path / "in/b.xml").write_text("<xmeml>")
    ended = example("tidy_folder.py", tmp_path / "in", tmp_path / "out")
    assert ended.returncode == 1 and "b.xml:1:" in ended.stderr
    assert f"a.xml: {TEASER}: " in ended.stdout
    assert [path.name for path in (tmp_path / "out").iterdir()] == ["a-Tidied.xml"]

    listed = example("media_list.py", SAMPLE)
    lines = list(csv.DictReader(io.StringIO(listed.stdout)))
    assert listed.returncode == 0 and len(lines) > 20
    assert all(line["Path"].startswith("/Volumes/") for line in lines)

    otio = tmp_path / "teaser.otio"
    assert example("otio_exchange.py", "write", SAMPLE, TEASER, otio).returncode == 0
    assert json.loads(otio.read_text())["OTIO_SCHEMA"] == "Timeline.1"
    assert example("otio_exchange.py", "compare", SAMPLE, TEASER, otio).returncode == 0
    other = example("otio_exchange.py", "compare", SAMPLE, "Selects Net Loft", otio)
    assert other.returncode == 6 and "only in the other:" in other.stdout
