"""Natural forms of the operations: a small record each, and one road from arrays to a call of the library and back."""
import inspect
from fractions import Fraction

import numpy as np

from . import _declarations as d
from ._functions import FUNCTIONS
from ._images import Image, LayoutError, depth_of, layout, pair, region
from ._tiles import TiledImage

OPERATIONS = {}
_PICTURES = (np.ndarray, Image, TiledImage)
# The keyword arguments that operations share: their defaults and what they mean.
KEYWORDS = {
    "out": (None, "where the result goes, which is returned: an array, an Image or a TiledImage. A new array "
                  "otherwise, whose pixels that the operation does not write are those of the first input if roi, mask, coi "
                  "or alpha leave some out of a picture of the same shape and type, and 0 otherwise"),
    "roi": (None, "the region that is processed: (x, y, width, height), or a pair of slices (rows, columns)"),
    "mask": (None, "array of bool, of the shape of the picture or of the region: only pixels where it is set are "
                   "processed"),
    "coi": (0, "channel of interest, counted from 1: only that one is processed"),
    "alpha": (False, "whether the last channel is alpha, which is left alone"),
    "border": (None, "what is read beyond the edges: \"replicate\", \"reflect\", \"wrap\", \"constant\" or "
                     "(\"constant\", value); a constant of 0 by default"),
    "order": ("RGB", "the order of red, green and blue in arrays: \"RGB\" or \"BGR\""),
    "dtype": (None, "element type of the result"),
    "shape": (None, "(rows, columns) of the result; by default those of the first input"),
}


# ---- what records are made of

def choice(prefix, value):
    """A constant, by the rest of its name in any case, such as "linear", or as it is."""
    if not isinstance(value, str):
        return int(value)
    found = getattr(d, prefix + value.upper().replace("-", "_"), None)
    if found is None:
        known = sorted(name[len(prefix):].lower() for name in vars(d) if name.startswith(prefix))
        raise ValueError(f"{value!r} is none of {', '.join(known)}")
    return found


def ratio(value):
    """Numerator and denominator of a scale: a whole number, a Fraction, or a pair."""
    if isinstance(value, float):
        raise TypeError("a scale is a whole number, a Fraction or a pair, so that it is exact")
    if np.ndim(value) == 1:
        return pair(value)
    value = Fraction(value)
    return value.numerator, value.denominator


def centre(anchor, size):
    """The anchor of a window: its middle, if none is given."""
    columns, rows = pair(size)
    return pair(anchor) if anchor is not None else (columns // 2, rows // 2)


def window(size, anchor):
    """The reach of a window: the pixels left of, above, right of and below its anchor."""
    (columns, rows), (x, y) = pair(size), centre(anchor, size)
    return x, y, columns - 1 - x, rows - 1 - y


def is_picture(value):
    return isinstance(value, (Image, TiledImage)) or isinstance(value, (np.ndarray, list)) and np.ndim(value) > 1


def channels(picture):
    return picture.shape[2] if len(picture.shape) == 3 else 1


def is_float(picture):
    return picture.dtype == np.float32


class Operation:
    """The record of a natural form.

    name       in Python
    c          the functions behind it
    arguments  a function that gets the form's own parameters, and `dst` for the result, and returns the arguments of
               the C function; where there are several functions its name comes first
    images     which parameters are input images
    keywords   which of KEYWORDS it takes, beside `out`
    result     (shape, type) of the result: a function of the first input and of all arguments; by default those of the
               first input; False if nothing but a number is returned
    inplace    whether the C function takes one image as source and result
    copied     whether the result begins as a copy of the first input, which the C function does not get
    models     the colour models of input and result
    reach      (left, top, right, bottom), the pixels around a pixel that count for it: a function of some of the
               parameters
    note       a line for the docstring
    """

    def __init__(self, name, c, arguments, *, images=("src",), keywords="roi mask coi alpha", result=None, inplace=True,
                 copied=False, models=(None, None), reach=None, note=""):
        self.name, self.c, self.arguments, self.images = name, tuple(c.split()), arguments, images
        self.result, self.inplace, self.copied, self.models, self.note = result, inplace, copied, models, note
        self.writes = result is not False
        names = keywords.split() + (["order"] if "RGB" in models else [])
        self.keywords = (["out"] if self.writes else []) + names
        parameters = inspect.signature(arguments).parameters
        self.wanted = tuple(parameters)
        own = [p for p in parameters.values() if p.name != "dst" and p.name not in self.keywords]
        # What the C function does not get, but the form copies.
        if copied:
            own = [inspect.Parameter(images[0], inspect.Parameter.POSITIONAL_OR_KEYWORD)] + own
        self.signature = inspect.Signature(own + [
            inspect.Parameter(key, inspect.Parameter.KEYWORD_ONLY, default=KEYWORDS[key][0]) for key in self.keywords])
        self._reach = reach

    def reach(self, **named):
        """(left, top, right, bottom): how many pixels around a pixel count for it with these parameters."""
        if self._reach is None:
            return 0, 0, 0, 0
        given = {p.name: p.default for p in self.signature.parameters.values()} | named
        values = {key: given[key] for key in inspect.signature(self._reach).parameters}
        if absent := [key for key, value in values.items() if value is inspect.Parameter.empty]:
            raise TypeError(f"{self.name}: the reach depends on {', '.join(absent)}")
        return tuple(map(int, self._reach(**values)))

    def run(self, given):
        """The road of a call: from arrays to images, to the library, and back."""
        sources = {name: _picture(self, name, given[name]) for name in self.images if is_picture(given[name])}
        if not sources:
            raise TypeError(f"{self.name}: {self.images[0]} is no picture: an array, an Image or a TiledImage")
        first = next(iter(sources.values()))
        target = self._target(first, given) if self.writes else None
        images, dst = self._images(sources, first, target, given)
        values = {**given, **images, "dst": dst}
        arguments = self.arguments(**{name: values[name] for name in self.wanted})
        name, arguments = (arguments[0], arguments[1:]) if len(self.c) > 1 else (self.c[0], arguments)
        answer = FUNCTIONS[name](*arguments)
        if not self.writes:
            return answer
        return given["out"] if given["out"] is not None else target

    def _target(self, first, given):
        """What is written: `out`, or a new array."""
        out = given["out"]
        if out is not None and not isinstance(out, _PICTURES):
            raise TypeError(f"{self.name}: out is no picture but a {type(out).__name__}")
        if out is not None and given.get("dtype") is None and "dtype" in given:
            given["dtype"] = out.dtype
        if out is not None and given.get("shape") is None and "shape" in given:
            given["shape"] = tuple(out.shape[:2])
        shape, dtype = self.result(first, given) if self.result else (first.shape, first.dtype)
        shape, dtype = tuple(map(int, shape)), np.dtype(dtype).newbyteorder("=")
        depth_of(dtype)
        if out is None:
            if isinstance(first, TiledImage):
                raise ValueError(f"{self.name}: out is wanted, for the result of a tiled image")
            return self._new(first, shape, dtype, given)
        if (out.shape[:2], channels(out)) != (shape[:2], shape[2] if len(shape) == 3 else 1):
            raise ValueError(f"{self.name}: out has shape {tuple(out.shape)} instead of {shape}")
        if self.copied:
            if isinstance(out, np.ndarray) and isinstance(first, np.ndarray):
                np.copyto(out, first)
            elif out is not first:
                FUNCTIONS["orvCopy"](first, out)
        return out

    def _new(self, first, shape, dtype, given):
        array = getattr(first, "array", first)
        # What is left out shows what was there.
        partial = (self.copied or given.get("coi") or given.get("alpha") or given.get("roi") is not None or
                   given.get("mask") is not None or isinstance(first, Image) and first.partial)
        planes = len(shape) == 3 and array.ndim == 3 and _planes(array)
        new = np.moveaxis(np.zeros((shape[2], *shape[:2]), dtype), 0, -1) if planes else np.zeros(shape, dtype)
        if partial and (array.shape, array.dtype) == (shape, dtype):
            new[...] = array
        return new

    def _images(self, sources, first, target, given):
        """Images of all inputs, by name, and of the result."""
        settings = self._settings(first, given)
        bare = [key for key in settings if any(not isinstance(p, np.ndarray) for p in (*sources.values(), target)
                                               if p is not None)]
        if bare:
            raise TypeError(f"{self.name}: {bare[0]} goes with arrays; an Image or a TiledImage brings its own")
        mask = settings.pop("mask", None)
        border = settings.pop("border", None)

        def wrap(picture, name, model, write):
            if not isinstance(picture, np.ndarray):
                return picture
            alike = picture.shape[:2] == tuple(first.shape[:2])
            own = {"roi": settings["roi"]} if alike and "roi" in settings else {}
            if channels(picture) > 1:
                own |= {key: settings[key] for key in ("coi", "alpha") if key in settings}
            if model:
                own["model"] = (model, given.get("order", "RGB")) if model == "RGB" else (model, _sequence(model))
            try:
                return Image(picture, write=write, copy=not write, **own)
            except (LayoutError, TypeError, ValueError) as error:
                raise type(error)(f"{self.name}: {name}: {error}") from None

        dst = wrap(target, "out", self.models[1], True) if target is not None else None
        images = {}
        for name, picture in sources.items():
            images[name] = self._same(picture, target, dst)
            if images[name] is None:
                arrays = isinstance(picture, np.ndarray) and isinstance(target, np.ndarray)
                if arrays and np.may_share_memory(picture, target):
                    picture = np.array(picture, order="C")  # what is written must not change what is still to be read
                if isinstance(picture, np.ndarray) and dst is not None and not any(self.models):
                    picture = _in_order_of(dst, picture)
                images[name] = wrap(picture, name, self.models[0], False)
            if border is not None:
                images[name].set_border(*border)
        if mask is not None:
            masked = dst if dst is not None and dst.shape[:2] == first.shape[:2] else images[next(iter(images))]
            masked.set_mask(mask)
        return images, dst

    def _same(self, picture, target, dst):
        """The result's image, for an input that is the very same picture and may be."""
        if target is None or not self.inplace:
            if target is not None and picture is target and not isinstance(picture, np.ndarray):
                raise ValueError(f"{self.name}: out must not be an input")
            return None
        if picture is target:
            return dst
        if isinstance(picture, np.ndarray) and isinstance(target, np.ndarray):
            same = (picture.ctypes.data, picture.shape, picture.strides, picture.dtype)
            if same == (target.ctypes.data, target.shape, target.strides, target.dtype):
                return dst
        return None

    def _settings(self, first, given):
        """The keyword arguments that make headers, checked."""
        settings = {}
        roi = (0, 0, first.shape[1], first.shape[0])
        if given.get("roi") is not None:
            roi = settings["roi"] = region(given["roi"], first.shape)
        if given.get("coi"):
            settings["coi"] = int(given["coi"])
        if given.get("alpha"):
            settings["alpha"] = True
        if given.get("mask") is not None:
            mask = np.asarray(given["mask"])
            if mask.dtype != bool:
                raise TypeError(f"{self.name}: the mask is an array of bool, not of {mask.dtype}")
            if mask.shape == tuple(first.shape[:2]):
                mask = mask[roi[1]:roi[1] + roi[3], roi[0]:roi[0] + roi[2]]
            elif mask.shape != (roi[3], roi[2]):
                raise ValueError(f"{self.name}: the mask has shape {mask.shape}, not the picture's nor the region's")
            settings["mask"] = mask
        if given.get("border") is not None:
            border = given["border"] if isinstance(given["border"], tuple) else (given["border"],)
            settings["border"] = (choice("ORV_BORDER_", border[0]), *map(int, border[1:]))
        return settings


def _planes(array):
    found = layout(array)
    return not isinstance(found, str) and found[0] == d.ORV_DATA_ORDER_PLANE


def _in_order_of(image, array):
    """The array in an image's data order, which most operations want to be that of all images."""
    planes = image.record.dataOrder == d.ORV_DATA_ORDER_PLANE
    if 1 in (channels(array), channels(image)) or 0 in array.shape or planes == _planes(array):
        return array
    return np.moveaxis(np.array(np.moveaxis(array, -1, 0), order="C"), 0, -1) if planes else np.array(array, order="C")


def _picture(operation, name, value):
    return np.asarray(value) if isinstance(value, list) else value


def _sequence(model):
    return "G" if model == "GRAY" else model


def natural(operation):
    """The function of a record."""
    def function(*values, **named):
        try:
            bound = operation.signature.bind(*values, **named)
        except TypeError as error:
            raise TypeError(f"{operation.name}: {error}") from None
        bound.apply_defaults()
        return operation.run(dict(bound.arguments))

    function.__name__ = function.__qualname__ = operation.name
    function.__module__ = "orvz3"
    function.__signature__ = operation.signature
    function.operation = operation
    function.reach = operation.reach
    words = "\n".join(f"{key:8} {KEYWORDS[key][1]}" for key in operation.keywords)
    function.__doc__ = "\n\n".join(part for part in (
        f"{operation.name}{operation.signature}", operation.note, words,
        *(f"---- {name}\n\n{d.DOCS[name]}" for name in operation.c)) if part)
    return function


def operation(name, c, arguments, **record):
    """Adds a record."""
    OPERATIONS[name] = natural(Operation(name, c, arguments, **record))
