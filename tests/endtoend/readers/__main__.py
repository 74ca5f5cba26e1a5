"""Tells what is wrong with an image: `python3 -m readers IMAGE`.

Exit status 0: no problem; 1: problems, or nothing known in the image.
"""

import sys

from .examine import Examination
from .window import load_image

found = Examination(load_image(sys.argv[1]))
print("\n".join([*found.readers, *(f"PROBLEM: {problem}" for problem in found.problems)]))
print(f"{len(found.problems)} problems")
sys.exit(1 if found.problems else 0)
