"""Times what is done with projects beside what the file system costs. Prints Markdown tables."""

import subprocess
import sys

import trees
from measure import Contender, race, verdict

FILES, FOLDERS = 50_000, 500
FEW, MANY = 10_000, 40_000
# The system's calls that an inclusion cannot do without: each item's facts, each file's beginning.
SCAN = ("find . -printf '%s %T@\\n' >/dev/null && "
        "find . -type f -print0 | xargs -0 head -qc 128 >/dev/null")


def adding(vellmark, name="vellmark add"):
    """The contender that adds all of a tree to a new project."""
    def prepare(project):
        subprocess.run([vellmark, "new", project], check=True, stdout=subprocess.DEVNULL)
    return Contender(name, lambda tree, project:
                     [vellmark, "add", project, f"{tree}/*", "--quiet"], prepare)


def row(contender):
    """One line of a table."""
    return (f"| {contender.name} | {contender.median:.3f} | {contender.cpu:.3f} | "
            f"{contender.peak_kib / 1024:.1f} |")


def inclusion(vellmark, place):
    """An inclusion beside a scan of the same tree, and what four times as many files cost."""
    project = place / "out.vlpr"
    scan = Contender("find, and 128 bytes of each file", lambda *_: ["sh", "-c", SCAN])
    ours, scan = race([adding(vellmark), scan], trees.small_files(place, FILES, FOLDERS), project)
    print(f"\n### Inclusion of {FILES:,} files in {FOLDERS} folders\n")
    print("| | median s | processor s | peak memory MiB |")
    print("|---|---:|---:|---:|")
    print(row(ours))
    print(row(scan))
    print(f"\n- vellmark add: {verdict(ours.median / scan.median, 2)} of {scan.name}")
    few, many = (race([adding(vellmark)], trees.small_files(place, count, 0), project)[0]
                 for count in (FEW, MANY))
    print(f"- {MANY:,} files in one folder against {FEW:,}: "
          f"{verdict(many.median / few.median, 4.5)}")
    project.with_suffix(".BAK").unlink(missing_ok=True)
    sys.stdout.flush()


def run(vellmark, place):
    """All tables."""
    inclusion(vellmark, place)
