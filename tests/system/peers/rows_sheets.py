"""Text, sheets of pictures, palettes as files, and the numbers of a comparison."""
import cairo
from table import EXACT, ROUNDED, by_command, by_library, number

FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"

# The upper edge of a line lies 0.928 of the size above its baseline, rounded up. Letter by letter: cairo puts each on a whole pixel.
for letter in "Sg@7":
    by_library("cairo", f"text:{letter},10,20,size=40,color=#ffcc00,font={FONT}", 2,
               "Both take outlines with light hints from FreeType; how much of a pixel they cover is measured by each.",
               cairo.written(letter, 10, 20 + 38, 40, (255, 204, 0)))

by_command("dib montage solid.png over.png opaque.png --columns=2 --gap=10 --background=#204060 ours.png", 1, ROUNDED,
           "montage solid.png over.png opaque.png -tile 2x -geometry '200x150>+5+5' -background #204060 miff:- | "
           "convert - -bordercolor #204060 -border 5 theirs.png")
by_command("dib montage solid.png alpha.png sprite.png --columns=3 --background=#00000000 ours.png", 0, EXACT,
           "montage solid.png alpha.png sprite.png -tile 3x -geometry '200x150>+0+0' -background none theirs.png")
by_command("dib montage grey.png palette.png --columns=1 --background=#ffffff ours.png", 0, EXACT,
           "pnmcat -topbottom grey.ppm palette.ppm > theirs.ppm")

NAMED = "ImageMagick prints two digits more."
number("dib compare opaque.png soft.png", r"PSNR ([0-9.]+)", "compare -metric PSNR opaque.png soft.png null:", r"([0-9.]+)", 0.01, NAMED)
number("dib compare opaque.png soft.png", r"PSNR ([0-9.]+)", "gm compare -metric PSNR opaque.png soft.png", r"Total: ([0-9.]+)", 0.01, NAMED)
number("dib compare alpha.png opaque.png", r"PSNR ([0-9.]+)", "gm compare -metric PSNR alpha.png opaque.png", r"Total: ([0-9.]+)", 0.01, NAMED)
number("dib compare opaque.png soft.png", r"([0-9]+) of", "compare -metric AE opaque.png soft.png null:", r"([0-9.]+)", 0, NAMED)
number("dib compare opaque.png soft.png", r"difference ([0-9]+)",
       "convert opaque.png soft.png -compose difference -composite -format '%[fx:255*maxima]' info:", r"([0-9.]+)", 0.001,
       "ImageMagick prints a fraction of 1.")
number("dib compare opaque.png palette.png", r"PSNR ([0-9.]+)", "compare -metric PSNR opaque.png palette.png null:", r"([0-9.]+)",
       0.01, NAMED)
by_command("compare:soft.png", 0, EXACT, "convert opaque.png soft.png -compose difference -composite theirs.png")
by_command("compare:soft.png,gain=4", 0, EXACT,
           "convert opaque.png soft.png -compose difference -composite -evaluate multiply 4 theirs.png")
