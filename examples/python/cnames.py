"""The functions under their own names, on headers of Python's: regions, masks, planes, faults."""
import numpy as np
import orvz3

planes = np.zeros((3, 48, 64), np.uint8)                 # three planes, one after another
picture = orvz3.Image(np.moveaxis(planes, 0, -1), roi=(8, 8, 32, 16))
orvz3.orvSet(picture, 200)                               # writes the region of all three
print(picture, planes.sum() == 200 * 32 * 16 * 3)

picture.set_roi((0, 0, 64, 48), coi=2)                   # the second channel alone
picture.set_mask(np.eye(48, 64, dtype=bool))
orvz3.orvAddS(picture, picture, 50)
print(planes[1, 0, 0], planes[1, 10, 10], planes[0, 10, 10])

try:
    orvz3.orvBlur(picture, picture, 3, 3, 5, 1)          # an anchor outside the window
except orvz3.Error as fault:
    print(fault, "|", fault.status == orvz3.ORV_STATUS_BAD_ARG, fault.function, fault.context)
try:
    orvz3.orvAddS(planes[0][::-1], planes[0], 1)         # rows that run backwards are no image's
except orvz3.LayoutError as fault:
    print(fault)
print(orvz3.add(planes[0][::-1], 1).shape)               # the natural form copies them
