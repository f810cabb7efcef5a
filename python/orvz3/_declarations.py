"""The C interface of orvz3, made from the headers by tools/python-declarations. Not to be edited."""
import sys
from ctypes import (POINTER, Structure, c_char, c_char_p, c_double, c_float, c_int, c_int8, c_int16,
                    c_int32, c_uint8, c_uint16, c_uint32, c_uint64, c_void_p)

if sys.platform == "win32":
    from ctypes import WINFUNCTYPE as CALLBACK
else:
    from ctypes import CFUNCTYPE as CALLBACK

ORV_STATUS_OK = 0
ORV_STATUS_BACKTRACE = -1  # a nested call failed and has reported; never stored
ORV_STATUS_ERROR = -2
ORV_STATUS_INTERNAL = -3
ORV_STATUS_NO_MEMORY = -4
ORV_STATUS_BAD_ARG = -5
ORV_STATUS_UNSUPPORTED = -6
ORV_STATUS_NO_CONVERGENCE = -7
ORV_STATUS_AUTOTRACE = -8  # for the application's own trace calls; never stored, never raised by the library
ORV_STATUS_NULL_IMAGE = -9
ORV_STATUS_BAD_IMAGE_SIZE = -10
ORV_STATUS_BAD_ROI_OFFSET = -11
ORV_STATUS_NO_IMAGE_DATA = -12
ORV_STATUS_BAD_WIDTH_STEP = -13
ORV_STATUS_BAD_COLOR_MODEL = -14
ORV_STATUS_BAD_CHANNELS = -15
ORV_STATUS_BAD_1U_CHANNELS = -16
ORV_STATUS_BAD_DEPTH = -17
ORV_STATUS_BAD_ALPHA_CHANNEL = -18
ORV_STATUS_BAD_DATA_ORDER = -19
ORV_STATUS_BAD_ORIGIN = -20
ORV_STATUS_BAD_ALIGN = -21
ORV_STATUS_NULL_CALLBACK = -22
ORV_STATUS_BAD_TILE_SIZE = -23
ORV_STATUS_BAD_COI = -24
ORV_STATUS_BAD_ROI_SIZE = -25
ORV_STATUS_TILED_MASK = -26
ORV_STATUS_NULL_POINTER = -27
ORV_STATUS_BAD_VECTOR_LENGTH = -28
ORV_STATUS_BAD_FILTER = -29
ORV_STATUS_BAD_TRANSFORM_KERNEL = -30
ORV_STATUS_BAD_FILTER_OFFSET = -31
ORV_ErrModeLeaf = 0  # an error is final: the handler offers or forces the end of the application
ORV_ErrorModeParent = 1  # the caller handles errors: report and go on
ORV_ErrModeSilent = 2  # no report at all
ORV_DEPTH_SIGN = 0x80000000
ORV_DEPTH_MASK = 0x7fffffff
ORV_DEPTH_1U = 1  # one bit, eight pixels a byte, most significant bit first; one channel only
ORV_DEPTH_8U = 8
ORV_DEPTH_8S = 0x80000008
ORV_DEPTH_16U = 16
ORV_DEPTH_16S = 0x80000010
ORV_DEPTH_32S = 0x80000020
ORV_DEPTH_32F = 32  # 32-bit floating point; there is no unsigned 32-bit depth
ORV_DATA_ORDER_PIXEL = 0  # the channels of a pixel stand side by side
ORV_DATA_ORDER_PLANE = 1  # each channel is a plane of its own
ORV_ORIGIN_TL = 0  # the first stored row is the top of the picture
ORV_ORIGIN_BL = 1  # the first stored row is the bottom of the picture
ORV_BORDER_CONSTANT = 0  # the side's border constant
ORV_BORDER_REPLICATE = 1  # the nearest edge pixel
ORV_BORDER_REFLECT = 2  # the mirrored image, edge pixel doubled: -1 reads 0, -2 reads 1, n reads n - 1
ORV_BORDER_WRAP = 3  # the image repeated
ORV_TILE_READ = 1  # make the tile's pixels readable and set tileInfo->tileData to them; NULL means failure
ORV_TILE_WRITE = 2  # the same for writing; the library may read and write the pixels
ORV_TILE_RELEASE = 4  # the library has finished with this tile
ORV_IMAGE_HEADER = 1  # the header itself
ORV_IMAGE_DATA = 2  # the pixel data
ORV_IMAGE_ROI = 4  # the roi record
ORV_IMAGE_TILE = 8  # the tileInfo record
ORV_IMAGE_MASK = 16  # the mask image and what it owns
ORV_IMAGE_ALL = 15  # header, data, ROI and tile record, not the mask: the ROI and tile records must be the library's own (orvCreateROI, orvCreateTileInfo) or NULL
ORV_SIDE_TOP = 1
ORV_SIDE_BOTTOM = 2
ORV_SIDE_LEFT = 4
ORV_SIDE_RIGHT = 8
ORV_COMBINE_SUM = 0  # their sum
ORV_COMBINE_SUMSQ = 1  # the sum of their squares
ORV_COMBINE_SUMSQROOT = 2  # the square root of that
ORV_COMBINE_MAX = 3  # the largest
ORV_COMBINE_MIN = 4  # the smallest
ORV_FIXED_PREWITT_X = 0  # 1 0 -1, three times
ORV_FIXED_PREWITT_Y = 1  # -1 -1 -1, 0 0 0, 1 1 1
ORV_FIXED_SOBEL_X = 2  # 1 0 -1, 2 0 -2, 1 0 -1
ORV_FIXED_SOBEL_Y = 3  # -1 -2 -1, 0 0 0, 1 2 1
ORV_FIXED_LAPLACE3 = 4  # all -1, in the middle 8
ORV_FIXED_LAPLACE5 = 5  # -1 -3 -4 -3 -1, -3 0 6 0 -3, -4 6 20 6 -4, and back
ORV_FIXED_GAUSS3 = 6  # 1 2 1, 2 4 2, 1 2 1, by 16
ORV_FIXED_GAUSS5 = 7  # 2 7 12 7 2, 7 31 52 31 7, 12 52 127 52 12, and back, by 571
ORV_FIXED_HIGHPASS3 = 8  # ORV_FIXED_LAPLACE3 by another name
ORV_FIXED_HIGHPASS5 = 9  # 5 by 5, all -1, in the middle 24
ORV_FIXED_SHARPEN3 = 10  # all -1, in the middle 16, by 8
ORV_INTER_NN = 0  # nearest neighbour
ORV_INTER_LINEAR = 1  # bilinear, of two by two pixels
ORV_INTER_CUBIC = 2  # bicubic: Lagrange polynomials through four by four pixels
ORV_INTER_SUPER = 3  # the mean of an area, where an image is made smaller; not for warps and maps
ORV_BLEND_EDGE = 16  # added to one of the above: blends the edge of a quadrangle into what was there before
ORV_DITHER_NONE = 1  # none: depth conversion alone
ORV_DITHER_FS = 2  # error diffusion by Floyd and Steinberg
ORV_DITHER_JJH = 4  # error diffusion by Jarvis, Judice and Ninke
ORV_DITHER_STUCKEY = 8  # error diffusion by Stucki
ORV_DITHER_BAYER = 16  # ordered dither
BI_RGB = 0  # 16 bits: 5 each of R, G and B; 32 bits: a byte each of B, G, R and alpha
BI_RLE8 = 1  # 8 bits, run-length coded
BI_RLE4 = 2  # 4 bits, run-length coded
BI_BITFIELDS = 3  # 16 or 32 bits by the masks of R, G and B
ORV_PALETTE_KEEP = 0  # uses the one that is there
ORV_PALETTE_FIXED = 1  # writes a fixed one: black and white; 16 greys or the 16 colours of old; 256 greys or 8 x 8 x 4 levels of R, G and B. One of another size than 2, 16 or 256 stays.
ORV_PALETTE_MEDCUT = 2  # makes one from the image by median cut, and sets biClrUsed
ORV_FFT_FORWARD = 1  # exponent sign minus: exp(-2 pi i k n / N)
ORV_FFT_INVERSE = 2  # exponent sign plus, and division by the number of elements
ORV_FFT_NO_SCALE = 4  # no division; FORWARD never divides
ORV_FFT_USE_INT = 16  # 32-bit fixed-point arithmetic with 6 bits of fraction, where neither image is 32F
ORV_FFT_USE_FLOAT = 32  # floating-point arithmetic, which is also what there is without either flag
ORV_FFT_RELEASE = 128  # only release what the transforms keep for the calling thread
ORV_DCT_FORWARD = 1
ORV_DCT_INVERSE = 2
ORV_DCT_RELEASE = 8  # release the calling thread's tables and do nothing else
ORV_WT_HAAR = 0
ORV_WT_DAUBECHIES = 1  # par1: order, 1 to 10; 2 * par1 taps
ORV_WT_SYMLET = 2  # par1: order - 3, 1 to 7; 2 * par1 + 6 taps
ORV_WT_COIFLET = 3  # par1: order, 1 to 5; 6 * par1 taps
ORV_WT_VAIDYANATHAN = 4  # 24 taps
ORV_WT_BSPLINE = 5  # par1, par2: 1 with 1, 3, 5; 2 with 2, 4, 6, 8; 3 with 1, 3, 5, 7, 9
ORV_WT_BSPLINE_DUAL = 6  # the same pairs with decomposition and reconstruction exchanged
ORV_WT_LINEAR_SPLINE = 7  # the taps of ORV_WT_BSPLINE with 2, 2
ORV_WT_QUADRATIC_SPLINE = 8  # the taps of ORV_WT_BSPLINE with 3, 3
ORV_WT_USER = 9
ORV_WT_SYMMETRIC = 0
ORV_WT_ANTISYMMETRIC = 1
ORV_WT_ASYMMETRIC = 2
ORV_WT_ORTHONORMAL = 0
ORV_WT_BIORTHOGONAL = 1
ORV_WT_UNKNOWN = 3
ORV_NORM_C = 1  # the greatest |a|, or |a - b|
ORV_NORM_L1 = 2  # the sum of |a|, or |a - b|
ORV_NORM_L2 = 4  # the square root of the sum of a * a, or (a - b) * (a - b)
ORV_NORM_RELATIVE_C = 9  # two images only
ORV_NORM_RELATIVE_L1 = 10  # two images only
ORV_NORM_RELATIVE_L2 = 12  # two images only
ORV_NOISE_UNIFORM = 0
ORV_NOISE_GAUSSIAN = 1


class OrvROI(Structure):
    """Region of interest, in pixels from the first stored row and column.

    coi: channel of interest: 0 for all channels, otherwise the channel's number, from 1
    xOffset: left column
    yOffset: top row
    """


class OrvTileInfo(Structure):
    """Tiling descriptor: one tile size an image. A tiled image serves one operation at a time.

    callBack: must not be NULL
    tileTag: the application's own word; never read by the library
    tileData: NULL at a request, then set by the provider: the pixels of the tile asked for
    width: in pixels, a multiple of 8, at least 8
    height: in pixels, a multiple of 8, at least 8
    """


class OrvImage(Structure):
    """An image. Row r of plane p begins at imageData + (p * height + r) * widthStep with planes, row r at imageData +
    r * widthStep with channels side by side; there channel c of pixel x stands at (x * nChannels + c) values from the
    row start. Pixel x of a 1U row is the bit of value 128 >> (x & 7) in byte x >> 3.

    headerSize: size of this record in bytes; set by orvCreateImageHeader
    headerId: version word, 0
    nChannels: 1 or more, alpha included
    alphaChannel: 0 for none, otherwise nChannels: an alpha channel is always the last one
    depth: ORV_DEPTH_...
    colorModel: such as "GRAY" or "RGB", not necessarily terminated
    channelSeq: order of the channels, such as "BGR" or "G"
    dataOrder: ORV_DATA_ORDER_...
    origin: ORV_ORIGIN_...
    align: alignment of every row in bytes: 4, 8, 16 or 32
    width: in pixels
    height: in pixels
    roi: NULL for the whole image with all channels
    maskROI: NULL, or an untiled image of depth 1U; a set bit means "process"
    imageTag: the application's own word; never read by the library
    tileInfo: NULL for an image with a data buffer
    imageSize: size of the pixel data in bytes, row padding included
    imageData: first byte of the pixel data, at any address; NULL for a tiled image
    widthStep: distance between row starts in bytes
    borderMode: ORV_BORDER_... for the top, bottom, left and right side
    borderConst: border constant for the same sides
    imageDataBlock: block from which imageData was carved; NULL if the library did not allocate the data
    """


class OrvLibVersion(Structure):
    """The version record. Programs that look whether the library is recent enough compare the three numbers.

    major: 2
    minor: 5
    build: 9
    name: "orvz3.dll", on every system
    version: "2.5 Release SP1"
    internalVersion: "[2.5.9.89, 03/05/2002]"
    buildDate: "Mar 5 2002"
    linkage: "DLL"
    """


class OrvConvKernel(Structure):
    """A kernel of `nCols` by `nRows` values, row by row, with an integer shift for the sums that it makes, or of floats.
    Kernels are made by the create functions, never change, and may be shared by calls and threads until they are
    deleted.
    """


class OrvConvKernelFP(Structure):
    """A kernel of `nCols` by `nRows` values, row by row, with an integer shift for the sums that it makes, or of floats.
    Kernels are made by the create functions, never change, and may be shared by calls and threads until they are
    deleted.
    """


class OrvColorTwist(Structure):
    """M[r][c] = data[4 r + c] / 2^scalingValue, with scalingValue from 0 to 31. To be changed by orvSetColorTwist only."""


class BITMAPINFOHEADER(Structure):
    """The header of a bitmap. On Windows it is the one of <windows.h>, which may be included before or after this header;
    elsewhere it is declared here. Palette entries (bytes B, G, R, 0) or three 32-bit masks follow it, then the pixels,
    unless these are in a buffer of their own: rows from the bottom up (from the top down where biHeight is negative),
    each rounded up to 4 bytes.

    biSize: of this record: 40
    biPlanes: 1
    biBitCount: 1, 4, 8, 16, 24 or 32
    biCompression: BI_...
    biSizeImage: bytes of the pixels; may be 0 where they are not compressed
    biClrUsed: entries of the palette; 0 for as many as 1, 4 or 8 bits can tell apart
    """


class OrvWtFilter(Structure):
    """A filter.

    taps: `length` coefficients
    length: at least 2
    offset: the tap that meets the sample at twice the output's index: 0 to length - 1
    symmetry: ORV_WT_...; for the application's use, never read by the library
    """


class OrvWtKernel(Structure):
    """A filter bank. The record is the application's; the taps of a catalogue kernel are constants of the library, those of
    a user kernel are released by orvWtFree.

    wtType: ORV_WT_...
    par1: parameters of the type; 0 where it has none
    orthogonality: ORV_WT_...; for the application's use, never read by the library
    filtDecLow: decomposition; its taps add up to 1 in the catalogue
    filtRecLow: reconstruction; its taps add up to 2 in the catalogue
    """


class OrvLUT(Structure):
    """A table over the values of one channel: `num` - 1 intervals between `num` keys. A value p is in interval j where
    key[j] <= p < key[j + 1]; of an interval, `value` is the number of its pixels, or where its mapping starts. The table
    is the application's. An array `lut` of pointers to tables has one for each channel: that of channel c, counted from
    0, is lut[c]; under a channel of interest the others are not read.

    num: of keys, at least 2
    key: num keys, ascending; equal ones are allowed. The last may be one above the greatest value
    value: of each interval; entry num - 1 is not touched
    factor: slope of each interval; NULL counts as zeros
    interpolateType: 0: all of an interval maps to value[j]; otherwise p to value[j] + (p - key[j]) * factor[j]
    """


class OrvMoment(Structure):
    """The moments of an image. M(m, n), the sum of x^m * y^n * p over the region's pixels, is [m][n].value for m + n <= 3;
    x and y are the pixel's column and stored row in the image.

    scale: of [1][0] one by the width, of [0][1] one by the height of the region; of others not used
    """


class OrvNoiseParam(Structure):
    """What orvNoiseImage adds. Of the pairs of bounds the first is for integer depths, the second for 32F.

    noise: ORV_NOISE_...
    seed: the same seed makes the same noise
    lowInt: the low bound, or the mean
    highInt: the high bound, or the standard deviation
    """


OrvErrorCallBack = CALLBACK(c_int32, c_int32, c_char_p, c_char_p, c_char_p, c_int32)
OrvTileCallBack = CALLBACK(c_int32, POINTER(OrvImage), c_int32, c_int32, c_int32)
OrvUserFunc = CALLBACK(c_int32, c_int32)
OrvUserFuncFP = CALLBACK(c_float, c_float)
OrvUserFuncPixel = CALLBACK(None, POINTER(OrvImage), c_void_p, POINTER(OrvImage), c_void_p)

OrvROI._fields_ = [
    ("coi", c_int32),
    ("xOffset", c_int32),
    ("yOffset", c_int32),
    ("width", c_int32),
    ("height", c_int32),
]
OrvTileInfo._fields_ = [
    ("callBack", OrvTileCallBack),
    ("tileTag", c_void_p),
    ("tileData", POINTER(c_uint8)),
    ("width", c_int32),
    ("height", c_int32),
]
OrvImage._fields_ = [
    ("headerSize", c_int32),
    ("headerId", c_int32),
    ("nChannels", c_int32),
    ("alphaChannel", c_int32),
    ("depth", c_uint32),
    ("colorModel", (c_char * 4)),
    ("channelSeq", (c_char * 4)),
    ("dataOrder", c_int32),
    ("origin", c_int32),
    ("align", c_int32),
    ("width", c_int32),
    ("height", c_int32),
    ("roi", POINTER(OrvROI)),
    ("maskROI", POINTER(OrvImage)),
    ("imageTag", c_void_p),
    ("tileInfo", POINTER(OrvTileInfo)),
    ("imageSize", c_int32),
    ("imageData", POINTER(c_uint8)),
    ("widthStep", c_int32),
    ("borderMode", (c_int32 * 4)),
    ("borderConst", (c_int32 * 4)),
    ("imageDataBlock", POINTER(c_uint8)),
]
OrvLibVersion._fields_ = [
    ("major", c_int32),
    ("minor", c_int32),
    ("build", c_int32),
    ("name", c_char_p),
    ("version", c_char_p),
    ("internalVersion", c_char_p),
    ("buildDate", c_char_p),
    ("linkage", c_char_p),
]
OrvColorTwist._fields_ = [
    ("data", (c_int32 * 16)),
    ("scalingValue", c_int32),
]
BITMAPINFOHEADER._fields_ = [
    ("biSize", c_uint32),
    ("biWidth", c_int32),
    ("biHeight", c_int32),
    ("biPlanes", c_uint16),
    ("biBitCount", c_uint16),
    ("biCompression", c_uint32),
    ("biSizeImage", c_uint32),
    ("biXPelsPerMeter", c_int32),
    ("biYPelsPerMeter", c_int32),
    ("biClrUsed", c_uint32),
    ("biClrImportant", c_uint32),
]
OrvWtFilter._fields_ = [
    ("taps", POINTER(c_float)),
    ("length", c_int32),
    ("offset", c_int32),
    ("symmetry", c_int32),
]
OrvWtKernel._fields_ = [
    ("wtType", c_int32),
    ("par1", c_int32),
    ("par2", c_int32),
    ("orthogonality", c_int32),
    ("filtDecLow", OrvWtFilter),
    ("filtDecHigh", OrvWtFilter),
    ("filtRecLow", OrvWtFilter),
    ("filtRecHigh", OrvWtFilter),
]
OrvLUT._fields_ = [
    ("num", c_int32),
    ("key", POINTER(c_int32)),
    ("value", POINTER(c_int32)),
    ("factor", POINTER(c_int32)),
    ("interpolateType", c_int32),
]
OrvMoment._fields_ = [
    ("scale", c_double),
    ("value", c_double),
]
OrvNoiseParam._fields_ = [
    ("noise", c_int32),
    ("seed", c_uint32),
    ("lowInt", c_int32),
    ("highInt", c_int32),
    ("lowFlt", c_float),
    ("highFlt", c_float),
]
OrvMomentState = ((OrvMoment * 4) * 4)

# Of every function its result, its parameters (name, type, the shape of an array) and its header.
FUNCTIONS = {
    "orvGetErrStatus": (c_int32, (
    ), "core"),
    "orvSetErrStatus": (None, (
        ("status", c_int32, None),
    ), "core"),
    "orvGetErrMode": (c_int32, (
    ), "core"),
    "orvSetErrMode": (None, (
        ("mode", c_int32, None),
    ), "core"),
    "orvRedirectError": (OrvErrorCallBack, (
        ("handler", OrvErrorCallBack, None),
    ), "core"),
    "orvError": (c_int32, (
        ("status", c_int32, None),
        ("func", c_char_p, None),
        ("context", c_char_p, None),
        ("file", c_char_p, None),
        ("line", c_int32, None),
    ), "core"),
    "orvErrorStr": (c_char_p, (
        ("status", c_int32, None),
    ), "core"),
    "orvNulDevReport": (c_int32, (
        ("status", c_int32, None),
        ("func", c_char_p, None),
        ("context", c_char_p, None),
        ("file", c_char_p, None),
        ("line", c_int32, None),
    ), "core"),
    "orvStdErrReport": (c_int32, (
        ("status", c_int32, None),
        ("func", c_char_p, None),
        ("context", c_char_p, None),
        ("file", c_char_p, None),
        ("line", c_int32, None),
    ), "core"),
    "orvGuiBoxReport": (c_int32, (
        ("status", c_int32, None),
        ("func", c_char_p, None),
        ("context", c_char_p, None),
        ("file", c_char_p, None),
        ("line", c_int32, None),
    ), "core"),
    "orvGetLibVersion": (POINTER(OrvLibVersion), (
    ), "core"),
    "orvGetCadenceCounter": (c_uint64, (
    ), "core"),
    "orvMalloc": (c_void_p, (
        ("length", c_int32, None),
    ), "core"),
    "orvwMalloc": (POINTER(c_int16), (
        ("length", c_int32, None),
    ), "core"),
    "orviMalloc": (POINTER(c_int32), (
        ("length", c_int32, None),
    ), "core"),
    "orvsMalloc": (POINTER(c_float), (
        ("length", c_int32, None),
    ), "core"),
    "orvdMalloc": (POINTER(c_double), (
        ("length", c_int32, None),
    ), "core"),
    "orvFree": (None, (
        ("pointer", c_void_p, None),
    ), "core"),
    "orvCreateImageHeader": (POINTER(OrvImage), (
        ("nChannels", c_int32, None),
        ("alphaChannel", c_int32, None),
        ("depth", c_uint32, None),
        ("colorModel", c_char_p, None),
        ("channelSeq", c_char_p, None),
        ("dataOrder", c_int32, None),
        ("origin", c_int32, None),
        ("align", c_int32, None),
        ("width", c_int32, None),
        ("height", c_int32, None),
        ("roi", POINTER(OrvROI), None),
        ("maskROI", POINTER(OrvImage), None),
        ("imageTag", c_void_p, None),
        ("tileInfo", POINTER(OrvTileInfo), None),
    ), "core"),
    "orvAllocateImage": (None, (
        ("image", POINTER(OrvImage), None),
        ("doFill", c_int32, None),
        ("fillValue", c_int32, None),
    ), "core"),
    "orvAllocateImageFP": (None, (
        ("image", POINTER(OrvImage), None),
        ("doFill", c_int32, None),
        ("fillValue", c_float, None),
    ), "core"),
    "orvDeallocateImage": (None, (
        ("image", POINTER(OrvImage), None),
    ), "core"),
    "orvDeallocateHeader": (None, (
        ("image", POINTER(OrvImage), None),
    ), "core"),
    "orvDeallocate": (None, (
        ("image", POINTER(OrvImage), None),
        ("flags", c_int32, None),
    ), "core"),
    "orvCheckImageHeader": (c_int32, (
        ("image", POINTER(OrvImage), None),
    ), "core"),
    "orvCloneImage": (POINTER(OrvImage), (
        ("image", POINTER(OrvImage), None),
    ), "core"),
    "orvCreateROI": (POINTER(OrvROI), (
        ("coi", c_int32, None),
        ("xOffset", c_int32, None),
        ("yOffset", c_int32, None),
        ("width", c_int32, None),
        ("height", c_int32, None),
    ), "core"),
    "orvSetROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coi", c_int32, None),
        ("xOffset", c_int32, None),
        ("yOffset", c_int32, None),
        ("width", c_int32, None),
        ("height", c_int32, None),
    ), "core"),
    "orvDeleteROI": (None, (
        ("roi", POINTER(OrvROI), None),
    ), "core"),
    "orvCreateTileInfo": (POINTER(OrvTileInfo), (
        ("callBack", OrvTileCallBack, None),
        ("tileTag", c_void_p, None),
        ("width", c_int32, None),
        ("height", c_int32, None),
    ), "core"),
    "orvSetTileInfo": (None, (
        ("tileInfo", POINTER(OrvTileInfo), None),
        ("callBack", OrvTileCallBack, None),
        ("tileTag", c_void_p, None),
        ("width", c_int32, None),
        ("height", c_int32, None),
    ), "core"),
    "orvDeleteTileInfo": (None, (
        ("tileInfo", POINTER(OrvTileInfo), None),
    ), "core"),
    "orvGetPixel": (None, (
        ("image", POINTER(OrvImage), None),
        ("x", c_int32, None),
        ("y", c_int32, None),
        ("pixel", c_void_p, None),
    ), "core"),
    "orvPutPixel": (None, (
        ("image", POINTER(OrvImage), None),
        ("x", c_int32, None),
        ("y", c_int32, None),
        ("pixel", c_void_p, None),
    ), "core"),
    "orvCopy": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "core"),
    "orvSet": (None, (
        ("dstImage", POINTER(OrvImage), None),
        ("fillValue", c_int32, None),
    ), "core"),
    "orvSetFP": (None, (
        ("dstImage", POINTER(OrvImage), None),
        ("fillValue", c_float, None),
    ), "core"),
    "orvExchange": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "core"),
    "orvAdd": (None, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvSubtract": (None, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvMultiply": (None, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvAnd": (None, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvOr": (None, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvXor": (None, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvAddS": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_int32, None),
    ), "pointwise"),
    "orvSubtractS": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_int32, None),
        ("flip", c_int32, None),
    ), "pointwise"),
    "orvMultiplyS": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_int32, None),
    ), "pointwise"),
    "orvAndS": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_int32, None),
    ), "pointwise"),
    "orvOrS": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_int32, None),
    ), "pointwise"),
    "orvXorS": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_int32, None),
    ), "pointwise"),
    "orvLShiftS": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("nShift", c_uint32, None),
    ), "pointwise"),
    "orvRShiftS": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("nShift", c_uint32, None),
    ), "pointwise"),
    "orvAddSFP": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_float, None),
    ), "pointwise"),
    "orvSubtractSFP": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_float, None),
        ("flip", c_int32, None),
    ), "pointwise"),
    "orvMultiplySFP": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_float, None),
    ), "pointwise"),
    "orvNot": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvAbs": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvSquare": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvLess": (c_int32, (
        ("img1", POINTER(OrvImage), None),
        ("img2", POINTER(OrvImage), None),
        ("res", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvGreater": (c_int32, (
        ("img1", POINTER(OrvImage), None),
        ("img2", POINTER(OrvImage), None),
        ("res", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvEqual": (c_int32, (
        ("img1", POINTER(OrvImage), None),
        ("img2", POINTER(OrvImage), None),
        ("res", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvEqualFPEps": (c_int32, (
        ("img1", POINTER(OrvImage), None),
        ("img2", POINTER(OrvImage), None),
        ("res", POINTER(OrvImage), None),
        ("eps", c_float, None),
    ), "pointwise"),
    "orvLessS": (c_int32, (
        ("img", POINTER(OrvImage), None),
        ("value", c_int32, None),
        ("res", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvGreaterS": (c_int32, (
        ("img", POINTER(OrvImage), None),
        ("value", c_int32, None),
        ("res", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvEqualS": (c_int32, (
        ("img", POINTER(OrvImage), None),
        ("value", c_int32, None),
        ("res", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvLessSFP": (c_int32, (
        ("img", POINTER(OrvImage), None),
        ("value", c_float, None),
        ("res", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvGreaterSFP": (c_int32, (
        ("img", POINTER(OrvImage), None),
        ("value", c_float, None),
        ("res", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvEqualSFP": (c_int32, (
        ("img", POINTER(OrvImage), None),
        ("value", c_float, None),
        ("res", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvEqualSFPEps": (c_int32, (
        ("img", POINTER(OrvImage), None),
        ("value", c_float, None),
        ("res", POINTER(OrvImage), None),
        ("eps", c_float, None),
    ), "pointwise"),
    "orvThreshold": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("Threshold", c_int32, None),
    ), "pointwise"),
    "orvMultiplySScale": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("value", c_int32, None),
    ), "pointwise"),
    "orvMultiplyScale": (None, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "pointwise"),
    "orvPreMultiplyAlpha": (None, (
        ("image", POINTER(OrvImage), None),
        ("alpha", c_int32, None),
    ), "pointwise"),
    "orvAlphaCompositeC": (None, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("compositeType", c_int32, None),
        ("aA", c_int32, None),
        ("aB", c_int32, None),
        ("premulAlpha", c_int32, None),
        ("divideMode", c_int32, None),
    ), "pointwise"),
    "orvAlphaComposite": (None, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("compositeType", c_int32, None),
        ("alphaImageA", POINTER(OrvImage), None),
        ("alphaImageB", POINTER(OrvImage), None),
        ("alphaImageDst", POINTER(OrvImage), None),
        ("premulAlpha", c_int32, None),
        ("divideMode", c_int32, None),
    ), "pointwise"),
    "orvSetBorderMode": (None, (
        ("image", POINTER(OrvImage), None),
        ("mode", c_int32, None),
        ("border", c_int32, None),
        ("constVal", c_int32, None),
    ), "filter"),
    "orvBlur": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("nCols", c_int32, None),
        ("nRows", c_int32, None),
        ("anchorX", c_int32, None),
        ("anchorY", c_int32, None),
    ), "filter"),
    "orvCreateConvKernel": (POINTER(OrvConvKernel), (
        ("nCols", c_int32, None),
        ("nRows", c_int32, None),
        ("anchorX", c_int32, None),
        ("anchorY", c_int32, None),
        ("values", POINTER(c_int32), None),
        ("nShiftR", c_int32, None),
    ), "filter"),
    "orvCreateConvKernelChar": (POINTER(OrvConvKernel), (
        ("nCols", c_int32, None),
        ("nRows", c_int32, None),
        ("anchorX", c_int32, None),
        ("anchorY", c_int32, None),
        ("values", c_char_p, None),
        ("nShiftR", c_int32, None),
    ), "filter"),
    "orvCreateConvKernelFP": (POINTER(OrvConvKernelFP), (
        ("nCols", c_int32, None),
        ("nRows", c_int32, None),
        ("anchorX", c_int32, None),
        ("anchorY", c_int32, None),
        ("values", POINTER(c_float), None),
    ), "filter"),
    "orvGetConvKernel": (None, (
        ("kernel", POINTER(OrvConvKernel), None),
        ("nCols", POINTER(c_int32), None),
        ("nRows", POINTER(c_int32), None),
        ("anchorX", POINTER(c_int32), None),
        ("anchorY", POINTER(c_int32), None),
        ("values", POINTER(POINTER(c_int32)), None),
        ("nShiftR", POINTER(c_int32), None),
    ), "filter"),
    "orvGetConvKernelChar": (None, (
        ("kernel", POINTER(OrvConvKernel), None),
        ("nCols", POINTER(c_int32), None),
        ("nRows", POINTER(c_int32), None),
        ("anchorX", POINTER(c_int32), None),
        ("anchorY", POINTER(c_int32), None),
        ("values", POINTER(POINTER(c_int8)), None),
        ("nShiftR", POINTER(c_int32), None),
    ), "filter"),
    "orvGetConvKernelFP": (None, (
        ("kernel", POINTER(OrvConvKernelFP), None),
        ("nCols", POINTER(c_int32), None),
        ("nRows", POINTER(c_int32), None),
        ("anchorX", POINTER(c_int32), None),
        ("anchorY", POINTER(c_int32), None),
        ("values", POINTER(POINTER(c_float)), None),
    ), "filter"),
    "orvDeleteConvKernel": (None, (
        ("kernel", POINTER(OrvConvKernel), None),
    ), "filter"),
    "orvDeleteConvKernelFP": (None, (
        ("kernel", POINTER(OrvConvKernelFP), None),
    ), "filter"),
    "orvConvolve2D": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("kernel", POINTER(POINTER(OrvConvKernel)), None),
        ("nKernels", c_int32, None),
        ("combineMethod", c_int32, None),
    ), "filter"),
    "orvConvolve2DFP": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("kernel", POINTER(POINTER(OrvConvKernelFP)), None),
        ("nKernels", c_int32, None),
        ("combineMethod", c_int32, None),
    ), "filter"),
    "orvConvolveSep2D": (c_int32, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("xKernel", POINTER(OrvConvKernel), None),
        ("yKernel", POINTER(OrvConvKernel), None),
    ), "filter"),
    "orvConvolveSep2DFP": (c_int32, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("xKernel", POINTER(OrvConvKernelFP), None),
        ("yKernel", POINTER(OrvConvKernelFP), None),
    ), "filter"),
    "orvNormCrossCorr": (c_int32, (
        ("tplImage", POINTER(OrvImage), None),
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "filter"),
    "orvDilate": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("iterations", c_int32, None),
    ), "filter"),
    "orvErode": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("iterations", c_int32, None),
    ), "filter"),
    "orvOpen": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("iterations", c_int32, None),
    ), "filter"),
    "orvClose": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("iterations", c_int32, None),
    ), "filter"),
    "orvMaxFilter": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("nCols", c_int32, None),
        ("nRows", c_int32, None),
        ("anchorX", c_int32, None),
        ("anchorY", c_int32, None),
    ), "filter"),
    "orvMinFilter": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("nCols", c_int32, None),
        ("nRows", c_int32, None),
        ("anchorX", c_int32, None),
        ("anchorY", c_int32, None),
    ), "filter"),
    "orvMedianFilter": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("nCols", c_int32, None),
        ("nRows", c_int32, None),
        ("anchorX", c_int32, None),
        ("anchorY", c_int32, None),
    ), "filter"),
    "orvColorMedianFilter": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("nCols", c_int32, None),
        ("nRows", c_int32, None),
        ("anchorX", c_int32, None),
        ("anchorY", c_int32, None),
    ), "filter"),
    "orvFixedFilter": (c_int32, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("filter", c_int32, None),
    ), "filter"),
    "orvGetAffineQuad": (None, (
        ("image", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 3)), (2, 3)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetAffineQuadROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coeffs", POINTER((c_double * 3)), (2, 3)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetBilinearQuad": (None, (
        ("image", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 4)), (2, 4)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetBilinearQuadROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coeffs", POINTER((c_double * 4)), (2, 4)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetPerspectiveQuad": (None, (
        ("image", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 3)), (3, 3)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetPerspectiveQuadROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coeffs", POINTER((c_double * 3)), (3, 3)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetAffineBound": (None, (
        ("image", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 3)), (2, 3)),
        ("bound", POINTER((c_double * 2)), (2, 2)),
    ), "geometry"),
    "orvGetAffineBoundROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coeffs", POINTER((c_double * 3)), (2, 3)),
        ("bound", POINTER((c_double * 2)), (2, 2)),
    ), "geometry"),
    "orvGetBilinearBound": (None, (
        ("image", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 4)), (2, 4)),
        ("bound", POINTER((c_double * 2)), (2, 2)),
    ), "geometry"),
    "orvGetBilinearBoundROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coeffs", POINTER((c_double * 4)), (2, 4)),
        ("bound", POINTER((c_double * 2)), (2, 2)),
    ), "geometry"),
    "orvGetPerspectiveBound": (None, (
        ("image", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 3)), (3, 3)),
        ("bound", POINTER((c_double * 2)), (2, 2)),
    ), "geometry"),
    "orvGetPerspectiveBoundROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coeffs", POINTER((c_double * 3)), (3, 3)),
        ("bound", POINTER((c_double * 2)), (2, 2)),
    ), "geometry"),
    "orvGetAffineTransform": (None, (
        ("image", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 3)), (2, 3)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetAffineTransformROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coeffs", POINTER((c_double * 3)), (2, 3)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetBilinearTransform": (None, (
        ("image", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 4)), (2, 4)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetBilinearTransformROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coeffs", POINTER((c_double * 4)), (2, 4)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetPerspectiveTransform": (None, (
        ("image", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 3)), (3, 3)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetPerspectiveTransformROI": (None, (
        ("roi", POINTER(OrvROI), None),
        ("coeffs", POINTER((c_double * 3)), (3, 3)),
        ("quad", POINTER((c_double * 2)), (4, 2)),
    ), "geometry"),
    "orvGetRotateShift": (None, (
        ("xCenter", c_double, None),
        ("yCenter", c_double, None),
        ("angle", c_double, None),
        ("xShift", POINTER(c_double), None),
        ("yShift", POINTER(c_double), None),
    ), "geometry"),
    "orvWarpAffine": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 3)), (2, 3)),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvWarpBilinearQ": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("quad", POINTER((c_double * 2)), (4, 2)),
        ("warpFlag", c_int32, None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvWarpBilinear": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 4)), (2, 4)),
        ("warpFlag", c_int32, None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvWarpPerspectiveQ": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("quad", POINTER((c_double * 2)), (4, 2)),
        ("warpFlag", c_int32, None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvWarpPerspective": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("coeffs", POINTER((c_double * 3)), (3, 3)),
        ("warpFlag", c_int32, None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvShear": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("xShear", c_double, None),
        ("yShear", c_double, None),
        ("xShift", c_double, None),
        ("yShift", c_double, None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvRotate": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("angle", c_double, None),
        ("xShift", c_double, None),
        ("yShift", c_double, None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvRemap": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("xMap", POINTER(OrvImage), None),
        ("yMap", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvZoom": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("xDst", c_int32, None),
        ("xSrc", c_int32, None),
        ("yDst", c_int32, None),
        ("ySrc", c_int32, None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvResize": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("xDst", c_int32, None),
        ("xSrc", c_int32, None),
        ("yDst", c_int32, None),
        ("ySrc", c_int32, None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvDecimate": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("xDst", c_int32, None),
        ("xSrc", c_int32, None),
        ("yDst", c_int32, None),
        ("ySrc", c_int32, None),
        ("interpolate", c_int32, None),
    ), "geometry"),
    "orvDecimateBlur": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("xDst", c_int32, None),
        ("xSrc", c_int32, None),
        ("yDst", c_int32, None),
        ("ySrc", c_int32, None),
        ("interpolate", c_int32, None),
        ("xMaskSize", c_int32, None),
        ("yMaskSize", c_int32, None),
    ), "geometry"),
    "orvMirror": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("flipAxis", c_int32, None),
    ), "geometry"),
    "orvColorToGray": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvGrayToColor": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
        ("weightR", c_float, None),
        ("weightG", c_float, None),
        ("weightB", c_float, None),
    ), "colour"),
    "orvRGB2HSV": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvHSV2RGB": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvRGB2HLS": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvHLS2RGB": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvRGB2XYZ": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvXYZ2RGB": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvRGB2LUV": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvLUV2RGB": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvRGB2YUV": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvYUV2RGB": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvRGB2YCrCb": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvYCrCb2RGB": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvYCC2RGB": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "colour"),
    "orvCreateColorTwist": (POINTER(OrvColorTwist), (
        ("data", POINTER(c_int32), None),
        ("scalingValue", c_int32, None),
    ), "colour"),
    "orvSetColorTwist": (None, (
        ("cTwist", POINTER(OrvColorTwist), None),
        ("data", POINTER(c_int32), None),
        ("scalingValue", c_int32, None),
    ), "colour"),
    "orvDeleteColorTwist": (None, (
        ("cTwist", POINTER(OrvColorTwist), None),
    ), "colour"),
    "orvApplyColorTwist": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("cTwist", POINTER(OrvColorTwist), None),
        ("offset", c_int32, None),
    ), "colour"),
    "orvColorTwistFP": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("TwistFP", POINTER(c_float), None),
    ), "colour"),
    "orvReduceBits": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("noise", c_int32, None),
        ("ditherType", c_int32, None),
        ("levels", c_int32, None),
    ), "colour"),
    "orvConvert": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "convert"),
    "orvBitonalToGray": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("ZeroScale", c_int32, None),
        ("OneScale", c_int32, None),
    ), "convert"),
    "orvScale": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
    ), "convert"),
    "orvScaleFP": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("minVal", c_float, None),
        ("maxVal", c_float, None),
    ), "convert"),
    "orvTranslateDIB": (POINTER(OrvImage), (
        ("dib", POINTER(BITMAPINFOHEADER), None),
        ("cloneData", POINTER(c_int), None),
    ), "convert"),
    "orvConvertFromDIB": (None, (
        ("dib", POINTER(BITMAPINFOHEADER), None),
        ("image", POINTER(OrvImage), None),
    ), "convert"),
    "orvConvertFromDIBSep": (None, (
        ("dibHeader", POINTER(BITMAPINFOHEADER), None),
        ("dibData", c_char_p, None),
        ("image", POINTER(OrvImage), None),
    ), "convert"),
    "orvConvertToDIB": (None, (
        ("image", POINTER(OrvImage), None),
        ("dib", POINTER(BITMAPINFOHEADER), None),
        ("dither", c_int, None),
        ("paletteConversion", c_int, None),
    ), "convert"),
    "orvConvertToDIBSep": (None, (
        ("image", POINTER(OrvImage), None),
        ("dibHeader", POINTER(BITMAPINFOHEADER), None),
        ("dibData", POINTER(c_char), None),
        ("dither", c_int, None),
        ("paletteConversion", c_int, None),
    ), "convert"),
    "orvRealFft2D": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("flags", c_int32, None),
    ), "transform"),
    "orvCcsFft2D": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("flags", c_int32, None),
    ), "transform"),
    "orvMpyRCPack2D": (None, (
        ("srcA", POINTER(OrvImage), None),
        ("srcB", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "transform"),
    "orvDCT2D": (None, (
        ("src", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
        ("flags", c_int32, None),
    ), "transform"),
    "orvWtInit": (c_int32, (
        ("wtType", c_int32, None),
        ("par1", c_int32, None),
        ("par2", c_int32, None),
        ("wtKernel", POINTER(OrvWtKernel), None),
    ), "transform"),
    "orvWtInitUserFilter4": (c_int32, (
        ("filt", POINTER(OrvWtFilter), None),
        ("wtKernel", POINTER(OrvWtKernel), None),
    ), "transform"),
    "orvWtInitUserFilter": (c_int32, (
        ("decLow", POINTER(OrvWtFilter), None),
        ("decHigh", POINTER(OrvWtFilter), None),
        ("recLow", POINTER(OrvWtFilter), None),
        ("recHigh", POINTER(OrvWtFilter), None),
        ("wtKernel", POINTER(OrvWtKernel), None),
    ), "transform"),
    "orvWtInitUserTaps": (c_int32, (
        ("tap_filt", POINTER(POINTER(c_float)), None),
        ("len_filt", POINTER(c_int32), None),
        ("ofs_filt", POINTER(c_int32), None),
        ("wtKernel", POINTER(OrvWtKernel), None),
    ), "transform"),
    "orvWtFree": (c_int32, (
        ("wtKernel", POINTER(OrvWtKernel), None),
    ), "transform"),
    "orvWtDecompose": (c_int32, (
        ("wtKernel", POINTER(OrvWtKernel), None),
        ("src", POINTER(OrvImage), None),
        ("approxDst", POINTER(OrvImage), None),
        ("xDetailDst", POINTER(OrvImage), None),
        ("yDetailDst", POINTER(OrvImage), None),
        ("dDetailDst", POINTER(OrvImage), None),
    ), "transform"),
    "orvWtReconstruct": (c_int32, (
        ("wtKernel", POINTER(OrvWtKernel), None),
        ("approxSrc", POINTER(OrvImage), None),
        ("xDetailSrc", POINTER(OrvImage), None),
        ("yDetailSrc", POINTER(OrvImage), None),
        ("dDetailSrc", POINTER(OrvImage), None),
        ("dst", POINTER(OrvImage), None),
    ), "transform"),
    "orvComputeHisto": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("lut", POINTER(POINTER(OrvLUT)), None),
    ), "measure"),
    "orvContrastStretch": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("lut", POINTER(POINTER(OrvLUT)), None),
    ), "measure"),
    "orvHistoEqualize": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("lut", POINTER(POINTER(OrvLUT)), None),
    ), "measure"),
    "orvNorm": (c_double, (
        ("srcImageA", POINTER(OrvImage), None),
        ("srcImageB", POINTER(OrvImage), None),
        ("normType", c_int32, None),
    ), "measure"),
    "orvMinMaxFP": (c_int32, (
        ("srcImage", POINTER(OrvImage), None),
        ("min", POINTER(c_float), None),
        ("max", POINTER(c_float), None),
    ), "measure"),
    "orvMoments": (None, (
        ("image", POINTER(OrvImage), None),
        ("state", POINTER(OrvMomentState), None),
    ), "measure"),
    "orvGetSpatialMoment": (c_double, (
        ("state", POINTER(OrvMomentState), None),
        ("mOrd", c_int32, None),
        ("nOrd", c_int32, None),
    ), "measure"),
    "orvGetNormalizedSpatialMoment": (c_double, (
        ("state", POINTER(OrvMomentState), None),
        ("mOrd", c_int32, None),
        ("nOrd", c_int32, None),
    ), "measure"),
    "orvGetCentralMoment": (c_double, (
        ("state", POINTER(OrvMomentState), None),
        ("mOrd", c_int32, None),
        ("nOrd", c_int32, None),
    ), "measure"),
    "orvGetNormalizedCentralMoment": (c_double, (
        ("state", POINTER(OrvMomentState), None),
        ("mOrd", c_int32, None),
        ("nOrd", c_int32, None),
    ), "measure"),
    "orvSpatialMoment": (c_double, (
        ("image", POINTER(OrvImage), None),
        ("mOrd", c_int32, None),
        ("nOrd", c_int32, None),
    ), "measure"),
    "orvNormalizedSpatialMoment": (c_double, (
        ("image", POINTER(OrvImage), None),
        ("mOrd", c_int32, None),
        ("nOrd", c_int32, None),
    ), "measure"),
    "orvCentralMoment": (c_double, (
        ("image", POINTER(OrvImage), None),
        ("mOrd", c_int32, None),
        ("nOrd", c_int32, None),
    ), "measure"),
    "orvNormalizedCentralMoment": (c_double, (
        ("image", POINTER(OrvImage), None),
        ("mOrd", c_int32, None),
        ("nOrd", c_int32, None),
    ), "measure"),
    "orvNoiseUniformInit": (None, (
        ("noiseParam", POINTER(OrvNoiseParam), None),
        ("seed", c_uint32, None),
        ("low", c_int32, None),
        ("high", c_int32, None),
    ), "generate"),
    "orvNoiseUniformInitFP": (None, (
        ("noiseParam", POINTER(OrvNoiseParam), None),
        ("seed", c_uint32, None),
        ("low", c_float, None),
        ("high", c_float, None),
    ), "generate"),
    "orvNoiseGaussianInit": (None, (
        ("noiseParam", POINTER(OrvNoiseParam), None),
        ("seed", c_uint32, None),
        ("mean", c_int32, None),
        ("stDev", c_int32, None),
    ), "generate"),
    "orvNoiseGaussianInitFP": (None, (
        ("noiseParam", POINTER(OrvNoiseParam), None),
        ("seed", c_uint32, None),
        ("mean", c_float, None),
        ("stDev", c_float, None),
    ), "generate"),
    "orvNoiseImage": (c_int32, (
        ("image", POINTER(OrvImage), None),
        ("noiseParam", POINTER(OrvNoiseParam), None),
    ), "generate"),
    "orvCreateImageJaehne": (POINTER(OrvImage), (
        ("depth", c_int32, None),
        ("width", c_int32, None),
        ("height", c_int32, None),
    ), "generate"),
    "orvUserProcess": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("cbFunc", OrvUserFunc, None),
    ), "generate"),
    "orvUserProcessFP": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("cbFunc", OrvUserFuncFP, None),
    ), "generate"),
    "orvUserProcessPixel": (None, (
        ("srcImage", POINTER(OrvImage), None),
        ("dstImage", POINTER(OrvImage), None),
        ("cbFunc", OrvUserFuncPixel, None),
    ), "generate"),
}

CALLBACKS = {
    "OrvErrorCallBack": ('status', 'func', 'context', 'file', 'line'),
    "OrvTileCallBack": ('image', 'xIndex', 'yIndex', 'mode'),
    "OrvUserFunc": ('src',),
    "OrvUserFuncFP": ('src',),
    "OrvUserFuncPixel": ('srcImage', 'srcPixel', 'dstImage', 'dstPixel'),
}

DOCS = {
    "orvGetErrStatus": """Returns the calling thread's stored status. A new thread starts with 0.""",
    "orvSetErrStatus": """Stores `status` for the calling thread and reports nothing. 0 clears an earlier failure.""",
    "orvGetErrMode": """Returns the calling thread's error mode. A new thread starts with ORV_ErrModeLeaf.""",
    "orvSetErrMode": """Sets the calling thread's error mode; the value is not checked.""",
    "orvRedirectError": """Installs the calling thread's report handler and returns the previous one. NULL installs orvGuiBoxReport, which is
also the handler of a new thread.
""",
    "orvError": """Stores `status` and calls the thread's report handler with the same arguments; returns the handler's result.
ORV_STATUS_BACKTRACE and ORV_STATUS_AUTOTRACE are handed on without being stored, so that a trace keeps the first
status. ORV_STATUS_OK is stored and calls no handler; the result is then 0.
""",
    "orvErrorStr": """Returns the text of `status`, a constant of the library; "Unknown error or status code" for values without one.""",
    "orvNulDevReport": """Stock handler that writes nothing: ends the process with exit code 1 in ORV_ErrModeLeaf, otherwise returns `status`.""",
    "orvStdErrReport": """Stock handler that writes to the standard error stream: an empty line, the status text and a line for the fault, or
one line for each backtrace. Nothing in ORV_ErrModeSilent. Ends the process with exit code 1 in ORV_ErrModeLeaf,
otherwise returns `status`.
""",
    "orvGuiBoxReport": """Stock handler and default: asks the user. In ORV_ErrModeLeaf the question is whether to terminate the application, in
ORV_ErrorModeParent whether to continue; the process ends with exit code 1 accordingly, otherwise the result is
`status`. No question in any other mode. The question is a message box on Windows and stands on the controlling
terminal elsewhere; where it cannot be asked, the status is returned.
""",
    "orvGetLibVersion": """Returns the library's version record, a constant that the caller must neither change nor free.""",
    "orvGetCadenceCounter": """Returns the processor's time-stamp counter, for the application's timing. Its unit is the processor's.""",
    "orvMalloc": """Returns a block of `length` bytes, aligned to 32 and not cleared; NULL if `length` is below 1 or there is no memory.
Nothing is reported. The block goes back through orvFree.
""",
    "orvwMalloc": """The same for `length` elements of 2 bytes.""",
    "orviMalloc": """The same for `length` elements of 4 bytes.""",
    "orvsMalloc": """The same for `length` elements of 4 bytes, as floats.""",
    "orvdMalloc": """The same for `length` elements of 8 bytes.""",
    "orvFree": """Releases a block of orvMalloc or its typed forms; nothing for NULL.""",
    "orvCreateImageHeader": """Makes an image header without pixel data. `colorModel` and `channelSeq` are texts of which 4 characters are
taken, or fewer where they end before. `roi`, `maskROI` and `tileInfo` may be NULL and are only pointed at.
The borders are set to ORV_BORDER_CONSTANT with constants of 0. The header goes back through orvDeallocate.

Returns NULL after a report with the context "Incorrect data-ins", the first fault deciding:
ORV_STATUS_BAD_IMAGE_SIZE (height or width below 1), ORV_STATUS_BAD_CHANNELS (nChannels below 1),
ORV_STATUS_BAD_1U_CHANNELS, ORV_STATUS_BAD_COLOR_MODEL (a NULL text), ORV_STATUS_BAD_DEPTH,
ORV_STATUS_BAD_ALPHA_CHANNEL, ORV_STATUS_BAD_DATA_ORDER, ORV_STATUS_BAD_ORIGIN, ORV_STATUS_BAD_ALIGN, -117 (mask not
1U), ORV_STATUS_TILED_MASK, the mask's own fault minus 100, ORV_STATUS_BAD_IMAGE_SIZE (a plain image of 2 GiB or
more). NULL without a report: no memory.
""",
    "orvAllocateImage": """Allocates the pixel data of an image of any depth but 32F, which must have neither data nor tiles. With `doFill` not
0 every value, padding included, is set to `fillValue`, of which the low bits of the depth count; otherwise the
pixels are undefined.

Reports ORV_STATUS_BAD_ARG (NULL image, data set, tiles set, depth 32F), the header's fault with "Incorrect
data-ins", ORV_STATUS_BAD_IMAGE_SIZE with the same context (2 GiB or more), ORV_STATUS_NO_MEMORY.
""",
    "orvAllocateImageFP": """orvAllocateImage for depth 32F, which reports ORV_STATUS_BAD_ARG for every other depth.""",
    "orvDeallocateImage": """Frees the pixel data that the library allocated and sets imageData to NULL in any case. Nothing for NULL.""",
    "orvDeallocateHeader": """Frees the header and nothing else.""",
    "orvDeallocate": """Frees what `flags` (ORV_IMAGE_...) names, and sets the fields that pointed at it to NULL. Pixel data without an
imageDataBlock is the application's and stays. Nothing for NULL.
""",
    "orvCheckImageHeader": """Validates an image. Returns 0, or the first fault found, which is also stored; nothing is reported. In order:
ORV_STATUS_NULL_IMAGE, ORV_STATUS_NO_IMAGE_DATA (not exactly one of data and tiles), ORV_STATUS_BAD_IMAGE_SIZE and
ORV_STATUS_BAD_WIDTH_STEP (below 1, plain images only), the faults of orvCreateImageHeader, ORV_STATUS_NULL_CALLBACK,
ORV_STATUS_BAD_TILE_SIZE (also where a tile's row takes more than 2147483647 bytes), ORV_STATUS_BAD_COI,
ORV_STATUS_BAD_ROI_SIZE, ORV_STATUS_BAD_ROI_OFFSET. A region that lies outside the image passes: operations cut it.
""",
    "orvCloneImage": """Returns a copy of an image with a data buffer and a region record of its own, without mask, tag and tiles. The pixels
of a tiled image are not copied: those of the clone are then undefined.

Returns NULL after a report: the header's fault with "Incorrect Image", ORV_STATUS_NO_MEMORY.
""",
    "orvCreateROI": """Makes a region record; nothing is checked. NULL if there is no memory, without a report.""",
    "orvSetROI": """Fills a region record; nothing for NULL.""",
    "orvDeleteROI": """Releases a record of orvCreateROI; nothing for NULL.""",
    "orvCreateTileInfo": """Makes a tiling descriptor with tileData NULL; nothing is checked. `width` and `height` are a tile's size in pixels.
NULL if there is no memory, without a report.
""",
    "orvSetTileInfo": """Fills a tiling descriptor and sets its tileData to NULL; nothing for a NULL record.""",
    "orvDeleteTileInfo": """Releases a record of orvCreateTileInfo; nothing for NULL.""",
    "orvGetPixel": """Reads the pixel at column `x` and row `y`, measured from the top of the picture whatever the image's origin, into
`pixel`, which holds nChannels values of the image's type, alpha included; for 1U one byte, 0 or 1. Region, channel
of interest and mask have no effect.

Reports the header's fault with "Incorrect Image", ORV_STATUS_BAD_ARG (x, then y, outside the image; `pixel` NULL),
ORV_STATUS_ERROR (a tile does not come).
""",
    "orvPutPixel": """Writes the pixel at column `x` and row `y` from `pixel`; as orvGetPixel. For 1U the lowest bit of the byte counts.""",
    "orvCopy": """Copies the processed channels of the source's region to the destination's. Both images have one depth and one origin,
and one data order unless they are 1U or have one channel; they may be tiled. Masks of both hold together.

Does nothing at all while the thread's stored status is negative, and for an image copied to itself. Reports an
image's fault with "Incorrect Image"; then ORV_STATUS_BAD_ARG for each of depth, origin and data order that differs,
going on to the next, and ends with a negative status or where the depths differ: a report handler that clears the
status lets the copy go on between two origins or data orders. Then ORV_STATUS_BAD_ARG for numbers of processed
channels that differ; ORV_STATUS_BACKTRACE for a failed step on masks or tiles; ORV_STATUS_ERROR for a tile that does
not come.
""",
    "orvSet": """Fills the processed channels of the region with `fillValue`, cut to the range of the depth; any depth but 32F. While
it runs it may change the image's maskROI field and, with a mask on a 1U image, the mask's bits; both are as before
afterwards.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_DEPTH for 32F; ORV_STATUS_ERROR for a tile that does
not come; ORV_STATUS_BACKTRACE.
""",
    "orvSetFP": """orvSet for depth 32F. While it runs the image's depth field holds ORV_DEPTH_32S, which a tile provider sees.

Reports ORV_STATUS_BAD_ARG for NULL, ORV_STATUS_BAD_DEPTH for another depth, ORV_STATUS_BACKTRACE.
""",
    "orvExchange": """Swaps the processed channels of the two regions, under both masks. Checks and reports are those of orvCopy.""",
    "orvAdd": """Adds: dst = a + b, integer results cut to the range of the depth, 32F rounded once. At 1U it is orvOr, under whose
name failures are then reported. Reports ORV_STATUS_BAD_ARG for a NULL srcImageA, then the common reports.
""",
    "orvSubtract": """Subtracts: dst = a - b, integer results cut to the range of the depth; at 1U a AND NOT b. The common reports; the
data order of 1U images is not compared.
""",
    "orvMultiply": """Multiplies: dst = a * b without scaling, integer results cut to the range of the depth. At 1U it is orvAnd. Reports
as orvAdd.
""",
    "orvAnd": """ANDs the bits of the values: dst = a & b, any depth but 32F, which is refused with ORV_STATUS_BAD_ARG after the
common reports. The data order of 1U images is not compared.
""",
    "orvOr": """ORs the bits of the values: dst = a | b; as orvAnd.""",
    "orvXor": """XORs the bits of the values: dst = a ^ b; as orvAnd.""",
    "orvAddS": """Adds `value` to every integer value, cut to the range of the depth; at 1U ORs its lowest bit. Below 32 bits this is
orvSubtractS with the negated value, which reports.
""",
    "orvSubtractS": """Subtracts: source - value, or value - source if `flip` is not 0; the exact difference of integer values, cut to the
range of the depth. At 1U the lowest bit of `value` counts.
""",
    "orvMultiplyS": """Multiplies every integer value by `value`, cut to the range of the depth, without scaling; at 1U ANDs its lowest bit.""",
    "orvAndS": """ANDs the low bits of `value`, as many as the depth has, to every value. 32F is refused with ORV_STATUS_BAD_ARG after
the common reports. The data order of 1U images is not compared.
""",
    "orvOrS": """ORs the low bits of `value`; as orvAndS.""",
    "orvXorS": """XORs the low bits of `value`; as orvAndS.""",
    "orvLShiftS": """Shifts the bits of every value left by `nShift`; bits shifted out are lost, also the sign. A shift of the depth's
number of bits or more gives 0. 32F is refused with ORV_STATUS_BAD_ARG after the common reports.
""",
    "orvRShiftS": """Shifts every value right by `nShift`, which rounds toward minus infinity: zeros come in at unsigned depths, the sign
at signed ones. 32F as in orvLShiftS.
""",
    "orvAddSFP": """Adds `value` to every 32F value.""",
    "orvSubtractSFP": """source - value at 32F, or value - source if `flip` is not 0.""",
    "orvMultiplySFP": """Multiplies every 32F value by `value`.""",
    "orvNot": """Inverts every bit of every value: orvXorS with -1, under whose name failures are reported. 32F is refused.""",
    "orvAbs": """Absolute values at the signed depths, the lowest value giving the highest; -0.0 and NaN stay. Where the destination
is unsigned this is orvCopy, whose failure is followed by ORV_STATUS_BACKTRACE, "orvCopy is failed".

Reports ORV_STATUS_BAD_ARG for NULL images (both are reported); does nothing at all while the thread's stored status
is negative; then the common reports, where a channel of interest on one multi-channel image alone is refused too.
""",
    "orvSquare": """Squares every value, cut to the range of the depth; a bit stays as it is. The common reports; the data order of 1U
images is not compared.
""",
    "orvLess": """a < b, all depths. At 32F a NaN on either side fails.""",
    "orvGreater": """a > b, all depths. At 32F a NaN on either side fails.""",
    "orvEqual": """a == b, all depths. At 32F a NaN on either side fails.""",
    "orvEqualFPEps": """|a - b| < eps, 32F, the difference in double precision. A NaN on either side passes, and so do equal infinities.""",
    "orvLessS": """a < value, integer depths; any `value` is compared exactly, also one outside the range of the depth.""",
    "orvGreaterS": """a > value; as orvLessS.""",
    "orvEqualS": """a == value; as orvLessS.""",
    "orvLessSFP": """a < value, 32F. A NaN on either side passes.""",
    "orvGreaterSFP": """a > value, 32F. A NaN on either side passes.""",
    "orvEqualSFP": """a == value, 32F. A NaN on either side passes.""",
    "orvEqualSFPEps": """|a - value| < eps, 32F; as orvEqualFPEps.""",
    "orvThreshold": """Gives every processed value at or above `Threshold` the highest value of the destination's depth and every other its
lowest. Source depths 8U, 8S, 16U, 16S, 32S; destination depths also 1U. In place is allowed. Data orders may differ
if either image has one channel. An image whose only channel is alpha, without a channel of interest, ends it
silently, and so do two masks without a common region.

Reports ORV_STATUS_BAD_ARG after the images' faults: a 32F image or a 1U source, data orders, origins (also of
masks), a `Threshold` outside the source's range, numbers of processed channels, two masks that cannot be combined
for lack of memory, a tile that does not come. Two masks are combined by orvAnd; a failure of it is followed by
ORV_STATUS_BACKTRACE, "error_orvAnd", and ends the call. A negative status stored before is reported there in the
same words, and stops nothing.
""",
    "orvMultiplySScale": """Stores mul(src, value), `value` cut to 0 to M.

Reports, for the destination and then the source: NULL; the image's fault with "Incorrect Image"; then an only
channel that is alpha and no channel of interest; another depth, or one that differs; numbers of channels that
differ, a channel of interest counting as one.
""",
    "orvMultiplyScale": """Stores mul(a, b). Reports as orvMultiplySScale, for both sources.""",
    "orvPreMultiplyAlpha": """Multiplies the processed colour channels by alpha, in place: by the image's alpha channel if `alpha` is negative or
above M; otherwise by `alpha`, to which the alpha channel, if there is one, is then set, also under a channel of
interest.

Reports NULL; the image's fault with "Incorrect Image"; another depth; a channel of interest that is the alpha
channel; no alpha channel where it is asked for.
""",
    "orvAlphaCompositeC": """Composites two images. `compositeType` is one of, with A and B the colours multiplied by their alphas a and b, which
here stand for 0 to 1:

  type       colour                       alpha
  0 over     A + (1 - a) B                a + (1 - a) b
  1 in       A b                          a b
  2 out      A (1 - b)                    a (1 - b)
  3 atop     A b + (1 - a) B              b
  4 xor      A (1 - b) + (1 - a) B        a (1 - b) + (1 - a) b
  5 plus     A + B                        a + b

`premulAlpha` 1 says that the colours are multiplied already; with 0 they are multiplied first. With `divideMode` 0
all products are mul and all sums cut. With 1 the colour is divided by the alpha of the result where that is not 0,
in double precision with alphas of a * (float)(1 / M), cut to M and rounded to nearest, ties to even.

`aA` and `aB` are the alphas of whole images, or, if negative or above M, stand for the alpha channels of these. The
destination's alpha channel stays.

T. Porter and T. Duff, "Compositing digital images", SIGGRAPH 1984.

Reports, for the destination and then the sources: NULL; the image's fault with "Incorrect Image"; then a channel of
interest that is the alpha channel; another depth, or one that differs; a channel of interest in one image and not in
the other; numbers of colour channels that differ; no alpha channel where it is asked for; a type; a mode.
""",
    "orvAlphaComposite": """The same with an alpha for each pixel, and with the alpha of the result stored. Alphas are read in the alpha channel
of an alpha image, or in its only colours' first channel, or, where the image is NULL, in the alpha channel of the
source. Without `alphaImageB` the second alpha is that of `srcImageB` only if `alphaImageA` is NULL too and the
source has one; otherwise it is 1 - a, and the alpha of the result then comes from products of a and 1 - a alone (at
divideMode 0, type 2 stores a a and type 5 stores M). The alpha of the result goes to the alpha channel of
`alphaImageDst`, or of the destination if that is NULL and there is one, also under a channel of interest.

Reports as orvAlphaCompositeC; at the alphas, for each alpha image its fault with "Incorrect Image" and a depth that
differs, and no alpha channel in `srcImageA`, where it is asked for, or in `alphaImageDst`.
""",
    "orvSetBorderMode": """Sets the border mode of the sides in `border` (ORV_SIDE_...) to `mode` (ORV_BORDER_...) and their border constant to
`constVal`, cut to the range of the image's depth; at 32F the constant stands for the same number as a float. Above
and below the image, the mode of that side also rules what lies to the left and to the right of it.

Nothing is checked or reported; nothing happens for NULL.
""",
    "orvBlur": """Gives every value the mean of a window of `nCols` by `nRows` pixels, of which the pixel itself is column `anchorX`
and row `anchorY`. All depths; the integer sum is converted to float, multiplied by the float 1 / (nCols * nRows),
and rounded to nearest, ties to even. At 1U a mean of 0.5 or more gives 1. At 32S and 32F the sums are floats: they
run along the columns and rows, so that their rounding depends a little on where the region lies; 32S results
saturate. The data orders may differ; in place is allowed. A window of 1 by 1 is orvCopy, with all its rules. The
time does not depend on the window's size.

Running sums over windows: M. J. McDonnell, "Box-filtering techniques", Computer Graphics and Image Processing 17
(1981).

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (depths differ; `nRows` or `nCols` negative; an
anchor negative; an anchor outside the window); ORV_STATUS_BAD_ALPHA_CHANNEL (the destination, then the source, has
nothing but alpha); ORV_STATUS_BAD_CHANNELS (numbers of processed channels that differ); ORV_STATUS_BAD_ALPHA_CHANNEL
(a mask); ORV_STATUS_NO_MEMORY (no memory, or a tile that does not come).
""",
    "orvCreateConvKernel": """Creates a kernel from nCols * nRows `values`, of which it keeps a copy. The value in column `anchorX` and row
`anchorY` is the one that meets the pixel itself. `nShiftR` shifts every sum to the right, toward minus infinity; it
is kept as it is, and its lowest five bits count. The form with characters takes bytes with a sign.

Reports, and returns NULL: ORV_STATUS_BAD_ARG (no values; `nRows` or `nCols` below 1; an anchor outside the kernel);
ORV_STATUS_NO_MEMORY.
""",
    "orvCreateConvKernelChar": """As orvCreateConvKernel, beside which it is declared:

Creates a kernel from nCols * nRows `values`, of which it keeps a copy. The value in column `anchorX` and row
`anchorY` is the one that meets the pixel itself. `nShiftR` shifts every sum to the right, toward minus infinity; it
is kept as it is, and its lowest five bits count. The form with characters takes bytes with a sign.

Reports, and returns NULL: ORV_STATUS_BAD_ARG (no values; `nRows` or `nCols` below 1; an anchor outside the kernel);
ORV_STATUS_NO_MEMORY.
""",
    "orvCreateConvKernelFP": """As orvCreateConvKernel, beside which it is declared:

Creates a kernel from nCols * nRows `values`, of which it keeps a copy. The value in column `anchorX` and row
`anchorY` is the one that meets the pixel itself. `nShiftR` shifts every sum to the right, toward minus infinity; it
is kept as it is, and its lowest five bits count. The form with characters takes bytes with a sign.

Reports, and returns NULL: ORV_STATUS_BAD_ARG (no values; `nRows` or `nCols` below 1; an anchor outside the kernel);
ORV_STATUS_NO_MEMORY.
""",
    "orvGetConvKernel": """Tells what a kernel was created from. `*values` points at the caller's memory for nCols * nRows values; the form with
characters cuts each to its low byte.

Reports ORV_STATUS_BAD_ARG (no kernel; a kernel with impossible sizes; no `nRows` and no `nCols`; no `anchorX` and no
`anchorY`; no `values`; no `nShiftR`). The two of a pair are both reported; after each pair the function ends if the
thread's status is negative, also from an earlier call.
""",
    "orvGetConvKernelChar": """As orvGetConvKernel, beside which it is declared:

Tells what a kernel was created from. `*values` points at the caller's memory for nCols * nRows values; the form with
characters cuts each to its low byte.

Reports ORV_STATUS_BAD_ARG (no kernel; a kernel with impossible sizes; no `nRows` and no `nCols`; no `anchorX` and no
`anchorY`; no `values`; no `nShiftR`). The two of a pair are both reported; after each pair the function ends if the
thread's status is negative, also from an earlier call.
""",
    "orvGetConvKernelFP": """As orvGetConvKernel, beside which it is declared:

Tells what a kernel was created from. `*values` points at the caller's memory for nCols * nRows values; the form with
characters cuts each to its low byte.

Reports ORV_STATUS_BAD_ARG (no kernel; a kernel with impossible sizes; no `nRows` and no `nCols`; no `anchorX` and no
`anchorY`; no `values`; no `nShiftR`). The two of a pair are both reported; after each pair the function ends if the
thread's status is negative, also from an earlier call.
""",
    "orvDeleteConvKernel": """Releases a kernel. Reports ORV_STATUS_BAD_ARG (no kernel; a kernel without values).""",
    "orvDeleteConvKernelFP": """As orvDeleteConvKernel, beside which it is declared:

Releases a kernel. Reports ORV_STATUS_BAD_ARG (no kernel; a kernel without values).
""",
    "orvConvolve2D": """Convolves an image with 1 to 10 kernels and combines the results. For a kernel K

    sum(x, y) = sum over i, j of K[j][i] * src(x + anchorX - i, y + anchorY - j)

so that the first value meets the sample furthest right and lowest: see any textbook on convolution, such as R. N.
Bracewell, "Two-Dimensional Imaging" (1995). In place is allowed. The data orders are the same; a channel of interest
is set in both images or in none.

orvConvolve2D takes every depth but 32F. Each sum is exact where no sum of the kernel can pass 32 bits, and is then
shifted by the kernel's nShiftR. With one kernel and no shift ORV_COMBINE_SUMSQ gives the square of the sum,
ORV_COMBINE_SUMSQROOT its absolute value, and every other method, known or not, the sum. Totals of several kernels
are integers as long as the sums of every kernel lie between -32768 and 32767, and otherwise floats; integer squares
and totals wrap at 32 bits. Results are rounded to nearest, ties to even, and cut to the depth's range; at 1U what is
above 0, or above 0.5 for floats, is 1.

Where sums of a kernel can pass 32 bits, or a value does not fit 16, and always at 32S, they are formed in floats:
every product in double precision, the running sum rounded to a float after each, the kernel's values from the last
to the first. A shift first rounds to an integer. Dense windows of 3 x 3 (at most two values 0) and 5 x 5 (at most
four) in rows of 1 or 3 channels are an exception: at 32S their sums are formed in double precision and rounded once;
at other depths, where such kernels are of no use, the sums wrap at 32 bits and their bits are taken for floats.

orvConvolve2DFP takes 32F. Windows of 3 x 3 and 5 x 5 in rows of 1 or 3 channels are summed in double precision and
rounded once; others take two rows of the window at a time, column by column, and round to a float after each two
products.

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ROI_OFFSET (a region that begins outside its image);
ORV_STATUS_BAD_ARG (no `kernel`; `nKernels` below 1 or above 10; an unknown method for several kernels; a kernel that
is NULL; a bad one; depths or data orders that differ; 32F, or for orvConvolve2DFP any other depth; a channel of
interest in one image only; no channel but alpha; numbers of processed channels that differ); ORV_STATUS_NO_MEMORY
(no memory, or a tile that does not come). Nothing happens where regions and masks have no pixel in common.
""",
    "orvConvolve2DFP": """As orvConvolve2D, beside which it is declared:

Convolves an image with 1 to 10 kernels and combines the results. For a kernel K

    sum(x, y) = sum over i, j of K[j][i] * src(x + anchorX - i, y + anchorY - j)

so that the first value meets the sample furthest right and lowest: see any textbook on convolution, such as R. N.
Bracewell, "Two-Dimensional Imaging" (1995). In place is allowed. The data orders are the same; a channel of interest
is set in both images or in none.

orvConvolve2D takes every depth but 32F. Each sum is exact where no sum of the kernel can pass 32 bits, and is then
shifted by the kernel's nShiftR. With one kernel and no shift ORV_COMBINE_SUMSQ gives the square of the sum,
ORV_COMBINE_SUMSQROOT its absolute value, and every other method, known or not, the sum. Totals of several kernels
are integers as long as the sums of every kernel lie between -32768 and 32767, and otherwise floats; integer squares
and totals wrap at 32 bits. Results are rounded to nearest, ties to even, and cut to the depth's range; at 1U what is
above 0, or above 0.5 for floats, is 1.

Where sums of a kernel can pass 32 bits, or a value does not fit 16, and always at 32S, they are formed in floats:
every product in double precision, the running sum rounded to a float after each, the kernel's values from the last
to the first. A shift first rounds to an integer. Dense windows of 3 x 3 (at most two values 0) and 5 x 5 (at most
four) in rows of 1 or 3 channels are an exception: at 32S their sums are formed in double precision and rounded once;
at other depths, where such kernels are of no use, the sums wrap at 32 bits and their bits are taken for floats.

orvConvolve2DFP takes 32F. Windows of 3 x 3 and 5 x 5 in rows of 1 or 3 channels are summed in double precision and
rounded once; others take two rows of the window at a time, column by column, and round to a float after each two
products.

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ROI_OFFSET (a region that begins outside its image);
ORV_STATUS_BAD_ARG (no `kernel`; `nKernels` below 1 or above 10; an unknown method for several kernels; a kernel that
is NULL; a bad one; depths or data orders that differ; 32F, or for orvConvolve2DFP any other depth; a channel of
interest in one image only; no channel but alpha; numbers of processed channels that differ); ORV_STATUS_NO_MEMORY
(no memory, or a tile that does not come). Nothing happens where regions and masks have no pixel in common.
""",
    "orvConvolveSep2D": """Filters an image with a row kernel `xKernel`, of one row, and a column kernel `yKernel`, of one column, of which one
may be NULL. The kernel's values run as they were given, and that at the anchor meets the pixel itself:

    sum(x, y) = sum over i, j of X[i] * Y[j] * src(x + i - anchorX, y + j - anchorY)

orvConvolveSep2D takes every depth but 32F. The sum is formed modulo 2^32, shifted to the right once by the sum of
both kernels' shifts, toward minus infinity, and cut to the depth's range, which at 32S is the sum itself.
orvConvolveSep2DFP takes 32F: the columns first, then the rows, each sum formed in double precision and rounded to a
float once. That a window which is a product costs the sum of its sides only: see any textbook, such as W. K. Pratt,
"Digital Image Processing" (1978). In place is refused.

Returns 0, or a negative status. Clears the thread's status first. Reports an image's fault with "Incorrect Image",
then ORV_STATUS_BAD_ARG, which is also what is returned (one image for both; no kernel; depths, data orders or
origins that differ; more than 32 channels in pixel order; numbers of channels, alpha channels or numbers of
processed channels that differ; of the row kernel, then of the column kernel: no values, fewer than 2 values or
values in both directions, an anchor outside; 32F, or for orvConvolveSep2DFP any other depth). ORV_STATUS_NO_MEMORY
is stored and returned, and reported as ORV_STATUS_BACKTRACE, where there is no memory or a tile does not come.
""",
    "orvConvolveSep2DFP": """As orvConvolveSep2D, beside which it is declared:

Filters an image with a row kernel `xKernel`, of one row, and a column kernel `yKernel`, of one column, of which one
may be NULL. The kernel's values run as they were given, and that at the anchor meets the pixel itself:

    sum(x, y) = sum over i, j of X[i] * Y[j] * src(x + i - anchorX, y + j - anchorY)

orvConvolveSep2D takes every depth but 32F. The sum is formed modulo 2^32, shifted to the right once by the sum of
both kernels' shifts, toward minus infinity, and cut to the depth's range, which at 32S is the sum itself.
orvConvolveSep2DFP takes 32F: the columns first, then the rows, each sum formed in double precision and rounded to a
float once. That a window which is a product costs the sum of its sides only: see any textbook, such as W. K. Pratt,
"Digital Image Processing" (1978). In place is refused.

Returns 0, or a negative status. Clears the thread's status first. Reports an image's fault with "Incorrect Image",
then ORV_STATUS_BAD_ARG, which is also what is returned (one image for both; no kernel; depths, data orders or
origins that differ; more than 32 channels in pixel order; numbers of channels, alpha channels or numbers of
processed channels that differ; of the row kernel, then of the column kernel: no values, fewer than 2 values or
values in both directions, an anchor outside; 32F, or for orvConvolveSep2DFP any other depth). ORV_STATUS_NO_MEMORY
is stored and returned, and reported as ORV_STATUS_BACKTRACE, where there is no memory or a tile does not come.
""",
    "orvNormCrossCorr": """Tells how like the template the surroundings of every pixel are: the cosine of the angle between both as vectors,

    r(x, y) = sum of s * t / sqrt(sum of s * s * sum of t * t)

over the region of `tplImage`, of tw by th pixels, whose top left value t meets the sample s at (x - tw / 2, y - th /
2), halves rounded down; with 1 for a root that is not above 1.1754943508222875e-38. The template's mask does not
count. Sums of integers are exact, those of samples of 32 bits are formed in double precision. All depths but 1U; the
images have one depth, or the source and the template 8U and the destination 32F. The result is r at 32F, and at
other depths r * 255 (8U), r * 127 (8S), r * 65535 (16U), r * 32767 (16S) or r * 2147483520 (32S), rounded to
nearest, ties to even, and cut.

The images agree in their numbers of processed channels; in data order, origin, alpha channel and number of channels
the source agrees with one of the others at least. In place is refused; the template may be any image, but is not
tiled.

See J. P. Lewis, "Fast normalized cross-correlation", Vision Interface (1995).

Returns 0, or a negative status. Reports an image's fault with "Incorrect Image" (the source's, the template's, the
destination's); then ORV_STATUS_BAD_ARG, which is also what is returned (source and destination are one image; the
template's depth differs; a destination of another depth, or 1U; data orders, origins, alpha channels, numbers of
channels that differ from both of the source's; numbers of processed channels that differ; a tiled template);
ORV_STATUS_NO_MEMORY (no memory, or a tile that does not come). While it computes, the thread's error mode is
ORV_ErrModeSilent: tile providers see that.
""",
    "orvDilate": """The greatest value of the window; at 1U whether any bit is set.""",
    "orvErode": """The least value of the window; at 1U whether all bits are set.""",
    "orvOpen": """Erosion, then dilation: removes what is bright and smaller than the window. The first stage is made in the region
alone; around it the second stage sees the source. Both run from the top down, row by row, and the first does so no
further than the second needs rows: the last n rows of the result, all of which have the window of the first of them,
are equal.
""",
    "orvClose": """Dilation, then erosion: removes what is dark and smaller than the window. Otherwise as orvOpen.""",
    "orvMaxFilter": """The greatest value of the window; at 1U whether any bit is set. For the method see orvDilate.""",
    "orvMinFilter": """As orvErode, beside which it is declared:

The least value of the window; at 1U whether all bits are set.
""",
    "orvMedianFilter": """The median of the window: value nCols * nRows / 2 + 1 from below, rounded down, which is the upper of the two in the
middle if their number is even; at 1U whether at least half of the bits are set.

Small windows: A. Adams, "Fast median filters using separable sorting networks", ACM Transactions on Graphics 40
(2021). Large ones at 8 bits: S. Perreault and P. Hebert, "Median filtering in constant time", IEEE Transactions on
Image Processing 16 (2007); otherwise: T. S. Huang, G. J. Yang and G. Y. Tang, "A fast two-dimensional median
filtering algorithm", IEEE Transactions on Acoustics, Speech and Signal Processing 27 (1979).
""",
    "orvColorMedianFilter": """The pixel of the window whose distances to all the others have the least sum, of several the first, row by row. A
distance is the sum of the absolute differences of three channels; at 32F distances are added as floats, pair by
pair. The images have three channels, or four of which the source's last one is alpha; the fourth is not written. All
depths but 1U and 32S; the data orders may differ. The time grows with the square of the window's number of pixels.

J. Astola, P. Haavisto and Y. Neuvo, "Vector median filters", Proceedings of the IEEE 78 (1990).

Reports, in this order, an image's fault with "Incorrect Image", the source's before the destination's, and with
ORV_STATUS_BAD_ARG: "(anchorX>=nCols)||(anchorX<0)", "(anchorY>=nRows)||(anchorY<0)", "(srcImage==dstImage)",
"srcImage->depth!=dstImage->depth", "srcImage->depth==1", "srcImage->depth==(0x80000000|32)",
"srcImage->nChannels!=dstImage->nChannels", "srcImage->nChannels<3", "srcImage->nChannels>4",
"(srcImage->nChannels==3)&&(srcImage->alphaChannel!=0)", "(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)",
"srcImage->roi->coi!=0", "dstImage->roi->coi!=0". Tiles and memory: as above.
""",
    "orvFixedFilter": """Gives every value the sum of the window around it times the coefficients of `filter` (ORV_FIXED_...). The
coefficients are not turned round: a ramp that rises to the right gives something negative with ORV_FIXED_SOBEL_X.
Quotients are rounded to nearest, ties to even, and results cut to the range of the depth. 32S and 32F are computed
in 32-bit float, row by row, and so is ORV_FIXED_GAUSS5 at all depths, whose coefficients are rounded to float. At 1U
a bit is set where the sum is above 0, with ORV_FIXED_GAUSS3 above 7, with ORV_FIXED_GAUSS5 above 285;
ORV_FIXED_SHARPEN3 is orvCopy then, with all its rules. Each channel by itself; in place is refused. No
floating-point exception is raised or left.

J. M. S. Prewitt, "Object enhancement and extraction", in Picture Processing and Psychopictorics (1970); I. Sobel and
G. Feldman, "A 3x3 isotropic gradient operator for image processing" (1968).

Reports and returns, in this order: an image's fault, with "Incorrect Image", the source's before the destination's;
then with ORV_STATUS_BAD_ARG "(srcImage==dstImage)", "srcImage->depth!=dstImage->depth" (returns
ORV_STATUS_BAD_DEPTH), "srcImage->nChannels!=dstImage->nChannels" (ORV_STATUS_BAD_CHANNELS),
"srcImage->alphaChannel!=dstImage->alphaChannel" (ORV_STATUS_BAD_ALPHA_CHANNEL),
"(srcImage->alphaChannel!=0)&&(srcImage->alphaChannel!=srcImage->nChannels)", and unless the depth is 1U
"srcImage->dataOrder!=dstImage->dataOrder" (-1); then the three tests of the channels of interest as orvMedianFilter
makes them, with ORV_STATUS_BAD_COI, after which a negative stored status is returned; last, with ORV_STATUS_BAD_ARG,
"Unknow filter.". Tiles and memory: as orvMedianFilter. Returns the stored status if it is negative, 0 otherwise.
""",
    "orvGetAffineQuad": """Puts the corners of the region through a map. A perspective map is not tested for a denominator w of 0.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (no region, or one that lies outside; `coeffs`
NULL; `quad` NULL).
""",
    "orvGetAffineQuadROI": """As orvGetAffineQuad, beside which it is declared:

Puts the corners of the region through a map. A perspective map is not tested for a denominator w of 0.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (no region, or one that lies outside; `coeffs`
NULL; `quad` NULL).
""",
    "orvGetBilinearQuad": """As orvGetAffineQuad, beside which it is declared:

Puts the corners of the region through a map. A perspective map is not tested for a denominator w of 0.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (no region, or one that lies outside; `coeffs`
NULL; `quad` NULL).
""",
    "orvGetBilinearQuadROI": """As orvGetAffineQuad, beside which it is declared:

Puts the corners of the region through a map. A perspective map is not tested for a denominator w of 0.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (no region, or one that lies outside; `coeffs`
NULL; `quad` NULL).
""",
    "orvGetPerspectiveQuad": """As orvGetAffineQuad, beside which it is declared:

Puts the corners of the region through a map. A perspective map is not tested for a denominator w of 0.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (no region, or one that lies outside; `coeffs`
NULL; `quad` NULL).
""",
    "orvGetPerspectiveQuadROI": """As orvGetAffineQuad, beside which it is declared:

Puts the corners of the region through a map. A perspective map is not tested for a denominator w of 0.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (no region, or one that lies outside; `coeffs`
NULL; `quad` NULL).
""",
    "orvGetAffineBound": """The same, and then the box around the four corners: the point of the smallest x and y, and that of the largest.

Reports what the matching function above reports, in its name; ORV_STATUS_BACKTRACE while the thread's stored status
is negative, be it from an earlier call; ORV_STATUS_BAD_ARG (`bound` NULL).
""",
    "orvGetAffineBoundROI": """As orvGetAffineBound, beside which it is declared:

The same, and then the box around the four corners: the point of the smallest x and y, and that of the largest.

Reports what the matching function above reports, in its name; ORV_STATUS_BACKTRACE while the thread's stored status
is negative, be it from an earlier call; ORV_STATUS_BAD_ARG (`bound` NULL).
""",
    "orvGetBilinearBound": """As orvGetAffineBound, beside which it is declared:

The same, and then the box around the four corners: the point of the smallest x and y, and that of the largest.

Reports what the matching function above reports, in its name; ORV_STATUS_BACKTRACE while the thread's stored status
is negative, be it from an earlier call; ORV_STATUS_BAD_ARG (`bound` NULL).
""",
    "orvGetBilinearBoundROI": """As orvGetAffineBound, beside which it is declared:

The same, and then the box around the four corners: the point of the smallest x and y, and that of the largest.

Reports what the matching function above reports, in its name; ORV_STATUS_BACKTRACE while the thread's stored status
is negative, be it from an earlier call; ORV_STATUS_BAD_ARG (`bound` NULL).
""",
    "orvGetPerspectiveBound": """As orvGetAffineBound, beside which it is declared:

The same, and then the box around the four corners: the point of the smallest x and y, and that of the largest.

Reports what the matching function above reports, in its name; ORV_STATUS_BACKTRACE while the thread's stored status
is negative, be it from an earlier call; ORV_STATUS_BAD_ARG (`bound` NULL).
""",
    "orvGetPerspectiveBoundROI": """As orvGetAffineBound, beside which it is declared:

The same, and then the box around the four corners: the point of the smallest x and y, and that of the largest.

Reports what the matching function above reports, in its name; ORV_STATUS_BACKTRACE while the thread's stored status
is negative, be it from an earlier call; ORV_STATUS_BAD_ARG (`bound` NULL).
""",
    "orvGetAffineTransform": """Makes the coefficients of the map that carries the corners of the region to the four points of a quadrangle. An
affine map leads to parallelograms only: the cross products of opposite edges may be 1e-7 at most.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`quad` NULL; `coeffs` NULL; the quadrangle
degenerate; concave; for the affine map, not a parallelogram; no region, or one that lies outside; a region one pixel
wide or high).
""",
    "orvGetAffineTransformROI": """As orvGetAffineTransform, beside which it is declared:

Makes the coefficients of the map that carries the corners of the region to the four points of a quadrangle. An
affine map leads to parallelograms only: the cross products of opposite edges may be 1e-7 at most.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`quad` NULL; `coeffs` NULL; the quadrangle
degenerate; concave; for the affine map, not a parallelogram; no region, or one that lies outside; a region one pixel
wide or high).
""",
    "orvGetBilinearTransform": """As orvGetAffineTransform, beside which it is declared:

Makes the coefficients of the map that carries the corners of the region to the four points of a quadrangle. An
affine map leads to parallelograms only: the cross products of opposite edges may be 1e-7 at most.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`quad` NULL; `coeffs` NULL; the quadrangle
degenerate; concave; for the affine map, not a parallelogram; no region, or one that lies outside; a region one pixel
wide or high).
""",
    "orvGetBilinearTransformROI": """As orvGetAffineTransform, beside which it is declared:

Makes the coefficients of the map that carries the corners of the region to the four points of a quadrangle. An
affine map leads to parallelograms only: the cross products of opposite edges may be 1e-7 at most.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`quad` NULL; `coeffs` NULL; the quadrangle
degenerate; concave; for the affine map, not a parallelogram; no region, or one that lies outside; a region one pixel
wide or high).
""",
    "orvGetPerspectiveTransform": """As orvGetAffineTransform, beside which it is declared:

Makes the coefficients of the map that carries the corners of the region to the four points of a quadrangle. An
affine map leads to parallelograms only: the cross products of opposite edges may be 1e-7 at most.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`quad` NULL; `coeffs` NULL; the quadrangle
degenerate; concave; for the affine map, not a parallelogram; no region, or one that lies outside; a region one pixel
wide or high).
""",
    "orvGetPerspectiveTransformROI": """As orvGetAffineTransform, beside which it is declared:

Makes the coefficients of the map that carries the corners of the region to the four points of a quadrangle. An
affine map leads to parallelograms only: the cross products of opposite edges may be 1e-7 at most.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`quad` NULL; `coeffs` NULL; the quadrangle
degenerate; concave; for the affine map, not a parallelogram; no region, or one that lies outside; a region one pixel
wide or high).
""",
    "orvGetRotateShift": """Adds to `*xShift` and `*yShift` what makes orvRotate turn about the point (xCenter, yCenter). They come in as the
shift that is wanted besides, 0 for none. `angle` is in degrees; whole turns do not count, and for 90, 180 and 270
the sums are exact.

Reports ORV_STATUS_BAD_ARG (`xShift` or `yShift` NULL).
""",
    "orvWarpAffine": """Carries the source's region onto the parallelogram that an affine map makes of it.

Reports the fault of an image with "Incorrect Image". Then ORV_STATUS_BAD_ARG for each that holds of: depths,
origins, data orders that differ, a signed depth, one image for both; and ends, as it does if the thread's stored
status is negative from an earlier call. Then ORV_STATUS_BAD_ARG (`coeffs` NULL; a determinant of 1e-7 or less); what
orvGetAffineQuad reports, and ORV_STATUS_BACKTRACE; ORV_STATUS_BAD_ARG (`interpolate`; a source region one pixel wide
or high; numbers of processed channels that differ). A region that lies outside the destination ends it silently. Of
tiles, ORV_STATUS_BACKTRACE if those of the source do not come or there is no memory for their pixels,
ORV_STATUS_ERROR for one of the destination, or of the smooth edge.
""",
    "orvWarpBilinearQ": """Carries a region onto a quadrangle, or a quadrangle onto a region, by the bilinear map that leads to its corners.

Reports the fault of an image with "Incorrect Image". Then ORV_STATUS_BAD_ARG for each that holds of: depths,
origins, data orders that differ, a signed depth, a bad `warpFlag`, one image for both; and ends, as it does if the
thread's stored status is negative from an earlier call. Then ORV_STATUS_BAD_ARG (`quad` NULL; degenerate; concave;
`interpolate`; the region that is carried one pixel wide or high; numbers of processed channels that differ). Regions
that lie outside their images end it silently. Tiles as in orvWarpAffine.
""",
    "orvWarpBilinear": """The same with the quadrangle that orvGetBilinearQuad makes: of the destination's region if `warpFlag` is not 0,
otherwise of the source's.

Reports what that function reports, and ORV_STATUS_BACKTRACE; what orvWarpBilinearQ reports, and
ORV_STATUS_BACKTRACE. The latter too while the thread's stored status is negative from an earlier call.
""",
    "orvWarpPerspectiveQ": """orvWarpBilinearQ by the perspective map that leads to the corners.""",
    "orvWarpPerspective": """orvWarpBilinear with orvGetPerspectiveQuad and orvWarpPerspectiveQ.""",
    "orvShear": """orvWarpAffine with x' = x + xShear y + xShift, y' = yShear x + y + yShift.

Reports what orvWarpAffine reports, and ORV_STATUS_BACKTRACE if the thread's stored status is then negative.
""",
    "orvRotate": """Turns an image around pixel (0, 0) by `angle` degrees and shifts it: orvWarpAffine with

    x' = cos(angle) x + sin(angle) y + xShift        y' = -sin(angle) x + cos(angle) y + yShift

which is counter-clockwise where rows are stored from the top down. orvGetRotateShift makes shifts for other centres.
A turn by 90, 180 or 270 degrees, whole turns not counted, with whole shifts and without tiles copies pixels exactly,
regions one pixel wide too, and does not look at `interpolate`.

Reports what orvWarpAffine reports, and ORV_STATUS_BACKTRACE if the thread's stored status is then negative. The
exact turn reports in its own name the fault of an image, ORV_STATUS_BAD_ARG for each of the first tests of
orvWarpAffine, and for numbers of processed channels that differ.
""",
    "orvRemap": """Makes every pixel of the destination's region of the source's values at a position that two images tell: x and y of
one channel of depth 32F, counted in rows as they are stored. Positions outside the source's region, edges included
in it, and those that are not numbers leave their pixels as they are. The smallest of the regions of `dstImage`,
`xMap` and `yMap` counts. Depths, methods and layouts are those of a warp; ORV_BLEND_EDGE has no effect.

A tiled source is read as a whole. The work goes by tiles of the destination, or blocks of 128 x 128 pixels; a tiled
map is read block by block.

Reports the fault of an image with "Incorrect Image": source, destination, x and y map. Then ORV_STATUS_BAD_ARG for
each that holds of: depths, origins, data orders of source and destination that differ, a signed depth, an x map that
is not 32F with one channel which is not alpha, a y map likewise, one image for source and destination; and ends, as
it does if the thread's stored status is negative from an earlier call. Then ORV_STATUS_BAD_ARG (`interpolate`). An
empty region ends it silently. Then ORV_STATUS_BAD_ARG (numbers of processed channels that differ);
ORV_STATUS_BACKTRACE if tiles of the source or of a map do not come or there is no memory for their pixels,
ORV_STATUS_ERROR for one of the destination.
""",
    "orvZoom": """Makes an image larger, or leaves it as large: xDst >= xSrc and yDst >= ySrc. With W the width of the source's region,
before it is cut at the image's edge, and D = W * xDst / xSrc, pixel i of the destination is at i * (W - 1) / (D - 1)
in the source, so that the first centres meet and the last ones do. Between pixels, `interpolate` says what is taken:

  ORV_INTER_NN       the nearest pixel. With a whole ratio pixels are repeated instead: i is at i * xSrc / xDst.
  ORV_INTER_LINEAR   the line between two: 8U and 16U with weights of 14 bits and results without their fraction, 32F
                     in double precision. Images 1 pixel wide or high get the nearest pixel.
  ORV_INTER_CUBIC    the cubic through four, which may lie outside the region, in double precision; at the image's
                     edges through the last four. 8U and 16U results lose their fraction, and are cut to the range.
                     Images less than 4 pixels wide or high get lines.

Rows likewise, by height. 1U always gets the nearest pixel. Floor(W * xDst / xSrc) pixels are made, at least 1.

A mask of the source is scaled with it, by the nearest pixel; one of the destination lies as that does. Both hold
together. The regions are also cut to the width and height of their masks.

Reports ORV_STATUS_BAD_ARG (a ratio below 1); an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG
(`interpolate`); ORV_STATUS_BAD_ARG for each of depths that differ, a depth that is not one of the four, data orders
that differ, and ratios with a number below 1, going on to the next. Then, if the thread's stored status is negative,
even from before, it ends. ORV_STATUS_BAD_ARG (one image twice); ORV_STATUS_BACKTRACE for a mask that could not be
scaled; ORV_STATUS_ERROR for numbers of processed channels that differ; ORV_STATUS_NO_MEMORY; ORV_STATUS_ERROR for a
tile of the destination that does not come, ORV_STATUS_BACKTRACE for one of the source. An image with nothing but an
alpha channel ends it silently.
""",
    "orvResize": """orvZoom for any ratios, larger or smaller; and orvDecimate for ORV_INTER_SUPER. Where an image becomes smaller,
pixels between the samples are left out: orvDecimate with ORV_INTER_SUPER and orvDecimateBlur take all of them.

Reports, for ORV_INTER_SUPER, ORV_STATUS_BAD_ARG (a ratio above 1) and then as orvDecimate; otherwise as orvZoom,
under its name. At the end ORV_STATUS_BACKTRACE if the thread's stored status is negative.
""",
    "orvDecimate": """Makes an image smaller, or leaves it as large: xDst <= xSrc and yDst <= ySrc. Pixel i of the destination is at i * s
in the source, with the step s = xSrc / xDst as a float; rows likewise. Pixels for which the source's region does not
hold what they need, the pixel at the position and, between pixels, the one after it, are not made.

  ORV_INTER_NN       the pixel at the position without its fraction; where s is not whole, that of a half more
  ORV_INTER_LINEAR   the line between two pixels
  ORV_INTER_CUBIC    the cubic through four, which may lie outside the region; at the image's edges through the last
                     four
  ORV_INTER_SUPER    the mean of what the pixel covers: from i * s to (i + 1) * s, where a source pixel c covers c to
                     c + 1. Parts of pixels count by their share. Pixels that the region covers in part are not made.
                     Integers are rounded to nearest, halves upward; sums are floats. (K. M. Fant, "A nonaliasing,
                     real-time spatial transform technique", IEEE Computer Graphics and Applications 6, 1986.)

Lines and cubics are computed in double precision; 8U and 16U lose their fraction, and are cut to the range. Along an
axis with a whole step nothing is interpolated, and the first row and column are the region's. The nearest pixel is
taken where the image is less than 4 pixels wide or high, where both steps are whole (but for ORV_INTER_SUPER), where
the region is smaller than a step, and at 1U (but for ORV_INTER_SUPER). Masks have no effect.

Reports an image's fault with "Incorrect Image". Then each of these, going on to the next: ORV_STATUS_BAD_ARG (one
image twice); ORV_STATUS_BAD_DEPTH (depths differ; not one of the four); ORV_STATUS_BAD_ORIGIN and
ORV_STATUS_BAD_DATA_ORDER (differ); ORV_STATUS_BAD_COI (a channel of interest of the source alone; of the destination
alone); ORV_STATUS_BAD_CHANNELS (numbers of channels, or of processed ones, that differ); ORV_STATUS_BAD_ARG
(`interpolate`; xDst, xSrc, yDst, ySrc below 1; a ratio above 1 along rows; down columns). Then, if the thread's
stored status is negative, even from before, it ends. ORV_STATUS_NO_MEMORY; ORV_STATUS_INTERNAL for a tile that does
not come.
""",
    "orvDecimateBlur": """Makes an image smaller, or leaves it as large, from means: the destination's pixels are at the positions of orvZoom,
and what is interpolated there, as orvZoom does, are the means of boxes of `xMaskSize` by `yMaskSize` pixels. The box
of pixel p begins at p - xMaskSize / 2 (rounded downward); rows likewise. A size of 0 stands for the ratio, rounded.
Boxes take pixels outside the region; beyond the image they meet the edge's pixel again and again. Means of 8U and
16U are computed with a reciprocal of 8 bits, without their fraction; at 1U the nearest box is taken, and gives 1
where at least half of it is set. Where a region is no more than a pixel after scaling, nothing is made. Masks have
no effect. The time does not depend on the box.

ORV_INTER_NN takes the box of the pixel at or before the position; so do images that keep their size.

Running sums: M. J. McDonnell, "Box-filtering techniques", Computer Graphics and Image Processing 17 (1981).

Reports ORV_STATUS_BAD_ARG (`interpolate`), which ends the call only after the other checks; an image's fault with
"Incorrect Image"; ORV_STATUS_BAD_ARG (depths, data orders, alpha channels that differ; a signed depth; a ratio above
1; xDst or yDst below 1; xSrc or ySrc below 1; a size below 0; one image twice; a channel of interest on one side
only; a region of the source, of the destination that lies outside its image); ORV_STATUS_BAD_CHANNELS (numbers of
processed channels that differ); ORV_STATUS_NO_MEMORY; ORV_STATUS_INTERNAL for a tile that does not come.
""",
    "orvMirror": """Copies the region of the source turned around: with `flipAxis` 0 the first row becomes the last, with 1 the first
column of each row becomes the last, with -1 both. All depths; in place is allowed without a mask. The two regions
have the smaller size of both and of the regions of both masks, and the centre about which pixels turn is that of
this size. A mask of the source turns with the pixels, one of the destination lies as the destination does; both hold
together. Alpha channels are left out. The data orders may differ if one of the images has one channel.

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (depths differ; data orders differ; a mask in
place; `flipAxis`; a 1U image with an alpha channel; numbers of processed channels that differ);
ORV_STATUS_NO_MEMORY; ORV_STATUS_ERROR for a tile of the destination that does not come, ORV_STATUS_BACKTRACE for one
of the source.
""",
    "orvColorToGray": """Makes grey of colours, from the weighted sums w = 54 R + 183 G + 18 B, whose weights have the sum 255, so that white
of 8U becomes 254, and, at 32S, v(n) = 109 (R >> n) + 366 (G >> n) + 37 (B >> n), which takes values to be positive:

            to 8U          to 16U         to 1U, a bit is set if
    8U      w >> 8         w              w >> 8 > 127
    16U     w >> 16        w >> 8         w >> 8 > 32767
    32S     v(11) >> 21    v(11) >> 13    v(10) >= 536870912

Other pairs are refused. Regions have no effect. Of a destination in planes the first one is written.

Reports ORV_STATUS_BAD_ARG for a source that is not RGB; a destination that is not grey; one in pixels with more than
one channel; origins that differ; a pair of depths; a source with fewer than 3 channels.
""",
    "orvGrayToColor": """Makes colours of grey: each of R, G and B is the grey value g times its own weight, which is at 8U W = [256 weight]
and at 16U and 32S W = [32768 weight], of which the low 16 bits count (at 32S all 32). Where the low 16 bits of all
three are 0 they are 54, 183, 18 at 8U, 109, 366, 37 with a shift of 9 at 16U, and 6968, 23434, 2364 at 32S.

    8U      g W >> 8
    16U     g W >> 15
    32S     (W (g & 65535) >> 15) + 2 W (g >> 16), which wraps
    1U      to 8U: 255 W >> 8 where the bit is set, 0 elsewhere

Regions have no effect. A destination in pixels keeps its further channels.

Reports ORV_STATUS_BAD_ARG for a destination that is not RGB; a source that is not grey; depths that differ and are
not 1U and 8U; a source in pixels with a destination in planes; a source in pixels with more than one channel;
origins that differ; a depth; a destination with fewer than 3 channels.
""",
    "orvRGB2HSV": """RGB to hue, saturation and value; 8U, 16U, 32S. With mx the largest and mn the smallest of R, G, B, and d = mx - mn:

    degrees      60 (G - B) / d if R = mx, else 60 (B - R) / d + 120 if G = mx, else 60 (R - G) / d + 240; plus 360
    below 0 hue          [degrees F / 360], 0 for grey
    saturation   [(d / mx) F], 0 for black
    value        mx

At 32S all three are [x - 2147483648.5], x being what stands here before it is rounded. RGB reports.

A. R. Smith, "Color gamut transform pairs", Computer Graphics 12 (1978).
""",
    "orvHSV2RGB": """HSV to RGB; 8U, 16U, 32S. A saturation of 0 gives three times V. Otherwise, with h = (360 H / F) / 60, where 6 counts
as 0, the sector k = [h - 0.5], f = h - k and s = S / F:

    p = [V (1 - s)]    q = [V (1 - s f)]    t = [V (1 - s (1 - f))]

    k        0        1        2        3        4        5
    R, G, B  V, t, p  q, V, p  p, V, t  p, q, V  t, p, V  V, p, q

Sectors begin half a sector late, before which f is up to 1.5, and q or t leave the range and keep their low bits. At
32S p, q and t are [x - 2147483648.5]. RGB reports.
""",
    "orvRGB2HLS": """RGB to hue, lightness and saturation; 8U, 16U, 32S. With the terms of orvRGB2HSV:

    hue          as there
    lightness    [(mx + mn) / 2]
    saturation   [(d / s) F] with s = mx + mn if that is at most F, s = 2 F - (mx + mn) otherwise, 0 for grey

At 32S all three are [x - 2147483648]. RGB reports.

J. D. Foley, A. van Dam, S. K. Feiner, J. F. Hughes, "Computer Graphics: Principles and Practice" (1990), chapter 13.
""",
    "orvHLS2RGB": """HLS to RGB; 8U, 16U, 32S. A saturation of 0 gives three times L. Otherwise, with l = L / F, s = S / F, m2 = (1 + s) l
if l <= 0.5, else l + s - l s, m1 = 2 l - m2, and c(a) for an angle a of a full circle of 360:

    c(a)     m1 + (m2 - m1) a / 60 below 60, m2 below 180, m1 + (m2 - m1) (240 - a) / 60 below 240, m1 otherwise
    R, G, B  [F c(a + 120)], [F c(a)], [F c(a - 120)] with a = 360 H / F

At 32S they are [x - 2147483648]. RGB reports.
""",
    "orvRGB2XYZ": """RGB to XYZ, with the primaries of HDTV; 8U, 16U, 32S, 32F.

    8U, 16U  X =     (6758 R +  5859 G +  2956 B + 8192) >> 14
             Y =     (3484 R + 11717 G +  1182 B + 8192) >> 14
             Z = cut((317 R  +  1953 G + 15569 B + 8192) >> 14)
    32S      X =    [0.412453 R + 0.35758 G  + 0.180423 B - 106394929.85651207]
             Y =    [0.212671 R + 0.71516 G  + 0.072169 B - 1028644.6673920155]
             Z = cut[0.019334 R + 0.119193 G + 0.950227 B + 190597763.694592]
    32F      the same without the constants

RGB reports. Recommendation ITU-R BT.709; CIE 15, "Colorimetry".
""",
    "orvXYZ2RGB": """XYZ to RGB; 8U, 16U, 32S, 32F.

    8U       R = cut((53092 X  - 25185 Y -  8168 Z + 8192) >> 14)
             G = cut((-15880 X + 30736 Y +   681 Z + 8192) >> 14)
             B = cut((912 X    -  3343 Y + 17323 Z + 8192) >> 14)
    16U      the same of X >> 8, Y >> 8 and Z >> 8, shifted by 6
    32S      R = cut[3.2404813432005 X    + 439790694.0994415  - 1.5371515162713 Y  - 0.49853632616889 Z]
             G = cut[-0.96925494999657 X  - 111044279.08821273 + 1.8759900014899 Y  + 0.041555926558293 Z]
             B = cut[0.055646639135177 X  - 195600605.13649487 - 0.20404133836651 Y + 1.0573110696453 Z]
    32F      R = 3.240479 X - 1.53715 Y - 0.498535 Z, G = -0.969256 X + 1.875992 Y + 0.041556 Z,
             B = 0.055648 X - 0.204043 Y + 1.057311 Z, without a limit

RGB reports.
""",
    "orvRGB2LUV": """RGB to LUV; 32F, of full scale 1. X, Y and Z are those of orvRGB2XYZ at 32F. Where Y is at most 0.01 all three are 0,
otherwise

    r = 1 / (X + 15 Y + 3 Z)
    L = 116 Y^0.3333333432674408 - 16
    U = 13 L (4 X r - 0.1978394091129303)
    V = 13 L (9 Y r - 0.47076964378356934)

The white point differs a little from that of orvLUV2RGB. RGB reports. CIE 15, "Colorimetry".
""",
    "orvLUV2RGB": """LUV to RGB; 32F. Where L is not above 8.7 all three are 0, otherwise

    u = U / (13 L) + 0.19783940212891    v = V / (13 L) + 0.46834220078579
    Y = ((L + 16) 0.008620689655172414)^3    a = Y / v    X = 2.25 u a    Z = 3 a - 5 Y - X / 3

and R, G and B are those of orvXYZ2RGB at 32F. RGB reports.
""",
    "orvRGB2YUV": """RGB to YUV; 8U, 16U, 32S, 32F. The middle m is 127 at 8U and 32767 at 16U.

    8U, 16U  Y =      (9798 R  + 19235 G +  3736 B) >> 15, where white of 16U wraps to 0
             U =     ((-4784 R -  9437 G + 14221 B) >> 15) + m
             V = cut(((20218 R - 16941 G -  3277 B) >> 15) + m)
    32S      Y = cut[0.299 R + 0.587 G + 0.114 B], U = cut[-0.146 R - 0.288 G + 0.434 B],
             V = cut[0.617 R - 0.517 G - 0.1 B]
    32F      the same sums, not cut

Of 8U, an image of three channels in pixels may also go into planes, by sums of its own, in which t = 19595 R + 38470
G + 7471 B:

    Y = t >> 16
    U =     (((65536 B - t + 32767) >> 16) 32244 >> 16) + 128
    V = cut((((65536 R - t + 32767) >> 16) 57475 >> 16) + 128)

Reports ORV_STATUS_BAD_ARG for a source that is not RGB; a region; depths that differ; fewer than 3 source channels,
other than 3 destination channels, data orders or origins that differ, unless it is that case, which compares no
origins and wants 3 planes at least.
""",
    "orvYUV2RGB": """YUV to RGB; 8U, 16U, 32S, 32F. At 8U u = U - 127, v = V - 127, at 16U u = U - 32767, v = V - 32767.

    8U, 16U  R = cut(Y + ((37222 v - 31 u) >> 15)), G = cut(Y + ((-12974 u - 18949 v) >> 15)),
             B = cut(Y + ((66883 u - 53 v) >> 15))
    32S      R = cut[Y + 1.135920183 V], G = cut[Y - 0.3959190767 U - 0.5782887929 V], B = cut[Y + 2.041101518 U]
    32F      the same sums, not cut

Of 8U, planes may also go into an image of three channels in pixels, with u = U - 128 and v = V - 128:

    R = cut((65536 Y + 74710 v) >> 16)
    G = cut((65536 Y - 25820 u - 38075 v) >> 16)
    B = cut((65536 Y + 133168 u) >> 16)

Reports ORV_STATUS_BAD_ARG as orvRGB2YUV, but for a source that is not YUV; the destination's model is not looked at.
""",
    "orvRGB2YCrCb": """RGB to YCrCb; 8U, 16U, 32S, 32F. 8U takes differences from Y, the largest of which leave the range.

    8U       Y  = (4898 R + 9617 G + 1867 B + 8192) >> 14
             Cb = ((B - Y) 9246 + 2097152) >> 14
             Cr = ((R - Y) 11686 + 2097152) >> 14
    16U      Y  = (4899 R  + 9617 G + 1868 B + 8192) >> 14
             Cb = (-2765 R - 5427 G + 8192 B + 536870912) >> 14
             Cr = (8192 R  - 6860 G - 1332 B + 536870912) >> 14
    32S      Y  = [0.299 R + 0.587 G + 0.114 B]
             Cb = [-0.1687359 R - 0.331264 G + 0.5 B], Cr = [0.5 R - 0.41868759 G - 0.08131241 B]
    32F      the same sums, 0.5 being added to the first term of Cb and of Cr

RGB reports. Recommendation ITU-R BT.601.
""",
    "orvYCrCb2RGB": """YCrCb to RGB; 8U, 16U, 32S, 32F.

    8U       R = cut(Y + ((22970 Cr - 2928675) >> 14))
             G = cut(Y - ((11700 Cr + 5638 Cb - 2210595) >> 14))
             B = cut(Y + ((29032 Cb - 3701580) >> 14))
    16U      the same with 752669475, 568122915 and 951306060
    32S      R = cut[Y + 1.4019999991573 Cr]
             G = cut[Y - 0.34413629776123 Cb - 0.71413631643017 Cr]
             B = cut[Y + 1.7720000660742 Cb]
    32F      R = Y - 0.7009999752044678 + 1.4019999504089355 Cr
             G = Y + 0.5291363000869751 - 0.3441362977027893 Cb - 0.7141363024711609 Cr
             B = Y - 0.8859999775886536 + 1.7719999551773071 Cb, where what is below 0, or no number, is 0

RGB reports.
""",
    "orvYCC2RGB": """YCC to RGB; 8U.

    R = T((22256 Y + 29844 C2 - 4088627) >> 14)
    G = T((22256 Y - 7050 C1 - 15190 C2 + 3180809) >> 14)
    B = T((22256 Y + 36338 C1 - 5668739) >> 14)

T(i) is 255 i / 353.2, rounded to nearest and at most 255, with i of 0 at least. T(361) alone is 0.

RGB reports.
""",
    "orvCreateColorTwist": """Makes a twist from 16 numbers, which are copied. It is released by orvDeleteColorTwist.

Reports, and returns NULL: ORV_STATUS_BAD_ARG for NULL or a scalingValue outside 0 to 31; ORV_STATUS_NO_MEMORY.
""",
    "orvSetColorTwist": """Changes both fields of a twist. Reports ORV_STATUS_BAD_ARG for a NULL `cTwist`; NULL `data`; a scalingValue below 0;
one above 31; the twist then stays as it was.
""",
    "orvDeleteColorTwist": """Releases a twist; NULL is allowed.""",
    "orvApplyColorTwist": """Twists an image of 8U or 16U: result r is cut(cut(t(r)) + offset), where t(r) is rounded toward zero and cut is the
limit to the depth's range. Constants and `offset` are thus in units of the depth.

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for a NULL twist; fewer than 3 channels besides
alpha (source, destination); depths that differ; another depth; data orders, then origins, that differ; a mask whose
origin is not that of its image (source, destination); with two masks, no memory for a third, then, as
ORV_STATUS_BACKTRACE, a failure of orvAnd; ORV_STATUS_BAD_ARG for a tile that does not come. Tiles done before stay
done.
""",
    "orvColorTwistFP": """Twists an image of 32F by a matrix of 16 floats, row by row. Result r is ((M[r][0] c0 + M[r][3]) + M[r][1] c1) +
M[r][2] c2 in double precision, rounded once, without a limit.

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for a NULL matrix; a depth that is not 32F; data
orders, then origins, that differ; fewer than 3 channels besides alpha; then as orvApplyColorTwist from two masks on.
The origins of masks are not looked at.
""",
    "orvReduceBits": """Lowers the number of levels of an image to `levels`, and its depth where the destination's is lower: from 8U to 8U or
1U, from 16U to 16U, 8U or 1U, from 32S to 32S, 16U, 8U or 1U. For other depths that pass the checks nothing happens.

A value v, counted from 0 (at 32S v = pixel + 2147483648), on a scale up to D (255, 65535 or 4294967295) that L =
levels - 1 steps of D / L divide, lies between the levels q and q + 1 with q = rint((L v) (1 / D) - 0.5), ties to
even. It becomes the higher one if it exceeds the lower one by more than a threshold; at D and above it becomes the
brightest value. With a = rint(65280 / L - 0.5), or 16776960 / L from 16U, level k is written as (k a) >> 8, from 16U
to 8U as (k a) >> 16. From 32S it is written as rint(level - 2147483648), rint(level / 65536 - 0.5) or rint(level /
16777216 - 0.5). At 1U there are the levels 0 and D alone, whatever `levels` is.

- ORV_DITHER_BAYER: the threshold at (x, y) is B(y & 3, x & 3) / 15 of a step (at 1U, of D), with B the matrix of
  Bayer, "An optimum method for two-level rendition of continuous-tone pictures", ICC 1973: 0 8 2 10 / 12 4 14 6 / 3
  11 1 9 / 15 7 13 5.
- Error diffusion: the threshold is half a step (at 1U, D / 2). What the chosen level lacks is kept as a float and
  handed on to pixels to the right and below, from left to right in every row: by 7, 3, 5 and 1 sixteenths (Floyd and
  Steinberg, "An adaptive algorithm for spatial greyscale", Proc. SID 17, 1976); by 48ths over two rows below
  (Jarvis, Judice and Ninke, "A survey of techniques for the display of continuous tone pictures on bilevel
  displays", CGIP 5, 1976); by 42nds (Stucki, "MECCA", IBM Research Report RZ1060, 1981). A value that comes to less
  than 1e-7, or to D or more, leaves no error. The errors of a channel's last rows enter the first ones of the next
  channel. Computed in double precision, with 1 / 48 and 1 / 42 as floats.
- ORV_DITHER_NONE: the high bits of each value, from 32S those of the value counted from 0; `levels` has no effect.

`noise`, from 0 to 100 per cent of a step, moves each threshold at random by so much either way; the random numbers
are the same ones in every call. Region, channel of interest and mask have no effect: the whole image is processed,
as far as both images reach, and all channels that both have, except alpha. Rows are taken as they are stored,
whatever the origin. In rows of bits the last byte is written whole, with clear bits behind the row.

Tiled images: conversion and ordered dither go tile by tile, and the matrix begins anew in each. Error diffusion goes
by strips as high as a tile, channel by channel; into tiles of another depth by way of the source's depth and its
high bits.

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (a source of 1U; a destination of more bits; data
orders, then `noise` out of range, then alpha channels that differ; fewer channels in the source; an unknown
`ditherType`; a signed depth other than 32S; one same image; `levels` below 2 or above 2 to the power of the
destination's bits, plus 1; several channels into one); ORV_STATUS_NO_MEMORY; ORV_STATUS_ERROR for a tile that does
not come. While the thread's stored status is negative it does nothing from the test of `ditherType` on.
""",
    "orvConvert": """Converts integer values to another integer depth: a value stays and is cut to the range of the depth. To 1U a bit is
set where the value is above 0; 1U itself goes to 1U only. Data orders may differ. Where origins differ the image is
turned upside down, so that it shows the same.

Whole images with all channels, alpha too: regions and masks have no effect, but that a source of several channels
goes to 1U by its channel of interest. Bits beyond the width stay, except that rows of 1U to 1U are copied as whole
bytes. The images may be tiled. With one image in both places nothing happens.

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for 32F (source, destination); heights, then
widths, that differ; to 1U, several source channels without a region, or without a channel of interest in it;
otherwise numbers of channels that differ, and 1U to another depth; a tile that does not come. Tiles done before stay
done.
""",
    "orvBitonalToGray": """Converts a 1U image to integers of 8 bits or more: a set bit gives `OneScale`, a clear one `ZeroScale`, in all
channels of the destination. Whole images, as in orvConvert, also turned where origins differ.

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for heights, then widths, that differ; a source
of more than one channel; one that is not 1U; a destination of 32F; one of 1U; `ZeroScale`, then `OneScale`, above,
then below, the range of the destination's depth; a tile that does not come.
""",
    "orvScale": """Maps the whole range of an integer depth onto that of another, so that both ends meet. With v the value, counted from
the lowest of its range where the depth grows, and from 0 or the middle of an unsigned range where it shrinks, >>
rounding down:

    8 to 16 bits     257 v, counted from the lowest value of the result
    8 to 32 bits     16843009 v
    16 to 32 bits    65537 v
    equal bits       v, counted anew
    16 to 8 bits     (v - (v >> 8)) >> 8, counted from 0 or the middle of the result
    32 to 16 bits    (v - (v >> 16)) >> 16
    32 to 8 bits     (v - (v >> 8)) >> 24

Regions, channels of interest and tiles as in every operation, alpha left out; masks have no effect. Data orders may
differ where one of the images has one channel.

Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for depths that are equal; 1U or 32F (source,
destination); data orders, then origins, that differ; numbers of processed channels that differ; a tile that does not
come.
""",
    "orvScaleFP": """Maps the range of an integer depth onto the floats from `minVal` to `maxVal`, or these onto that range. With low the
lowest value of the integer depth, F its highest less its lowest, and r = maxVal - minVal, in double precision:

    to 32F      f v + b with f = r (1 / F), b = minVal - f low, rounded once
    from 32F    f x + b with f = F / r, b = low - minVal f, rounded to nearest, ties to even;
                below `minVal` the lowest value, above `maxVal` the highest,
                0 for what is no number

Otherwise as orvScale. Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for 1U; a `maxVal` that is
not above `minVal`; no image, then both images, of 32F; data orders, then origins, that differ; numbers of processed
channels that differ; a tile that does not come.
""",
    "orvTranslateDIB": """Makes an image of a bitmap. Where an image can use the bitmap's own pixels they are shared: `*cloneData` is then 0,
the bitmap must outlive the image, and of the image only the header is to be freed (orvDeallocateHeader). Otherwise
they are copied, `*cloneData` is 1, and the image owns them (orvDeallocate with ORV_IMAGE_ALL).

  bits   palette     image                          pixels
  1      grey ramp   1U, "GRAY", "G"                shared
  4      grey ramp   8U, "GRAY", "G"                copied
  8      grey ramp   8U, "GRAY", "G"                shared, with BI_RLE8 copied
  1-8    other       8U, "RGB", "BGR"               copied
  16                 8U, "RGB", "BGR"               copied
  24                 8U, "RGB", "BGR"               shared
  32                 8U, "RGBA", "BGRA" with alpha  shared, with BI_BITFIELDS copied

In a grey ramp of n entries, at least 2, entry i is the grey 255 i / (n - 1). A shared image has channels side by
side and rows aligned to 4 bytes, a copied one has planes and rows aligned to 32. The origin is ORV_ORIGIN_BL, or
ORV_ORIGIN_TL for a negative biHeight.

Returns NULL after a report: ORV_STATUS_BAD_ARG for `dib` or `cloneData` NULL, a fault of the header, an unknown
biBitCount; ORV_STATUS_NO_MEMORY for an image that cannot be, after its own report, or without memory; after the
reports of orvConvertFromDIB if that fails.
""",
    "orvConvertFromDIB": """Copies a bitmap's pixels, which follow its palette, into the upper left corner of an image of 1U, or of 8U or 16U
with 1, 3 or 4 channels. The image is at least as large as the bitmap; if it has no data, orvAllocateImage gives it
some. A component c of 8 bits becomes 256 c at 16U, and at 1U a bit that is set from 128 on; one channel takes what
is in the place of R in B, G, R. The fourth channel is 255 where the bitmap has no alpha.

Reports ORV_STATUS_BAD_ARG for `dib`, then `image` NULL, and ends if the thread's stored status is negative then;
ORV_STATUS_BAD_ARG for alphaChannel, dataOrder, origin, align, height, width, imageSize or widthStep of the image, or
a fault of the header; ORV_STATUS_BAD_IMAGE_SIZE for an image that is smaller than the bitmap;
ORV_STATUS_BAD_COLOR_MODEL for its channelSeq; ORV_STATUS_BAD_ARG for an unknown biBitCount; ORV_STATUS_NO_MEMORY;
ORV_STATUS_INTERNAL for other depths or channels. A width of 0 or less or a height of 0 ends the call without a word.
A code that is not well formed is ORV_STATUS_BAD_ARG and then ORV_STATUS_INTERNAL, and the image stays as it was:
rows must be coded to their ends, runs, pixels and moves must keep to their row and to the bitmap, and the code must
end with its last row. Pixels that moves pass over are those of value 0.
""",
    "orvConvertFromDIBSep": """The same for pixels in a buffer of their own. Reports ORV_STATUS_BAD_ARG for `dibHeader`, `dibData`, `image` NULL.""",
    "orvConvertToDIB": """Writes an image of 1U, 8U or 16U, with 1, 3 or 4 channels, the fourth being alpha, into the pixels of a bitmap of the
same size, which follow its palette. Of 16U the high bytes count; 1U is black and white; the alpha of images without
it is 255.

With 1, 4 and 8 bits a pixel becomes the index of the nearest palette entry, by the sum of the squares of the
differences, of equally near ones the first; in a palette of 256 entries a grey is the entry of its own value if that
is the same grey. With one bit all indices but 0 become 1. `paletteConversion` (ORV_PALETTE_...) says where the
palette comes from; a palette by median cut (P. Heckbert, SIGGRAPH 1982) has at most as many entries as there were
before, biClrUsed becomes their number, and the pixels follow the new palette. With 16 and 32 bits components are
moved into the masks.

With a `dither` (ORV_DITHER_...) other than ORV_DITHER_NONE the image first goes through orvReduceBits to 1U with 2
levels for 1 bit, otherwise to 8U with 16 levels for 4 bits, 32 for 16 bits and 256 for others.

With BI_RLE8 or BI_RLE4 the pixels are coded at the end and biSizeImage becomes the code's length; if the code would
not be shorter than the rows, they stay as they are, biCompression becomes BI_RGB and biSizeImage the length of the
rows.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for a tiled image, its depth, its channels,
`dib` NULL, the header's faults up to the height, an image of another size, the header's faults in the number of
colours, `dither`, `paletteConversion`, an unknown biBitCount; ORV_STATUS_INTERNAL for a palette that cannot be made;
ORV_STATUS_NO_MEMORY, ORV_STATUS_INTERNAL where dithering fails, as it does for 1U; ORV_STATUS_BAD_COLOR_MODEL for
the image's channelSeq; ORV_STATUS_NO_MEMORY. If there is no memory for a code, the pixels stand there without one,
and the header says so.
""",
    "orvConvertToDIBSep": """The same for pixels in a buffer of their own. Reports ORV_STATUS_BAD_ARG for `dibHeader`, then `dibData` NULL.""",
    "orvRealFft2D": """Transforms a real image into its packed spectrum, or with ORV_FFT_INVERSE into that of the inverse transform.

Reports ORV_STATUS_BAD_ARG (neither direction, both, both kinds of arithmetic); for the source, then for the
destination:
ORV_STATUS_BAD_ARG (NULL), the header's fault with "Incorrect Image", ORV_STATUS_BAD_ARG (the only channel is an
alpha channel and not selected by a COI, depth 1U, tiled); ORV_STATUS_BAD_ARG (the images' numbers of channels
differ, where a COI selects one and the alpha channel is left out); ORV_STATUS_NO_MEMORY, after one more try with all
that is kept released.
""",
    "orvCcsFft2D": """Transforms a packed spectrum into the real image, usually with ORV_FFT_INVERSE; as orvRealFft2D, which it undoes.""",
    "orvMpyRCPack2D": """Multiplies two packed spectra element by element, as complex numbers, which convolves the images that they belong to.
The three images have regions of one size, one of the depths 8S, 16S, 32S and 32F and as many channels each, a COI
selecting one and the alpha channel left out; `dst` may be one of the sources. Results are rounded to nearest and
saturated.

Reports for srcA, srcB, dst the header's fault with "Incorrect Image"; for each ORV_STATUS_BAD_ARG (tiled);
ORV_STATUS_BAD_DEPTH; ORV_STATUS_BAD_ARG (depths differ, then widths and heights); ORV_STATUS_BAD_CHANNELS (numbers
of channels differ).
""",
    "orvDCT2D": """Computes the orthonormal two-dimensional cosine transform of type II of a region, or its inverse. With W x H pixels
and f(y, x) the pixels of `src`, the forward transform stores in row u and column v of `dst`

    F(u, v) = A(u, v) sum over y, x of f(y, x) cos((2 x + 1) v pi / (2 W)) cos((2 y + 1) u pi / (2 H))

with A(0, 0) = 1 / sqrt(W H), sqrt(2) / sqrt(W H) in the rest of the first row and of the first column, and
2 / sqrt(W H) elsewhere; the inverse gives f back from F. Any size is taken, at the cost and with the accuracy of a
Fourier transform in single precision; blocks of 8 x 8 have a way of their own.

src    pixels, or coefficients for the inverse, of any depth but 1U. Its region gives the size.
dst    another image of the same size, number of channels and data order, of any depth but 1U. The result begins at
the
       start of its region, whose size does not count. Integer values are saturated and rounded to nearest, ties to
       even, and what is no number becomes 0; a forward transform belongs in a 32F image.
flags  ORV_DCT_FORWARD or ORV_DCT_INVERSE.

Each channel is transformed by itself, alpha excepted; with a `coi` in both images the selected ones only. Masks
are not looked at. Tables like those of the Fourier transforms, and 12 bytes more for each pixel of a line, are kept
for the thread's next calls, until ORV_DCT_RELEASE or the thread's end. While it works a call takes about 4 bytes for
each pixel of the region.

Reports ORV_STATUS_BAD_ARG: neither or both directions; a NULL image; `src` and `dst` the same image; depth 1U; a bad
alphaChannel of `src`; images that are not compatible: sizes, channels, processed channels or data orders differ, one
alone has a region, a region lies partly outside its image or the source's does not fit at the destination's start, a
tiled image; ORV_STATUS_NO_MEMORY (the tables). Without memory for the work nothing is reported. Without either
`dst` stays as it is.

Method: rows and columns as in J. Makhoul, "A fast cosine transform in one and two dimensions", IEEE Trans. ASSP-28
(1980), from a Fourier transform of their length; blocks of 8 x 8 by Y. Arai, T. Agui and M. Nakajima, "A fast
DCT-SQ scheme for images", Trans. IEICE E-71 (1988).
""",
    "orvWtInit": """Fills `wtKernel` with a filter bank of the catalogue: the taps published for the family, with the low-pass filters
scaled as the record says and the high-pass ones made of them by alternating signs.

wtType       ORV_WT_HAAR to ORV_WT_QUADRATIC_SPLINE.
par1, par2   the type's parameters; ignored where it has none.

Clears the stored status first. Returns 0 or the reported status: ORV_STATUS_NULL_POINTER (wtKernel),
ORV_STATUS_BAD_ARG (wtType, then par1, then par2).

Sources: I. Daubechies, "Ten Lectures on Wavelets" (1992), but for the Coiflet of order 1, which is that of G.
Beylkin, R. Coifman and V. Rokhlin, Comm. Pure Appl. Math. 44 (1991); P. P. Vaidyanathan and P.-Q. Hoang, IEEE Trans.
ASSP-36 (1988); A. Cohen, I. Daubechies and J.-C. Feauveau, Comm. Pure Appl. Math. 45 (1992).
""",
    "orvWtInitUserFilter4": """Fills `wtKernel` with copies of four filters, in the order of the kernel's fields. That they give the image back is
not tested. The kernel is released by orvWtFree; after a failure it is as before.

Clears the stored status first. Returns 0 or the reported status: ORV_STATUS_NULL_POINTER (wtKernel, filt);
ORV_STATUS_BAD_FILTER for the first filter whose taps are NULL, length is below 2, offset is not below the length or
is negative; ORV_STATUS_NO_MEMORY.
""",
    "orvWtInitUserFilter": """orvWtInitUserFilter4 with a pointer for each filter. A NULL one is ORV_STATUS_NULL_POINTER.""",
    "orvWtInitUserTaps": """orvWtInitUserFilter4 with arrays of four: pointers to the taps, lengths and offsets. A NULL array or tap pointer is
ORV_STATUS_NULL_POINTER.
""",
    "orvWtFree": """Releases the taps of a user kernel and clears the record of any kernel. A cleared kernel may be passed again. Returns
0, or ORV_STATUS_NULL_POINTER after a report.
""",
    "orvWtDecompose": """Splits an image into four subbands by one level of the separable wavelet transform. Along each axis output i of a
filter is the sum over k of taps[k] * x(2 i + offset - k), where x goes on periodically; an odd number of samples is
made even by doubling the last one first.

wtKernel    of which filtDecLow and filtDecHigh are used.
src         8U, one channel; its region, cut at its edges, is what is transformed.
approxDst   low-pass along x and along y, xDetailDst low-pass along x and high-pass along y, yDetailDst high-pass
along x
            and low-pass along y, dDetailDst high-pass along both: 32F, one channel, without region, half as wide and
            as high as the source's region, rounded up, all with the same widthStep.

Memory for the work grows with the width and the filters' lengths, not with the height. Masks are not looked at.

Clears the stored status first. Returns 0, or the reported status with the outputs untouched: ORV_STATUS_NULL_POINTER
(wtKernel); ORV_STATUS_BAD_FILTER; an image header's fault, ORV_STATUS_BAD_ARG (tiled), image by
image; ORV_STATUS_BAD_ROI_SIZE (an output with a region); ORV_STATUS_BAD_DEPTH; ORV_STATUS_BAD_CHANNELS;
ORV_STATUS_BAD_ROI_SIZE (the source's region begins outside); ORV_STATUS_BAD_IMAGE_SIZE; ORV_STATUS_BAD_WIDTH_STEP;
ORV_STATUS_NO_MEMORY.

Method: S. Mallat, "A theory for multiresolution signal decomposition: the wavelet representation", IEEE Trans.
PAMI-11 (1989).
""",
    "orvWtReconstruct": """Merges four subbands into an image, the inverse of orvWtDecompose with the same kernel. Along each axis output n is
the sum over k of low.taps[k] * u(n + low.offset - k) and high.taps[k] * w(n + high.offset - k), u and w being the
two subbands with zeros between their samples, continued periodically. Pixels are clamped to 0 and 255 and rounded to
nearest, ties to even; what is no number becomes 0.

wtKernel    of which filtRecLow and filtRecHigh are used.
approxSrc, xDetailSrc, yDetailSrc, dDetailSrc   as orvWtDecompose writes them, for the size of dst's region.
dst         8U, one channel; only its region is written.

Clears the stored status first. Returns and reports as orvWtDecompose, with `dst` in the place of its `src` and the
sources in the place of its outputs.
""",
    "orvComputeHisto": """Counts the pixels of each interval: value[j] becomes the number of the region's selected values p with
key[j] <= p < key[j + 1], modulo 2^32; interpolateType becomes 0. Depths 1U, 8U and 16U. An image without a region
whose only channel is alpha is left alone.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`lut` NULL; a signed or floating-point depth);
ends here, without a word, if the thread's stored status is negative; ORV_STATUS_BAD_ARG for a table (NULL; its key
or value NULL; fewer than 2 keys; a first key below 0; a last key above the number of values: 2, 256 or 65536; keys
that descend); ORV_STATUS_NO_MEMORY; ORV_STATUS_ERROR for a tile that does not come, and ORV_STATUS_BACKTRACE.
""",
    "orvContrastStretch": """Maps every value p by the table of its channel: in interval j to value[j], or, where interpolateType is not 0, to
value[j] + (p - key[j]) * factor[j], of which the low bits of the depth count. Values below the first and from the
last key on stay. Of several equal keys the first ends the table: all above it belongs to the interval that begins
there. Depths 8U and 16U. The data orders may differ if both images have one channel; in place is allowed. Both masks
hold.

Reports an image's fault with "Incorrect Image"; then, each by itself, ORV_STATUS_BAD_ARG where depths, origins or
data orders differ, for another depth, and for `lut` NULL, and ends if the thread's stored status is negative, also
by an earlier call; ORV_STATUS_BAD_ARG (numbers of processed channels that differ; a table, as orvComputeHisto);
ORV_STATUS_NO_MEMORY; as "orvMap" ORV_STATUS_ERROR (a tile does not come) or ORV_STATUS_BACKTRACE (no memory for the
mask), and ORV_STATUS_BACKTRACE.
""",
    "orvHistoEqualize": """Maps every value so that the counts of its channel's table spread evenly over the range: of the histogram H in which
each bin of an interval of width w has value[j] / w pixels, and the last bin the rest, cumulated up to p, p becomes
255 * H(p) / H(255) in integers of 32 bits at 8U, and trunc(H(p) * (65535.0 / H(65535))) at 16U. The tables are only
read.

Histogram equalisation: R. C. Gonzalez and P. Wintz, "Digital Image Processing" (Addison-Wesley, 1977), section 4.2.

Checks and reports are those of orvContrastStretch; then ORV_STATUS_INTERNAL for a table without a count, in which
case nothing is written.
""",
    "orvNorm": """Returns a norm of `srcImageA`, or of its difference from `srcImageB`, which may be NULL. All depths; a value of 1U is
0 or 1. All processed channels go into one maximum or sum; pixels that a mask leaves out add nothing. The sums of a
row of 8 and 16 bits, and of squares of 8 bits, are kept in 32 bits, which hold at least 65537 greatest differences,
66051 of squares; all else in double precision. An empty region gives 0.

Returns 0 after a report: A's fault with "Incorrect Image"; ORV_STATUS_BAD_DATA_ORDER (data orders differ); B's fault
with "Incorrect Image" and ORV_STATUS_BAD_ARG (depths differ); ORV_STATUS_BAD_ARG (an unknown norm; a relative norm
without B); B's fault with "Incorrect Image"; ORV_STATUS_BAD_CHANNELS (numbers of channels differ);
ORV_STATUS_BAD_COI (a channel of interest in one image only); ORV_STATUS_NULL_IMAGE (no memory for the mask);
ORV_STATUS_BAD_COI (numbers of processed channels differ). Returns -1 after ORV_STATUS_BAD_ARG for a relative norm
whose divisor is 0, also of an empty region; -3 after ORV_STATUS_NO_MEMORY where a tile does not come or cannot be
copied.

A report handler that clears the stored status lets the call go on past data orders, norms, numbers of channels and
channels of interest; a norm that is unknown or lacks its B then ends it with ORV_STATUS_ERROR and 0.
""",
    "orvMinMaxFP": """Stores the least and the greatest value of the processed channels of a 32F image; both stay as they are if nothing is
processed. NaN is passed over, unless it is the first value, which then is both extremes. Returns 0.

Returns ORV_STATUS_BAD_ARG after a report: the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`min` or
`max` NULL; another depth). Returns ORV_STATUS_NO_MEMORY after ORV_STATUS_BAD_ARG for a tile that does not come.
""",
    "orvMoments": """Fills a record with the ten moments up to order 3 of one channel: a single-channel image, or the channel of interest.
All depths; a value of 1U is 0 or 1. Pixels that the mask leaves out count as 0. The record stays as it was if the
region is empty. The sums are those of double precision along each row and then over the rows. While it runs on a
tiled image the image's roi field points at the working region, which a tile provider sees.

M.-K. Hu, "Visual pattern recognition by moment invariants", IRE Trans. Information Theory 8 (1962), for this and all
that follow.

Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (several channels and no channel of interest);
ORV_STATUS_NULL_POINTER (`state` NULL); ORV_STATUS_ERROR (a tile does not come), in which case the record stays as it
was.
""",
    "orvGetSpatialMoment": """Returns M(mOrd, nOrd) of a record. Orders are 0 to 3 with a sum of at most 3.

Returns 0 after a report: ORV_STATUS_BAD_ARG (an order), ORV_STATUS_NULL_POINTER.
""",
    "orvGetNormalizedSpatialMoment": """Returns M(m, n) / M(0, 0)^((m + n + 2) / 2). Reports as orvGetSpatialMoment, under its name.""",
    "orvGetCentralMoment": """Returns the moment about the centre of gravity (M(1, 0) / M(0, 0), M(0, 1) / M(0, 0)), or, where M(0, 0) is 0, about
half the region's size. Reports as orvGetSpatialMoment.
""",
    "orvGetNormalizedCentralMoment": """Returns the central moment divided by M(0, 0)^((m + n + 2) / 2). Reports as orvGetSpatialMoment.""",
    "orvSpatialMoment": """The same values of an image, as orvMoments would find them; 0 for an empty region.

Return 0 after a report: those of orvMoments on the image, ORV_STATUS_BAD_ARG (an order), ORV_STATUS_ERROR (a tile).
""",
    "orvNormalizedSpatialMoment": """As orvSpatialMoment, beside which it is declared:

The same values of an image, as orvMoments would find them; 0 for an empty region.

Return 0 after a report: those of orvMoments on the image, ORV_STATUS_BAD_ARG (an order), ORV_STATUS_ERROR (a tile).
""",
    "orvCentralMoment": """As orvSpatialMoment, beside which it is declared:

The same values of an image, as orvMoments would find them; 0 for an empty region.

Return 0 after a report: those of orvMoments on the image, ORV_STATUS_BAD_ARG (an order), ORV_STATUS_ERROR (a tile).
""",
    "orvNormalizedCentralMoment": """As orvSpatialMoment, beside which it is declared:

The same values of an image, as orvMoments would find them; 0 for an empty region.

Return 0 after a report: those of orvMoments on the image, ORV_STATUS_BAD_ARG (an order), ORV_STATUS_ERROR (a tile).
""",
    "orvNoiseUniformInit": """Fill the fields of one kind of noise, and leave the others as they are: uniform noise from `low` to `high`, which may
be the wrong way round, or Gaussian noise of a mean and a standard deviation, for integer depths or (FP) for 32F.
Nothing is checked; nothing happens for NULL.
""",
    "orvNoiseUniformInitFP": """As orvNoiseUniformInit, beside which it is declared:

Fill the fields of one kind of noise, and leave the others as they are: uniform noise from `low` to `high`, which may
be the wrong way round, or Gaussian noise of a mean and a standard deviation, for integer depths or (FP) for 32F.
Nothing is checked; nothing happens for NULL.
""",
    "orvNoiseGaussianInit": """As orvNoiseUniformInit, beside which it is declared:

Fill the fields of one kind of noise, and leave the others as they are: uniform noise from `low` to `high`, which may
be the wrong way round, or Gaussian noise of a mean and a standard deviation, for integer depths or (FP) for 32F.
Nothing is checked; nothing happens for NULL.
""",
    "orvNoiseGaussianInitFP": """As orvNoiseUniformInit, beside which it is declared:

Fill the fields of one kind of noise, and leave the others as they are: uniform noise from `low` to `high`, which may
be the wrong way round, or Gaussian noise of a mean and a standard deviation, for integer depths or (FP) for 32F.
Nothing is checked; nothing happens for NULL.
""",
    "orvNoiseImage": """Adds noise to the processed channels of the region: to each value its own draw, cut toward zero at integer depths,
where the sum is cut to the depth's range. Draws go row by row, pixel by pixel, channel by channel, plane by plane; a
pixel that the mask leaves out takes none, so that noise under a mask is not the unmasked noise. With a tiled image
of planes each plane is a pass over all tiles. All depths but 1U.

- Uniform: u * (high - low) * 2^-32 + low, u a number of 32 bits. Below 32 bits the bounds are cut to -M and M, M the
  greatest unsigned number of as many bits as the depth; a low bound of M or more first sets the region to the
  greatest value, a high bound of -M or less to the least one.
- Gaussian: pairs of normal values by the polar method from pairs of numbers, the mean added after the cut.

The numbers are the sum of a linear congruential generator and one that subtracts with borrow: G. Marsaglia and A.
Zaman, "A new class of random number generators", Annals of Applied Probability 1 (1991). The polar method: G.
Marsaglia and T. A. Bray, "A convenient method for generating normal variables", SIAM Review 6 (1964). Noise is the
same on every system.

Returns 0, or what it reports: the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`noiseParam` NULL; depth
1U; an unknown kind). For a tile that does not come it reports ORV_STATUS_BAD_ARG and returns ORV_STATUS_INTERNAL;
tiles before it keep their noise.
""",
    "orvCreateImageJaehne": """Makes an image of one channel ("GRAY", rows aligned to 4 bytes) with a chirp: rings whose frequency grows with the
distance from the centre, up to half a cycle a pixel at the middle of the upper and lower edge. The phase at (x, y)
is 2 pi ((x - (width - 1) / 2)^2 + (y - (height - 1) / 2)^2) / (4 height), and of its sine s the value is (s + 1) *
0.49999 at 32F and, cut toward zero, (s + 1) * 0.99999 at 1U, (s + 1) * 127.99999 at 8U, s * 127.99999 at 8S, (s + 1)
* 32767.99999 at 16U, s * 32767.99999 at 16S, s * 2147483647.99999 at 32S. The image is the caller's.

B. Jaehne, "Digital Image Processing" (Springer, 1991), on test images.

Returns NULL after a report: ORV_STATUS_BAD_IMAGE_SIZE (below 1), ORV_STATUS_BAD_DEPTH, ORV_STATUS_NO_MEMORY for the
header, also after the report of a size that no image has, or for the pixels.
""",
    "orvUserProcess": """Stores cbFunc of every processed value of the source, cut to the range of the depth, in the destination: row by row,
pixel by pixel, channel by channel, plane by plane. No call is made for a pixel that a mask leaves out. Integer
depths but 1U; in place is allowed. The function may call the library for other images. Where the destination is
tiled its tiles lead, and a source's tiles are taken one by one below each; where both are one image its tiles are
opened once, for writing.

Reports an image's fault with "Incorrect Image" and ends; each by itself ORV_STATUS_BAD_ORIGIN,
ORV_STATUS_BAD_DATA_ORDER (they differ), ORV_STATUS_BAD_ARG (`cbFunc` NULL), and ends if the thread's stored status
is negative, also by an earlier call; likewise ORV_STATUS_BAD_DEPTH (depths differ), ORV_STATUS_BAD_COI (a channel of
interest in one image, and several channels in the other), ORV_STATUS_BAD_CHANNELS (numbers of processed channels
that differ, or are 0); ORV_STATUS_BAD_DEPTH (1U, 32F); ORV_STATUS_BAD_ROI_SIZE (nothing to process);
ORV_STATUS_BACKTRACE (no memory for the mask). A tile: ORV_STATUS_BACKTRACE where the stored status is negative after
it was opened or released, ORV_STATUS_INTERNAL where it does not come. The name in all reports is that of the
function of this family that was called last, in whichever thread.
""",
    "orvUserProcessFP": """The same with floats, at all depths but 1U. Results are cut to the range of an integer depth and then toward zero; at
32S a result of 2147483648 or more becomes -2147483648. A result that is no number counts as too large. 32F stores
what it gets.
""",
    "orvUserProcessPixel": """Calls cbFunc for every pixel of the region with the addresses of all its channels, alpha included, in both images,
whatever the channel of interest; the function writes what it wants to dstPixel. Depths and numbers of channels may
differ. Of images of planes the channels are brought together by rows, and written back after the row. The walk ends
after a call that leaves a stored status other than 0: a function stops it by orvSetErrStatus.

Reports as orvUserProcess up to `cbFunc`; ORV_STATUS_BAD_DEPTH (1U); ORV_STATUS_BAD_ROI_SIZE; ORV_STATUS_BACKTRACE
(no memory for the mask; the function has set a status); ORV_STATUS_NO_MEMORY (rows of planes); tiles as
orvUserProcess.
""",
}
