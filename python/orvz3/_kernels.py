"""Records that the library makes and Python releases: convolution kernels, colour twists, wavelets."""
import ctypes
import weakref

import numpy as np

from . import _declarations as d
from ._functions import FUNCTIONS


class Owned:
    """A record of the library's, released when nothing refers to it any more."""

    def __init__(self, pointer, release):
        self._as_parameter_ = pointer
        self._finalizer = weakref.finalize(self, FUNCTIONS[release], pointer)


class Kernel(Owned):
    """A convolution kernel.

    values   2-D array, row by row: of whole numbers, or of floats for pictures of float32
    anchor   (x, y) of the value that meets the pixel itself; its middle by default
    shift    how far sums are shifted to the right
    """

    def __init__(self, values, anchor=None, shift=0, floating=None):
        values = np.asarray(values)
        if values.ndim != 2 or values.size == 0:
            raise ValueError(f"a kernel has rows and columns, not the shape {values.shape}")
        floating = values.dtype.kind == "f" if floating is None else floating
        if not floating and values.dtype.kind not in "iu":
            raise TypeError("a kernel for pictures of integers has whole numbers, and a shift")
        rows, columns = values.shape
        x, y = (columns // 2, rows // 2) if anchor is None else map(int, anchor)
        self.shape, self.anchor = values.shape, (x, y)
        # The first value meets the pixel furthest right and lowest.
        self.reach = (columns - 1 - x, rows - 1 - y, x, y)
        if floating:
            values = np.ascontiguousarray(values, np.float32).ravel()
            made = FUNCTIONS["orvCreateConvKernelFP"](columns, rows, x, y, values)
            super().__init__(made, "orvDeleteConvKernelFP")
        else:
            if np.any(values > 2**31 - 1) or np.any(values < -2**31):
                raise OverflowError("a value of the kernel does not fit 32 bits")
            values = np.ascontiguousarray(values, np.int32).ravel()
            made = FUNCTIONS["orvCreateConvKernel"](columns, rows, x, y, values, shift)
            super().__init__(made, "orvDeleteConvKernel")


def kernels(values, anchor, shift, floating):
    """A list of kernels, of one kernel, one array, or a list of either."""
    several = isinstance(values, (list, tuple)) and len(values) > 0 and (
        isinstance(values[0], Kernel) or np.ndim(values[0]) == 2)
    return [one if isinstance(one, Kernel) else Kernel(one, anchor, shift, floating)
            for one in (values if several else [values])]


def twist(matrix, scaling):
    """A colour twist of 4 x 4 numbers, rounded to `scaling` bits after the point."""
    numbers = np.rint(np.asarray(matrix, np.float64).reshape(16) * 2.0**scaling)
    if np.any(np.abs(numbers) >= 2**31):
        raise OverflowError("a number of the matrix does not fit 32 bits with this scaling")
    return Owned(FUNCTIONS["orvCreateColorTwist"](numbers.astype(np.int32), scaling), "orvDeleteColorTwist")


class Wavelet(Owned):
    """A wavelet kernel of the catalogue: type such as "daubechies", and its parameters."""

    def __init__(self, kind, par1=0, par2=0):
        from ._natural import choice
        self.record = d.OrvWtKernel()
        FUNCTIONS["orvWtInit"](choice("ORV_WT_", kind), par1, par2, self.record)
        super().__init__(ctypes.pointer(self.record), "orvWtFree")


def tables(count, keys, values, factors=None):
    """The tables of `count` channels, from arrays that serve all or have a row for each."""
    def rows(array, what):
        array = np.asarray(array)
        if array.dtype.kind not in "iu" or array.ndim not in (1, 2) or array.ndim == 2 and len(array) != count:
            raise ValueError(f"the {what} are whole numbers in a row, or {count} rows, one for each channel")
        if np.any(array > 2**31 - 1) or np.any(array < -2**31):
            raise OverflowError(f"one of the {what} does not fit 32 bits")
        return np.broadcast_to(array.astype(np.int32), (count, array.shape[-1]))

    def column(row, size):
        memory = (ctypes.c_int32 * size)()
        memory[:len(row)] = row.tolist()
        return memory

    keys, values = rows(keys, "keys"), rows(values, "values")
    factors = rows(factors, "factors") if factors is not None else None
    size = keys.shape[1]
    if any(array is not None and array.shape[1] not in (size - 1, size) for array in (values, factors)):
        raise ValueError(f"{size} keys make {size - 1} intervals, not {values.shape[1]}")
    made = []
    for channel in range(count):
        table = d.OrvLUT(num=size, interpolateType=int(factors is not None))
        table.key, table.value = column(keys[channel], size), column(values[channel], size)
        if factors is not None:
            table.factor = column(factors[channel], size)
        made.append(table)
    return made
