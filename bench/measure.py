"""Time and memory of a command, without what starting it from Python costs."""

import os
import statistics
import subprocess
import time
from dataclasses import dataclass, field

ROUNDS = 5


@dataclass
class Contender:
    """A program that makes or changes one file, mostly from a tree, and what its runs cost."""

    name: str
    command: object             # called with (tree, output): the words to run
    prepare: object = None      # called with (output) before each run, and not measured
    seconds: list = field(default_factory=list)
    cpu_seconds: list = field(default_factory=list)
    peak_kib: int = 0
    stdout_is_output: bool = False

    @property
    def median(self):
        """The median of the runs in seconds."""
        return statistics.median(self.seconds)

    @property
    def cpu(self):
        """The median of the processor time, which other work on the machine disturbs less."""
        return statistics.median(self.cpu_seconds)


def run_once(contender, tree, output):
    """Runs a contender; returns (seconds, seconds of processor, peak memory in KiB)."""
    output.unlink(missing_ok=True)
    if contender.prepare:
        contender.prepare(output)
    words = contender.command(tree, output)
    target = open(output, "wb") if contender.stdout_is_output else subprocess.DEVNULL
    begin = time.perf_counter()
    process = subprocess.Popen(words, cwd=tree, stdin=subprocess.DEVNULL, stdout=target,
                               stderr=subprocess.PIPE)
    said = process.stderr.read()
    # What subprocess waits for does not come with the memory of this child alone.
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.perf_counter() - begin
    process.returncode = os.waitstatus_to_exitcode(status)
    process.stderr.close()
    if contender.stdout_is_output:
        target.close()
    if process.returncode != 0:
        raise SystemExit(f"{words[:4]}: status {process.returncode}: {said.decode()[-400:]}")
    output.unlink(missing_ok=True)
    return seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss


def race(contenders, tree, output):
    """Measures all contenders on a tree in turn, so that the machine's moods reach them all."""
    for contender in contenders:
        run_once(contender, tree, output)       # what is read now lies in memory later
    for _ in range(ROUNDS):
        for contender in contenders:
            seconds, cpu, peak = run_once(contender, tree, output)
            contender.seconds.append(seconds)
            contender.cpu_seconds.append(cpu)
            contender.peak_kib = max(contender.peak_kib, peak)
    return contenders


def verdict(value, limit):
    """Whether a ratio is within what is to be reached."""
    return f"{value:.2f} (at most {limit:g}{'' if value <= limit else ', **missed**'})"
