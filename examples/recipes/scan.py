# Cleans a scanned page: even light, level lines, white paper.
# Run: python3 scan.py scan.png
import sys

import dibstream

scan = dibstream.open(sys.argv[1]).grey()
# The paper without its letters, inverted: dodging divides the scan by the paper.
paper = scan.max(6).gaussian(30).invert()
even = scan.overlay(paper, mode="color-dodge")
clean = even.rotate(-2, fill="#ffffff").gaussian(1.5).levels(110, 200)
clean.bpp(4, method="grey").save("clean.png")
