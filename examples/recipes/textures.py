# Makes a TIM texture of 64 x 64 pixels and 16 colours of each picture, and a PNG file of each texture.
# Run: python3 textures.py art/*.png
import pathlib
import sys

import dibstream

for folder in ("textures", "pictures"):
    pathlib.Path(folder).mkdir(exist_ok=True)
for name in map(pathlib.Path, sys.argv[1:]):
    texture = pathlib.Path("textures", name.stem + ".tim")
    dibstream.open(name).fill((64, 64)).colors(16).save(texture)
    dibstream.open(texture).save(pathlib.Path("pictures", name.name))
