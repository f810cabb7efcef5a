"""Stores as tiled images: any object that is read and written by slices, as arrays of zarr and h5py or a memmap."""
import ctypes
import threading
from collections import OrderedDict

import numpy as np

from . import _declarations as d
from ._images import MODELS, Image, _text4, depth_of, pair
from ._library import keep, kept


class _Tile:
    __slots__ = ("pixels", "opened", "written")

    def __init__(self, pixels):
        self.pixels, self.opened, self.written = pixels, 0, False


class TiledImage:
    """An image whose pixels stay in a store and come tile by tile while an operation asks for them.

    store    has `shape`, (rows, columns) or (rows, columns, channels), and `dtype`; `store[rows, columns]` with slices
             gives an array, and takes one where the image is written. numpy, zarr, h5py and the like will do.
    tile     (width, height) of the tiles in pixels, multiples of 8; by default those of the store's `chunks`, or
             512 x 512
    write    whether operations may write the store
    cache    how many closed tiles are kept, since filters come back to the tiles around each
    roi, coi, mask, alpha, model, origin, border   as of Image

    An exception of the store ends the operation and reaches its caller. A tiled image serves one operation at a time.
    What was written before a failure stays written; tiles that are open then are dropped.
    """

    def __init__(self, store, tile=None, *, write=True, cache=16, roi=None, coi=0, mask=None, alpha=False, model=None,
                 origin=d.ORV_ORIGIN_TL, border=None):
        self.store, self.shape, self.dtype = store, tuple(store.shape), np.dtype(store.dtype)
        if len(self.shape) not in (2, 3) or min(self.shape) < 1:
            raise ValueError(f"a store of shape {self.shape} is no image: (rows, columns) or (rows, columns, channels)")
        depth = depth_of(self.dtype)
        channels = self.shape[2] if len(self.shape) == 3 else 1
        if depth == d.ORV_DEPTH_1U and channels != 1:
            raise ValueError("an image of bits has one channel")
        self.width, self.height = pair(tile) if tile is not None else self._chunks()
        if self.width < 8 or self.height < 8 or self.width % 8 or self.height % 8:
            raise ValueError(f"tiles of {self.width} x {self.height} pixels: sizes must be multiples of 8")
        self._write, self._cache = write, cache
        self._channels = channels
        self._open, self._closed = {}, OrderedDict()
        self._busy = threading.Lock()
        self._calls = d.OrvTileCallBack(self._answer)
        self._tiles = d.OrvTileInfo(callBack=self._calls, width=self.width, height=self.height)
        model = model or MODELS.get(channels, ("", ""))
        self.record = d.OrvImage(
            headerSize=ctypes.sizeof(d.OrvImage), nChannels=channels, alphaChannel=channels if alpha else 0,
            depth=depth, colorModel=_text4(model[0]), channelSeq=_text4(model[1]), dataOrder=d.ORV_DATA_ORDER_PIXEL,
            origin=origin, align=4, width=self.shape[1], height=self.shape[0], tileInfo=ctypes.pointer(self._tiles))
        self._bits = depth == d.ORV_DEPTH_1U
        value = 1 if self._bits else self.dtype.itemsize
        self._step = -(-(self.width // 8 if self._bits else self.width * channels * value) // 4) * 4
        self.mask = self._roi = None
        if roi is not None or coi:
            self.set_roi(roi if roi is not None else (0, 0, self.shape[1], self.shape[0]), coi)
        if mask is not None:
            self.set_mask(mask)
        if border is not None:
            self.set_border(*border if isinstance(border, tuple) else (border,))

    array = property(lambda self: self.store)
    set_roi, set_mask, set_border = Image.set_roi, Image.set_mask, Image.set_border

    def _chunks(self):
        chunks = getattr(self.store, "chunks", None)
        if chunks and not isinstance(chunks[0], tuple) and chunks[0] % 8 == 0 and chunks[1] % 8 == 0:
            return chunks[1], chunks[0]
        return 512, 512

    # ---- the provider

    def _place(self, column, row):
        return (slice(row * self.height, min((row + 1) * self.height, self.shape[0])),
                slice(column * self.width, min((column + 1) * self.width, self.shape[1])))

    def _pixels(self, tile):
        """A tile's memory as an array of all its pixels, which of bits are eight a byte."""
        shape = (self.height, self.width // 8) if self._bits else (self.height, self.width) + self.shape[2:]
        item = 1 if self._bits else self.dtype.itemsize
        inner = (self._channels * item, item)[:len(shape) - 1] if len(shape) == 3 else (item,)
        dtype = np.uint8 if self._bits else self.dtype.newbyteorder("=")
        return np.ndarray(shape, dtype, tile, strides=(self._step,) + inner)

    def _fetch(self, key):
        rows, columns = self._place(*key)
        found = np.asarray(self.store[rows, columns])
        expected = (rows.stop - rows.start, columns.stop - columns.start) + self.shape[2:]
        if found.shape != expected or found.dtype.newbyteorder("=") != self.dtype.newbyteorder("="):
            raise ValueError(f"the store gave {found.dtype} {found.shape} where {self.dtype} {expected} was asked for")
        memory = np.zeros(self.height * self._step, np.uint8)
        if self._bits:
            found = np.packbits(found.reshape(expected[:2]), axis=1)
        self._pixels(memory)[:found.shape[0], :found.shape[1]] = found
        return _Tile(memory)

    def _store(self, key, tile):
        rows, columns = self._place(*key)
        pixels = self._pixels(tile.pixels)[:rows.stop - rows.start]
        if self._bits:
            pixels = np.unpackbits(pixels, axis=1).view(bool)
        self.store[rows, columns] = pixels[:, :columns.stop - columns.start].reshape(
            (rows.stop - rows.start, columns.stop - columns.start) + self.shape[2:])
        tile.written = False

    def _answer(self, image, column, row, mode):
        # A tile that does not come must not leave the address of another behind.
        if mode != d.ORV_TILE_RELEASE:
            self._tiles.tileData = None
        try:
            if not kept():
                self._provide(column, row, mode)
        except BaseException as error:  # it reaches the caller when the library has returned
            self._tiles.tileData = None
            keep(error)
        return 0

    def _provide(self, column, row, mode):
        key = (column, row)
        if mode == d.ORV_TILE_RELEASE:
            tile = self._open[key]
            tile.opened -= 1
            if tile.opened == 0:
                del self._open[key]
                if tile.written:
                    self._store(key, tile)
                self._closed[key] = tile
                while len(self._closed) > self._cache:
                    self._closed.popitem(last=False)
            return
        if mode == d.ORV_TILE_WRITE and not self._write:
            raise ValueError("the tiled image is read-only and cannot be written")
        tile = self._open.get(key) or self._closed.pop(key, None) or self._fetch(key)
        self._open[key] = tile
        tile.opened += 1
        tile.written = tile.written or mode == d.ORV_TILE_WRITE
        self._tiles.tileData = ctypes.cast(tile.pixels.ctypes.data, ctypes.POINTER(ctypes.c_uint8))

    # ---- what calls ask

    def begin(self):
        if not self._busy.acquire(blocking=False):
            raise RuntimeError("a tiled image serves one operation at a time")
        if self.mask is not None:
            self.mask.begin()

    def end(self, failed=False):
        self._open.clear()
        self._closed.clear()
        self._busy.release()

    def __repr__(self):
        return f"<orvz3.TiledImage {self.shape} {self.dtype} in tiles of {self.width} x {self.height}>"
