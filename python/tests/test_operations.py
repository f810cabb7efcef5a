"""Every natural form runs and makes what the table promises; what numpy can say about the results, it says."""
import numpy as np
import pytest

import orvz3

GREY = np.random.default_rng(3).integers(0, 256, (24, 40), dtype=np.uint8)
COLOUR = np.random.default_rng(4).integers(0, 256, (24, 40, 3), dtype=np.uint8)
FLOAT = GREY.astype(np.float32) / 255
ALPHA = np.random.default_rng(5).integers(0, 256, (24, 40, 4), dtype=np.uint8)
IDENTITY = np.eye(4)[:2, :3]
QUAD = [[0, 0], [39, 0], [39, 23], [0, 23]]
GREY3 = np.ones((3, 3), int)
Y, X = np.mgrid[:24, :40].astype(np.float32)

# The arguments with which each form is tried; most go without.
SAMPLES = {
    "add": [(GREY, GREY), (GREY, 3), (FLOAT, 0.5), (3, GREY)], "subtract": [(GREY, GREY), (3, GREY), (FLOAT, 0.5)],
    "multiply": [(GREY, 2), (FLOAT, FLOAT)], "and_": [(GREY, 15), (GREY, GREY)], "or_": [(GREY, 15)], "xor": [(GREY > 9, GREY > 99)],
    "left_shift": [(GREY, 2)], "right_shift": [(GREY, 2)], "less": [(GREY, 99), (99, GREY), (FLOAT, 0.5)],
    "greater": [(GREY, GREY), (FLOAT, FLOAT)], "equal": [(GREY, GREY), (FLOAT, FLOAT, 0.1), (FLOAT, 0.5, 0.1), (GREY, 3)],
    "threshold": [(GREY, 100)], "multiply_scale": [(GREY, GREY), (GREY, 100)], "alpha_composite_c": [(COLOUR, COLOUR, 100, 200)],
    "alpha_composite": [(COLOUR, COLOUR, 0, GREY, GREY)], "fill": [(GREY, 7), (FLOAT, 0.5)], "fixed_filter": [(GREY, "sobel_x")],
    "convolve": [(GREY, GREY3), (FLOAT, GREY3 / 9.0), (GREY, [GREY3, GREY3], None, 0, "max")],
    "convolve_separable": [(GREY, [1, 2, 1], [1, 2, 1], None, 4), (FLOAT, [1, 2, 1], None)], "norm_cross_corr": [(GREY, GREY[:5, :5])],
    "mirror": [(GREY, 1)], "warp_affine": [(GREY, IDENTITY)], "warp_bilinear": [(GREY, [[0, 1, 0, 0], [0, 0, 1, 0]])],
    "warp_perspective": [(GREY, np.eye(3))], "shear": [(GREY, 0.0, 0.0)], "rotate": [(GREY, 360.0)], "remap": [(GREY, X, Y)],
    "gray_to_color": [(GREY,)], "color_twist": [(COLOUR, np.eye(4))], "reduce_bits": [(GREY, 4)],
    "convert": [(GREY, dict(dtype=np.int16))], "bitonal_to_gray": [(GREY > 100,)], "scale": [(GREY, dict(dtype=np.uint16))],
    "premultiply_alpha": [(GREY, 255)], "multiply_spectra": [(FLOAT, FLOAT)], "ccs_fft": [(FLOAT,)], "norm": [(GREY, GREY), (GREY,)],
    "contrast_stretch": [(GREY, [0, 128, 256], [9, 99])], "histo_equalize": [(GREY, np.ones(256, int))],
    "noise_uniform": [(GREY, 1, -5, 5), (FLOAT, 1, -0.5, 0.5)], "noise_gaussian": [(GREY, 1, 0, 5)], "user_process": [(GREY, lambda v: v)],
    **{name: [(GREY, 2)] for name in ("zoom", "resize")}, "decimate": [(GREY, (1, 2))], "decimate_blur": [(GREY, (1, 2))],
    **{name: [(GREY, 3)] for name in ("blur", "max_filter", "min_filter", "median_filter")}, "color_median_filter": [(COLOUR, 3)],
    **{name: [(GREY, QUAD)] for name in ("warp_bilinear_q", "warp_perspective_q")},
    **{f"{kind}moment": [(GREY, 1, 1)] for kind in ("spatial_", "central_", "normalized_spatial_", "normalized_central_")},
    "rgb_to_luv": [(COLOUR.astype(np.float32) / 255,)], "luv_to_rgb": [(COLOUR.astype(np.float32),)],
}


@pytest.mark.parametrize("name", orvz3.OPERATIONS)
def test_every_form_runs_and_is_what_it_says(name):
    form = orvz3.OPERATIONS[name]
    colours = any(form.operation.models)
    for sample in SAMPLES.get(name, [(COLOUR if colours else GREY,)]):
        named = sample[-1] if isinstance(sample[-1], dict) else {}
        sample = sample[:len(sample) - bool(named)]
        before = [np.copy(value) for value in sample]
        result = form(*sample, **named)
        assert all(np.array_equal(a, b) for a, b in zip(before, sample) if isinstance(b, np.ndarray))
        if form.operation.writes:
            out = np.zeros_like(result)
            assert form(*sample, **named, out=out) is out
            assert np.array_equal(out, result, equal_nan=result.dtype.kind == "f")


FILTERS = [("blur", dict(size=(5, 4), anchor=(0, 3))), ("max_filter", dict(size=(4, 7))), ("min_filter", dict(size=3, anchor=(2, 0))),
           ("median_filter", dict(size=(5, 3))), ("dilate", dict(iterations=2)), ("erode", {}), ("open", dict(iterations=2)),
           ("close", dict(iterations=3)), ("fixed_filter", dict(filter="gauss5")), ("fixed_filter", dict(filter="sobel_y")),
           ("convolve", dict(kernel=np.arange(12).reshape(3, 4), anchor=(3, 0), shift=7)),
           ("convolve", dict(kernel=[GREY3, np.ones((1, 7), int)], shift=4, combine="max")),
           ("convolve_separable", dict(row=[1, 2, 3, 4], column=[5, 4, 3], anchor=(0, 2), shift=7)),
           ("norm_cross_corr", dict(template=GREY[:4, :7]))]


@pytest.mark.parametrize("name, parameters", FILTERS)
def test_what_lies_beyond_the_reach_does_not_count(name, parameters):
    form = orvz3.OPERATIONS[name]
    left, top, right, bottom = form.reach(**parameters)
    picture = np.random.default_rng(6).integers(0, 256, (60, 64), dtype=np.uint8)
    whole = form(picture, **parameters)[20:40, 20:40]
    around = picture[20 - top:40 + bottom, 20 - left:40 + right]
    assert (form(around, **parameters)[top:top + 20, left:left + 20] == whole).all()
    if name in ("blur", "convolve_separable") or "anchor" in parameters and name == "convolve":
        for less in np.eye(4, dtype=int):  # and all within it does, on each side
            l, t, r, b = np.array((left, top, right, bottom)) - less
            if min(l, t, r, b) >= 0:
                part = form(picture[20 - t:40 + b, 20 - l:40 + r], **parameters)[t:t + 20, l:l + 20]
                assert (part != whole).any(), less


def test_what_forms_compute():
    wide = GREY.astype(int)
    assert (orvz3.subtract(200, GREY) == np.maximum(200 - wide, 0)).all()
    assert (orvz3.less(100, GREY) == (100 < GREY)).all() and (orvz3.greater(GREY, 7) == (GREY > 7)).all()
    assert orvz3.threshold(GREY, 100, dtype=bool).mean() == (GREY >= 100).mean()
    padded = np.pad(wide, 1, mode="edge")
    mean = sum(padded[y:y + 24, x:x + 40] for y in range(3) for x in range(3)) / 9
    assert np.abs(orvz3.blur(GREY, 3, border="replicate") - mean).max() <= 0.5001
    assert (orvz3.histogram(COLOUR)[1] == np.bincount(COLOUR[:, :, 1].ravel(), minlength=256)).all()
    assert (orvz3.histogram(GREY, [0, 100, 256], roi=np.s_[2:9, 3:8]) == np.histogram(GREY[2:9, 3:8], [0, 100, 256])[0]).all()
    assert orvz3.min_max(FLOAT) == (FLOAT.min(), FLOAT.max())
    assert orvz3.moments(GREY)[1, 0] == (np.arange(40) * wide).sum() == orvz3.spatial_moment(GREY, 1, 0)
    assert orvz3.norm(GREY, GREY[::-1], "l1") == np.abs(wide - wide[::-1]).sum()
    assert np.abs(orvz3.ccs_fft(orvz3.real_fft(GREY)) - GREY).max() < 1e-3
    assert (orvz3.mirror(GREY, 1) == GREY[:, ::-1]).all() and orvz3.zoom(GREY, (3, 2)).shape == (36, 60)
    wavelet = orvz3.Wavelet("daubechies", 2)
    assert (orvz3.wt_reconstruct(orvz3.wt_decompose(GREY, wavelet), wavelet, GREY.shape) == GREY).all()
    a, b = GREY.copy(), GREY[::-1].copy()
    orvz3.exchange(a, b)
    assert (b == GREY).all() and (a == GREY[::-1]).all()
    assert orvz3.blur.reach(size=(5, 4), anchor=(0, 1)) == (0, 1, 4, 2)


def test_bitmaps_go_and_come_back():
    for bits, picture in ((1, GREY > 128), (8, GREY), (24, COLOUR), (32, ALPHA)):
        assert (orvz3.from_dib(orvz3.to_dib(picture, bits, palette="fixed")) == picture).all()
    flat = np.repeat(GREY[:, :1] & 0xF0, 40, axis=1)
    coded = orvz3.to_dib(flat, 8, palette="fixed", compression=orvz3.BI_RLE8)
    assert len(coded) < 40 + 1024 + 960 and (orvz3.from_dib(coded) == flat).all()
    for cut in (0, 39, 60, len(coded) - 1):
        with pytest.raises((ValueError, orvz3.Error)):
            orvz3.from_dib(coded[:cut])


def test_numbers_of_maps():
    assert orvz3.affine_quad(GREY, IDENTITY).tolist() == QUAD
    assert np.allclose(orvz3.perspective_transform((0, 0, 40, 24), QUAD) / orvz3.perspective_transform(GREY, QUAD)[2, 2], np.eye(3))
    assert (orvz3.warp_affine(GREY, IDENTITY, interpolate="nn") == GREY).all()
