"""Faults, callbacks and threads under the functions' own names."""
import ctypes
import os
import pickle
import pty
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import orvz3


def picture():
    return np.arange(48, dtype=np.uint8).reshape(6, 8)


def test_a_fault_is_raised_with_status_function_and_context_and_leaves_nothing_behind():
    a, out = picture(), np.zeros((6, 8), np.uint8)
    with pytest.raises(orvz3.Error) as caught:
        orvz3.orvAdd(a, a, out.astype(np.int16))
    fault = caught.value
    assert (fault.status, fault.function) == (orvz3.ORV_STATUS_BAD_ARG, "orvAdd")
    assert fault.context == "(srcImageA->depth != dstImage->depth)"
    assert fault.reports[0].file == "orvarith" and "ORV_STATUS_BAD_ARG" in str(fault)
    assert str(pickle.loads(pickle.dumps(fault))) == str(fault)
    assert orvz3.orvGetErrStatus() == 0
    orvz3.orvCopy(a, out)  # which does nothing while a status is stored
    assert (out == a).all()


def test_a_stored_status_of_the_user_does_not_stop_calls_and_traces_keep_the_first_report():
    orvz3.orvSetErrStatus(-5)
    out = np.zeros((6, 8), np.uint8)
    orvz3.orvCopy(picture(), out)
    assert out.any()
    with pytest.raises(orvz3.Error) as caught:
        orvz3.orvAbs(picture().astype(np.uint16), out)
    assert caught.value.status == orvz3.ORV_STATUS_BAD_ARG
    assert orvz3.orvCheckImageHeader(None) == orvz3.ORV_STATUS_NULL_IMAGE


@pytest.mark.parametrize("arguments, error", [
    ((picture(), picture(), [[1, 2]]), TypeError), ((picture(), "x", picture()), TypeError),
    ((picture(),), TypeError), ((picture(), picture().astype(complex), picture()), TypeError),
    ((picture(), picture(), np.ma.array(picture())), TypeError), ((np.zeros((0, 4), np.uint8), picture(), picture()), ValueError)])
def test_arguments_that_are_no_images_are_refused(arguments, error):
    with pytest.raises(error):
        orvz3.orvAdd(*arguments)


def test_numbers_that_do_not_fit_are_refused():
    with pytest.raises(OverflowError):
        orvz3.orvAddS(picture(), picture(), 2**31)
    with pytest.raises(TypeError):
        orvz3.orvAddS(picture(), picture(), 1.5)
    with pytest.raises(ValueError):
        orvz3.orvGetPixel(picture(), 0, 0, np.zeros((4, 4), np.uint8)[:, ::2])


def test_one_array_in_two_places_is_one_image():
    a = picture()
    orvz3.orvMirror(a, a, 0)  # of two images over the same pixels, one would be read after it was written
    assert (a == picture()[::-1]).all()
    bits = picture() > 20
    orvz3.orvNot(bits, bits)
    assert (bits == (picture() <= 20)).all()


def test_handlers_are_told_and_their_exceptions_are_raised():
    told = []
    assert orvz3.orvRedirectError(lambda *report: told.append(report) or 0) is None
    try:
        with pytest.raises(orvz3.Error):
            orvz3.orvBlur(picture(), picture(), -1, 1, 0, 0)
        assert told[0][:3] == (orvz3.ORV_STATUS_BAD_ARG, "orvBlur", "(nRows<0||nCols<0)")
        orvz3.orvRedirectError(lambda *report: 1 // 0)
        with pytest.raises(ZeroDivisionError):
            orvz3.orvBlur(picture(), picture(), -1, 1, 0, 0)
    finally:
        orvz3.orvRedirectError(None)


def test_nobody_is_ever_asked():
    """With a terminal to ask on, faults in new threads end no process and wait for no answer."""
    script = ("import threading, numpy as np, orvz3\n"
              "told = []\n"
              "def fail():\n"
              "    orvz3.orvRedirectError(orvz3.orvGuiBoxReport)\n"
              "    orvz3.orvSetErrMode(orvz3.ORV_ErrModeLeaf)\n"
              "    try: orvz3.blur(np.zeros((4, 4), np.uint8), -1)\n"
              "    except orvz3.Error as error: told.append((error.status, orvz3.orvGuiBoxReport(-7, 'f', 'c', 'x', 1)))\n"
              "threads = [threading.Thread(target=fail) for _ in range(2)]\n"
              "[thread.start() for thread in threads]; [thread.join() for thread in threads]; fail(); print(told)\n")
    master, slave = pty.openpty()
    run = subprocess.run([sys.executable, "-c", script], stdin=slave, stdout=subprocess.PIPE, stderr=slave, timeout=60,
                         start_new_session=True, preexec_fn=lambda: __import__("fcntl").ioctl(0, __import__("termios").TIOCSCTTY, 0))
    os.close(slave)
    os.close(master)
    assert run.returncode == 0 and run.stdout == b"[(-5, -7), (-5, -7), (-5, -7)]\n"


def test_exceptions_of_callbacks_reach_the_caller_and_end_the_work():
    calls = []

    def value(v):
        calls.append(v)
        if len(calls) == 3:
            raise KeyError("three")
        return v

    with pytest.raises(KeyError):
        orvz3.orvUserProcess(picture(), picture(), value)
    assert len(calls) == 3
    with pytest.raises(ZeroDivisionError):
        orvz3.user_process_pixel(picture(), lambda src, dst: 1 // 0, picture())
    assert orvz3.orvGetErrStatus() == 0


def test_callbacks_may_call_the_library_and_fail_in_it():
    inner = picture()

    def value(v):
        with pytest.raises(orvz3.Error):
            orvz3.orvBlur(inner, inner, -1, 1, 0, 0)
        return int(orvz3.add(inner, 1)[0, 0]) + v

    assert (orvz3.user_process(picture(), value) == picture() + 1).all()


def test_the_interpreter_goes_on_during_a_call():
    steps, done = [0], threading.Event()

    def count():
        while not done.is_set():
            steps[0] += 1
            time.sleep(0.0005)

    a = np.zeros((3000, 3000), np.float32)
    out = np.zeros_like(a)
    counter = threading.Thread(target=count)
    counter.start()
    try:
        best = 0
        for _ in range(10):  # one call holds the lock for a few milliseconds of other threads, or for all of its time
            before, start = steps[0], time.perf_counter()
            orvz3.orvBlur(a, out, 31, 31, 15, 15)
            best = max(best, (steps[0] - before) / max(time.perf_counter() - start, 1e-9))
    finally:
        done.set()
        counter.join()
    assert best > 50


def test_threads_work_on_their_own_images():
    failures = []

    def work(seed):
        source = np.random.default_rng(seed).integers(0, 256, (64, 64), dtype=np.uint8)
        for _ in range(30):
            if not (orvz3.not_(source) == ~source).all():
                failures.append(seed)
            try:
                orvz3.blur(source, -1)
                failures.append(seed)
            except orvz3.Error:
                pass

    threads = [threading.Thread(target=work, args=(seed,)) for seed in range(6)]
    [thread.start() for thread in threads]
    [thread.join() for thread in threads]
    assert failures == []


def test_records_and_pixels_by_hand():
    header = orvz3.orvCreateImageHeader(1, 0, orvz3.ORV_DEPTH_8U, "GRAY", "G", 0, 0, 4, 5, 3, None, None, None, None)
    orvz3.orvAllocateImage(header, 1, 7)
    orvz3.orvPutPixel(header, 4, 2, np.array([9], np.uint8))
    pixel = np.zeros(1, np.uint8)
    orvz3.orvGetPixel(header, 4, 2, pixel)
    array = orvz3.to_array(header)
    assert pixel[0] == 9 and array.shape == (3, 5) and array.sum() == 7 * 14 + 9
    clone = orvz3.orvCloneImage(header)
    orvz3.orvDeallocate(header, orvz3.ORV_IMAGE_ALL)
    assert (orvz3.take(clone) == array).all()
    with pytest.raises(orvz3.Error, match="BAD_IMAGE_SIZE"):
        orvz3.orvCreateImageHeader(1, 0, 8, "GRAY", "G", 0, 0, 4, 0, 3, None, None, None, None)


def test_kernels_by_hand():
    values = np.arange(-4, 5, dtype=np.int8)
    kernel = orvz3.orvCreateConvKernelChar(3, 3, 1, 1, values, 2)
    size = [ctypes.c_int32() for _ in range(5)]
    inside = (ctypes.c_int32 * 9)()
    orvz3.orvGetConvKernel(kernel, *size[:4], [ctypes.cast(inside, ctypes.POINTER(ctypes.c_int32))], size[4])
    assert [number.value for number in size] == [3, 3, 1, 1, 2] and list(inside) == values.tolist()
    picture_of_kernel = np.zeros((5, 5), np.int16)
    picture_of_kernel[2, 2] = 4
    out = np.zeros_like(picture_of_kernel)
    orvz3.orvConvolve2D(picture_of_kernel, out, [kernel], 1, orvz3.ORV_COMBINE_SUM)
    assert (out[1:4, 1:4] == values.reshape(3, 3)).all()
    orvz3.orvDeleteConvKernel(kernel)
    assert (orvz3.convolve(picture_of_kernel, values.reshape(3, 3), shift=2) == out).all()
