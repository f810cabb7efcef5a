"""Arrays are pictures: blur, threshold, count. usage: arrays.py RESULT.bmp"""
import sys

import numpy as np
import orvz3

rings = orvz3.jaehne(640, 480)                           # an array of 480 rows and 640 columns, uint8
noisy = orvz3.noise_gaussian(rings, seed=1, mean=0, deviation=20)
soft = orvz3.blur(noisy, (5, 5), border="replicate")      # a new array
orvz3.blur(soft, 5, out=soft)                             # in place
bright = orvz3.threshold(soft, 128, dtype=bool)           # one bit a pixel inside the library, bool here
counts = orvz3.histogram(noisy)
print(f"{bright.mean():.1%} of the pixels are bright, {counts.argmax()} is the most frequent value")

colour = np.stack([noisy, soft, orvz3.not_(soft)], axis=-1)     # rows, columns, channels
orvz3.blur(colour, 25, roi=np.s_[100:300, 200:500], out=colour, coi=3)
orvz3.add(colour, 60, mask=bright, out=colour)                  # only where the mask is set

with open(sys.argv[1], "wb") as file:
    bitmap = orvz3.to_dib(colour)
    file.write(b"BM" + (14 + len(bitmap)).to_bytes(4, "little") + bytes(4) + (54).to_bytes(4, "little") + bitmap)
