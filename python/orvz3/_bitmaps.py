"""Device-independent bitmaps: header, palette and pixels in one piece, as BMP files hold them behind 14 bytes."""
import ctypes

import numpy as np

from . import _declarations as d
from ._functions import FUNCTIONS
from ._images import Image, to_array
from ._natural import choice

_HEADER = ctypes.sizeof(d.BITMAPINFOHEADER)


def _promised(header):
    """How many bytes a bitmap without a code must have."""
    bits = header.biBitCount
    palette = 4 * (header.biClrUsed or (1 << bits if bits in (1, 4, 8) else 0))
    masks = 12 if header.biCompression == d.BI_BITFIELDS and bits in (16, 32) else 0
    if header.biCompression in (d.BI_RLE8, d.BI_RLE4):
        return _HEADER + palette + header.biSizeImage
    return _HEADER + palette + masks + (header.biWidth * bits + 31) // 32 * 4 * abs(header.biHeight)


def from_dib(data):
    """The picture of a bitmap, top row first: bool, or uint8 with one channel, R, G, B, or R, G, B and alpha.

    Raises ValueError for bytes that end before what their header promises, and Error for what the library cannot read.
    """
    data = bytes(data)
    if len(data) < _HEADER:
        raise ValueError("a bitmap has at least a header of 40 bytes")
    # A code without a size ends by its own marks only: what follows the bytes reads as such.
    memory = ctypes.create_string_buffer(data, len(data))
    header = d.BITMAPINFOHEADER.from_buffer(memory)
    if header.biWidth < 1 or header.biHeight == 0:
        raise ValueError(f"a bitmap of {header.biWidth} x {header.biHeight} pixels is no picture")
    coded = header.biCompression in (d.BI_RLE8, d.BI_RLE4)
    if coded and header.biSizeImage == 0:
        header.biSizeImage = max(len(data) - _promised(header), 0)
    if header.biClrUsed > 32768 or len(data) < _promised(header) or coded and header.biSizeImage == 0:
        raise ValueError(f"the bitmap has {len(data)} bytes, fewer than its header promises")
    copied = ctypes.c_int()
    image = FUNCTIONS["orvTranslateDIB"](header, copied)
    record = image.contents
    try:
        pixels = to_array(image)
        if record.origin == d.ORV_ORIGIN_BL:
            pixels = pixels[::-1]
        if pixels.ndim == 3:
            pixels = pixels[:, :, [2, 1, 0, 3][:pixels.shape[2]]]
    finally:
        FUNCTIONS["orvDeallocate"](image, d.ORV_IMAGE_ALL if copied.value else d.ORV_IMAGE_HEADER)
    return np.ascontiguousarray(pixels)


def to_dib(src, bits=24, *, palette="medcut", colors=0, dither="none", compression=d.BI_RGB):
    """A bitmap of a picture of bool, uint8 or uint16 with one channel, R, G, B, or R, G, B and alpha.

    bits          of a pixel: 1, 4, 8, 16, 24 or 32
    palette       "medcut", from the picture, or "fixed", where there are 1, 4 or 8 bits
    colors        the most colours of the palette, as many as there can be by default
    compression   BI_RGB, or BI_RLE8 and BI_RLE4 with 8 and 4 bits
    """
    height, width = src.shape[:2]
    most = 1 << bits if bits in (1, 4, 8) else 0
    entries = min(colors, most) or most
    row = (width * bits + 31) // 32 * 4
    if row * height > 2**31 - 1:
        raise ValueError("the bitmap would have 2 GiB or more")
    memory = bytearray(_HEADER + 4 * entries + row * height)
    header = d.BITMAPINFOHEADER.from_buffer(memory)
    header.biSize, header.biWidth, header.biHeight, header.biPlanes = _HEADER, width, height, 1
    header.biBitCount, header.biCompression, header.biClrUsed = bits, compression, entries
    model = {1: ("GRAY", "G"), 3: ("RGB", "RGB"), 4: ("RGBA", "RGBA")}.get(src.shape[2] if src.ndim == 3 else 1)
    if model is None:
        raise ValueError(f"a bitmap has 1, 3 or 4 channels, not {src.shape[2]}")
    image = Image(src, write=False, copy=True, model=model, alpha=src.ndim == 3 and src.shape[2] == 4)
    FUNCTIONS["orvConvertToDIB"](image, header, choice("ORV_DITHER_", dither), choice("ORV_PALETTE_", palette))
    used = header.biClrUsed or most
    # The pixels follow the palette that there is, which may have become shorter.
    size = header.biSizeImage if header.biCompression != d.BI_RGB else row * height
    del header
    return bytes(memory[:_HEADER + 4 * used + size])
