"""Fonts that come out of a volume and go into one, read and made by other programs."""

from pathlib import Path

import judges
from program import DONE, Case

TRUE_TYPE = "/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf"
TYPE_1 = "/usr/share/fonts/type1/urw-base35/C059-Bold.t1"


class Fonts(Case):
    """A suitcase and a printer font on volumes of both formats."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        judges.fontforge(TRUE_TYPE, cls.work / "Mono.suit")
        for form in ("Bold.res", "Bold.pfb"):
            judges.fontforge(TYPE_1, cls.work / form)

    def volume(self, *options):
        """A new volume with both fonts, which come as MacBinary."""
        for arguments in (("format", "v.img", "-s", "8M", "-l", "Fonts", "-fq", *options),
                          ("put", "v.img", "Mono.suit", "Bold.res", "--containers", "yes", "-q")):
            result = self.vellmark(*arguments)
            self.assertEqual((DONE, b""), (result.returncode, result.stderr))

    def test_fonts_come_out_whole(self):
        for number, options in enumerate(((), ("--hfsplus",))):
            self.volume(*options)
            out = self.work / f"out{number}"
            result = self.vellmark("get", "v.img", "/", "--fonts", "yes", "-o", f"{out}", "-q")
            self.assertEqual((DONE, b""), (result.returncode, result.stderr))
            self.assertEqual(["C059-Bold.pfb", "C059-Bold.pfm", "DejaVuSansMono.ttf"],
                             sorted(path.name for path in out.iterdir()))
            for made, source in (("DejaVuSansMono.ttf", TRUE_TYPE), ("C059-Bold.pfb", TYPE_1)):
                self.assertEqual(judges.font_facts(source), judges.font_facts(out / made))
                self.assertEqual(judges.font_outlines(source), judges.font_outlines(out / made))
            self.assertEqual(judges.type1_program(self.work / "Bold.pfb"),
                             judges.type1_program(out / "C059-Bold.pfb"))
            font = (out / "DejaVuSansMono.ttf").read_bytes()
            self.assertIn(len(font).to_bytes(4, "big") + font,
                          (self.work / "Mono.suit").read_bytes())

    def test_fonts_go_in_and_out_again(self):
        self.volume()
        result = self.vellmark("put", "v.img", TRUE_TYPE, "Bold.pfb", "--fonts", "yes", "-fq")
        self.assertEqual((DONE, b""), (result.returncode, result.stderr))
        names = ("DejaVuSansMono", "C059-Bold")
        (self.work / "again").mkdir()
        for options in (("--mode", "macbinary"), ("--fonts", "yes")):
            result = self.vellmark("get", "v.img", *names, *options, "-o", "again", "-q")
            self.assertEqual((DONE, b""), (result.returncode, result.stderr))
        for name, source, made in zip(names, (TRUE_TYPE, self.work / "Bold.pfb"),
                                      ("DejaVuSansMono.ttf", "C059-Bold.pfb")):
            self.assertEqual(judges.font_facts(source),
                             judges.font_facts(self.work / "again" / name))
            self.assertEqual(Path(source).read_bytes(),
                             (self.work / "again" / made).read_bytes())
