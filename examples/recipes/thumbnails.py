# Reduces photos to at most 200 x 200 pixels. JPEG files are decoded at a fraction of their size.
# Run: python3 thumbnails.py photos/*.jpg
import pathlib
import sys

import dibstream

pathlib.Path("thumbs").mkdir(exist_ok=True)
for photo in map(pathlib.Path, sys.argv[1:]):
    dibstream.thumbnail(photo, (200, 200)).save(pathlib.Path("thumbs", photo.name))
