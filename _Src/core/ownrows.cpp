// Row kernels of the frame.
