"""Reports of real runs against docs/report.schema.json.

usage: report-schema.py REELSWEEP-CLI SOURCE-FOLDER
"""

import json
import pathlib
import subprocess
import sys
import tempfile

try:
    import jsonschema
except ImportError:
    sys.exit(77)

program, source = sys.argv[1], pathlib.Path(sys.argv[2])
schema = json.loads((source / "docs/report.schema.json").read_text())
validator = jsonschema.Draft202012Validator(schema)
sample = str(source / "resources/sample/harbour.xml")
library = (
    '<fcpxml version="1.9"><resources/><library><event><project name="P"><sequence><spine>'
    '<clip><marker value="m"/></clip></spine></sequence></project></event></library></fcpxml>'
)
runs = [
    [sample],
    [sample, "--passes", "all", "--handles", "100"],
    [sample, "--passes", "all", "--literal"],
    [sample, "--keep", "Foghorn", "missing.xml", "broken.xml"],
    ["library.fcpxml", "--passes", "all"],
]

with tempfile.TemporaryDirectory() as folder:
    folder = pathlib.Path(folder)
    (folder / "broken.xml").write_text("<xmeml>")
    (folder / "library.fcpxml").write_text(library)
    changes = 0
    for number, arguments in enumerate(runs):
        report = folder / f"{number}.json"
        subprocess.run(
            [program, "tidy", "--dry-run", "--quiet", "--report", report, *arguments],
            cwd=folder,
            env={"HOME": str(folder)},
            stderr=subprocess.DEVNULL,
            check=False,
        )
        document = json.loads(report.read_text())
        validator.validate(document)
        changes += sum(len(s["changes"]) for d in document["documents"] for s in d["sequences"])
    # What nothing was said about would be valid too.
    assert changes > 100, changes
    # And a wrong report is not.
    del document["documents"][0]["sequences"][0]["timecode"]
    assert not validator.is_valid(document)
