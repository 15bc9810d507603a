"""The exact distance transform of a mask of 1,024 x 1,024 pixels, with OpenCV on one thread. The mask is
that of the benchmark ExactDistances."""

import time

import cv2
import numpy as np

SIDE = 1024


def free_pixels():
    x, y = np.meshgrid(np.arange(SIDE), np.arange(SIDE))
    w = 64.0 / SIDE
    a = (np.sin(1.1 * w * x + 2 * np.sin(0.7 * w * y)) + np.sin(1.3 * w * y + 2 * np.cos(0.6 * w * x))
         + 0.7 * np.sin(2.1 * w * (x + y)))
    return (a > -0.55).astype(np.uint8)


def check(mask, distances):
    """A few pixels by the loop over all that are covered."""
    rows, columns = np.nonzero(mask == 0)
    for y, x in ((3, 5), (500, 700), (1000, 17), (640, 321)):
        nearest = np.sqrt(((rows - y) ** 2 + (columns - x) ** 2).min())
        assert abs(nearest - distances[y, x]) < 1e-3, (y, x)


cv2.setNumThreads(1)
mask = free_pixels()
check(mask, cv2.distanceTransform(mask, cv2.DIST_L2, cv2.DIST_MASK_PRECISE))
times = []
for _ in range(10):
    start = time.perf_counter()
    cv2.distanceTransform(mask, cv2.DIST_L2, cv2.DIST_MASK_PRECISE)
    times.append(time.perf_counter() - start)
print('exact distances\tOpenCV %s\t%g' % (cv2.__version__, SIDE * SIDE / sorted(times)[5] / 1e6))
