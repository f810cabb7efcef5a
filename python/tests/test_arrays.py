"""Arrays of any strides as images: never misread, never written beyond, alive as long as they are needed."""
import gc
import subprocess
import sys
import weakref

import numpy as np
import pytest

import orvz3

TYPES = ["uint8", "int8", "uint16", "int16", "int32", "float32"]


def filled(random, shape, dtype):
    return random.integers(0, 100, shape).astype(dtype)


def planes(array):
    return np.moveaxis(np.ascontiguousarray(np.moveaxis(array, -1, 0)), 0, -1)


LAYOUTS = {  # what makes a view of the same values, and whether an image can share it
    "contiguous": (lambda a: a, True),
    "planes": (lambda a: planes(a) if a.ndim == 3 else a, True),
    "cut": (lambda a: cut(a), True),
    "odd address": (lambda a: odd(a), True),
    "rows backwards": (lambda a: a[::-1].copy()[::-1], False),
    "columns backwards": (lambda a: a[:, ::-1].copy()[:, ::-1], False),
    "every second column": (lambda a: np.repeat(a, 2, axis=1)[:, ::2], False),
    "every second row": (lambda a: np.repeat(a, 2, axis=0)[::2], True),
    "transposed": (lambda a: np.ascontiguousarray(a.swapaxes(0, 1)).swapaxes(0, 1), False),
    "other byte order": (lambda a: a.astype(a.dtype.newbyteorder()), None),
}


def cut(array):
    frame = np.full((array.shape[0] + 4, array.shape[1] + 6) + array.shape[2:], 77, array.dtype)
    frame[1:-3, 2:-4] = array
    return frame[1:-3, 2:-4]


def odd(array):
    memory = np.zeros(array.nbytes + 1, np.uint8)
    view = memory[1:].view().data.cast("B")
    shifted = np.ndarray(array.shape, array.dtype, view)
    shifted[...] = array
    return shifted


@pytest.mark.parametrize("shape", [(7, 5), (7, 5, 3), (1, 9, 3), (9, 1, 3), (1, 1), (6, 5, 1)])
@pytest.mark.parametrize("name", LAYOUTS)
def test_inputs_of_any_layout_are_read_as_numpy_reads_them(random, name, shape):
    for dtype in TYPES:
        a = filled(random, shape, dtype)
        laid = LAYOUTS[name][0](a)
        assert (laid == a).all()
        assert (orvz3.add(laid, laid) == np.clip(a.astype(np.float64) * 2, 0, 255 if dtype == "uint8" else
                                                 127 if dtype == "int8" else 1e9)).all(), (dtype, laid.strides)
        assert (orvz3.blur(laid, 3, border="replicate") == orvz3.blur(a, 3, border="replicate")).all()


@pytest.mark.parametrize("shape", [(7, 5), (7, 5, 3)])
@pytest.mark.parametrize("name", LAYOUTS)
def test_outputs_are_written_in_place_or_refused(random, name, shape):
    a = filled(random, shape, "int16")
    out = LAYOUTS[name][0](np.zeros_like(a))
    if LAYOUTS[name][1]:
        assert orvz3.add(a, 1, out=out) is out
        assert (out == a + 1).all()
    else:
        with pytest.raises(orvz3.LayoutError, match="cannot be an image"):
            orvz3.add(a, 1, out=out)
        with pytest.raises(orvz3.LayoutError):
            orvz3.orvCopy(a, out)
        assert not out.any()


def test_what_lies_between_the_rows_of_a_view_is_never_written(random):
    for dtype in TYPES:
        for shape in ((7, 6), (7, 6, 3)):
            frame = filled(random, (12, 14) + shape[2:], dtype)
            before = frame.copy()
            view = frame[2:9, 4:10]
            expected = view.copy()
            orvz3.add(np.ascontiguousarray(view), view, out=view)
            orvz3.subtract(view, expected, out=view)
            orvz3.not_(view, out=view) if dtype != "float32" else None
            frame[2:9, 4:10] = before[2:9, 4:10]
            assert (frame == before).all()


def test_strides_that_overlap_or_stand_still():
    row = np.arange(12, dtype=np.uint8)
    still = np.broadcast_to(row, (5, 12))
    sliding = np.lib.stride_tricks.as_strided(row, (5, 8), (1, 1))
    same_planes = np.broadcast_to(row.reshape(3, 4, 1), (3, 4, 3))
    for array in (still, sliding, same_planes):
        assert (orvz3.add(array, 1) == array + 1).all()
        writable = np.lib.stride_tricks.as_strided(row, array.shape, array.strides, writeable=True)
        with pytest.raises(orvz3.LayoutError):
            orvz3.add(array, 1, out=writable)
    with pytest.raises(ValueError, match="read-only"):
        orvz3.orvCopy(still.copy(), still)
    assert (row == np.arange(12)).all()


def test_what_is_written_is_not_what_is_still_to_be_read(random):
    a = filled(random, (40, 40), "uint8")
    expected = orvz3.blur(a[:-2].copy(), 5)
    orvz3.blur(a[:-2], 5, out=a[2:])
    assert (a[2:] == expected).all()
    b = filled(random, (9, 9), "uint8")
    expected = b[::-1].copy()
    assert (orvz3.mirror(b, 0, out=b) == expected).all()


def test_bits_are_packed_and_unpacked(random):
    for width in (1, 7, 8, 9, 65):
        a, b = random.random((5, width)) < 0.5, random.random((5, width)) < 0.5
        assert (orvz3.xor(a, b) == a ^ b).all()
        out = np.zeros((5, 2 * width), bool)[:, ::2]  # any strides do for bits, which are unpacked
        assert (orvz3.or_(a, b, out=out) == (a | b)).all()
        image = orvz3.Image(out)
        orvz3.orvNot(a, image)
        assert (out == ~a).all()
    with pytest.raises(ValueError, match="one channel"):
        orvz3.Image(np.zeros((4, 4, 3), bool))


def test_regions_masks_and_channels(random):
    a = filled(random, (20, 30, 3), "uint8")
    whole = orvz3.not_(a)
    mask = random.random((20, 30)) < 0.5
    assert (orvz3.not_(a, mask=mask) == np.where(mask[:, :, None], whole, a)).all()
    expected = a.copy()
    expected[3:9, 5:17, 1] = np.where(mask[3:9, 5:17], whole[3:9, 5:17, 1], a[3:9, 5:17, 1])
    assert (orvz3.not_(a, roi=np.s_[3:9, 5:17], mask=mask, coi=2) == expected).all()
    assert (orvz3.not_(a, roi=(5, 3, 12, 6), mask=mask[3:9, 5:17], coi=2) == expected).all()
    for bad in (dict(roi=(5, 3, 60, 6)), dict(roi=np.s_[3:9:2, 5:7]), dict(mask=mask[:5]), dict(roi=(0, 0, 0, 1))):
        with pytest.raises(ValueError):
            orvz3.not_(a, **bad)
    with pytest.raises(TypeError):
        orvz3.not_(a, mask=mask.astype(np.uint8))


def test_an_image_keeps_its_array_alive_and_an_array_its_image():
    image = orvz3.Image(np.full((300, 300), 5, np.uint8))
    mask = orvz3.Image(np.ones((300, 300), bool))
    image.set_mask(mask)
    image.set_roi((0, 0, 300, 300))
    del mask
    gc.collect()
    churn = [np.zeros((300, 300), np.uint8) for _ in range(20)]
    out = np.zeros((300, 300), np.uint8)
    orvz3.orvCopy(image, out)
    assert (out == 5).all() and churn
    with pytest.raises(ValueError):
        image.array.resize((1, 1))
    taken = orvz3.jaehne(200, 100)
    row = taken[50]
    expected, owner = row.copy(), weakref.ref(taken)
    del taken
    gc.collect()
    churn = [orvz3.jaehne(200, 100) for _ in range(20)]
    assert (row == expected).all() and churn
    del row
    gc.collect()
    assert owner() is None


def test_freed_arrays_and_images_under_the_fault_handler():
    """Memory that is unmapped when it is freed, so that a dangling address is a fault and not a wrong value."""
    script = """
import faulthandler, gc, numpy as np, orvz3
faulthandler.enable()
big = (2048, 4096)  # beyond what the allocator keeps
for _ in range(4):
    image = orvz3.Image(np.ones(big, np.uint8)); view = image.array[5:]
    out = orvz3.Image(np.zeros(big, np.uint8)); kept = out.array
    gc.collect(); orvz3.orvNot(image, out); del image, out; gc.collect()
    assert (kept == 254).all() and (view == 1).all()
    taken = orvz3.jaehne(4096, 2048); part = taken[2000:, 4000:]; del taken; gc.collect(); part.sum()
    part[...] = 1; orvz3.add(part, part, out=part); del part; gc.collect()
    tiled = orvz3.TiledImage(np.ones(big, np.uint8), 256); orvz3.orvBlur(tiled, kept, 3, 3, 1, 1); del tiled, kept; gc.collect()
    kernel = orvz3.Wavelet("haar"); bands = orvz3.wt_decompose(np.ones((64, 64), np.uint8), kernel); del kernel; gc.collect()
print("whole")
"""
    run = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True)
    assert run.stdout == "whole\n", run.stderr
