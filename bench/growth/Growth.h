#pragma once

/// @file
/// How the cost of a piece of work grows with its size.

#include <functional>
#include <string>
#include <vector>

namespace growth {

/// The result of one measurement: processor seconds of one call, and the bytes that the work holds.
struct Cost {
  double seconds, bytes;
};

/// A piece of work of any size. `measure` builds it, runs it and returns its cost; it is called in a process
/// of its own. `entries` is what the cost is divided by: the entries of the matrix, or the frames of a clip.
struct Work {
  std::string name;
  std::function<double(int size)> entries;
  std::function<Cost(int size)> measure;
};

/// The measurements of one work, the sizes in ascending order.
struct Series {
  std::vector<int> sizes;
  std::vector<Cost> costs;
};

/// Processor seconds of one call of `call`: the smallest mean of several batches.
double secondsOf(const std::function<void()>& call);
/// Processor time of this process, in seconds.
double processorTime();
/// Bytes of memory that this process has now, and the most that it has had.
double bytesNow();
double bytesAtMost();

/// Measures the work at sizes 1000, 1778, 3162, 5623, 10000, ... up to `largest`. It ends earlier if the next
/// size is likely to take more than a quarter of the free memory, or more than `patience` seconds in all.
/// Each size is measured `rounds` times, the sizes by turns, and the least cost counts.
Series measure(const Work& work, int largest, int rounds, double patience);

/// The exponent p of the curve cost = c size^p that fits best between two sizes of data (least squares over
/// the logarithms); NaN with fewer than two sizes. The data of a size are its share of the bytes of the
/// largest size.
double timeExponent(const Series& series, double fewestBytes, double mostBytes);
double memoryExponent(const Series& series, double fewestBytes, double mostBytes);

}  // namespace growth
