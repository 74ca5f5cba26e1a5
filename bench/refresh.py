"""Times the check and the rebuild of a project after its tree changed. Prints Markdown tables."""

import shutil
import subprocess
import sys

from measure import Contender, race, verdict

MANY, FEW = 50_000, 5_000
FOLDERS = 500
SCALE_LIMIT = 20    # for ten times the files; what grows with their square takes a hundred times


def tree(place, count, folders):
    """A new tree of small files in as many folders, or in the top folder when that is 0."""
    shutil.rmtree(place, ignore_errors=True)
    homes = [place / f"folder{index:03d}" for index in range(folders)] or [place]
    for home in homes:
        home.mkdir(parents=True)
    for index in range(count):
        (homes[index % len(homes)] / f"f{index:06d}.txt").write_bytes(b"x" * (index % 100))
    return place


def change(place):
    """Changes 1 file in 100: of three, one goes, one grows, one gets a twin."""
    files = sorted(place.rglob("f*.txt"))
    for turn, path in enumerate(files[::100]):
        if turn % 3 == 0:
            path.unlink()
        elif turn % 3 == 1:
            path.write_bytes(path.read_bytes() + b"more")
        else:
            path.with_suffix(".new").write_bytes(b"new")


def contenders(vellmark, place, count, folders):
    """The check of a project with nothing changed, and the rebuild of what changed since."""
    files = tree(place / f"refresh {count} {folders}", count, folders)
    then, now = (place / f"{word} {count} {folders}.vlpr" for word in ("then", "now"))
    subprocess.run([vellmark, "new", then, "--force", "--quiet"], check=True)
    subprocess.run([vellmark, "add", then, f"{files}/*", "--quiet"], check=True)
    change(files)
    shutil.copy(then, now)
    subprocess.run([vellmark, "rebuild", now, "--quiet"], check=True)
    home = f"{folders} folders" if folders else "one folder"
    return files, [
        Contender(f"check, nothing changed, {count} files in {home}",
                  lambda *_: [vellmark, "check", now]),
        Contender(f"rebuild, 1 in 100 changed, {count} files in {home}",
                  lambda _, output: [vellmark, "rebuild", output, "--quiet"],
                  lambda output: shutil.copy(then, output)),
    ]


def run(vellmark, place):
    """Prints the table, and what ten times as many files cost."""
    print(f"\n### A project of {MANY} files compared with the disk\n")
    print("| | median s | processor s | peak memory MiB | times that of a tenth of the files |")
    print("|---|---:|---:|---:|---:|")
    for folders in (FOLDERS, 0):
        medians = {}
        for count in (FEW, MANY):
            files, both = contenders(vellmark, place, count, folders)
            race(both, files, place / "refresh.vlpr")
            medians[count] = both
            shutil.rmtree(files)
        for small, large in zip(medians[FEW], medians[MANY]):
            print(f"| {large.name} | {large.median:.3f} | {large.cpu:.3f} | "
                  f"{large.peak_kib / 1024:.1f} | "
                  f"{verdict(large.median / small.median, SCALE_LIMIT)} |")
            sys.stdout.flush()
    for pattern in ("then *.vlpr", "now *.vlpr", "then *.BAK", "now *.BAK", "refresh.BAK"):
        for path in place.glob(pattern):
            path.unlink()
