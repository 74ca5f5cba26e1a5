"""Other programs that read the images: each function gives what one of them sees.

Files come as {path: bytes} with paths as tuples of names. xorriso and 7zz read ISO 9660
and Joliet; 7zz reads HFS Plus; hfsutils reads HFS. bchunk reads raw images, vcd-info and vcdxrip
those of Video CDs.
"""

import os
import re
import struct
import subprocess
from collections import namedtuple

from program import environment


def _run(*arguments, home=None, allowed=(0,), cwd=None):
    result = subprocess.run([os.fsencode(part) for part in arguments], capture_output=True,
                            stdin=subprocess.DEVNULL, timeout=300, check=False, cwd=cwd,
                            env=environment(TZ="UTC", HOME=home))
    if result.returncode not in allowed:
        raise AssertionError(f"{arguments}: status {result.returncode}, "
                             f"{(result.stderr or result.stdout)[-600:].decode(errors='replace')}")
    return result.stdout


def _folder_contents(root):
    """The files below a folder of the PC, their dates, and the folders."""
    files, dates, folders = {}, {}, set()
    for place, below, names in os.walk(root):
        path = tuple(os.path.relpath(place, root).split(os.sep)) if str(place) != str(root) else ()
        folders.update(path + (name,) for name in below)
        for name in names:
            full = os.path.join(place, name)
            with open(full, "rb") as file:
                files[path + (name,)] = file.read()
            dates[path + (name,)] = int(os.stat(full).st_mtime)
    return files, dates, folders


def xorriso(image, out, tree):
    """(files, dates, folders) that xorriso extracts from the 'iso' or 'joliet' tree."""
    mode = {"iso": "nojoliet", "joliet": "norock"}[tree]
    _run("xorriso", "-abort_on", "FAILURE", "-report_about", "FAILURE", "-osirrox", "on",
         "-read_fs", mode, "-indev", image, "-extract", "/", out)
    return _folder_contents(out)


def seven_zip(image, out, kind):
    """(files, dates, folders) that 7zz extracts as 'iso' or 'hfs' (Plus only)."""
    # Status 1 is its remark that the volume does not begin with the file.
    _run("7zz", "x", "-bd", "-y", f"-t{kind}", f"-o{out}", image,
         allowed=(0, 1) if kind == "hfs" else (0,))
    # Of HFS Plus, everything lies in a folder with the name of the volume.
    return _folder_contents(os.path.join(out, *(os.listdir(out) if kind == "hfs" else ())))


# A file as hfsutils copies it out, in MacBinary form (its published layout).
MacFile = namedtuple("MacFile", "type creator created modified finder_flags data rsrc")


def _mac_binary(raw):
    data_size, rsrc_size, created, modified = struct.unpack_from(">4I", raw, 83)
    rsrc_at = 128 + -(-data_size // 128) * 128
    return MacFile(raw[65:69], raw[69:73], created, modified, raw[73] << 8 | raw[101],
                   raw[128:128 + data_size], raw[rsrc_at:rsrc_at + rsrc_size])


def hfs_utils(image, out):
    """(what hmount says, folders, {path: MacFile}) of the HFS volume, copied to the new `out`."""
    os.mkdir(out)
    about = _run("hmount", image, home=out).decode("mac_roman")
    try:
        listing = _run("hls", "-1aFRN", home=out).decode("mac_roman")
        files, folders = _parse_listing(listing.splitlines())
        found = {}
        for number, (folder, names) in enumerate(files.items()):
            found |= _copy_folder(folder, names, os.path.join(out, str(number)), out)
    finally:
        _run("humount", image, home=out)
    return about, folders, found


def _parse_listing(lines):
    files, folders, here = {}, set(), ()
    for line in lines:
        if line.startswith(":") and line.endswith(":"):
            here = tuple(line[1:-1].split(":"))
        elif line.endswith(":"):
            folders.add(here + (line[:-1],))
        elif line:
            files.setdefault(here, []).append(line)
    return files, folders


def _copy_folder(folder, names, target, home):
    os.mkdir(target)
    # hcopy takes patterns.
    wanted = [b":" + re.sub(rb"([*?\[\]{}\\])", rb"\\\1",
                            ":".join((*folder, name)).encode("mac_roman")) for name in names]
    for at in range(0, len(wanted), 500):
        _run("hcopy", "-m", *wanted[at:at + 500], target, home=home)
    found = {}
    for name in names:
        # A blank becomes an underscore on the PC, and a slash a hyphen.
        copy = name.encode("mac_roman").replace(b" ", b"_").replace(b"/", b"-") + b".bin"
        with open(os.path.join(os.fsencode(target), copy), "rb") as file:
            found[(*folder, name)] = _mac_binary(file.read())
    return found


def track_data(image, sheet, out):
    """The data of the first track of a raw image, as bchunk takes it out."""
    _run("bchunk", image, sheet, out)
    with open(f"{out}01.iso", "rb") as file:
        return file.read()


def video_entries(image):
    """The sectors at which vcd-info says that the entries of a Video CD begin."""
    text = _run("vcd-info", "-b", image, "-E").decode()
    return [int(sector) for sector in re.findall(r"ENTRY\[\d+\].*LSN\s+(\d+)", text)]


def video_files(image):
    """{name: sector} of the files that vcd-info finds in the ISO track of a Video CD."""
    text = _run("vcd-info", "-b", image, "-F").decode()
    return {name: int(sector) for sector, name in
            re.findall(r"^ *- .*\[LSN +(\d+)\].* (\S+;1)$", text, re.M)}


def video_tracks(image, out):
    """The video of each track of a Video CD, as vcdxrip takes it out into the new folder `out`."""
    os.mkdir(out)
    _run("vcdxrip", "-b", os.path.abspath(image), "-o", os.path.join(out, "disc.xml"), cwd=out)
    return _folder_contents(out)[0]


def fontforge(source, made):
    """Makes a font of another: for a Macintosh in MacBinary (.suit, .res), for a PC (.pfb)."""
    _run("fontforge", "-lang=ff", "-c", "Open($1); Generate($2)", source, made)


def font_facts(font):
    """Name, style, and the characters that a font has, as fontconfig reads them."""
    return _run("fc-scan", "--format", "%{postscriptname}|%{family}|%{style}|%{charset}", font)


def font_outlines(font):
    """Name and number of glyphs, as fontforge reads them."""
    script = "import fontforge, sys; f = fontforge.open(sys.argv[1]); " \
             "print(f.fontname, len(list(f.glyphs())))"
    return _run("fontforge", "-quiet", "-lang=py", "-c", script, font)


def type1_program(font):
    """Lines of a PostScript font with its encrypted part in words, remarks left out."""
    return [line for line in _run("t1disasm", font).splitlines() if not line.startswith(b"%%")]
