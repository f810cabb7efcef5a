"""The functions of the library under their own names.

Arguments are what the C function takes; besides, where it wants

    an image            numpy arrays, Image, TiledImage, or None for NULL
    a pointer           numpy arrays of the element type, C-contiguous; for an array of fixed size its shape is checked;
                        lists
    a callback          Python functions; an exception in one ends the call and is raised
    a text              str or bytes

An array that an image cannot share is refused with LayoutError, as is a read-only one unless its argument is a source.
"""
import ctypes
import inspect
import operator
import re

import numpy as np

from . import _declarations as d
from ._images import Image
from ._library import call, direct, guarded, library, redirect, Error
from ._tiles import TiledImage

_IMAGE = ctypes.POINTER(d.OrvImage)
# Arguments of these names are only read; a function without any writes its image.
_SOURCE = re.compile(r"(src\w*|img\d?|tplImage|[xy]Map|approxSrc|[xyd]Detail\w*Src|alphaImage[AB])$")
# They deal with the stored status or with reports themselves, or only look.
_DIRECT = {"orvGetErrStatus", "orvSetErrStatus", "orvGetErrMode", "orvSetErrMode", "orvErrorStr", "orvNulDevReport",
           "orvStdErrReport", "orvGetLibVersion", "orvGetCadenceCounter"}
_kept = {}  # callbacks that records may still point at
_FLOATS = (ctypes.c_float, ctypes.c_double)
_CALLBACKS = tuple(getattr(d, name) for name in d.CALLBACKS)


def images_of(values):
    """The images among arguments, each once."""
    return list({id(value): value for value in values if isinstance(value, (Image, TiledImage))}.values())


class Use:
    """Images while a call uses them: bits are packed before and unpacked after it, tiles are taken and given back."""

    def __init__(self, images):
        self.images = images

    def __enter__(self):
        self.begun = []
        try:
            for image in self.images:
                image.begin()
                self.begun.append(image)
        except BaseException as error:
            self.__exit__(error, error, None)
            raise

    def __exit__(self, kind, error, trace):
        for image in self.begun:
            image.end(kind is not None)


def _integer(kind, wide):
    bits = 8 * ctypes.sizeof(kind)
    signed = kind(-1).value < 0
    low, high = (-(1 << bits - 1), (1 << bits - 1) - 1) if signed else (0, (1 << bits) - 1)

    def convert(value):
        value = operator.index(value)
        if not low <= value <= (0xFFFFFFFF if wide else high):
            raise OverflowError(f"{value} does not fit {bits} bits")
        return value
    return convert


def _image(writes):
    def convert(value, made):
        if isinstance(value, np.ndarray):
            # One array in two places is one image, which the library may want to know.
            key = (value.ctypes.data, value.shape, value.strides, value.dtype)
            if key not in made:
                made[key] = Image(value, write=writes)
            return made[key]
        if value is None or isinstance(value, (Image, TiledImage, d.OrvImage, _IMAGE)):
            return value
        raise TypeError(f"an array, an Image, a TiledImage or an OrvImage is wanted, not {type(value).__name__}")
    return convert


def _text(value):
    """What is only read as characters: a text, bytes, or numbers of eight bits."""
    if isinstance(value, np.ndarray):
        if value.itemsize != 1:
            raise TypeError(f"an array of bytes is wanted, not of {value.dtype}")
        return value.tobytes()
    return value.encode() if isinstance(value, str) else value


def _element(kind):
    """The numpy type of the numbers that a pointer points at; None for records and pointers."""
    while hasattr(kind, "_length_"):
        kind = kind._type_
    return np.dtype(kind) if issubclass(kind, ctypes._SimpleCData) and kind is not ctypes.c_void_p else None


def _pointer(kind, fixed):
    target = kind._type_
    dtype = _element(target)

    def convert(value):
        if isinstance(value, (list, tuple)):
            if hasattr(target, "contents"):  # pointers to records
                values = (getattr(v, "_as_parameter_", v) for v in value)
                return (target * len(value))(
                    *(ctypes.pointer(v) if isinstance(v, ctypes.Structure) else v for v in values))
            if dtype is None:
                return (target * len(value))(*value)
            value = np.array(value, dtype)
        elif isinstance(value, (bytearray, memoryview)):
            value = np.frombuffer(value, np.uint8)
        if not isinstance(value, np.ndarray):
            return value
        wanted = np.dtype("S1") if target is ctypes.c_char else dtype
        if dtype is None or (value.dtype != wanted and not (value.itemsize == 1 == wanted.itemsize)):
            raise TypeError(f"an array of {dtype or target.__name__} is wanted, not of {value.dtype}")
        if not value.flags.c_contiguous:
            raise ValueError("the array is not contiguous")
        if fixed and value.shape != fixed:
            raise ValueError(f"an array of shape {fixed} is wanted, not {value.shape}")
        return _Memory(value, kind)
    return convert


class _Memory:
    """The address of an array, which stays alive as long as this."""

    def __init__(self, array, kind):
        self.array = array
        self._as_parameter_ = ctypes.cast(array.ctypes.data, kind)


def _address(value):
    if isinstance(value, np.ndarray):
        if not value.flags.c_contiguous:
            raise ValueError("the array is not contiguous")
        return _Memory(value, ctypes.c_void_p)
    return ctypes.cast(value, ctypes.c_void_p) if isinstance(value, (bytes, ctypes._Pointer)) else value


def _callback(kind, name):
    failed = None if kind._restype_ is None else kind._restype_(0).value
    # Only this one has a way to stop the walk.
    stop = (lambda: library.orvSetErrStatus(d.ORV_STATUS_ERROR)) if kind is d.OrvUserFuncPixel else None

    def convert(value):
        if value is None or isinstance(value, kind):
            return value or kind()
        run = guarded(value, failed, stop)
        made = kind(_provider(run) if kind is d.OrvTileCallBack else run)
        return _kept.setdefault((kind, value), made) if "TileInfo" in name else made
    return convert


def _provider(function):
    """A tile provider. A tile that does not come must not leave the address of another behind."""
    def run(image, column, row, mode):
        if mode != d.ORV_TILE_RELEASE:
            image.contents.tileInfo.contents.tileData = None
        return function(image, column, row, mode) or 0
    return run


def _converter(function, parameter, kind, fixed):
    if kind is _IMAGE:
        return _image(not _SOURCE.match(parameter))
    if kind in _CALLBACKS:
        return _callback(kind, function)
    if kind is ctypes.c_char_p:
        return _text
    if kind is ctypes.c_void_p:
        return _address
    if hasattr(kind, "contents"):
        return _pointer(kind, fixed)
    # Depths are numbers without a sign, whatever the parameter is.
    return float if kind in _FLOATS else _integer(kind, parameter == "depth")


def _argument(value):
    if isinstance(value, (Image, TiledImage)):
        return ctypes.byref(value.record)
    return value._as_parameter_ if isinstance(value, _Memory) else value


def _make(name):
    result, parameters, header = d.FUNCTIONS[name]
    converters = [_converter(name, *parameter) for parameter in parameters]
    names = [parameter for parameter, _, _ in parameters]
    signature = inspect.Signature([inspect.Parameter(n, inspect.Parameter.POSITIONAL_OR_KEYWORD) for n in names])
    pictures = {i for i, (_, kind, _) in enumerate(parameters) if kind is _IMAGE}
    order = sorted(range(len(names)), key=lambda i: bool(_SOURCE.match(names[i])))
    makes_record = hasattr(result, "contents") and issubclass(result._type_, ctypes.Structure)

    def function(*values, **named):
        if named or len(values) != len(names):
            values = signature.bind(*values, **named).args
        kept, made = list(values), {}
        # What is written first, so that an array which is read too is an image that may be written.
        for i in order:
            try:
                kept[i] = converters[i](values[i], made) if i in pictures else converters[i](values[i])
            except (TypeError, ValueError, OverflowError) as error:
                raise type(error)(f"{name}: {names[i]}: {error}") from None
        images = images_of(kept)
        arguments = [_argument(value) for value in kept]
        if name in _DIRECT:
            answer = direct(name, arguments)
        elif images:
            with Use(images):
                answer = call(name, arguments)
        else:
            answer = call(name, arguments, check=name != "orvCheckImageHeader")
        if isinstance(answer, bytes):
            return answer.decode()
        if makes_record and not answer:
            raise Error(d.ORV_STATUS_NO_MEMORY, name, "no memory")
        return answer

    function.__name__ = function.__qualname__ = name
    function.__module__ = "orvz3"
    function.__doc__ = f"{name}({', '.join(names)}), orv/{header}.h\n\n{d.DOCS[name]}"
    function.__signature__ = signature
    return function


def _check_header(image):
    """orvCheckImageHeader, which returns the fault and raises nothing."""
    record = image if not isinstance(image, np.ndarray) else Image(image, write=False)
    return call("orvCheckImageHeader", (_argument(record),), check=False)


def _redirect_error(handler):
    return redirect(None if handler in (None, FUNCTIONS["orvGuiBoxReport"]) else handler)


def _gui_box_report(status, func, context, file, line):
    mode = direct("orvGetErrMode", ())
    library.orvSetErrMode(d.ORV_ErrModeSilent)
    try:
        return library.orvGuiBoxReport(status, _text(func), _text(context), _text(file), line)
    finally:
        library.orvSetErrMode(mode)


def _replace(name, function, note):
    made = FUNCTIONS[name]
    function.__name__ = function.__qualname__ = name
    function.__module__ = "orvz3"
    function.__doc__ = f"{made.__doc__}\n\nIn Python: {note}"
    function.__signature__ = made.__signature__
    FUNCTIONS[name] = function


FUNCTIONS = {name: _make(name) for name in d.FUNCTIONS}
_replace("orvCheckImageHeader", _check_header, "the fault is returned and not raised.")
_replace("orvRedirectError", _redirect_error, redirect.__doc__)
_replace("orvGuiBoxReport", _gui_box_report, "asks nothing, whatever the mode, and returns the status.")
