"""What resources show: pictures of another program come out as files that another one reads."""

import json
import subprocess

import judges
from program import Case
from resource_fork import resource_fork

TRUE_TYPE = "/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf"
PICT_FILE_HEAD = 512  # bytes in front of a picture that is a file


def through(program, given):
    return subprocess.run([program], input=given, capture_output=True, check=True).stdout


def drawn(width, height):
    """A picture in the format PPM, of 64 colours, with an odd number of columns."""
    pixels = b"".join(bytes(((x * 4 // width) * 85, (y * 4 // height) * 85, ((x + y) % 4) * 85))
                      for y in range(height) for x in range(width))
    return b"P6\n%d %d\n255\n" % (width, height) + pixels


class Resources(Case):
    def test_come_out_as_they_are_seen(self):
        pictures = {128: drawn(61, 40), 129: drawn(9, 3), 400: drawn(301, 9)}
        resources = {"PICT": {number: through("ppmtopict", picture)[PICT_FILE_HEAD:]
                              for number, picture in pictures.items()},
                     "STR#": {200: b"\0\2\5H\x8ello\0"}, "CODE": {0: b"\x4e\x75"}}
        (self.work / "fork").write_bytes(resource_fork(resources))
        for arguments in (("format", "r.hfs", "--size", "2M", "--label", "R"),
                          ("put", "r.hfs", "fork"), ("swap", "r.hfs", "fork"),
                          ("resources", "r.hfs", "fork", "--shown", "--save", "out")):
            self.assertEqual(self.vellmark(*arguments).returncode, 0, arguments)
        out = self.work / "out"
        for number, picture in pictures.items():
            png = (out / f"PICT 0x{number:04x}.png").read_bytes()
            self.assertEqual(through("pngtopnm", png), picture)
        self.assertEqual((out / "STR# 0x00c8.txt").read_text(), "Héllo\n\n")
        self.assertEqual((out / "CODE 0x0000.bin").read_bytes(), b"\x4e\x75")
        listed = json.loads(self.vellmark("resources", "r.hfs", "fork", "--shown",
                                          "--json").stdout)["resources"]
        self.assertEqual([row.get("picture", row.get("texts")) for row in listed],
                         [{"width": 61, "height": 40}, {"width": 9, "height": 3},
                          {"width": 301, "height": 9}, ["Héllo", ""], None])

    def test_of_another_program_are_listed(self):
        judges.fontforge(TRUE_TYPE, self.work / "Mono.suit")
        for arguments in (("format", "f.hfs", "--size", "2M", "--label", "F"),
                          ("put", "f.hfs", "Mono.suit", "--containers", "yes", "--fonts", "no")):
            self.assertEqual(self.vellmark(*arguments).returncode, 0, arguments)
        self.vellmark("resources", "f.hfs", "Mono", "--save", "fonts")
        font, family = sorted((self.work / "fonts").iterdir(), reverse=True)
        self.assertTrue(family.name.startswith("FOND"))
        self.assertEqual(judges.font_facts(font), judges.font_facts(TRUE_TYPE))
