#!/usr/bin/env python3
"""Tidies files for a long time while everything goes wrong that can, and looks at what is left.

usage: soak.py PROGRAMS SAMPLES MINUTES [SEED]

Each round is one small misfortune: a damaged file, a kill, a full disk, an input that goes, two
programs on one output, a bus that goes. What must hold after each is in the checks at the top of
Soak. The first round that breaks a promise ends the run with status 1, and its folder stays.
"""

import collections
import glob
import json
import os
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import xml.etree.ElementTree as ElementTree

NOBODY = 65534
DONE, USAGE, UNREADABLE, UNWRITABLE, FAILED, CHANGED, INTERRUPTED = 0, 2, 3, 4, 5, 6, 130
LONGEST_RUN = 120  # seconds; nothing here takes a tenth of it


class Broken(Exception):
    """A promise that did not hold."""


def check(holds, what):
    if not holds:
        raise Broken(what)


def contents(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, data):
    with open(path, "wb") as file:
        file.write(data)
    os.chmod(path, 0o666)


def is_whole(data):
    try:
        ElementTree.fromstring(data)
        return True
    except ElementTree.ParseError:
        return False


def titles(data):
    """Names of all sequences of a document, in order."""
    names = [sequence.find("name") for sequence in ElementTree.fromstring(data).iter("sequence")]
    return [name.text or "" for name in names if name is not None]


def timeline(chance):
    """A project with sequences of random clips, gaps and transitions on random tracks."""
    def items(kind, track):
        text, at = "", 0
        for number in range(chance.randrange(1, 60)):
            at += chance.choice([0, 0, 0, 12, 40])
            length = chance.randrange(1, 200)
            enabled = chance.choice(["TRUE", "TRUE", "TRUE", "FALSE"])
            ident = f"{kind}{track}-{number}"
            text += (f'<clipitem id="{ident}"><name>Take {number} &amp; more</name>'
                     f"<enabled>{enabled}</enabled><duration>9999</duration>"
                     f"<start>{at}</start><end>{at + length}</end>"
                     f"<in>100</in><out>{100 + length}</out>"
                     f'<file id="file-{number % 7}"><name>reel{number % 7}.mov</name></file>'
                     "</clipitem>\n")
            at += length
            if chance.random() < 0.1:
                text += (f"<transitionitem><start>{at - 1}</start><end>{at + 1}</end>"
                         "<alignment>center</alignment></transitionitem>\n")
        return text

    sequences = ""
    for number in range(chance.randrange(1, 4)):
        media = ""
        for kind in ("video", "audio"):
            tracks = "".join(f"<track>\n{items(kind, track)}</track>\n"
                             for track in range(chance.randrange(1, 6)))
            media += f"<{kind}>{tracks}</{kind}>"
        sequences += (f'<sequence id="s{number}"><name>Reel {number}</name>'
                      f"<uuid>{chance.getrandbits(60)}</uuid>"
                      "<rate><timebase>25</timebase><ntsc>FALSE</ntsc></rate>"
                      f"<media>{media}</media></sequence>\n")
    return ('<?xml version="1.0" encoding="UTF-8"?>\n<!DOCTYPE xmeml>\n<xmeml version="5">'
            f"<project><name>Film</name><children>\n{sequences}</children></project></xmeml>"
            ).encode()


def mutated(data, chance):
    data = bytearray(data)
    for _ in range(chance.randrange(1, 5)):
        if not data:
            break
        at = chance.randrange(len(data))
        length = chance.choice([1, 1, 8, 100, 5000])
        kind = chance.randrange(5)
        if kind == 0:
            data[at] = chance.randrange(256)
        elif kind == 1:
            del data[at:at + length]
        elif kind == 2:
            data[at:at] = data[at:at + length]
        elif kind == 3:
            del data[at:]
        else:
            data[at:at] = chance.choice([b"<", b"]]>", b"&#0;", b"<![CDATA[", b"\xff\xfe", b"-1",
                                         b"99999999999999999999", b"<track>" * 200])
    return bytes(data)


def odd(data, chance):
    """The same document with other numbers here and there, some lines gone and some twice."""
    lines = data.decode().split("\n")
    numbers = ["-1", "0", "1", "-100", "2147483647", "9223372036854775807", "1e9", "NaN", " 7 ", ""]
    for _ in range(chance.randrange(1, 20)):
        at = chance.randrange(len(lines))
        line = lines[at]
        if re.search(r">-?\d+<", line) and chance.random() < 0.8:
            where = chance.choice(list(re.finditer(r">(-?\d+)<", line)))
            lines[at] = line[:where.start(1)] + chance.choice(numbers) + line[where.end(1):]
        elif line.startswith(("<clipitem", "<transitionitem")):
            lines[at:at + 1] = chance.choice([[], [line, line]])
    return "\n".join(lines).encode()


class Run:
    """A program that was started, in a process group of its own."""

    def __init__(self, soak, arguments, limits=None):
        def prepare():
            for which, value in (limits or {}).items():
                resource.setrlimit(which, (value, value))

        self.arguments = arguments
        self.most = 0  # KiB
        self.error_file = tempfile.TemporaryFile()
        self.process = subprocess.Popen(
            arguments, cwd=soak.folder, env=soak.environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=self.error_file, start_new_session=True,
            restore_signals=False, preexec_fn=prepare, **soak.user)

    def note_memory(self):
        """The most that it has held so far. What wait4 tells counts this program before the exec."""
        try:
            with open(f"/proc/{self.process.pid}/status", encoding="utf-8") as file:
                found = re.search(r"VmHWM:\s*(\d+)", file.read())
                self.most = int(found[1]) if found else self.most
        except (FileNotFoundError, ProcessLookupError):
            pass

    def send(self, number):
        try:
            os.kill(self.process.pid, number)
        except ProcessLookupError:
            pass

    def end(self):
        """Waits, and answers the exit status; what the run used is in `most` then."""
        limit = time.monotonic() + LONGEST_RUN
        while True:
            self.note_memory()
            pid, status = os.waitpid(self.process.pid, os.WNOHANG)
            if pid:
                break
            check(time.monotonic() < limit, f"still runs after {LONGEST_RUN} seconds")
            time.sleep(0.002)
        self.process.returncode = os.waitstatus_to_exitcode(status)
        self.error_file.seek(0)
        self.error = self.error_file.read().decode(errors="replace")
        self.error_file.close()
        try:
            os.killpg(self.process.pid, 0)
            raise Broken(f"left a child: {self.arguments}")
        except ProcessLookupError:
            pass
        return self.process.returncode


class Soak:
    def __init__(self, programs, samples, seed):
        self.cli = os.path.join(programs, "reelsweep-cli")
        self.host_program = os.path.join(programs, "reelsweep-demo-host")
        self.chance = random.Random(seed)
        self.samples = [contents(path) for path in samples]
        self.place = tempfile.mkdtemp(prefix="reelsweep-soak-")
        self.folder = os.path.join(self.place, "work")
        self.temporary = os.path.join(self.place, "tmp")
        self.disk = os.path.join(self.place, "disk")
        self.home = os.path.join(self.place, "home")
        settings = os.path.join(self.home, "Library/Preferences")
        for path in (self.folder, self.temporary, self.disk, settings):
            os.makedirs(path)
        write(os.path.join(settings, "com.quorvane.Reelsweep.plist"),
              b'<plist version="1.0"><dict><key>appleEventTimeout</key><integer>2</integer></dict>'
              b"</plist>")
        self.environment = {"HOME": self.home, "TMPDIR": self.temporary, "PATH": "/usr/bin:/bin",
                            "XDG_RUNTIME_DIR": self.home, "LC_ALL": "C.UTF-8",
                            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.place}/bus"}
        # An ordinary user, whom files and folders can be closed to.
        self.user = {}
        if os.geteuid() == 0:
            self.user = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
            for path, _, _ in os.walk(self.place):
                os.chown(path, NOBODY, NOBODY)
            for path in glob.glob(settings + "/*"):
                os.chown(path, NOBODY, NOBODY)
        self.mounted = os.geteuid() == 0 and subprocess.run(
            ["mount", "-t", "tmpfs", "-o", f"size=256k,uid={NOBODY},mode=700", "tmpfs", self.disk],
            stderr=subprocess.DEVNULL).returncode == 0
        self.rounds = collections.Counter()
        self.statuses = collections.defaultdict(collections.Counter)
        self.most = collections.defaultdict(list)
        listed = subprocess.run([self.cli, "passes"], env=self.environment, capture_output=True,
                                text=True, check=True, **self.user).stdout
        self.passes = re.findall(r"^(\w+) ", listed, re.MULTILINE)[1:]

    # What must hold

    def check_ended_well(self, run, allowed):
        """No crash, no status but the allowed ones, and an error is said."""
        status = run.process.returncode
        self.statuses[self.scenario][status] += 1
        self.most[self.scenario].append(run.most)
        check(status in allowed, f"status {status}, not one of {allowed}: {run.error[:2000]}")
        if status in (UNREADABLE, UNWRITABLE, FAILED):
            check("reelsweep-cli: " in run.error, f"an error that is not told: {run.error!r}")

    def check_no_leftovers(self):
        """No half of a save lies beside the files, and nothing in the temporary folder."""
        left = os.listdir(self.temporary)
        check(not left, f"left in the temporary folder: {left}")
        for folder in (self.folder, self.disk):
            halves = [name for name in os.listdir(folder) if name.endswith(".tmp")]
            check(not halves, f"left beside the files: {halves}")

    def check_whole(self, path, source):
        """The result holds all sequences of its source, and the copies."""
        data = contents(path)
        check(is_whole(data), f"{path} is not whole")
        if b"<xmeml" not in data or b"<project" not in data:
            return
        found = titles(data)
        originals = titles(source)
        lost = collections.Counter(originals) - collections.Counter(found)
        check(not lost, f"sequences were lost: {lost}")
        check(any(title.endswith("-Tidied") for title in found), "there is no tidied copy")

    def check_balance(self, report):
        for document in json.loads(contents(report))["documents"]:
            for sequence in document["sequences"]:
                check(sequence["balances"], f"items of {sequence['title']} were lost")

    # Parts of rounds

    def path(self, name):
        return os.path.join(self.folder, name)

    def valid(self):
        if self.chance.random() < 0.7:
            return timeline(self.chance)
        return self.chance.choice(self.samples)

    def start(self, *arguments, limits=None):
        return Run(self, [self.cli, *arguments], limits)

    def options(self):
        chance = self.chance
        passes = chance.choice(["default", "all", ",".join(
            chance.sample(self.passes, chance.randrange(1, len(self.passes))))])
        options = ["--passes", passes]
        options += [flag for flag in ("--no-keep-picture", "--no-import-safe", "--quiet")
                    if chance.random() < 0.2]
        return options

    def wait_a_little(self):
        time.sleep(self.chance.choice([0, 0.002, 0.01, 0.03]) * self.chance.random() * 2)

    # Rounds: each is named after what goes wrong

    def nothing(self):
        source = self.valid()
        write(self.path("in.xml"), source)
        run = self.start("tidy", "in.xml", "-o", "out.xml", "--force", "--report", "r.json",
                         *self.options())
        run.end()
        self.check_ended_well(run, [DONE])
        check(contents(self.path("in.xml")) == source, "the source has changed")
        self.check_whole(self.path("out.xml"), source)
        self.check_balance(self.path("r.json"))

    def damaged_file(self):
        source = mutated(self.valid(), self.chance)
        write(self.path("in.xml"), source)
        run = self.start("tidy", "in.xml", "-o", "out.xml", *self.options())
        status = run.end()
        self.check_ended_well(run, [DONE, UNREADABLE, UNWRITABLE, FAILED])
        check(contents(self.path("in.xml")) == source, "the source has changed")
        check(os.path.exists(self.path("out.xml")) == (status in (DONE, FAILED)) or
              status == FAILED, "an output in spite of the failure, or none in spite of success")
        if status == DONE:
            self.check_whole(self.path("out.xml"), source)

    def odd_numbers(self):
        source = odd(timeline(self.chance), self.chance)
        write(self.path("in.xml"), source)
        run = self.start("tidy", "in.xml", "-o", "out.xml", "--report", "r.json", *self.options())
        status = run.end()
        self.check_ended_well(run, [DONE, FAILED])
        if status == DONE:
            self.check_whole(self.path("out.xml"), source)
            self.check_balance(self.path("r.json"))

    def kill(self):
        source = self.valid()
        in_place = self.chance.random() < 0.5
        target = self.path("in.xml" if in_place else "out.xml")
        write(self.path("in.xml"), source)
        if not in_place:
            write(target, b"<old/>")
        old = contents(target)
        number = self.chance.choice([signal.SIGKILL, signal.SIGKILL, signal.SIGTERM, signal.SIGINT])
        where = ["--in-place"] if in_place else ["-o", "out.xml", "--force"]
        run = self.start("tidy", "in.xml", *where, *self.options())
        self.wait_a_little()
        run.send(number)
        status = run.end()
        self.check_ended_well(run, [DONE, INTERRUPTED, -number])
        if contents(target) != old:
            self.check_whole(target, source)
        else:
            check(status != DONE, "nothing was written in spite of success")
        if status == -signal.SIGKILL:
            # What it left goes with the next save to that place.
            write(self.path("in.xml"), source)
            again = self.start("tidy", "in.xml", *where)
            again.end()
            self.check_ended_well(again, [DONE])

    def full_disk(self):
        source = self.valid()
        write(self.path("in.xml"), source)
        target = os.path.join(self.disk if self.mounted else self.folder, "out.xml")
        old = None
        if self.chance.random() < 0.5:
            old = b"<old/>"
            write(target, old)
            if self.user:
                os.chown(target, NOBODY, NOBODY)
        filler = os.path.join(self.disk, "filler")
        if self.mounted:
            write(filler, b"x" * self.chance.randrange(200_000))
        limits = {} if self.mounted else {resource.RLIMIT_FSIZE: self.chance.randrange(1, 65536)}
        run = self.start("tidy", "in.xml", "-o", target, "--force", *self.options(), limits=limits)
        status = run.end()
        self.check_ended_well(run, [DONE, UNWRITABLE])
        if status == DONE:
            self.check_whole(target, source)
        else:
            there = contents(target) if os.path.exists(target) else None
            check(there == old, "a failed save left something else")
        for path in (target, filler):
            if os.path.exists(path):
                os.unlink(path)

    def vanishing_input(self):
        names = [f"in{number}.xml" for number in range(self.chance.randrange(1, 6))]
        sources = {name: self.valid() for name in names}
        for name, source in sources.items():
            write(self.path(name), source)
        outputs = self.path("outputs")
        os.makedirs(outputs, mode=0o777)
        os.chmod(outputs, 0o777)
        run = self.start("tidy", *names, "--output-dir", outputs, *self.options())
        self.wait_a_little()
        victim = self.path(self.chance.choice(names))
        kind = self.chance.randrange(3)
        if kind == 0:
            os.unlink(victim)
        elif kind == 1:
            os.truncate(victim, self.chance.randrange(len(contents(victim))))
        else:
            write(victim + ".new", b"<xmeml/>")
            os.rename(victim + ".new", victim)
        run.end()
        self.check_ended_well(run, [DONE, UNREADABLE, UNWRITABLE])
        for name, source in sources.items():
            output = os.path.join(outputs, name.replace(".xml", "-Tidied.xml"))
            if os.path.exists(output):
                self.check_whole(output, source)
            else:
                check(self.path(name) == victim, f"{name} was not tidied")

    def two_programs(self):
        sources = [timeline(self.chance) for _ in range(2)]
        for number, source in enumerate(sources):
            write(self.path(f"in{number}.xml"), source)
        force = self.chance.random() < 0.5
        runs = [self.start("tidy", f"in{number}.xml", "-o", "out.xml", *(["--force"] * force))
                for number in range(2)]
        done = 0
        for run in runs:
            done += run.end() == DONE
            self.check_ended_well(run, [DONE, UNWRITABLE])
        check(done >= 1 if force else done == 1, f"{done} of two programs wrote")
        data = contents(self.path("out.xml"))
        check(is_whole(data), "the output is not whole")
        check(any(collections.Counter(titles(source)) <= collections.Counter(titles(data))
                  for source in sources), "the output is neither program's")

    def many_files(self):
        """A long list in one process, with hardly any descriptors to lose."""
        count = self.chance.choice([20, 80])
        source = self.samples[0]
        names = []
        for number in range(count):
            names.append(f"in{number}.xml")
            write(self.path(names[-1]), source)
        os.makedirs(self.path("outputs"))
        os.chmod(self.path("outputs"), 0o777)
        run = self.start("tidy", *names, "--output-dir", "outputs", "--quiet",
                         limits={resource.RLIMIT_NOFILE: 24})
        run.end()
        self.check_ended_well(run, [DONE])
        check(len(os.listdir(self.path("outputs"))) == count, "an output is missing")
        self.most[f"{count} files"].append(run.most)

    def bus_that_goes(self):
        project = self.path("film.fcp")
        write(project, timeline(self.chance))
        bus = Run(self, ["/usr/bin/dbus-daemon", "--session", "--nofork", "--nopidfile",
                         f"--address=unix:path={self.place}/work/bus"])
        environment = self.environment
        self.environment = dict(environment,
                                DBUS_SESSION_BUS_ADDRESS=f"unix:path={self.place}/work/bus")
        started = [bus]
        try:
            self.wait_for(lambda: os.path.exists(self.path("bus")), "the bus")
            host = Run(self, [self.host_program, "--open-all", self.folder])
            started.append(host)
            fault = self.chance.choice(["drop", "refuse", "die", "slow 0.1", "binary", "blank", ""])
            event = self.chance.choice(["*", "eTCX", "gXML", "iXML", "fcLP"])
            if fault:
                write(self.path("faults"), f"{event} {fault}\n".encode())
            run = self.start(*self.chance.choice(
                [["projects"], ["list", "film.fcp"], ["tidy", "film.fcp"]]))
            time.sleep(self.chance.choice([0, 0.02, 0.1, 0.3]))
            victim = self.chance.choice([bus, host, None])
            if victim:
                victim.send(signal.SIGKILL)
            run.end()
            self.check_ended_well(run, [DONE, UNREADABLE, FAILED])
        finally:
            self.environment = environment
            for other in reversed(started):
                other.send(signal.SIGKILL)
                other.end()

    def wait_for(self, holds, what):
        limit = time.monotonic() + 30
        while not holds():
            check(time.monotonic() < limit, f"{what} did not come")
            time.sleep(0.005)

    # The run

    def round(self):
        rounds = [(self.nothing, 6), (self.damaged_file, 6), (self.odd_numbers, 6), (self.kill, 8),
                  (self.full_disk, 4), (self.vanishing_input, 4), (self.two_programs, 4),
                  (self.bus_that_goes, 2), (self.many_files, 1)]
        scenario = self.chance.choices([r for r, _ in rounds], [w for _, w in rounds])[0]
        self.scenario = scenario.__name__.replace("_", " ")
        shutil.rmtree(self.folder)
        os.makedirs(self.folder)
        os.chmod(self.folder, 0o777)
        scenario()
        self.check_no_leftovers()
        self.rounds[self.scenario] += 1

    def check_memory(self):
        """Runs of the same kind need no more at the end than at the beginning, and many files no
        more than few."""
        for scenario, sizes in self.most.items():
            if len(sizes) < 40:
                continue
            quarter = len(sizes) // 4
            first, last = max(sizes[:quarter]), max(sizes[-quarter:])
            check(last <= first * 1.5 + 8192, f"{scenario}: {first} KiB at first, {last} at last")
        few, many = self.most.get("20 files"), self.most.get("80 files")
        if few and many:
            check(max(many) <= max(few) * 1.2, f"20 files {max(few)} KiB, 80 files {max(many)} KiB")

    def check_logs(self):
        for path, _, names in os.walk(self.home):
            for name in names:
                size = os.path.getsize(os.path.join(path, name))
                check(size < 5_100_000, f"{name} has {size} bytes")

    def tell(self):
        print(f"{'round':18} {'rounds':>7} {'most KiB':>9}  how the programs ended")
        for scenario, count in sorted(self.rounds.items()):
            ends = ", ".join(f"{status}: {times}" for status, times
                             in sorted(self.statuses[scenario].items()))
            print(f"{scenario:18} {count:7} {max(self.most[scenario]):9}  {ends}")
        for batch in ("20 files", "80 files"):
            if batch in self.most:
                print(f"{batch} in one process: {max(self.most[batch])} KiB at most")

    def close(self, keep):
        if self.mounted:
            subprocess.run(["umount", self.disk], check=False)
        if not keep:
            shutil.rmtree(self.place)


def main():
    if len(sys.argv) not in (4, 5) or not re.fullmatch(r"[0-9.]+", sys.argv[3]):
        sys.exit(__doc__)
    seed = int(sys.argv[4]) if len(sys.argv) == 5 else random.randrange(1 << 32)
    samples = sorted(glob.glob(os.path.join(sys.argv[2], "*.xml")))
    soak = Soak(os.path.abspath(sys.argv[1]), samples, seed)
    end = time.monotonic() + float(sys.argv[3]) * 60
    print(f"seed {seed}, a full disk by {'a small file system' if soak.mounted else 'a limit'}")
    broken = None
    try:
        while time.monotonic() < end:
            soak.round()
        soak.scenario = "all rounds"
        soak.check_memory()
        soak.check_logs()
    except Broken as fault:
        broken = fault
    soak.tell()
    soak.close(keep=broken is not None)
    if broken:
        print(f"broken in \"{soak.scenario}\" after {sum(soak.rounds.values())} rounds: {broken}")
        print(f"see {soak.place}")
        sys.exit(1)
    print(f"{sum(soak.rounds.values())} rounds, nothing was broken")


if __name__ == "__main__":
    main()
