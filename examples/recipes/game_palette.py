# Finds the 16 colours that show all tiles best, and gives each tile that palette.
# Run: python3 game_palette.py art/*.png
import pathlib
import sys

import dibstream

tiles = {pathlib.Path(name).name: dibstream.open(name) for name in sys.argv[1:]}
palette = dibstream.montage(tiles.values()).colors(16)
palette.save_palette("game.gpl")
pathlib.Path("tiles").mkdir(exist_ok=True)
for name, tile in tiles.items():
    tile.remap(palette, dither="ordered").save(pathlib.Path("tiles", name))
