#!/usr/bin/python3
"""Compares pictures that operations make with those of Pillow and ImageMagick.

usage: peers.py DIB PICTURE.bmp

A row has the chain, what makes the same picture elsewhere, and the largest difference of a channel that is allowed:
both round, and not always in the same place. Without Pillow nothing is compared (exit code 77); rows of ImageMagick are
skipped where it is not installed.
"""
import pathlib
import shutil
import subprocess
import sys
import tempfile

try:
    from PIL import Image, ImageChops, ImageOps, ImageStat
except ImportError:
    print("Pillow is not installed")
    sys.exit(77)


def grey(image):
    return image.convert("L").convert("RGB")


def flattened(image):
    under = Image.new("RGBA", image.size, (255, 128, 0, 255))
    return Image.alpha_composite(under, image).convert("RGB")


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


def beside(image, over):
    result = Image.new("RGB", (image.width + over.width + 3, max(image.height, over.height)), "white")
    result.paste(image, (0, 0))
    result.paste(over.convert("RGB"), (image.width + 3, 0))
    return result


# Chain, largest difference, pictures that it takes, and what makes the same of them.
PILLOW = [
    ("grey", 0, "opaque", grey),
    ("threshold:100", 0, "opaque", lambda image: grey(image).point(lambda v: 255 if v >= 100 else 0)),
    ("turn:90", 0, "opaque", lambda image: image.transpose(Image.Transpose.ROTATE_270)),
    ("turn:180", 0, "opaque", lambda image: image.transpose(Image.Transpose.ROTATE_180)),
    ("turn:270", 0, "alpha", lambda image: image.transpose(Image.Transpose.ROTATE_90)),
    ("flip", 0, "opaque", lambda image: image.transpose(Image.Transpose.FLIP_TOP_BOTTOM)),
    ("mirror", 0, "alpha", lambda image: image.transpose(Image.Transpose.FLIP_LEFT_RIGHT)),
    ("border:7,#ff8000", 0, "opaque", lambda image: ImageOps.expand(image, 7, (255, 128, 0))),
    ("flatten:#ff8000", 1, "alpha", flattened),
    ("overlay:over.png,30,20", 1, "opaque+alpha", lambda image, over: covered(image, over).convert("RGB")),
    ("overlay:over.png,30,20", 1, "alpha+alpha", covered),
    ("overlay:solid.png,30,20,mode=multiply", 1, "opaque+solid", blended(ImageChops.multiply)),
    ("overlay:solid.png,30,20,mode=screen", 1, "opaque+solid", blended(ImageChops.screen)),
    ("overlay:solid.png,30,20,mode=darken", 0, "opaque+solid", blended(ImageChops.darker)),
    ("overlay:solid.png,30,20,mode=lighten", 0, "opaque+solid", blended(ImageChops.lighter)),
    ("overlay:solid.png,30,20,mode=difference", 0, "opaque+solid", blended(ImageChops.difference)),
    ("overlay:solid.png,30,20,mode=add", 0, "opaque+solid", blended(ImageChops.add)),
    ("overlay:solid.png,30,20,mode=hard-light", 2, "opaque+solid", blended(ImageChops.hard_light)),
    ("overlay:solid.png,30,20,mode=overlay", 2, "opaque+solid", blended(ImageChops.overlay)),
    ("join:solid.png,gap=3", 0, "opaque+solid", beside),
]

# The same with arguments of ImageMagick's `convert`; {in} and {over} are the pictures.
MAGICK = [
    ("posterize:5", 1, "{in} +dither -posterize 5"),
    ("unsharp:2,80%", 2, "{in} -unsharp 6x2+0.8+0"),
    ("levels:40,200", 1, "{in} -level 15.6862745%,78.4313725%"),
    ("levels:20,230,gamma=1.5", 1, "{in} -level 7.8431373%,90.1960784%,1.5"),
    ("border:9,#204060 trim", 0, "{in} -bordercolor #204060 -border 9 -trim +repage"),
    ("join:solid.png,column", 0, "{in} {over} -background white -append"),
    ("overlay:solid.png,5,7,place=se,mode=exclusion", 1, "{in} {over} -gravity southeast -geometry +5+7 -compose exclusion -composite"),
    ("overlay:solid.png,place=n,mode=pin-light", 1, "{in} {over} -gravity north -compose pinlight -composite"),
    ("overlay:solid.png,place=w,mode=soft-light", 1, "{in} {over} -gravity west -compose softlight -composite"),
    ("overlay:solid.png,mode=color-dodge", 1, "{in} {over} -compose colordodge -composite"),
]


# These show the picture at least as well.
BETTER = [(f"colors:{count},dither=none", f"-colors {count}") for count in (4, 16, 64, 256)]
BETTER.append(("remap:palette.png,dither=none", "-remap palette.png"))


def squared_error(a, b):
    return sum(ImageStat.Stat(ImageChops.difference(a, b.convert("RGB"))).sum2)


def largest_difference(a, b):
    if a.size != b.size:
        return f"{a.size} against {b.size}"
    bands = ImageChops.difference(a.convert("RGBA"), b.convert("RGBA")).getextrema()
    # Colours that nobody sees may differ.
    return max(high for _, high in bands)


def invisible_as_black(image):
    if image.mode != "RGBA":
        return image
    black = Image.new("RGBA", image.size, (0, 0, 0, 0))
    return Image.composite(image, black, image.getchannel("A").point(lambda a: 255 if a else 0))


def main(dib, path):
    folder = pathlib.Path(tempfile.mkdtemp(prefix="peers-"))
    picture = Image.open(path).convert("RGB")
    ramp = Image.linear_gradient("L")
    pictures = {
        "opaque": picture,
        "alpha": picture.copy(),
        "over": picture.rotate(90, expand=True).resize((80, 60)),
        "solid": picture.rotate(180).resize((80, 60)),
    }
    pictures["alpha"].putalpha(ramp.rotate(90).resize(picture.size))
    pictures["over"].putalpha(ramp.resize((80, 60)))
    pictures["palette"] = picture.quantize(40)
    for name, image in pictures.items():
        image.save(folder / f"{name}.png")
    seconds = {"alpha": "over", "solid": "solid"}

    def made_by_dib(chain, first):
        subprocess.run([dib, "run", f"{first}.png", *chain.split(), "out.png"], cwd=folder, check=True)
        return Image.open(folder / "out.png").copy()

    wrong = 0

    def judge(chain, other, ours, theirs, allowed):
        nonlocal wrong
        difference = largest_difference(invisible_as_black(ours), invisible_as_black(theirs))
        if not isinstance(difference, int) or difference > allowed:
            print(f"{chain} differs from {other} by {difference}, allowed {allowed}")
            wrong += 1

    for chain, allowed, takes, make in PILLOW:
        first, *second = takes.split("+")
        inputs = [pictures[first].copy()] + [pictures[seconds[name]] for name in second]
        judge(chain, "Pillow", made_by_dib(chain, first), make(*inputs), allowed)
    rows = MAGICK if shutil.which("convert") else []
    for chain, allowed, arguments in rows:
        filled = arguments.replace("{in}", "opaque.png").replace("{over}", "solid.png").split()
        subprocess.run(["convert", *filled, "PNG24:theirs.png"], cwd=folder, check=True)
        judge(chain, "ImageMagick", made_by_dib(chain, "opaque"), Image.open(folder / "theirs.png"), allowed)
    better = BETTER if rows else []
    for chain, arguments in better:
        command = ["convert", "opaque.png", "+dither", *arguments.split(), "theirs.png"]
        subprocess.run(command, cwd=folder, check=True)
        errors = [squared_error(picture, image) for image in
                  (made_by_dib(chain, "opaque"), Image.open(folder / "theirs.png"))]
        if errors[0] > errors[1]:
            print(f"{chain} has an error of {errors[0]}, ImageMagick of {errors[1]}")
            wrong += 1
    shutil.rmtree(folder)
    print(f"{len(PILLOW) + len(rows) + len(better)} comparisons, {wrong} wrong")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
