// The public face from C++.
#include <orv.h>

int main()
{
    orvSetErrMode(ORV_ErrModeSilent);
    OrvImage* image = orvCreateImageHeader(3, 0, ORV_DEPTH_8U, "RGB", "RGB", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 4, 2,
                                           2, nullptr, nullptr, nullptr, nullptr);
    orvAllocateImage(image, 1, 7);
    uint8_t pixel[3] = {};
    orvGetPixel(image, 1, 1, pixel);
    orvDeallocate(image, ORV_IMAGE_ALL);
    orvAllocateImage(nullptr, 0, 0);
    return pixel[2] == 7 && orvGetErrStatus() == ORV_STATUS_BAD_ARG ? 0 : 1;
}
