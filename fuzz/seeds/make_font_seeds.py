#!/usr/bin/env python3
"""Writes the seed files of FontFuzzer beside itself: small fonts of our own, with outlines of TrueType and of PostScript. Needs
fontTools."""
import pathlib

from fontTools.fontBuilder import FontBuilder
from fontTools.pens.t2CharStringPen import T2CharStringPen
from fontTools.pens.ttGlyphPen import TTGlyphPen
from fontTools.ttLib import newTable
from fontTools.ttLib.tables._k_e_r_n import KernTable_format_0

FOLDER = pathlib.Path(__file__).parent / "font"
UNITS = 200
GLYPHS = [".notdef", "space", "A", "V", "i", "dots", "adieresis"]
CHARACTERS = {32: "space", 65: "A", 86: "V", 105: "i", 0xE4: "adieresis"}
CONTOURS = {
    ".notdef": [[(20, 0), (20, 140), (100, 140), (100, 0)]],
    "A": [[(0, 0), (50, 140), (70, 140), (120, 0), (100, 0), (60, 115), (20, 0)]],
    "V": [[(0, 140), (20, 140), (60, 30), (100, 140), (120, 140), (70, 0), (50, 0)]],
    "i": [[(20, 0), (20, 100), (40, 100), (40, 0)], [(20, 120), (20, 140), (40, 140), (40, 120)]],
    "dots": [[(20, 150), (20, 170), (40, 170), (40, 150)], [(80, 150), (80, 170), (100, 170), (100, 150)]],
}


def draw(pen, name):
    for contour in CONTOURS.get(name, []):
        pen.moveTo(contour[0])
        if name == "A":  # a curve, too
            pen.curveTo((10, 60), (30, 120), contour[1])
        else:
            pen.lineTo(contour[1])
        for point in contour[2:]:
            pen.lineTo(point)
        pen.closePath()


def builder(is_truetype):
    made = FontBuilder(UNITS, isTTF=is_truetype)
    made.setupGlyphOrder(GLYPHS)
    made.setupCharacterMap(CHARACTERS)
    return made


def finished(made, path):
    made.setupHorizontalMetrics({name: (130, 0) for name in GLYPHS})
    made.setupHorizontalHeader(ascent=170, descent=-30)
    made.setupNameTable({"familyName": "Seed", "styleName": "Regular"})
    made.setupOS2(sTypoAscender=170, sTypoDescender=-30, usWinAscent=170, usWinDescent=30)
    made.setupPost(keepGlyphNames=False)
    made.updateHead(created=0, modified=0)
    made.save(path)


def truetype(path):
    made = builder(True)
    glyphs = {}
    for name in GLYPHS:
        pen = TTGlyphPen(glyphs)
        if name == "adieresis":  # of two parts
            pen.addComponent("A", (1, 0, 0, 1, 0, 0))
            pen.addComponent("dots", (1, 0, 0, 1, 0, 5))
        elif name == "A":
            pen.moveTo((0, 0))
            pen.qCurveTo((20, 90), (50, 140))
            for point in CONTOURS[name][0][2:]:
                pen.lineTo(point)
            pen.closePath()
        else:
            draw(pen, name)
        glyphs[name] = pen.glyph()
    made.setupGlyf(glyphs)
    table = KernTable_format_0()
    table.coverage, table.apple, table.tupleIndex, table.kernTable = 1, False, None, {("A", "V"): -30}
    kerning = newTable("kern")
    kerning.version, kerning.kernTables = 0, [table]
    made.font["kern"] = kerning
    finished(made, path)


def postscript(path):
    made = builder(False)
    programs = {}
    for name in GLYPHS:
        pen = T2CharStringPen(130, None)
        draw(pen, "A" if name == "adieresis" else name)
        programs[name] = pen.getCharString()
    made.setupCFF("Seed-Regular", {"FullName": "Seed"}, programs, {})
    finished(made, path)


if __name__ == "__main__":
    FOLDER.mkdir(exist_ok=True)
    truetype(FOLDER / "quadratic.ttf")
    postscript(FOLDER / "cubic.otf")
