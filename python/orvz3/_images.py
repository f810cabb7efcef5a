"""Arrays as images: what of an array the library can take as it lies, what is copied, what is refused.

An array of shape (rows, columns) is an image of one channel, one of shape (rows, columns, channels) an image of
several. The strides say how they lie: channels side by side, or each a plane of its own, as in numpy.moveaxis(planes,
0, -1). The element type is the depth. The library packs bits; an array of bool is packed when a call begins and, if
written, unpacked when it ends.
"""
import ctypes

import numpy as np

from . import _declarations as d
from ._library import call

DEPTHS = {
    "uint8": d.ORV_DEPTH_8U, "int8": d.ORV_DEPTH_8S, "uint16": d.ORV_DEPTH_16U, "int16": d.ORV_DEPTH_16S,
    "int32": d.ORV_DEPTH_32S, "float32": d.ORV_DEPTH_32F, "bool": d.ORV_DEPTH_1U,
}
DTYPES = {depth: np.dtype(name) for name, depth in DEPTHS.items()}
MODELS = {1: ("GRAY", "G"), 3: ("RGB", "RGB"), 4: ("RGBA", "RGBA")}
_INT32_MAX = 2**31 - 1


class LayoutError(ValueError):
    """An array whose strides no image can have, where it cannot be copied: it is to be written, or shared."""


def depth_of(dtype):
    """The depth of an element type."""
    name = np.dtype(dtype).newbyteorder("=").name
    if name not in DEPTHS:
        raise TypeError(f"no image has elements of {name}: only {', '.join(DEPTHS)}")
    return DEPTHS[name]


def layout(array):
    """(data order, row step) of an array as an image, or a text that says why it can be none as it lies."""
    item = array.itemsize
    height, width = array.shape[:2]
    channels = array.shape[2] if array.ndim == 3 else 1
    if not array.dtype.isnative:
        return "its elements are in the other byte order"
    # The step of an axis of length 1 means nothing.
    row = array.strides[0] if height > 1 else None
    column = array.strides[1] if width > 1 else None
    channel = array.strides[2] if channels > 1 else None
    if any(step is not None and step < 0 for step in (row, column, channel)):
        return f"its strides {array.strides} run backwards"
    if channel in (None, item) and column in (None, channels * item):
        line, order = width * channels * item, d.ORV_DATA_ORDER_PIXEL
    elif column in (None, item):
        line, order = width * item, d.ORV_DATA_ORDER_PLANE
        if row is None and channel % height == 0:
            row = channel // height
        elif channel != height * (row or 0):
            return f"with strides {array.strides} its planes do not follow one another"
    else:
        return f"with strides {array.strides} its pixels do not stand side by side"
    if row is not None and row < line:
        return f"with strides {array.strides} its rows overlap"
    step = line if row is None else row
    return (order, step) if step <= _INT32_MAX else "its rows are 2 GiB apart"


def _text4(text):
    return text.encode("ascii")[:4]


def pair(value, what="a pair"):
    """Two integers, from two or from one that stands for both."""
    first, second = (value, value) if np.ndim(value) == 0 else value
    return int(first), int(second)


def region(value, shape):
    """(x, y, width, height) of a region given like that, or as a pair of slices (rows, columns)."""
    if len(value) == 2 and all(isinstance(part, slice) for part in value):
        (top, bottom, row), (left, right, column) = (part.indices(size) for part, size in zip(value, shape))
        if row != 1 or column != 1:
            raise ValueError("a region has no steps")
        value = (left, top, right - left, bottom - top)
    x, y, width, height = (int(number) for number in value)
    if x < 0 or y < 0 or width < 1 or height < 1 or x + width > shape[1] or y + height > shape[0]:
        raise ValueError(f"region (x {x}, y {y}, width {width}, height {height}) is not inside {shape[1]} x {shape[0]} "
                         "pixels")
    return x, y, width, height


class Image:
    """An image over an array's own memory, for the functions under their C names.

    array    of bool or of an integer type up to 32 bits (not uint32) or float32, of 2 or 3 dimensions. The image keeps
             it alive; it shares the array's memory unless the array is bool, or `copy` allows a copy and one is needed.
    write    whether the image will be written, which read-only arrays refuse
    copy     whether an array whose strides no image can have is copied; otherwise it raises LayoutError
    roi      (x, y, width, height) or a pair of slices; coi is the channel of interest, from 1
    mask     array of bool, aligned with the start of the region
    alpha    whether the last channel is alpha
    model    (colour model, sequence of the channels), such as ("RGB", "BGR")
    origin   ORV_ORIGIN_...
    border   mode ORV_BORDER_..., or (mode, constant), of all sides
    """

    def __init__(self, array, *, write=True, copy=False, roi=None, coi=0, mask=None, alpha=False, model=None,
                 origin=d.ORV_ORIGIN_TL, border=None):
        if not isinstance(array, np.ndarray):
            raise TypeError(f"an image is made of a numpy array, not of {type(array).__name__}")
        if isinstance(array, np.ma.MaskedArray):
            raise TypeError("the mask of a masked array would be lost: pass its data, and its mask as mask=")
        self.array = array
        depth = depth_of(array.dtype)
        if array.ndim not in (2, 3) or 0 in array.shape:
            raise ValueError(f"an array of shape {array.shape} is no image: (rows, columns) or (rows, columns, "
                             "channels), not empty")
        if max(array.shape) > _INT32_MAX:
            raise ValueError(f"an array of shape {array.shape} is too large for an image")
        if write and not array.flags.writeable:
            raise ValueError("the array is read-only and cannot be written")
        height, width = array.shape[:2]
        channels = array.shape[2] if array.ndim == 3 else 1
        self._write = write
        if depth == d.ORV_DEPTH_1U:
            if channels != 1:
                raise ValueError("an image of bits has one channel")
            self.data = np.zeros((height, (width + 7) // 8), np.uint8)
            order, step = d.ORV_DATA_ORDER_PIXEL, self.data.shape[1]
        else:
            self.data = array
            found = layout(array)
            if isinstance(found, str):
                if not copy or write:
                    raise LayoutError(f"the array cannot be an image: {found}; pass a contiguous copy")
                self.data = np.array(array, dtype=array.dtype.newbyteorder("="), order="C", copy=True)
                found = layout(self.data)
            order, step = found
        model = model or MODELS.get(channels, ("", ""))
        extent = step * (height * (channels if order == d.ORV_DATA_ORDER_PLANE else 1) - 1) + (
            self.data.shape[1] if depth == d.ORV_DEPTH_1U else
            width * self.data.itemsize * (1 if order == d.ORV_DATA_ORDER_PLANE else channels))
        # The size ends with the last row's last value: what lies between the rows of a view is never taken for the
        # image's.
        self.record = d.OrvImage(
            headerSize=ctypes.sizeof(d.OrvImage), nChannels=channels, alphaChannel=channels if alpha else 0,
            depth=depth, colorModel=_text4(model[0]), channelSeq=_text4(model[1]), dataOrder=order, origin=origin,
            align=4, width=width, height=height, imageSize=min(extent, _INT32_MAX), widthStep=step)
        self.record.imageData = ctypes.cast(self.data.ctypes.data, ctypes.POINTER(ctypes.c_uint8))
        self.mask = self._roi = None
        if roi is not None or coi:
            self.set_roi(roi if roi is not None else (0, 0, width, height), coi)
        if mask is not None:
            self.set_mask(mask)
        if border is not None:
            self.set_border(*border if isinstance(border, tuple) else (border,))

    @property
    def shape(self):
        return self.array.shape

    @property
    def dtype(self):
        return self.array.dtype

    @property
    def partial(self):
        """Whether a region, a mask or alpha leaves something out."""
        return self._roi is not None or self.mask is not None or self.record.alphaChannel != 0

    def set_roi(self, roi, coi=0):
        """Sets the region and the channel of interest; None takes both off."""
        if roi is None:
            self._roi = None
            self.record.roi = None
            return
        self._roi = d.OrvROI(coi, *region(roi, self.array.shape))
        self.record.roi = ctypes.pointer(self._roi)

    def set_mask(self, mask):
        """Sets the mask, an array of bool whose first pixel meets that of the region, or an Image of bits; or None."""
        if mask is None:
            self.mask = None
            self.record.maskROI = None
            return
        if not isinstance(mask, Image):
            mask = Image(np.asarray(mask, dtype=bool), write=False)
        self.mask = mask
        self.record.maskROI = ctypes.pointer(mask.record)

    def set_border(self, mode, constant=0, sides=15):
        """Sets what operations read beyond the edges: orvSetBorderMode."""
        call("orvSetBorderMode", (self.record, mode, sides, constant))

    def begin(self):
        """Called before the library reads the image: packs bits, which may have changed since the last call."""
        if self.mask is not None:
            self.mask.begin()
        if self.record.depth == d.ORV_DEPTH_1U:
            self.data[...] = np.packbits(self.array.reshape(self.array.shape[:2]), axis=1)

    def end(self, failed=False):
        """Called when the library has written the image."""
        if self._write and self.record.depth == d.ORV_DEPTH_1U:
            flat = np.unpackbits(self.data, axis=1, count=self.array.shape[1]).view(bool)
            self.array[...] = flat.reshape(self.array.shape)

    def __repr__(self):
        order = "planes" if self.record.dataOrder == d.ORV_DATA_ORDER_PLANE else "pixels"
        return f"<orvz3.Image {self.array.shape} {self.array.dtype} in {order}, row step {self.record.widthStep}>"


def _view(record):
    """An array over the memory of an image record without tiles, and its bits still packed."""
    height, width, channels, step = record.height, record.width, record.nChannels, record.widthStep
    address = ctypes.cast(record.imageData, ctypes.c_void_p).value
    if not address:
        raise ValueError("the image has no pixels")
    if record.depth == d.ORV_DEPTH_1U:
        dtype, shape, strides, rows = np.dtype(np.uint8), (height, (width + 7) // 8), (step, 1), height
    elif record.depth not in DTYPES:
        raise ValueError("the image has no known depth")
    else:
        dtype = DTYPES[record.depth]
        item = dtype.itemsize
        planes = record.dataOrder == d.ORV_DATA_ORDER_PLANE
        rows = height * (channels if planes else 1)
        shape = (height, width, channels)
        strides = (step, item, height * step) if planes else (step, channels * item, item)
        if channels == 1:
            shape, strides = shape[:2], strides[:2]
    memory = (ctypes.c_uint8 * (step * rows)).from_address(address)
    return memory, lambda: np.ndarray(shape, dtype, memory, strides=strides)


def to_array(image):
    """A copy of the pixels of an image of the library's, as an array; of bits as an array of bool."""
    record = image if isinstance(image, d.OrvImage) else image.contents
    pixels = _view(record)[1]()
    if record.depth == d.ORV_DEPTH_1U:
        return np.unpackbits(pixels, axis=1, count=record.width).view(bool)
    return np.array(pixels)


def take(image, flags=d.ORV_IMAGE_ALL):
    """The pixels of an image that the library made, as an array that owns it: the image is released after its last
    view.

    The pointer is not to be used afterwards. Bits are copied into an array of bool.
    """
    import weakref
    record = image.contents
    if record.depth == d.ORV_DEPTH_1U:
        array = to_array(image)
        call("orvDeallocate", (image, flags))
        return array
    memory, make = _view(record)
    weakref.finalize(memory, call, "orvDeallocate", (image, flags)).atexit = False
    return make()
