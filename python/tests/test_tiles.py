"""Stores that are read and written by slices as tiled images."""
import ctypes
import threading

import numpy as np
import pytest

import orvz3


class Store:
    """A store of the plainest kind, that says what is asked of it and can fail."""

    def __init__(self, array, fails=None):
        self.array, self.shape, self.dtype, self.fails, self.asked = array, array.shape, array.dtype, fails, []

    def _count(self, key):
        self.asked.append(key)
        if self.fails is not None and len(self.asked) > self.fails:
            raise OSError("the disc is gone")

    def __getitem__(self, key):
        self._count(key)
        return self.array[key]

    def __setitem__(self, key, value):
        self._count(key)
        self.array[key] = value


@pytest.mark.parametrize("dtype, shape", [("uint8", (50, 70)), ("uint16", (50, 70, 3)), ("float32", (33, 41)), ("bool", (50, 70))])
def test_a_store_gives_and_takes_what_an_array_does(random, dtype, shape):
    a = np.rint(random.random(shape) * (1 if dtype == "bool" else 200)).astype(dtype)  # whole numbers have exact sums
    bits = dtype == "bool"
    expected = orvz3.not_(a) if bits else orvz3.blur(a, (5, 3), border="replicate")
    for tiles in ((16, 8), (32, 64)):
        result = Store(np.zeros_like(a))
        tiled = orvz3.TiledImage(Store(a), (16, 24), write=False, border=orvz3.ORV_BORDER_REPLICATE)
        out = orvz3.TiledImage(result, tiles)
        assert (orvz3.not_(tiled, out=out) if bits else orvz3.blur(tiled, (5, 3), out=out)) is out
        assert (result.array == expected).all()
    inplace = orvz3.TiledImage(Store(a.copy()), (16, 8))
    orvz3.square(inplace, out=inplace)
    assert (inplace.store.array == orvz3.square(a)).all()


def test_chunks_of_zarr_are_tiles(random, tmp_path):
    zarr = pytest.importorskip("zarr")
    a = random.integers(0, 256, (100, 120), dtype=np.uint8)
    source = zarr.open(str(tmp_path / "source"), mode="w", shape=a.shape, chunks=(32, 48), dtype="u1")
    result = zarr.open(str(tmp_path / "result"), mode="w", shape=a.shape, chunks=(32, 48), dtype="u1")
    source[:] = a
    out = orvz3.TiledImage(result)
    assert (out.width, out.height) == (48, 32)
    orvz3.blur(orvz3.TiledImage(source), 7, out=out)
    assert (result[:] == orvz3.blur(a, 7)).all()


@pytest.mark.parametrize("fails", range(0, 40, 3))
def test_an_exception_of_a_store_reaches_the_caller_whenever_it_comes(random, fails):
    a = random.integers(0, 256, (48, 64), dtype=np.uint8)
    out = np.zeros_like(a)
    tiled, good = orvz3.TiledImage(Store(a, fails), (16, 16)), orvz3.TiledImage(Store(out), (16, 16))
    if fails >= 12:  # as many tiles as there are
        orvz3.not_(tiled, out=good)
        assert (out == ~a).all()
        return
    with pytest.raises(OSError, match="disc"):
        orvz3.not_(tiled, out=good)
    with pytest.raises(OSError, match="disc"):
        orvz3.blur(good, 3, out=orvz3.TiledImage(Store(a.copy(), fails), (16, 16)))
    orvz3.not_(orvz3.TiledImage(Store(a), (16, 16)), out=good)  # it is free again
    assert (out == ~a).all()


def test_stores_that_give_something_else_and_tiles_that_cannot_be(random):
    a = random.integers(0, 256, (48, 64), dtype=np.uint8)

    class Short(Store):
        def __getitem__(self, key):
            return self.array[key][:-1]

    with pytest.raises(ValueError, match="the store gave"):
        orvz3.not_(orvz3.TiledImage(Short(a), 16), out=a.copy())
    for tile in (12, 0, -8):
        with pytest.raises(ValueError, match="multiples of 8"):
            orvz3.TiledImage(a, tile)
    with pytest.raises(ValueError, match="read-only"):
        orvz3.not_(a, out=orvz3.TiledImage(a.copy(), 16, write=False))
    with pytest.raises(ValueError, match="out is wanted"):
        orvz3.not_(orvz3.TiledImage(a, 16))
    with pytest.raises(TypeError, match="brings its own"):
        orvz3.not_(orvz3.TiledImage(a, 16), out=a.copy(), roi=(0, 0, 4, 4))


def test_a_tiled_image_serves_one_call_at_a_time():
    entered, leave = threading.Event(), threading.Event()

    class Slow(Store):
        def __getitem__(self, key):
            entered.set()
            leave.wait(30)
            return self.array[key]

    a = np.zeros((16, 16), np.uint8)
    tiled = orvz3.TiledImage(Slow(a), 16)
    thread = threading.Thread(target=lambda: orvz3.not_(tiled, out=a.copy()))
    thread.start()
    entered.wait(30)
    with pytest.raises(RuntimeError, match="one operation"):
        orvz3.not_(tiled, out=a.copy())
    leave.set()
    thread.join()


def test_a_provider_under_the_names_of_c(random):
    a = random.integers(0, 256, (32, 48), dtype=np.uint8)
    tiles = np.ascontiguousarray(a.reshape(4, 8, 3, 16).swapaxes(1, 2))
    calls = []

    def provide(image, column, row, mode):
        calls.append(mode)
        if len(calls) == 14:
            raise KeyError("the fourteenth")
        if mode != orvz3.ORV_TILE_RELEASE:
            image.contents.tileInfo.contents.tileData = ctypes.cast(
                tiles[row, column].ctypes.data, ctypes.POINTER(ctypes.c_uint8))

    info = orvz3.orvCreateTileInfo(provide, None, 16, 8)
    header = orvz3.orvCreateImageHeader(1, 0, orvz3.ORV_DEPTH_8U, "GRAY", "G", 0, 0, 4, 48, 32, None, None, None, info)
    out = np.zeros_like(a)
    with pytest.raises(KeyError):
        orvz3.orvNot(header, out)
    assert len(calls) == 14  # and not once more
    orvz3.orvNot(header, out)
    assert (out == ~a).all() and len(calls) == 14 + 24
    orvz3.orvDeallocate(header, orvz3.ORV_IMAGE_HEADER | orvz3.ORV_IMAGE_TILE)
