"""Image operations on numpy arrays by orvz3, a shared library in C++ with a plain C interface."""
from . import _declarations, _functions
from ._images import Image, LayoutError, take, to_array
from ._library import Error, Report, status_name
from ._tiles import TiledImage

globals().update(_functions.FUNCTIONS)
globals().update({name: value for name, value in vars(_declarations).items()
                  if name.startswith(("ORV_", "Orv", "BI_", "BITMAP"))})
from . import _operations, _special
from ._bitmaps import from_dib, to_dib
from ._kernels import Kernel, Wavelet
from ._natural import OPERATIONS

globals().update(OPERATIONS)
globals().update(_special.FORMS)
