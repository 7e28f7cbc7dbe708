# Puts the layers of a document on a sheet of sprites.
# Run: python3 sprites.py coin.psd
import sys

import dibstream

document = sys.argv[1]
sprites = [dibstream.open(document, layer=layer.index) for layer in dibstream.probe_layers(document) if layer.width > 0]
dibstream.montage(sprites, columns=8, gap=2, background="#00000000").save("sprites.png")
