"""Projects of Macintosh files in every form, built into all six kinds of image and read back."""


import judges
from images import KINDS, Image
from mac_sources import DISK_DATE, all_sources, keeps_streams
from program import DONE, SKIPPED, Case
from source_tree import MAC_EPOCH
from test_read_back import iso_moment

VIEWS = {"both": "hybrid", "pc": "iso", "mac": "hfs"}
ASSOCIATED = 0x04


def mac_facts(image):
    """{path: what a catalog tells of a file}."""
    return {path: (entry.type + entry.creator, entry.finder_flags & 0xFF00, entry.data.read(),
                   entry.rsrc.read(), entry.modified)
            for path, entry in image.mac_files().items()}


class Forks(Case):
    """One folder of files in every form; a project has it once for each view."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.sources = all_sources(keeps_streams(cls.work))
        for folder in VIEWS:
            (cls.work / folder).mkdir()
            for source in cls.sources:
                source.write(cls.work / folder)

    @classmethod
    def project(cls, name, views, *options):
        """A project of the folders."""
        cls.run_well("new", name, "--label", "Forks", *options)
        for folder, view in views.items():
            chosen = ("--view", view) if view else ()
            cls.run_well("add", name, folder, "--containers-in-iso", "yes", *chosen)
        return name

    @classmethod
    def run_well(cls, *arguments, status=DONE):
        """Runs the program, which must end with that status."""
        result = cls.vellmark(*arguments)
        if result.returncode != status:
            raise AssertionError(f"{arguments}: status {result.returncode}, "
                                 f"{result.stderr.decode(errors='replace')}")
        return result

    def mac_expected(self, date):
        """{path: facts} on a Macintosh volume; `date` names that of a source."""
        return {(folder, source.mac_name):
                (source.signature, source.flags, source.data, source.rsrc, getattr(source, date))
                for folder in ("both", "mac") for source in self.sources}


class InFiveKinds(Forks):
    """Hybrid and pure images."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.images = {}
        for kind in KINDS:
            plus = [option for option in kind.options if option == "--hfsplus"]
            rest = [option for option in kind.options if option != "--hfsplus"]
            project = cls.project(kind.name + ".vlpr", VIEWS, *plus)
            path = cls.work / (kind.name + ".img")
            cls.run_well("build", project, "-o", path, *rest)
            cls.images[kind] = Image(path)

    def of_view(self, view):
        """(image, a place for what comes out of it) of the images that hold a view."""
        for kind, image in self.images.items():
            if view in kind.views:
                yield image, self.work / f"{kind.name} {view}"

    def test_no_problem(self):
        """Catches a count, bit or length that the formats forbid."""
        for kind, image in self.images.items():
            self.assertEqual([], image.problems, kind.name)

    def test_the_pc_sees_the_files_as_they_lie(self):
        """Catches a container that is taken apart, or a companion that is shown, on the PC."""
        expected = {(folder, source.pc_name): source.pc_bytes
                    for folder in ("both", "pc") for source in self.sources}
        for image, _ in self.of_view("joliet"):
            entries = image.iso_files("joliet")
            self.assert_same_tree(expected, {path: entry.read() for path, entry
                                             in entries.items()})
            self.assertEqual({DISK_DATE}, {iso_moment(entry.date) for entry in entries.values()})

    def test_hfs_shows_both_forks(self):
        """Catches a wrong fork, type, creator, flag or date of a catalog record."""
        expected = self.mac_expected("local_date")
        for image, out in self.of_view("hfs"):
            self.assert_same_tree(expected, mac_facts(image))
            self.assert_same_tree(expected, {
                path: (file.type + file.creator, file.finder_flags & 0xFF00, file.data, file.rsrc,
                       file.modified)
                for path, file in judges.hfs_utils(image.path, out)[2].items()})

    def test_hfs_plus_shows_both_forks(self):
        """The same there."""
        expected = self.mac_expected("gmt_date")
        for image, out in self.of_view("plus"):
            self.assert_same_tree(expected, mac_facts(image))
            files, dates, _ = judges.seven_zip(image.path, out, "hfs")
            # Its versions differ in whether they write resource forks beside the files.
            self.assert_same_tree({path: facts[2] for path, facts in expected.items()},
                                  {path: data for path, data in files.items()
                                   if not path[-1].endswith(":rsrc")})
            for path, (*_, modified) in expected.items():
                self.assertEqual(modified - MAC_EPOCH, dates[path], path)


class InIsoPlus(Forks):
    """The image with Apple's extensions."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.skipped = [source for source in cls.sources if source.coding == "streams"]
        cls.kept = [source for source in cls.sources if source.coding != "streams"]
        project = cls.project("disc.vlso", {"both": ""})
        cls.built = cls.run_well("build", project, status=SKIPPED if cls.skipped else DONE)
        cls.image = Image(cls.work / "disc.iso")

    def entries(self, tree, associated):
        """{name: entry} of the data forks, or of the resource forks."""
        return {entry.path[-1].removesuffix(";1"): entry for entry in self.image.iso.walk(tree)
                if not entry.is_folder and bool(entry.flags & ASSOCIATED) == associated}

    def test_forks_and_signatures(self):
        """Catches a wrong fork, type, creator or date in either tree, and a file that is missing."""
        self.assertEqual([], self.image.problems)
        self.assertIsNone(self.image.volume)
        for source in self.skipped:
            self.assertIn(source.pc_name.encode(), self.built.stderr)
        self.assertEqual(len(self.skipped), self.built.stderr.count(b"skipped "))
        for tree in ("iso", "joliet"):
            data, rsrc = self.entries(tree, False), self.entries(tree, True)
            self.assertEqual(len(self.kept), len(data))
            found = {entry.apple.type + entry.apple.creator + entry.read(): name
                     for name, entry in data.items()}
            for source in self.kept:
                name = found[source.signature + source.data]
                if tree == "joliet":
                    self.assertEqual(source.pc_name, name)
                self.assertEqual(source.rsrc, rsrc[name].read() if name in rsrc else b"", name)
                self.assertEqual(bool(source.rsrc), name in rsrc, name)
                if name in rsrc:
                    self.assertEqual(data[name].apple, rsrc[name].apple)
                moment = DISK_DATE if source.coding == "plain" else source.gmt_date - MAC_EPOCH
                self.assertEqual(moment, iso_moment(data[name].date), name)
            self.assertEqual(0, sum(entry.extent for entry in data.values() if entry.size == 0))
