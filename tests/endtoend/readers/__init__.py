"""Strict, independent readers of Macintosh and CD-ROM disc images.

They judge images in the end-to-end tests and are written from the published formats alone:
Inside Macintosh: Files (HFS), Apple Technical Note TN1150 (HFS Plus), ECMA-119 (ISO 9660) and the
Joliet description. They share no code with the program whose images they judge.
"""
