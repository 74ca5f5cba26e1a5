"""Times changes of a Macintosh volume beside hfsutils and cp. Prints Markdown tables."""

import os
import shutil
import subprocess
import sys

import trees
from measure import Contender, race, verdict

FEW, MANY = 2_000, 20_000


class Bench:
    """The volumes that the tables start from, each made once."""

    def __init__(self, vellmark, place):
        self.vellmark = vellmark
        self.place = place
        # What is mounted stands in a file of the home folder.
        os.environ["HOME"] = str(place)

    def call(self, *words, cwd=None):
        """Runs the program outside a measurement."""
        subprocess.run([self.vellmark, *words], check=True, stdout=subprocess.DEVNULL, cwd=cwd)

    def empty(self, kind, size):
        """A function that makes an empty volume of a kind at a path."""
        def prepare(path):
            self.call("format", path, "--size", size, "--label", "Bench", "--quiet",
                      *(["--hfsplus"] if kind == "hfsplus" else []))
        return prepare

    def filled(self, kind, size, tree):
        """A volume with the files of a tree in its root."""
        path = self.place / f"{kind}-{tree.name}.img"
        path.unlink(missing_ok=True)
        self.empty(kind, size)(path)
        self.call("put", path, *files_of(tree), "--quiet", cwd=tree)
        return path

    def put(self, name, kind, size):
        """The contender that puts all files of a tree into an empty volume."""
        return Contender(name, lambda tree, output: [
            self.vellmark, "put", output, *files_of(tree), "--quiet"], self.empty(kind, size))

    def hcopy(self, size):
        """The same by the other program, in one call."""
        return Contender("hcopy", lambda tree, output: [
            "sh", "-c", 'hmount "$0" >/dev/null && hcopy -r "$@" : && humount', output,
            *files_of(tree)], self.empty("hfs", size))


def files_of(tree):
    """The names of a tree's files, to be used in the tree."""
    return sorted(path.name for path in tree.iterdir())


def table(title, contenders, limits=()):
    """Prints contenders; `limits` are (number of one, number of another, highest ratio)."""
    print(f"\n### {title}\n")
    print("| | median s | fastest s | slowest s | processor s | peak memory MiB |")
    print("|---|---:|---:|---:|---:|---:|")
    for each in contenders:
        print(f"| {each.name} | {each.median:.3f} | {min(each.seconds):.3f} | "
              f"{max(each.seconds):.3f} | {each.cpu:.3f} | {each.peak_kib / 1024:.1f} |")
    print()
    for one, other, limit in limits:
        one, other = contenders[one], contenders[other]
        print(f"- {one.name}: {verdict(one.median / other.median, limit)} of {other.name}")
    sys.stdout.flush()


def small_files_in(bench, output):
    """Many small files put at once, and what ten times as many cost."""
    few, many = (trees.equal_files(bench.place, count) for count in (FEW, MANY))
    table(f"{FEW} files of 4 KiB put into an HFS volume of 800 MB",
          race([bench.put("vellmark put", "hfs", "800M"), bench.hcopy("800M")], few, output),
          [(0, 1, 1)])
    print("\n### What a file costs when there are ten times as many\n")
    print(f"| | {FEW}, ms a file | {MANY}, ms a file | ratio |")
    print("|---|---:|---:|---:|")
    (small,) = race([bench.put("few", "hfsplus", "800M")], few, output)
    (large,) = race([bench.put("many", "hfsplus", "800M")], many, output)
    costs = small.median / FEW, large.median / MANY
    print(f"| put, HFS+ | {costs[0] * 1000:.3f} | {costs[1] * 1000:.3f} | "
          f"{verdict(costs[1] / costs[0], 1.5)} |")
    sys.stdout.flush()


def lists_and_searches(bench, output):
    """What a folder of many files costs to read."""
    # HFS volumes of that size have too few blocks for as many files.
    for kind, count in (("hfs", FEW), ("hfsplus", MANY)):
        tree = trees.equal_files(bench.place, count)
        volume = bench.filled(kind, "800M", tree)
        contenders = [
            Contender("vellmark ls", lambda *_, volume=volume: [bench.vellmark, "ls", volume]),
            Contender("vellmark find", lambda *_, volume=volume: [
                bench.vellmark, "find", volume, "*1999*"]),
        ]
        if kind == "hfs":
            contenders.append(Contender("hls", lambda *_, volume=volume: [
                "sh", "-c", 'hmount "$0" >/dev/null && hls && humount', volume]))
        table(f"A folder of {count} files listed and searched, {kind}",
              race(contenders, tree, output))
        volume.unlink()


def large_file(bench, output):
    """One large file put and got, beside a copy."""
    tree = trees.one_large_file(bench.place)
    for kind in ("hfs", "hfsplus"):
        volume = bench.filled(kind, "800M", tree)
        contenders = race([
            bench.put("vellmark put", kind, "800M"),
            Contender("vellmark get", lambda _, out: [
                bench.vellmark, "get", volume, "large.bin", "-o", out, "--quiet"]),
            Contender("cp", lambda _, out: ["cp", "--reflink=never", "large.bin", out]),
        ], tree, output)
        table(f"A file of 700 MiB, {kind}", contenders, [(0, 2, 1.3), (1, 2, 1.3)])
        volume.unlink()


def run(vellmark, place):
    """Runs all tables."""
    output = place / "volume.img"
    bench = Bench(vellmark, place)
    small_files_in(bench, output)
    lists_and_searches(bench, output)
    large_file(bench, output)
    shutil.rmtree(place / ".hcwd", ignore_errors=True)
