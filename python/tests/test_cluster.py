"""The cluster's bytes are those of one call for the whole picture, also when a worker dies in the middle."""
import os
import signal
import sys
from pathlib import Path

import numpy as np
import pytest

import orvz3

pytest.importorskip("distributed")
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "examples/python"))
import cluster  # noqa: E402

SHAPE = (1500, 1700)


@pytest.fixture(scope="module")
def client():
    from distributed import Client, LocalCluster
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None, host="127.0.0.1") as local:
        with Client(local) as made:
            yield made


def in_one_piece(picture):
    values = cluster.filtered(np.array(picture), cluster.CHAIN)
    return orvz3.threshold(values, 128), orvz3.histogram(values)


@pytest.mark.parametrize("size", [256, 1000])
def test_tiles_make_the_bytes_of_one_piece(client, tmp_path, size):
    source = cluster.Rings(SHAPE)[slice(0, SHAPE[0]), slice(0, SHAPE[1])]
    np.save(tmp_path / "source.npy", source)
    expected, counts = in_one_piece(source)
    for given in (SHAPE, str(tmp_path / "source.npy")):
        result = str(tmp_path / "result.npy")
        seen = []
        total, measures = cluster.run(client, given, result, SHAPE, size, progress=lambda *state: seen.append(state))
        assert (np.load(result) == expected).all()
        assert (total == counts).all() and measures[0] == -(-SHAPE[0] // size) * -(-SHAPE[1] // size)
        assert seen[-1][0] == seen[-1][1] == measures[0]


def test_a_worker_killed_in_the_middle_loses_nothing(client, tmp_path):
    expected, counts = in_one_piece(cluster.Rings(SHAPE)[slice(0, SHAPE[0]), slice(0, SHAPE[1])])
    victim = next(iter(client.run(os.getpid).values()))
    result, killed = str(tmp_path / "result.npy"), []

    def kill(done, total, seconds):
        if done >= total // 4 and done < total and not killed:
            os.kill(victim, signal.SIGKILL)  # a process of this test's own cluster
            killed.append(done)

    total, measures = cluster.run(client, SHAPE, result, SHAPE, 64, progress=kill, interval=0.005)
    assert killed and victim not in client.run(os.getpid).values()
    assert (np.load(result) == expected).all() and (total == counts).all()
