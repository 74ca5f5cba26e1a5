"""Times the window without a screen beside a bare one of the toolkit. Prints Markdown tables."""

import os
import statistics
import subprocess
import sys

import inspection
import trees
from measure import Contender, ROUNDS, race, run_once, verdict

RECORD_BYTES = 756
FOLDERS, IN_FOLDERS, IN_ONE = 300, 30_000, 20_000
ONE = "one"
START_SECONDS, START_RATIO, STEP_MS, PAGE_MS, MEMORY_MIB = 0.4, 3, 100, 20, 80
STEPS = {"open": "the project opened, its file read", "again": "shown again, as after a change",
         "folder": "the folder shown", "column0": "sorted by name", "column1": "by type",
         "column2": "by data", "column3": "by resources", "column4": "by creation",
         "column5": "by modification", "column6": "by signature", "select": "all selected",
         "resort": "sorted with all selected", "hfs": "HFS view", "iso": "ISO view",
         "hybrid": "hybrid view"}
PAGES = {"Fin": "the last page", "Hom": "the first page again", "Prec": "the previous one"}


def environment(place):
    """No screen, and settings and data of nobody else."""
    own = {name: str(place / "window") for name in
           ("HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR")}
    (place / "window").mkdir(mode=0o700, exist_ok=True)
    return {"QT_QPA_PLATFORM": "offscreen", "LC_ALL": "C.UTF-8", **own}


def start(programs, place):
    """From the start of the process to its first painted window."""
    ours = Contender("the window", lambda *_: [programs / "window_times", "start"])
    bare = Contender("a bare window of the toolkit", lambda *_: [programs / "bare_window"])
    race([ours, bare], place, place / "none")
    print("\n### Start to the first painted window\n")
    print("| | median s | processor s | peak memory MiB |")
    print("|---|---:|---:|---:|")
    for each in (ours, bare):
        print(f"| {each.name} | {each.median:.3f} | {each.cpu:.3f} | {each.peak_kib / 1024:.1f} |")
    print(f"\n- {verdict(ours.median, START_SECONDS)} s; "
          f"{verdict(ours.median / bare.median, START_RATIO)} of the bare window")


def project_of(vellmark, place):
    """A project of 50,000 files, 20,000 of them in one folder."""
    project = place / "window.vlpr"
    tree = trees.small_files(place, IN_FOLDERS, FOLDERS)
    one = trees.small_files(place, IN_ONE, 0)
    project.unlink(missing_ok=True)
    for words in (["new", project], ["add", project, f"{tree}/*", "--quiet"],
                  ["add", project, f"{one}/*", "--to", ONE, "--quiet"]):
        subprocess.run([vellmark, *words], check=True, stdout=subprocess.DEVNULL)
    return project


def median_times(steps, words, place):
    """{step: median ms} of what a program prints in a process of each round, and its peak KiB."""
    times, peak = {name: [] for name in steps}, 0
    command = Contender("steps", lambda *_: words)
    for _ in range(ROUNDS):
        peak = max(peak, run_once(command, place, place / "none")[2])
        said = subprocess.run(words, check=True, capture_output=True, text=True).stdout
        for name, value in (line.split() for line in said.splitlines()):
            if name in times:
                times[name].append(float(value))
    return {name: statistics.median(each) for name, each in times.items()}, peak


def print_times(steps, times, limit, unlimited=()):
    print("| | median ms |")
    print("|---|---:|")
    for name, words in steps.items():
        late = name not in unlimited and times[name] > limit
        print(f"| {words} | {times[name]:.1f}{' **missed**' if late else ''} |")


def pages(programs, vellmark, place):
    """A person who turns to pages far from each other."""
    image, _ = inspection.volume(vellmark, place)
    # By its name the window knows that it is a volume.
    volume = place / "inspect.hfs"
    volume.unlink(missing_ok=True)
    volume.symlink_to(image)
    times, _ = median_times(PAGES, [programs / "window_times", "pages", volume], place)
    print("\n### Pages of an image of 800 MB\n")
    print_times(PAGES, times, PAGE_MS)
    print(f"\n- each at most {PAGE_MS} ms")


def work(programs, vellmark, place):
    """What a person waits for, in one process each round."""
    project = project_of(vellmark, place)
    times, peak = median_times(STEPS, [programs / "window_times", "work", project, ONE], place)
    print(f"\n### A project of {IN_FOLDERS + IN_ONE:,} files, a folder of {IN_ONE:,}\n")
    print_times(STEPS, times, STEP_MS, {"open"})
    limit = MEMORY_MIB + 2 * project.stat().st_size / (1 << 20)
    print(f"\n- each at most {STEP_MS} ms after the file is read; "
          f"peak memory {verdict(peak / 1024, limit)} MiB")
    sys.stdout.flush()


def run(vellmark, place):
    """All tables."""
    os.environ.update(environment(place))
    programs = vellmark.parent / "bench"
    start(programs, place)
    work(programs, vellmark, place)
    pages(programs, vellmark, place)
