# Puts photos on a sheet, with their names.
# Run: python3 contact_sheet.py photos/*.jpg
import pathlib
import sys

import dibstream

photos = [dibstream.open(name) for name in sys.argv[1:]]
names = [pathlib.Path(name).name for name in sys.argv[1:]]
sheet = dibstream.montage(photos, columns=4, fit=(150, 150), gap=12, labels=names, background="#20242c")
sheet.save("sheet.png")
