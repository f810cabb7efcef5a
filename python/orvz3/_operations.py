"""The records of the natural forms: what each takes, and the arguments of the C function that it makes of that."""
import operator

import numpy as np

from . import _declarations as d
from ._functions import FUNCTIONS
from ._kernels import kernels, tables, twist
from ._natural import centre, channels, choice, is_float, is_picture, operation, pair, ratio, window


def bits(first, given):
    return first.shape[:2], bool


def typed(default=None):
    return lambda first, given: (first.shape, given["dtype"] or default or first.dtype)


def of_shape(first, given):
    return (*(given["shape"] or first.shape[:2]), *first.shape[2:]), first.dtype


# ---- Pointwise

def arithmetic(name):
    """Two images, or an image and a number."""
    floating = name in ("Add", "Multiply")
    c = f"orv{name} orv{name}S" + (f" orv{name}SFP" if floating else "")

    def arguments(a, b, dst):
        if is_picture(a) and is_picture(b):
            return f"orv{name}", a, b, dst
        image, number = (a, b) if is_picture(a) else (b, a)
        if is_float(image) and floating:
            return f"orv{name}SFP", image, dst, float(number)
        return f"orv{name}S", image, dst, operator.index(number)
    return c, arguments


def subtraction(a, b, dst):
    if is_picture(a) and is_picture(b):
        return "orvSubtract", a, b, dst
    image, number, flip = (a, b, 0) if is_picture(a) else (b, a, 1)
    if is_float(image):
        return "orvSubtractSFP", image, dst, float(number), flip
    return "orvSubtractS", image, dst, operator.index(number), flip


def comparison(name):
    def arguments(a, b, dst):
        if is_picture(a) and is_picture(b):
            return f"orv{name}", a, b, dst
        # A number on the left: what holds of the picture is the opposite.
        opposite = {"Less": "Greater", "Greater": "Less"}.get(name, name)
        image, number, side = (a, b, name) if is_picture(a) else (b, a, opposite)
        if is_float(image):
            return f"orv{side}SFP", image, float(number), dst
        return f"orv{side}S", image, operator.index(number), dst
    return arguments


def equality(a, b, dst, eps=None):
    if eps is None:
        return comparison("Equal")(a, b, dst)
    if is_picture(a) and is_picture(b):
        return "orvEqualFPEps", a, b, dst, eps
    image, number = (a, b) if is_picture(a) else (b, a)
    return "orvEqualSFPEps", image, float(number), dst, eps


for python, c in {"add": "Add", "multiply": "Multiply", "and_": "And", "or_": "Or", "xor": "Xor"}.items():
    operation(python, *arithmetic(c), images=("a", "b"))
operation("subtract", "orvSubtract orvSubtractS orvSubtractSFP", subtraction, images=("a", "b"))
operation("left_shift", "orvLShiftS", lambda src, n, dst: (src, dst, n))
operation("right_shift", "orvRShiftS", lambda src, n, dst: (src, dst, n))
operation("not_", "orvNot", lambda src, dst: (src, dst))
operation("abs", "orvAbs", lambda src, dst: (src, dst))
operation("square", "orvSquare", lambda src, dst: (src, dst))
for python, c, opposite in (("less", "Less", "Greater"), ("greater", "Greater", "Less")):
    operation(python, f"orv{c} orv{c}S orv{c}SFP orv{opposite}S orv{opposite}SFP", comparison(c), images=("a", "b"),
              result=bits, inplace=False)
operation("equal", "orvEqual orvEqualS orvEqualSFP orvEqualFPEps orvEqualSFPEps", equality, images=("a", "b"),
          result=bits, inplace=False)
operation("threshold", "orvThreshold", lambda src, threshold, dst: (src, dst, threshold),
          keywords="roi mask coi alpha dtype", result=typed(), note="dtype may be bool.")
operation("multiply_scale", "orvMultiplyScale orvMultiplySScale",
          lambda a, b, dst: ("orvMultiplyScale", a, b, dst) if is_picture(b) else ("orvMultiplySScale", a, dst, b),
          images=("a", "b"))
operation("premultiply_alpha", "orvPreMultiplyAlpha", lambda dst, value=-1: (dst, value), copied=True)
operation("alpha_composite_c", "orvAlphaCompositeC",
          lambda a, b, dst, a_alpha=-1, b_alpha=-1, kind=0, premultiplied=False, divide=False:
          (a, b, dst, kind, a_alpha, b_alpha, int(premultiplied), int(divide)), images=("a", "b"))
operation("alpha_composite", "orvAlphaComposite",
          lambda a, b, dst, kind=0, a_alpha=None, b_alpha=None, dst_alpha=None, premultiplied=False, divide=False:
          (a, b, dst, kind, a_alpha, b_alpha, dst_alpha, int(premultiplied), int(divide)),
          images=("a", "b", "a_alpha", "b_alpha"))

# ---- Moving pixels

operation("copy", "orvCopy", lambda src, dst: (src, dst))
operation("fill", "orvSet orvSetFP", lambda dst, value:
          ("orvSetFP", dst, float(value)) if is_float(dst) else ("orvSet", dst, operator.index(value)), copied=True,
          note="A copy of src, filled; with out=src src itself.")

# ---- Filters

_FILTER = "roi mask coi alpha border"
for python, c in {"blur": "orvBlur", "max_filter": "orvMaxFilter", "min_filter": "orvMinFilter",
                  "median_filter": "orvMedianFilter", "color_median_filter": "orvColorMedianFilter"}.items():
    operation(python, c, lambda src, size, dst, anchor=None: (src, dst, *pair(size), *centre(anchor, size)),
              keywords=_FILTER, inplace=python == "blur", reach=window,
              note="size: (columns, rows) of the window; anchor: (x, y) in it.")
def morphology_reach(passes):
    return lambda iterations: (iterations * passes,) * 4


for python, c, passes in (("dilate", "orvDilate", 1), ("erode", "orvErode", 1),
                          ("open", "orvOpen", 2), ("close", "orvClose", 2)):
    operation(python, c, lambda src, dst, iterations=1: (src, dst, iterations), keywords=_FILTER,
              reach=morphology_reach(passes))


def fixed_reach(filter):
    wanted = choice("ORV_FIXED_", filter)
    name = next(key for key, value in vars(d).items() if key.startswith("ORV_FIXED_") and value == wanted)
    return (2 if name.endswith("5") else 1,) * 4


operation("fixed_filter", "orvFixedFilter", lambda src, filter, dst: (src, dst, choice("ORV_FIXED_", filter)),
          keywords=_FILTER, inplace=False, reach=fixed_reach,
          note="filter: such as \"sobel_x\", \"laplace3\", \"gauss5\".")


def convolution(src, kernel, dst, anchor=None, shift=0, combine="sum"):
    made = kernels(kernel, anchor, shift, is_float(src))
    name = "orvConvolve2DFP" if is_float(src) else "orvConvolve2D"
    return name, src, dst, made, len(made), choice("ORV_COMBINE_", combine)


def convolution_reach(kernel, anchor):
    reaches = [one.reach for one in kernels(kernel, anchor, 0, True)]
    return tuple(max(sides) for sides in zip(*reaches))


def separable(src, row, column, dst, anchor=None, shift=0):
    x, y = pair(anchor) if anchor is not None else (None, None)

    def kernel(values, shape, anchor, shift):
        return None if values is None else kernels(np.reshape(values, shape), anchor, shift, is_float(src))[0]

    rows = kernel(row, (1, -1), None if x is None else (x, 0), shift)
    columns = kernel(column, (-1, 1), None if y is None else (0, y), 0 if row is not None else shift)
    return "orvConvolveSep2DFP" if is_float(src) else "orvConvolveSep2D", src, dst, rows, columns


def separable_reach(row, column, anchor):
    columns, rows = np.size(row) if row is not None else 1, np.size(column) if column is not None else 1
    return window((columns, rows), anchor)


operation("convolve", "orvConvolve2D orvConvolve2DFP", convolution, keywords=_FILTER, reach=convolution_reach,
          note="kernel: a 2-D array, or a list of up to 10 that are combined; anchor: (x, y) in each, by default its "
               "middle.")
operation("convolve_separable", "orvConvolveSep2D orvConvolveSep2DFP", separable, keywords=_FILTER, inplace=False,
          reach=separable_reach, note="row, column: the values of the kernel along x and y, either may be None.")
operation("norm_cross_corr", "orvNormCrossCorr", lambda src, template, dst: (template, src, dst),
          images=("src", "template"), keywords=_FILTER + " dtype", inplace=False, result=typed(),
          reach=lambda template: window((template.shape[1], template.shape[0]), None))

# ---- Geometry


def scaled(first, given):
    (x, over_x), (y, over_y) = ratio(given["x"]), ratio(given["y"] if given["y"] is not None else given["x"])
    rows, columns = max(first.shape[0] * y // over_y, 1), max(first.shape[1] * x // over_x, 1)
    return (*(given["shape"] or (rows, columns)), *first.shape[2:]), first.dtype


def both(x, y):
    return *ratio(x), *ratio(x if y is None else y)


def interpolation(value, blend_edge=False):
    return choice("ORV_INTER_", value) | (d.ORV_BLEND_EDGE if blend_edge else 0)


_SCALES = "x, y: scales as whole numbers, Fractions or pairs (to, from); y is x by default."
operation("zoom", "orvZoom", lambda src, x, dst, y=None, interpolate="linear":
          (src, dst, *both(x, y), interpolation(interpolate)), keywords="roi mask coi alpha shape", result=scaled,
          inplace=False, note=_SCALES)
operation("resize", "orvResize", lambda src, x, dst, y=None, interpolate="linear":
          (src, dst, *both(x, y), interpolation(interpolate)), keywords="roi mask coi alpha shape", result=scaled,
          inplace=False, note=_SCALES)
operation("decimate", "orvDecimate", lambda src, x, dst, y=None, interpolate="super":
          (src, dst, *both(x, y), interpolation(interpolate)), keywords="roi coi alpha shape", result=scaled,
          inplace=False, note=_SCALES)
operation("decimate_blur", "orvDecimateBlur", lambda src, x, dst, y=None, interpolate="linear", mask_size=0:
          (src, dst, *both(x, y), interpolation(interpolate), *pair(mask_size)),
          keywords="roi coi alpha shape", result=scaled, inplace=False,
          note=_SCALES)
operation("mirror", "orvMirror", lambda src, axis, dst: (src, dst, axis), inplace=False)
_WARP = {"keywords": "roi coi alpha shape", "result": of_shape, "inplace": False}


def matrix(values, rows, columns):
    return np.ascontiguousarray(values, np.float64).reshape(rows, columns)


operation("warp_affine", "orvWarpAffine", lambda src, coeffs, dst, interpolate="linear", blend_edge=False:
          (src, dst, matrix(coeffs, 2, 3), interpolation(interpolate, blend_edge)), **_WARP)


def by_coefficients(rows, columns):
    return lambda src, coeffs, dst, warp_flag=0, interpolate="linear", blend_edge=False: (
        src, dst, matrix(coeffs, rows, columns), warp_flag, interpolation(interpolate, blend_edge))


def by_quadrangle(src, quad, dst, warp_flag=0, interpolate="linear", blend_edge=False):
    return src, dst, matrix(quad, 4, 2), warp_flag, interpolation(interpolate, blend_edge)


for kind, size in (("Bilinear", (2, 4)), ("Perspective", (3, 3))):
    operation(f"warp_{kind.lower()}", f"orvWarp{kind}", by_coefficients(*size), **_WARP)
    operation(f"warp_{kind.lower()}_q", f"orvWarp{kind}Q", by_quadrangle, **_WARP)
operation("shear", "orvShear",
          lambda src, x_shear, y_shear, dst, x_shift=0, y_shift=0, interpolate="linear", blend_edge=False: (
              src, dst, x_shear, y_shear, x_shift, y_shift, interpolation(interpolate, blend_edge)), **_WARP)
operation("rotate", "orvRotate", lambda src, angle, dst, x_shift=0, y_shift=0, interpolate="linear", blend_edge=False:
          (src, dst, angle, x_shift, y_shift, interpolation(interpolate, blend_edge)), **_WARP)
operation("remap", "orvRemap", lambda src, x_map, y_map, dst, interpolate="linear":
          (src, x_map, y_map, dst, interpolation(interpolate)), images=("src", "x_map", "y_map"), keywords="coi alpha",
          result=lambda first, given: ((*given["x_map"].shape[:2], *first.shape[2:]), first.dtype), inplace=False)

# ---- Colours and depths

for model in ("HSV", "HLS", "XYZ", "LUV", "YUV", "YCrCb", "YCC"):
    if model != "YCC":  # which is only read
        operation(f"rgb_to_{model.lower()}", f"orvRGB2{model}", lambda src, dst: (src, dst), keywords="", inplace=False,
                  models=("RGB", model[:3]))
    operation(f"{model.lower()}_to_rgb", f"orv{model}2RGB", lambda src, dst: (src, dst), keywords="", inplace=False,
              models=(model[:3], "RGB"))
operation("color_to_gray", "orvColorToGray", lambda src, dst: (src, dst), keywords="dtype", inplace=False,
          models=("RGB", "GRAY"), result=lambda first, given: (first.shape[:2], given["dtype"] or first.dtype))
operation("gray_to_color", "orvGrayToColor",
          lambda src, dst, weights=(0, 0, 0): (src, dst, *map(float, weights)), keywords="", inplace=False,
          models=("GRAY", "RGB"),
          result=lambda first, given: ((*first.shape[:2], 3), np.uint8 if first.dtype == bool else first.dtype))


def twisting(src, matrix, dst, offset=0, scaling=16):
    if is_float(src):
        return "orvColorTwistFP", src, dst, np.ascontiguousarray(matrix, np.float32).reshape(16)
    return "orvApplyColorTwist", src, dst, twist(matrix, scaling), offset


operation("color_twist", "orvApplyColorTwist orvColorTwistFP", twisting, keywords="roi mask alpha",
          note="matrix: 4 rows of 4; of integer pictures rounded to `scaling` bits after the point.")
operation("reduce_bits", "orvReduceBits", lambda src, levels, dst, dither="fs", noise=0:
          (src, dst, noise, choice("ORV_DITHER_", dither), levels), keywords="alpha dtype", result=typed(),
          inplace=False)
operation("convert", "orvConvert", lambda src, dst: (src, dst), keywords="dtype", result=typed(), inplace=False)
operation("bitonal_to_gray", "orvBitonalToGray", lambda src, dst, zero=0, one=255: (src, dst, zero, one),
          keywords="dtype", result=typed(np.uint8), inplace=False)
operation("scale", "orvScale", lambda src, dst: (src, dst), keywords="roi coi alpha dtype", result=typed(),
          inplace=False)
operation("scale_fp", "orvScaleFP", lambda src, dst, low=0.0, high=1.0: (src, dst, low, high),
          keywords="roi coi alpha dtype", result=typed(np.float32), inplace=False)

# ---- Transforms


def fourier(c):
    def arguments(src, dst, inverse=c == "orvCcsFft2D", integer=False, scale=True):
        flags = d.ORV_FFT_INVERSE if inverse else d.ORV_FFT_FORWARD
        return src, dst, flags | (d.ORV_FFT_USE_INT if integer else 0) | (0 if scale else d.ORV_FFT_NO_SCALE)
    return arguments


for python, c in (("real_fft", "orvRealFft2D"), ("ccs_fft", "orvCcsFft2D")):
    operation(python, c, fourier(c), keywords="roi coi alpha dtype", result=typed(np.float32))
operation("multiply_spectra", "orvMpyRCPack2D", lambda a, b, dst: (a, b, dst), images=("a", "b"),
          keywords="roi coi alpha")
operation("dct", "orvDCT2D",
          lambda src, dst, inverse=False: (src, dst, d.ORV_DCT_INVERSE if inverse else d.ORV_DCT_FORWARD),
          keywords="coi alpha dtype", result=typed(np.float32), inplace=False)

# ---- Measures and generators


def levels(picture):
    """The keys that part all values of a picture from one another."""
    return np.arange((2 if picture.dtype == bool else 1 << 8 * picture.dtype.itemsize) + 1)


operation("contrast_stretch", "orvContrastStretch", lambda src, keys, values, dst, factors=None:
          (src, dst, tables(channels(src), keys, values, factors)),
          note="keys, values, factors: of all channels, or a row for each; value p of interval i, keys[i] <= p < "
               "keys[i + 1], becomes values[i] + (p - keys[i]) * factors[i].")
operation("histo_equalize", "orvHistoEqualize", lambda src, counts, dst, keys=None:
          (src, dst, tables(channels(src), levels(src) if keys is None else keys, counts)),
          note="counts: those of `histogram`, of the same keys.")

operation("norm", "orvNorm", lambda a, b=None, kind="l2": (a, b, choice("ORV_NORM_", kind)), images=("a", "b"),
          result=False)
for kind in ("Spatial", "NormalizedSpatial", "Central", "NormalizedCentral"):
    words = "".join("_" + c.lower() if c.isupper() else c for c in kind)[1:]
    operation(f"{words}_moment", f"orv{kind}Moment", lambda src, m, n: (src, m, n), keywords="roi mask coi",
              result=False)


def noise(fill):
    def arguments(dst, seed, low, high):
        record = d.OrvNoiseParam()
        make, kind = (f"{fill}FP", float) if is_float(dst) else (fill, operator.index)
        FUNCTIONS[make](record, seed, kind(low), kind(high))
        return dst, record
    return arguments


operation("noise_uniform", "orvNoiseImage", noise("orvNoiseUniformInit"), copied=True)
operation("noise_gaussian", "orvNoiseImage", lambda dst, seed, mean, deviation: noise("orvNoiseGaussianInit")(
    dst, seed, mean, deviation), copied=True)
operation("user_process", "orvUserProcess orvUserProcessFP", lambda src, function, dst:
          ("orvUserProcessFP" if is_float(src) else "orvUserProcess", src, dst, function),
          note="function: of a value, called for each; slow, as all that Python does for single pixels.")
