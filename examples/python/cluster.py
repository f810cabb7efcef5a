"""A chain of operations over a picture larger than a machine, on a cluster that runs Dask.

    cluster.py                                    two worker processes here, 40000 x 40000 pixels, made on the fly
    cluster.py --scheduler tcp://HOST:8786        a cluster that runs already
    cluster.py --input PICTURE --output RESULT    .npy files that all workers see, read and written by slices

The picture goes in tiles. For each a worker reads the tile and as much around it as the chain reaches, which the
operations tell themselves; runs the chain; cuts the tile out; thresholds it, writes it, and returns a histogram.
Histograms are added up on the workers, some at a time. A task depends on nothing but its place, and writes the same
bytes whenever it runs: when a worker dies, its tasks run elsewhere.
"""
import argparse
import time
from pathlib import Path

import numpy as np
import orvz3

# The operations, with their parameters. The reach of each is the library's own knowledge.
CHAIN = [("blur", dict(size=(5, 5))), ("fixed_filter", dict(filter="gauss5")), ("median_filter", dict(size=(5, 5))),
         ("blur", dict(size=(3, 3)))]


def reach(chain):
    """(left, top, right, bottom) of a whole chain: the sums over its operations."""
    reaches = [getattr(orvz3, name).reach(**parameters) for name, parameters in chain]
    return tuple(map(sum, zip(*reaches))) if reaches else (0, 0, 0, 0)


def filtered(pixels, chain):
    for name, parameters in chain:
        pixels = getattr(orvz3, name)(pixels, border="replicate", **parameters)
    return pixels


class Rings:
    """A picture that is nowhere: rings and a texture, computed from the places of the pixels."""

    def __init__(self, shape):
        self.shape, self.dtype = shape, np.dtype(np.uint8)

    def __getitem__(self, key):
        rows, columns = key
        y = np.arange(rows.start, rows.stop, dtype=np.uint32)[:, None]
        x = np.arange(columns.start, columns.stop, dtype=np.uint32)[None, :]
        return ((x * x + y * y >> 12) + ((x * 2654435761 ^ y * 2246822519) >> 27)).astype(np.uint8)


def opened(source):
    """A source as it travels: (rows, columns) of a picture made on the fly, or the path of a file."""
    return Rings(source) if isinstance(source, tuple) else np.load(source, mmap_mode="r")


def tile(source, result, place, size, chain, threshold):
    """One task: the tile at `place`, (row, column). Returns the histogram of its filtered values, and measures: tiles,
    bytes read and written, seconds of the processor for reading, computing and writing."""
    clock = [time.thread_time()]
    picture = opened(source)
    height, width = picture.shape
    left, top, right, bottom = reach(chain)
    row, column = place
    end_row, end_column = min(row + size, height), min(column + size, width)
    # The halo ends at the picture's edge, where the operations' own borders begin.
    first_row, first_column = max(row - top, 0), max(column - left, 0)
    pixels = np.ascontiguousarray(picture[slice(first_row, min(end_row + bottom, height)),
                                          slice(first_column, min(end_column + right, width))])
    clock.append(time.thread_time())
    values = filtered(pixels, chain)
    values = values[row - first_row:end_row - first_row, column - first_column:end_column - first_column]
    counts = orvz3.histogram(values).astype(np.int64)
    marked = orvz3.threshold(values, threshold)
    clock.append(time.thread_time())
    if result is not None:
        np.load(result, mmap_mode="r+")[row:end_row, column:end_column] = marked
    clock.append(time.thread_time())
    return counts, np.array([1, pixels.nbytes, marked.nbytes * (result is not None), *np.diff(clock)])


def added(parts):
    """One task: the sums of what some tasks returned."""
    return tuple(sum(column) for column in zip(*parts))


def run(client, source, result, shape, size=2048, chain=None, threshold=128, fan=16, progress=None, interval=0.2):
    """The histogram and the sums of the measures of all tiles; `result` is a file that is written, or None."""
    chain = CHAIN if chain is None else chain
    if result is not None:
        np.lib.format.open_memmap(result, mode="w+", dtype=np.uint8, shape=shape)
    places = [(row, column) for row in range(0, shape[0], size) for column in range(0, shape[1], size)]
    # Histograms are kept where they were made; each sum runs on a worker that holds one of its parts.
    level = [client.submit(tile, source, result, place, size, chain, threshold, retries=3,
                           key=f"tile-{place}-{time.time_ns()}") for place in places]
    tiles = level
    while len(level) > 1:
        level = [client.submit(added, level[i:i + fan], pure=False) for i in range(0, len(level), fan)]
    begin = time.perf_counter()
    while level[0].status == "pending":
        time.sleep(interval)
        if progress:
            progress(sum(future.status == "finished" for future in tiles), len(tiles), time.perf_counter() - begin)
    answer = level[0].result()
    if progress:
        progress(len(tiles), len(tiles), time.perf_counter() - begin)
    return answer


def bar(done, total, seconds):
    print(f"\r[{'#' * (40 * done // total):40}] {done} of {total} tiles, {seconds:.0f} s", end="", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--scheduler", help="address of a scheduler; without it, workers are started here")
    parser.add_argument("--workers", type=int, default=2, help="processes to start here")
    parser.add_argument("--size", type=int, nargs=2, default=(40000, 40000), metavar=("ROWS", "COLUMNS"))
    parser.add_argument("--tile", type=int, default=2048)
    parser.add_argument("--threshold", type=int, default=128)
    parser.add_argument("--input", help="a .npy file of uint8, two-dimensional, that all workers can read")
    parser.add_argument("--output", help="a .npy file that all workers can write")
    options = parser.parse_args()
    from distributed import Client, LocalCluster
    source = str(Path(options.input).resolve()) if options.input else tuple(options.size)
    result = str(Path(options.output).resolve()) if options.output else None
    cluster = None
    if not options.scheduler:
        cluster = LocalCluster(n_workers=options.workers, threads_per_worker=1, processes=True, dashboard_address=None,
                               host="127.0.0.1")
    with Client(options.scheduler or cluster) as client:
        client.upload_file(__file__)  # workers elsewhere have the package, but not this file
        import cluster as here  # so that tasks name their functions and do not carry them
        begin = time.perf_counter()
        counts, measures = here.run(client, source, result, opened(source).shape, options.tile,
                                    threshold=options.threshold, progress=bar)
        seconds = time.perf_counter() - begin
    if cluster:
        cluster.close()
    tiles, read, written, reading, computing, writing = measures
    bright = counts[options.threshold:].sum() / counts.sum()
    print(f"\n{counts.sum()} pixels, {bright:.2%} at {options.threshold} or above, median "
          f"{np.searchsorted(counts.cumsum(), counts.sum() / 2)}")
    print(f"{tiles:.0f} tiles in {seconds:.1f} s; a tile takes the processor {reading / tiles:.3f} s to read "
          f"{read / tiles / 1e6:.2f} MB, {computing / tiles:.3f} s to compute, {writing / tiles:.3f} s to write "
          f"{written / tiles / 1e6:.2f} MB")


if __name__ == "__main__":
    main()
