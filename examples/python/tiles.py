"""A picture that stays in a file: tiles come and go while an operation runs. usage: tiles.py FOLDER"""
import sys
from pathlib import Path

import numpy as np
import orvz3

folder = Path(sys.argv[1])
shape = (3000, 4000)
source = np.lib.format.open_memmap(folder / "source.npy", mode="w+", dtype=np.uint8, shape=shape)
result = np.lib.format.open_memmap(folder / "result.npy", mode="w+", dtype=np.uint8, shape=shape)
rings = orvz3.jaehne(1000, 1000)
for row in range(0, 3000, 1000):
    source[row:row + 1000] = np.hstack([rings] * 4)


class Watched:
    """Whatever has a shape, an element type and slices is a store; this one tells how far a call is."""
    shape, dtype, tiles = shape, np.dtype("uint8"), 0

    def __getitem__(self, key):
        Watched.tiles += 1
        return source[key]


orvz3.blur(orvz3.TiledImage(Watched(), (512, 256), write=False), 31, out=orvz3.TiledImage(result, (512, 256)))
print(Watched.tiles, "tiles were read,", "as in one piece:", (result == orvz3.blur(np.array(source), 31)).all())
