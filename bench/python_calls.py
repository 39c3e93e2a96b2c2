# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""The cost of a call from Python: ./dev bench python

Compares a 64x64 transfer of worlds with the same transfer from C++ and with an empty call, and two
threads with one. Prints the best of several rounds, and their spread.
"""

import threading
import time

import numpy as np

import vx
from vx import _vx

ROUNDS = 9


def best(function):
    times = sorted(function() for _ in range(ROUNDS))
    return times[0], (times[ROUNDS // 2] / times[0] - 1) * 100


def per_call(function, count):
    def run():
        start = time.perf_counter()
        for _ in range(count):
            function()
        return (time.perf_counter() - start) / count
    return best(run)


def pair(side):
    random = np.random.default_rng(1)
    make = lambda: vx.World.view(random.integers(0, 256, (side, side, 4), np.uint8))
    return make(), make()


def calls():
    dst, src = pair(64)
    inside, a = best(lambda: _vx.transfer_seconds(dst, src, 4000))
    outside, b = per_call(lambda: vx.transfer(dst, src, out=dst), 4000)
    nothing, c = per_call(_vx.nothing, 20000)
    more = outside - inside
    print(f"64x64 transfer   C++ {inside * 1e6:.2f} us (+{a:.0f} %)   Python {outside * 1e6:.2f} us "
          f"(+{b:.0f} %)   empty call {nothing * 1e6:.3f} us (+{c:.0f} %)")
    print(f"                 a call from Python costs {more * 1e6:.2f} us more, "
          f"{more / nothing:.0f} empty calls (aim: 10 us)")


def threads():
    pairs = [pair(1024), pair(1024)]

    def blend(dst, src):
        for _ in range(8):
            vx.transfer(dst, src, mode="screen", out=dst)

    def one():
        start = time.perf_counter()
        for dst, src in pairs:
            blend(dst, src)
        return time.perf_counter() - start

    def two():
        workers = [threading.Thread(target=blend, args=p) for p in pairs]
        start = time.perf_counter()
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        return time.perf_counter() - start

    (alone, a), (beside, b) = best(one), best(two)
    print(f"two pairs        one thread {alone * 1e3:.1f} ms (+{a:.0f} %)   two threads "
          f"{beside * 1e3:.1f} ms (+{b:.0f} %)   ratio {beside / alone:.2f} (aim: 0.6, two free cores)")


def copies():
    array = np.zeros((8, 8, 4), np.uint8)
    world = vx.World.view(array)
    same = np.asarray(world).__array_interface__["data"] == array.__array_interface__["data"]
    print(f"ARGB array       worked on where it lies: {'yes' if same else 'NO'}")


if __name__ == "__main__":
    calls()
    threads()
    copies()
