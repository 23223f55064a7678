#!/usr/bin/env python3
"""Computes the part "vectors" of the golden numbers again, by plain loops over doubles.

usage: reference.py BITS      compares with the lines of the file
"""
import math
import sys

expected = dict(line.split() for line in open(sys.argv[1]))
checked = 0
wrong = 0


class Numbers:
    def __init__(self, seed):
        self.state = seed

    def next(self):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) % 2**64
        return (self.state >> 11) * 2.0**-52 - 1.0


def check(name, value):
    global checked, wrong
    checked += 1
    found = expected.get("vectors." + name)
    if found is None or float.fromhex(found) != value:
        wrong += 1
        print(f"{name}: {found} in the file, {value.hex()} here")


def chain(terms):
    total = 0.0
    for term in terms:
        total += term
    return total


def dot(a, b):
    return chain(x * y for x, y in zip(a, b))


numbers = Numbers(1)
for n in (3, 100, 1013):
    a = [numbers.next() for _ in range(n)]
    b = [numbers.next() for _ in range(n)]
    check(f"dot({n})", dot(a, b))
    check(f"magSq({n})", dot(a, a))
    check(f"mag({n})", math.sqrt(dot(a, a)))
    # With three elements there is a slot after the last one, which is zero and is added first.
    check(f"addElems({n})", chain(reversed(a)))
    a = [0.3 * y + x for x, y in zip(a, b)]
    check(f"scaleAdd.magSq({n})", dot(a, a))
    a = [(x / y + 0.1) * 0.7 for x, y in zip(a, b)]
    check(f"divided.dot({n})", dot(a, b))
    fraction = 1.3 - 1
    check(f"lerp({n})", (1.0 - fraction) * b[1] + fraction * b[2])

numbers = Numbers(2)


def row(width):
    values = {i: numbers.next() for i in range(width)}
    return {i: x - 0.5 for i, x in values.items() if x > 0.0}


a, b, c = row(60), row(70), row(80)
v = [numbers.next() for _ in range(80)]
both = sorted(a.keys() & b.keys())
check("sparse.dot", chain(a[i] * b[i] for i in both))
check("sparse.sdot", chain(v[i] * b[i] * a[i] for i in both))
check("sparse.dense", chain(v[i] * x for i, x in c.items()))
check("sparse.weightedL2", chain(v[i] * (x * x) for i, x in c.items()))
check("sparse.magSq", chain(x * x for x in c.values()))
for k, i in enumerate(sorted(a.keys() | b.keys())):
    check(f"ssum[{k}]", 0.3 * a[i] + -0.7 * b[i] if i in a and i in b else 0.3 * a[i] if i in a else -0.7 * b[i])
terms = list(zip([numbers.next() for _ in range(3)], (a, b, c)))
for k, i in enumerate(sorted(a.keys() | b.keys() | c.keys())):
    # The last row replaces a row that has run out.
    j = 0
    while j < len(terms):
        if max(terms[j][1]) < i:
            last = terms.pop()
            if j < len(terms):
                terms[j] = last
        else:
            j += 1
    check(f"linComb[{k}]", chain(s * r[i] for s, r in terms if i in r))
for i, x in c.items():
    v[i] += 0.1 * x
check("scatterAdd.magSq", dot(v, v))
rounded = [math.floor(x * 30 + 0.5) / 30 for x in c.values()]
for k, x in enumerate(x for x in rounded if abs(x) >= 0.5 / 30):
    check(f"quantize[{k}]", x)

vectors = sum(name.startswith("vectors.") for name in expected)
if checked != vectors:
    print(f"{vectors} lines in the file, {checked} here")
sys.exit(bool(wrong) or checked != vectors)
