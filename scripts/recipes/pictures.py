#!/usr/bin/env python3
"""Makes the pictures of docs/recipes.md: runs the commands of the recipes and shows what they make.

usage: pictures.py DIB MAKE_SAMPLE_PICTURE
"""
import os
import pathlib
import subprocess
import sys
import tempfile

import inputs

ROOT = pathlib.Path(__file__).resolve().parents[2]
RECIPES = ROOT / "examples/recipes"
PICTURES = ROOT / "docs/recipes"
# Commands that make the picture of a recipe from its results, in the folder where it ran.
SHOWN = {
    "thumbnails": "dib montage thumbs/*.jpg --columns=4 --gap=10 --background=#20242c out.png; dib run --quality=80 out.png fit:760x760 out.jpg",
    "contact_sheet": "dib run --quality=80 sheet.png out.jpg",
    "game_palette": """
        dib montage art/*.png --columns=8 --gap=4 --background=#20242c before.png
        dib montage tiles/*.png --columns=8 --gap=4 --background=#20242c after.png
        dib run before.png join:after.png,column,fill=#20242c colors:256,dither=none resize:200%,filter=nearest out.png""",
    "sprites": "dib run sprites.png flatten:#39506b resize:200%,filter=nearest colors:128,dither=none out.png",
    "textures": """
        dib montage pictures/*.png --columns=4 --gap=4 --background=#20242c out.png
        dib run out.png resize:200%,filter=nearest out.png""",
    "scan": "dib run --quality=75 scan.png join:clean.png,gap=6,fill=#20242c fit:900x500 out.jpg",
    "cluster": """
        colors=(ff8c3c 46b4dc 8cc85a)
        for task in 0 1 2; do
            rm -r small; TASK=$task bash -eu RECIPE
            dib each 'small/*.jpg' fit:150x150 border:6,#${colors[task]} 'shared/{name}.png'
        done
        dib montage shared/*.png --columns=4 --gap=8 --background=#20242c --quality=80 out.jpg""",
}


def main():
    dib, make_sample = (pathlib.Path(word).resolve() for word in sys.argv[1:])
    PICTURES.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory() as work:
        folder = pathlib.Path(work)
        (folder / "bin").mkdir()
        (folder / "bin/dib").symlink_to(dib)
        os.environ.update(PATH=f"{work}/bin:{os.environ['PATH']}", TASK="0", TASKS="3")
        inputs.make(dib, make_sample, folder / "run")
        for name, commands in SHOWN.items():
            recipe = RECIPES / f"{name}.sh"
            script = f"bash -eu '{recipe}' >&2\n{commands.replace('RECIPE', str(recipe))}"
            subprocess.run(["bash", "-euc", script], cwd=folder / "run", check=True, stdout=subprocess.DEVNULL)
            for made in (folder / "run").glob("out.*"):
                if made.suffix == ".png" and (folder / "run/out.jpg").exists():
                    continue
                target = PICTURES / (name + made.suffix)
                target.write_bytes(made.read_bytes())
                print(f"{target.relative_to(ROOT)}: {target.stat().st_size} bytes")
            for made in (folder / "run").glob("out.*"):
                made.unlink()


main()
