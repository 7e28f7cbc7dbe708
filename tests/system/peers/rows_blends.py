"""A second picture over the first: places, alpha, opacity and blend modes."""
import cairo
from libraries import call, pil, vips
from PIL import Image, ImageChops
from table import EXACT, ROUNDED, by_command, by_library

SHADES = "Both compute the same formula, in fractions or in a table, and round."


def covered(image, over):
    result = image.convert("RGBA")
    result.alpha_composite(over, (30, 20))
    return result


def blended(blend):
    def run(image, over):
        area = image.crop((30, 20, 30 + over.width, 20 + over.height)).convert("RGB")
        result = image.copy()
        result.paste(blend(area, over.convert("RGB")), (30, 20))
        return result
    return run


by_library("Pillow", "overlay:over.png,30,20", 1, ROUNDED, pil(lambda image, over: covered(image, over).convert("RGB")), "opaque+over")
by_library("Pillow", "overlay:over.png,30,20", 1, ROUNDED, pil(covered), "alpha+over")
by_library("libvips", "overlay:over.png,30,20", 2, "libvips truncates colours that it has divided by alpha.",
           vips(lambda image, over: call("composite2", image, over, mode="over", x=30, y=20)), "alpha+over")
by_command("overlay:over.png,50%,50%", 1, ROUNDED, "convert opaque.png over.png -gravity center -composite theirs.png")
by_command("overlay:over.png,5,7,place=se,opacity=40%", 1, "The alpha times the opacity is rounded once more by dib.",
           "convert opaque.png over.png -gravity southeast -geometry +5+7 -define compose:args=40 -compose dissolve -composite theirs.png")
by_command("overlay:over.png,place=ne", 2, "GraphicsMagick rounds the colour and its share of alpha.", "gm composite -gravity northeast over.png alpha.png theirs.png", "alpha")
by_command("overlay:over.png,30,20", 1, ROUNDED, "pamcomp -linear -xoff=30 -yoff=20 over.pam opaque.ppm | pamtopnm > theirs.ppm")

for mode, tolerance, blend, why in (
        ("multiply", 1, ImageChops.multiply, ROUNDED), ("screen", 1, ImageChops.screen, ROUNDED),
        ("darken", 0, ImageChops.darker, EXACT), ("lighten", 0, ImageChops.lighter, EXACT),
        ("difference", 0, ImageChops.difference, EXACT), ("add", 0, ImageChops.add, EXACT),
        ("hard-light", 2, ImageChops.hard_light, "Pillow computes with integers and cuts off."),
        ("overlay", 2, ImageChops.overlay, "Pillow computes with integers and cuts off.")):
    by_library("Pillow", f"overlay:solid.png,30,20,mode={mode}", tolerance, why, pil(blended(blend)), "opaque+solid")

# Half transparent pictures over others: colours of cairo are multiplied with alpha, in bytes.
for mode in cairo.OPERATORS:
    by_library("cairo", f"overlay:solid.png,30,20,mode={mode}", 1, SHADES, cairo.blended(mode, 30, 20), "opaque+solid")
    if mode not in ("hue", "saturation", "color", "luminosity"):  # they magnify the rounding
        by_library("cairo", f"overlay:over.png,30,20,mode={mode}", 4, "Products with alpha in bytes round three times.",
                   cairo.blended(mode, 30, 20), "alpha+over")

for mode, operator in (("multiply", "multiply"), ("screen", "screen"), ("exclusion", "exclusion"), ("pin-light", "pinlight"),
                       ("soft-light", "softlight"), ("color-dodge", "colordodge"), ("color-burn", "colorburn"),
                       ("hard-light", "hardlight"), ("overlay", "overlay"), ("difference", "difference")):
    by_command(f"overlay:over.png,place=w,mode={mode}", 1, SHADES,
               f"convert opaque.png over.png -gravity west -compose {operator} -composite theirs.png")
for mode, operator in (("linear-light", "linearlight"), ("vivid-light", "vividlight"), ("hard-mix", "hardmix"), ("add", "plus")):
    by_command(f"overlay:solid.png,place=w,mode={mode}", 1, SHADES + " ImageMagick has formulas of its own where colours are transparent.",
               f"convert opaque.png solid.png -gravity west -compose {operator} -composite theirs.png")
for mode, operator in (("darker-color", "darkenintensity"), ("lighter-color", "lightenintensity")):
    by_command(f"overlay:far.png,mode={mode}", 0, "The second picture is nearly black or white, as ImageMagick has other weights of colours.",
               f"convert opaque.png far.png -compose {operator} -composite theirs.png")

for mode in ("multiply", "screen", "lighten", "soft-light", "exclusion"):
    by_library("libvips", f"overlay:solid.png,30,20,mode={mode}", 1, SHADES + " libvips has its own where colours are transparent.",
               vips(lambda image, over, mode=mode: call("composite2", image, over, mode=mode, x=30, y=20)), "opaque+solid")
