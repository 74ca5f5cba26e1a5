"""Two builds of the same tree are the same bytes, whatever else is different."""

import os
import shutil
import unittest

from images import KINDS
from program import Case
from source_tree import SourceTree


class Repeatable(Case):
    """One tree, built in several ways."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.tree = SourceTree(cls.work / "source")

    def test_a_copy_of_the_tree_made_in_another_order(self):
        """Catches the clock, an order that comes from the disk, and a path of the PC."""
        other = self.work / "another place"
        other.mkdir()
        for folder in self.tree.folders:
            other.joinpath(*folder).mkdir()
        for file in reversed(self.tree.files):
            place = other.joinpath(*file.path)
            place.write_bytes(file.content)
            os.utime(place, (file.modified, file.modified))
        # The dates of folders are in the image too.
        for folder in reversed(self.tree.folders):
            shutil.copystat(self.work.joinpath("source", *folder), other.joinpath(*folder))
        for kind in KINDS:
            with self.subTest(kind=kind.name):
                first = self.make(self.work / "source", self.work / "one.iso", "--label", "Same",
                                  "--force", *kind.options)
                second = self.make(other, self.work / "two.iso", "--label", "Same", "--force",
                                   *kind.options)
                self.assertTrue(first.read_bytes() == second.read_bytes())


if __name__ == "__main__":
    unittest.main()
