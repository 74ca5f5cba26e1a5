"""Times images and volumes beside other programs; see docs/performance.md. Prints Markdown."""

import os
import sys
from pathlib import Path

import expand
import inspection
import projects
import refresh
import trees
import volumes
import windows
from measure import Contender, race, verdict

RECORD_BYTES = 756              # of an item in the project file
SMALL_COUNT = 20_000
MEMORY_BASE_KIB = 40 * 1024

HERE = Path(__file__).resolve().parent.parent
VELLMARK = HERE / "build/release/vellmark"
PLACE = HERE / "build/bench"


def ours(*options):
    """The command of this program with options."""
    return lambda tree, output: [VELLMARK, "make", tree, "-o", output, "--label", "Bench",
                                 "--quiet", *options]


def all_contenders():
    """The contenders anew, in the order of the table."""
    return [
        Contender("vellmark, HFS", ours()),
        Contender("vellmark, HFS+", ours("--hfsplus")),
        Contender("genisoimage -hfs -J", lambda tree, output:
                  ["genisoimage", "-quiet", "-hfs", "-J", "-o", output, tree]),
        Contender("xorriso -J -hfsplus", lambda tree, output:
                  ["xorriso", "-report_about", "FAILURE", "-as", "mkisofs", "-quiet", "-J",
                   "-hfsplus", "-o", output, tree]),
        Contender("cat", lambda tree, _:
                  ["cat", *sorted(str(path.relative_to(tree)) for path in tree.rglob("*")
                                  if path.is_file())], stdout_is_output=True),
    ]


def side_by_side(title, tree, records, limits):
    """One table; `limits` are (name of another contender, highest ratio to it)."""
    contenders = race(all_contenders(), tree, PLACE / "out.iso")
    by_name = {contender.name: contender for contender in contenders}
    print(f"\n### {title}\n")
    print("| | median s | fastest s | slowest s | processor s | peak memory MiB |")
    print("|---|---:|---:|---:|---:|---:|")
    for contender in contenders:
        print(f"| {contender.name} | {contender.median:.3f} | {min(contender.seconds):.3f} | "
              f"{max(contender.seconds):.3f} | {contender.cpu:.3f} | {contender.peak_kib / 1024:.1f} |")
    print()
    memory_limit = MEMORY_BASE_KIB + 2 * records * RECORD_BYTES / 1024
    for contender in contenders[:2]:
        ratios = [f"{verdict(contender.median / by_name[other].median, limit)} of {other}"
                  for other, limit in limits]
        memory = f"memory {contender.peak_kib / 1024:.1f} MiB (at most {memory_limit / 1024:.1f}" \
                 f"{'' if contender.peak_kib <= memory_limit else ', **missed**'})"
        print(f"- {contender.name}: {', '.join(ratios)}; {memory}")
    sys.stdout.flush()


def scaling():
    """What four times as many files cost."""
    print("\n### 40,000 files against 10,000\n")
    print("| | 10,000 s | 40,000 s | ratio |")
    print("|---|---:|---:|---:|")
    for folders in (200, 0):
        few, many = (trees.small_files(PLACE, count, folders) for count in (10_000, 40_000))
        for name, options in (("HFS", ()), ("HFS+", ("--hfsplus",))):
            (small,) = race([Contender(name, ours(*options))], few, PLACE / "out.iso")
            (large,) = race([Contender(name, ours(*options))], many, PLACE / "out.iso")
            print(f"| {name}, {f'{folders} folders' if folders else 'one folder'} | "
                  f"{small.median:.3f} | {large.median:.3f} | "
                  f"{verdict(large.median / small.median, 4.5)} |")
            sys.stdout.flush()


def main():
    """Runs all tables."""
    PLACE.mkdir(parents=True, exist_ok=True)
    print(f"{os.cpu_count()} cores, load {os.getloadavg()[0]:.2f} at the start; median of 5 "
          "interleaved runs after a warm-up.")
    small_limits = (("genisoimage -hfs -J", 0.5), ("xorriso -J -hfsplus", 1))
    side_by_side("20,000 files of 1 to 8 KiB in 200 folders",
                 trees.small_files(PLACE, SMALL_COUNT, 200), SMALL_COUNT + 201, small_limits)
    side_by_side("20,000 files of 1 to 8 KiB in one folder",
                 trees.small_files(PLACE, SMALL_COUNT, 0), SMALL_COUNT + 1, small_limits)
    side_by_side("8 files of 64 MiB", trees.large_files(PLACE), 9,
                 (("cat", 1.3), ("genisoimage -hfs -J", 1), ("xorriso -J -hfsplus", 1)))
    scaling()
    volumes.run(VELLMARK, PLACE)
    projects.run(VELLMARK, PLACE)
    refresh.run(VELLMARK, PLACE)
    expand.run(VELLMARK, PLACE)
    inspection.run(VELLMARK, PLACE)
    windows.run(VELLMARK, PLACE)
    print(f"\nLoad {os.getloadavg()[0]:.2f} at the end.")


if __name__ == "__main__":
    main()
