"""Pixels that keep their colours: turns, parts, borders, two pictures side by side, sheets."""
import numpy
from libraries import call, cv2, doubles, pil, vips
from PIL import Image, ImageChops, ImageOps
from table import EXACT, by_command, by_library

for chain, turned, magick, netpbm in (
        ("turn:90", Image.Transpose.ROTATE_270, "-rotate 90", "-r270"),
        ("turn:180", Image.Transpose.ROTATE_180, "-rotate 180", "-r180"),
        ("turn:270", Image.Transpose.ROTATE_90, "-rotate 270", "-r90"),
        ("flip", Image.Transpose.FLIP_TOP_BOTTOM, "-flip", "-tb"),
        ("mirror", Image.Transpose.FLIP_LEFT_RIGHT, "-flop", "-lr")):
    by_library("Pillow", chain, 0, EXACT, pil(lambda image, turned=turned: image.transpose(turned)), "alpha")
    by_command(chain, 0, EXACT, f"convert alpha.png {magick} theirs.png", "alpha")
    by_command(chain, 0, EXACT, f"gm convert palette.png {magick} theirs.png", "palette")
    by_command(chain, 0, EXACT, f"pamflip {netpbm} opaque.ppm > theirs.ppm")

by_library("Pillow", "crop:11,7,90x60", 0, EXACT, pil(lambda image: image.crop((11, 7, 101, 67))), "alpha")
by_command("crop:11,7,90x60", 0, EXACT, "pamcut -left 11 -top 7 -width 90 -height 60 opaque.ppm > theirs.ppm")
by_command("canvas:220x100,fill=#ff8000", 0, EXACT,
           "convert opaque.png -background #ff8000 -gravity center -extent 220x100 theirs.png")
by_library("SciPy", "scroll:10,-5", 0, EXACT, lambda image: numpy.roll(image, (-5, 10), (0, 1)))

by_library("Pillow", "border:7,#ff8000", 0, EXACT, pil(lambda image: ImageOps.expand(image, 7, (255, 128, 0))))
by_library("OpenCV", "border:9,#204060,left=3,bottom=30", 0, EXACT,
           lambda image: cv2.copyMakeBorder(image, 9, 30, 3, 9, cv2.BORDER_CONSTANT, value=(32, 64, 96)))
by_library("libvips", "border:7,#ff8000", 0, EXACT,
           vips(lambda image: call("embed", image, x=7, y=7, width=image.get_width() + 14, height=image.get_height() + 14,
                                   extend="background", background=doubles([255.0, 128.0, 0.0]))))
by_command("border:7,#ff8000", 0, EXACT, "convert opaque.png -bordercolor #ff8000 -border 7 theirs.png")
by_command("border:7,#ff8000", 0, EXACT, "gm convert opaque.png -bordercolor #ff8000 -border 7 theirs.png")
by_command("border:7", 0, EXACT, "pnmpad -black -left 7 -right 7 -top 7 -bottom 7 opaque.ppm > theirs.ppm")
by_command("border:5,#20406080", 0, "A border with alpha stays as it is, also where the picture is opaque.",
           "convert opaque.png -alpha set -bordercolor #20406080 -compose copy -border 5 theirs.png")


def content(image):
    paper = Image.new("RGB", image.size, image.getpixel((0, 0)))
    return image.crop(ImageChops.difference(image, paper).getbbox())


by_library("Pillow", "trim", 0, EXACT, pil(content), "framed")
by_command("trim", 0, EXACT, "convert framed.png -trim +repage theirs.png", "framed")
by_command("trim", 0, EXACT, "gm convert framed.png -trim +repage theirs.png", "framed")
by_command("trim", 0, EXACT, "pnmcrop framed.ppm > theirs.ppm", "framed")
by_command("trim", 0, "Pixels that nobody sees are border, whatever their colours.", "convert sprite.png -trim +repage theirs.png", "sprite")
by_command("trim:12", 0, "The largest difference of a channel is the tolerance; ImageMagick's is of all channels together, so the frame "
           "differs in one by 10 and the content by 60.", "convert grainy.png -fuzz 8% -trim +repage theirs.png", "grainy")
def beside(image, over):
    result = Image.new("RGB", (image.width + over.width + 3, max(image.height, over.height)), "white")
    result.paste(image, (0, 0))
    result.paste(over.convert("RGB"), (image.width + 3, 0))
    return result


by_library("Pillow", "join:solid.png,gap=3", 0, EXACT, pil(beside), "opaque+solid")
by_library("OpenCV", "join:opaque.png", 0, EXACT, lambda image, over: cv2.hconcat([image, over]), "opaque+opaque")
by_command("join:solid.png,column", 0, EXACT, "convert opaque.png solid.png -background white -append theirs.png")
by_command("join:solid.png,align=end", 0, EXACT, "convert opaque.png solid.png -background white -gravity south +append theirs.png")
by_command("join:solid.png,column,align=center", 0, EXACT, "pnmcat -white -topbottom -jcenter opaque.ppm solid.ppm > theirs.ppm")
by_command("join:solid.png", 0, EXACT, "gm convert opaque.png solid.png -background white +append theirs.png")
by_library("libvips", "join:solid.png,gap=3", 0, EXACT,
           vips(lambda image, over: call("join", image, over, direction="horizontal", expand=True, shim=3,
                                         background=doubles([255.0] * 3))), "opaque+solid")
