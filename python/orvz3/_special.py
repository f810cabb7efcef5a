"""Natural forms that return something else than one picture."""
import ctypes

import numpy as np

from . import _declarations as d
from ._functions import FUNCTIONS
from ._images import Image, depth_of, take
from ._kernels import tables
from ._natural import Operation, choice, channels
from ._operations import levels


def _source(src, roi=None, coi=0, mask=None):
    if not isinstance(src, np.ndarray):
        return src
    settings = Operation("", "", lambda src: None, result=False)._settings(src, {"roi": roi, "coi": coi, "mask": mask})
    return Image(src, write=False, copy=True, **settings)


def exchange(a, b):
    """Swaps the pixels of two pictures, which are both written."""
    FUNCTIONS["orvExchange"](*(Image(one) if isinstance(one, np.ndarray) else one for one in (a, b)))


def histogram(src, keys=None, *, roi=None, mask=None, coi=0):
    """Counts of the values in the intervals between keys, a row for each channel if there are several: uint8, uint16,
    bool.

    keys   ascending; without them every value has an interval of its own. Values outside all intervals are not counted.
    """
    keys = levels(src) if keys is None else keys
    count = channels(src)
    made = tables(count, keys, np.zeros(np.shape(keys)[-1] - 1, np.int64))
    FUNCTIONS["orvComputeHisto"](_source(src, roi, coi, mask), made)
    counts = np.array([table.value[:table.num - 1] for table in made], np.int32).view(np.uint32)
    return counts[coi - 1 if coi and count > 1 else 0] if count == 1 or coi else counts


def min_max(src, *, roi=None, mask=None, coi=0):
    """The least and the greatest value of a picture of float32."""
    least, greatest = ctypes.c_float(), ctypes.c_float()
    FUNCTIONS["orvMinMaxFP"](_source(src, roi, coi, mask), least, greatest)
    return least.value, greatest.value


def moments(src, *, roi=None, mask=None, coi=0):
    """The moments of one channel: entry [m, n] is the sum of x**m * y**n * value, for m + n up to 3 and 0 elsewhere."""
    state = d.OrvMomentState()
    FUNCTIONS["orvMoments"](_source(src, roi, coi, mask), state)
    return np.array([[state[m][n].value if m + n <= 3 else 0.0 for n in range(4)] for m in range(4)])


def jaehne(width, height, dtype=np.uint8):
    """A picture of rings whose frequency grows with the distance from the centre: orvCreateImageJaehne."""
    return take(FUNCTIONS["orvCreateImageJaehne"](depth_of(dtype), width, height))


def wt_decompose(src, wavelet):
    """Four subbands of a picture of uint8: (low, x detail, y detail, diagonal detail), of float32 and half the size."""
    shape = tuple((size + 1) // 2 for size in src.shape[:2])
    bands = tuple(np.zeros(shape, np.float32) for _ in range(4))
    FUNCTIONS["orvWtDecompose"](wavelet, _source(src), *bands)
    return bands


def wt_reconstruct(bands, wavelet, shape):
    """The picture of uint8 and of `shape`, (rows, columns), of which wt_decompose made the four bands."""
    out = np.zeros(shape, np.uint8)
    FUNCTIONS["orvWtReconstruct"](wavelet, *(_source(band) for band in bands), out)
    return out


def user_process_pixel(src, function, out):
    """Calls function(source pixel, result pixel), arrays of all channels, for every pixel; it writes the second."""
    types = [np.dtype(picture.dtype) for picture in (src, out)]
    counts = [channels(picture) for picture in (src, out)]

    def pixel(address, which):
        memory = (ctypes.c_uint8 * (types[which].itemsize * counts[which])).from_address(address)
        return np.frombuffer(memory, types[which])

    def run(_, src_address, __, dst_address):
        result = pixel(dst_address, 1)
        values = np.array(result)  # what the function keeps must not point into the library
        function(np.array(pixel(src_address, 0)), values)
        result[...] = values

    FUNCTIONS["orvUserProcessPixel"](_source(src), out, run)
    return out


def _region(roi):
    if hasattr(roi, "shape"):
        roi = (0, 0, roi.shape[1], roi.shape[0])
    x, y, width, height = map(int, roi)
    return d.OrvROI(0, x, y, width, height)


def _map(kind, what, rows, columns):
    name = f"orvGet{kind}{what}ROI"
    made = {"Quad": (4, 2), "Bound": (2, 2), "Transform": (rows, columns)}[what]

    def function(roi, values):
        result = np.zeros(made)
        given = np.ascontiguousarray(values, np.float64).reshape((4, 2) if what == "Transform" else (rows, columns))
        FUNCTIONS[name](_region(roi), *((result, given) if what == "Transform" else (given, result)))
        return result

    function.__name__ = function.__qualname__ = f"{kind.lower()}_{what.lower()}"
    answer, given = {"Quad": ("corners", "coefficients"), "Bound": ("box", "coefficients"),
                     "Transform": ("coefficients", "quadrangle")}[what]
    function.__doc__ = (f"The {answer} for a region, (x, y, width, height) or a picture, and its {given}: {name}.\n\n"
                        f"{d.DOCS[name]}")
    return function


def rotate_shift(x_center, y_center, angle, x_shift=0.0, y_shift=0.0):
    """The shifts with which `rotate` turns about a point."""
    x, y = ctypes.c_double(x_shift), ctypes.c_double(y_shift)
    FUNCTIONS["orvGetRotateShift"](x_center, y_center, angle, x, y)
    return x.value, y.value


def set_border(image, mode, constant=0, sides=15):
    """What operations read beyond the edges of an Image or a TiledImage: orvSetBorderMode."""
    image.set_border(choice("ORV_BORDER_", mode), constant, sides)


# The functions behind these forms.
C_NAMES = {
    "exchange": "orvExchange", "histogram": "orvComputeHisto", "min_max": "orvMinMaxFP", "moments": "orvMoments",
    "jaehne": "orvCreateImageJaehne", "wt_decompose": "orvWtDecompose", "wt_reconstruct": "orvWtReconstruct",
    "user_process_pixel": "orvUserProcessPixel", "rotate_shift": "orvGetRotateShift", "set_border": "orvSetBorderMode",
}
FORMS = {name: globals()[name] for name in C_NAMES}
for _kind, _size in {"Affine": (2, 3), "Bilinear": (2, 4), "Perspective": (3, 3)}.items():
    for _what in ("Quad", "Bound", "Transform"):
        _form = _map(_kind, _what, *_size)
        FORMS[_form.__name__] = _form
        C_NAMES[_form.__name__] = f"orvGet{_kind}{_what}ROI"
