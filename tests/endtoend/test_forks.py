"""Projects of Macintosh files in every form, built into all six kinds of image and read back."""

import unittest

import judges
from images import KINDS, Image
from mac_sources import DISK_DATE, all_sources, keeps_streams
from program import DONE, SKIPPED, Case
from source_tree import MAC_EPOCH
from test_read_back import iso_moment

VIEWS = {"both": "hybrid", "pc": "iso", "mac": "hfs"}
ASSOCIATED = 0x04


def mac_facts(entry):
    """What a catalog tells of a file."""
    return (entry.type + entry.creator, entry.finder_flags & 0xFF00, entry.data.read(),
            entry.rsrc.read(), entry.modified)


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
        """{path: facts} on a Macintosh volume."""
        return {(folder, source.mac_name):
                (source.signature, source.flags, source.data, source.rsrc, date(source))
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

    def of_view(self, *views):
        """(view, image, its name) of the images that hold a view."""
        for kind, image in self.images.items():
            for view in views:
                if view in kind.views:
                    yield view, image, kind.name

    def test_no_problem(self):
        """Catches a count, bit or length that the formats forbid."""
        for kind, image in self.images.items():
            self.assertEqual([], image.problems, kind.name)

    def test_the_pc_sees_the_files_as_they_lie(self):
        """Catches a container that is taken apart, or a companion that is shown, on the PC."""
        expected = {(folder, source.pc_name): source.pc_bytes
                    for folder in ("both", "pc") for source in self.sources}
        for _, image, name in self.of_view("joliet"):
            entries = image.iso_files("joliet")
            self.assert_same_tree(expected, {path: entry.read() for path, entry
                                             in entries.items()})
            self.assertEqual({DISK_DATE}, {iso_moment(entry.date) for entry in entries.values()})
            self.assert_same_tree(expected,
                                  judges.xorriso(image.path, self.work / f"{name} x", "joliet")[0])

    def test_the_macintosh_sees_both_forks(self):
        """Catches a wrong fork, type, creator, flag or date of a catalog record."""
        for view, image, _ in self.of_view("hfs", "plus"):
            expected = self.mac_expected(lambda source, on=view: source.local_date if on == "hfs"
                                         else source.gmt_date)
            found = {path: mac_facts(entry) for path, entry in image.mac_files().items()}
            self.assert_same_tree(expected, found)

    def test_hfsutils_sees_them_too(self):
        """Catches what the reader above would get wrong as well."""
        for _, image, name in self.of_view("hfs"):
            found = judges.hfs_utils(image.path, self.work / f"{name} h")[2]
            self.assert_same_tree(
                self.mac_expected(lambda source: source.local_date),
                {path: (file.type + file.creator, file.finder_flags & 0xFF00, file.data, file.rsrc,
                        file.modified) for path, file in found.items()})

    def test_seven_zip_and_the_sleuth_kit_see_them_on_hfs_plus(self):
        """The same there: data forks, resource forks, types and creators."""
        for _, image, name in self.of_view("plus"):
            expected = self.mac_expected(lambda source: source.gmt_date)
            files = judges.seven_zip(image.path, self.work / f"{name} 7", "hfs")[0]
            # Its versions differ in whether they write resource forks beside the files.
            self.assert_same_tree({path: facts[2] for path, facts in expected.items()},
                                  {path: data for path, data in files.items()
                                   if not path[-1].endswith(":rsrc")})
            sector = image.volume_sector
            numbers, _ = judges.sleuth_list(image.path, sector)
            for path, (signature, _, _, rsrc, _) in expected.items():
                self.assertEqual(rsrc, judges.seven_zip_resource(image.path, ("Forks", *path)),
                                 path)
                self.assertEqual((signature[:4], signature[4:]),
                                 judges.sleuth_type(image.path, sector, numbers[path].number))


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

    def test_strict_reader(self):
        """Catches an extension or associated file that is not as Apple's note and ECMA-119 say."""
        self.assertEqual([], self.image.problems)
        self.assertIsNone(self.image.volume)

    def test_what_is_left_out_is_named(self):
        """Catches a file that is missing in silence."""
        for source in self.skipped:
            self.assertIn(source.pc_name.encode(), self.built.stderr)
        self.assertEqual(len(self.skipped), self.built.stderr.count(b"skipped "))

    def test_forks_and_signatures(self):
        """Catches a wrong fork, type or creator in either tree."""
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
            self.assertEqual(0, sum(entry.extent for entry in data.values() if entry.size == 0))

    def test_dates(self):
        """Catches a date of a container in local time, or with the year of its century."""
        entries = self.entries("joliet", False)
        for source in self.kept:
            moment = DISK_DATE if source.coding == "plain" else source.gmt_date - MAC_EPOCH
            self.assertEqual(moment, iso_moment(entries[source.pc_name].date), source.pc_name)

    def test_other_programs(self):
        """Catches forks that xorriso and isoinfo do not find."""
        files = judges.xorriso(self.image.path, self.work / "x", "joliet")[0]
        expected = {("both", source.pc_name): source.data for source in self.kept}
        # It gives one of two records of one name, the associated one, an underscore.
        for source in self.kept:
            if source.rsrc:
                stem, dot, extension = source.pc_name.partition(".")
                expected["both", f"{stem}_{dot}{extension}"] = source.rsrc
        self.assert_same_tree(expected, files)
        listed = judges.isoinfo_list(self.image.path)
        for name in self.entries("iso", False):
            self.assertIn(f"/BOTH/{name};1", listed)


class Damaged(Forks):
    """Containers that changed after they were included."""

    def test_each_is_named_and_nothing_else_is_lost(self):
        """Catches an image with lengths that no bytes stand for, and one that is not built."""
        self.project("damaged.vlpr", VIEWS)
        cut, gone = [], []
        for source in self.sources:
            place = self.work / "both" / source.pc_name
            if source.is_container and source.content == "both":
                place.write_bytes(place.read_bytes()[:-600])
                cut.append(source)
            if source.coding == "double" and source.content == "both":
                (self.work / "both" / ("._" + source.pc_name)).unlink()
                gone.append(source)
        built = self.run_well("build", "damaged.vlpr", status=SKIPPED)
        image = Image(self.work / "damaged.iso")
        self.assertEqual([], image.problems)
        self.assertEqual(len(cut) + len(gone), built.stderr.count(b"skipped "))
        expected = self.mac_expected(lambda source: source.local_date)
        found = {path: mac_facts(entry) for path, entry in image.mac_files().items()}
        for source in cut:
            self.assertIn(source.pc_name.encode(), built.stderr)
            path = ("both", source.mac_name)
            del expected[path]
            if source.coding == "macbinary":  # which a cut one is not any more
                place = self.work / "both" / source.pc_name
                self.assertEqual((place.read_bytes(), b""), found.pop(path)[2:4])
        for source in gone:
            path = ("both", source.mac_name)
            self.assertEqual((source.data, b""), found.pop(path)[2:4])
            del expected[path]
        self.assert_same_tree(expected, found)
        files = image.iso_files("joliet")
        for source in cut + gone:
            place = self.work / "both" / source.pc_name
            self.assertEqual(place.read_bytes(), files[("both", source.pc_name)].read())


if __name__ == "__main__":
    unittest.main()
