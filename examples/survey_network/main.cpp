// survey_network FOLDER: writes survey_network.mtx.gz and survey_network_b.mtx.gz, the adjustment of a
// levelling network: stations on a jittered grid, height differences observed between neighbours and along
// some longer lines, each weighted by the inverse of its standard error, and a few stations tied to known
// heights. The rows are the observations, the columns the unknown heights; the right-hand side holds the
// observed differences, with errors. The output has the same bytes on every machine, because the random
// numbers come from integers and the square root is the only function.
#include <zlib.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "failure.h"
#include "output_file.h"

namespace {

constexpr int side = 19;
constexpr int stations = side * side;
constexpr double kilometresApart = 1.5;

std::uint64_t state = 2024;
// Uniformly distributed in [0, 1).
double chance() {
  state = state * 6364136223846793005u + 1442695040888963407u;
  return static_cast<double>(state >> 40) / 16777216.0;
}
// Nearly normally distributed: the sum of twelve uniform deviates.
double deviate() {
  double sum = -6.0;
  for (int i = 0; i < 12; ++i) sum += chance();
  return sum;
}

struct Station {
  double x, y, height;
};

struct Network {
  std::vector<Station> stations;
  std::string entries, observed;
  int rows = 0, count = 0;

  void entry(int station, double value) {
    char text[60];
    std::snprintf(text, sizeof text, "%d %d %.10g\n", rows, station + 1, value);
    entries += text;
    ++count;
  }
  void observe(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.10g\n", value);
    observed += text;
  }
  // The difference of two heights; the error grows with the square root of the distance.
  void level(int from, int to) {
    const Station &a = stations[static_cast<std::size_t>(from)], &b = stations[static_cast<std::size_t>(to)];
    const double distance = std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y));
    const double millimetres = 2.0 * std::sqrt(distance);
    ++rows;
    entry(from < to ? from : to, (from < to ? -1.0 : 1.0) / millimetres);
    entry(from < to ? to : from, (from < to ? 1.0 : -1.0) / millimetres);
    observe((b.height - a.height) * 1000.0 / millimetres + deviate());
  }
  // A known height.
  void tie(int station) {
    ++rows;
    entry(station, 1.0 / 5.0);
    observe(stations[static_cast<std::size_t>(station)].height * 1000.0 / 5.0 + deviate());
  }
};

Network make() {
  Network network;
  for (int i = 0; i < stations; ++i) {
    const double x = (i % side + 0.6 * (chance() - 0.5)) * kilometresApart;
    const double y = (i / side + 0.6 * (chance() - 0.5)) * kilometresApart;
    network.stations.push_back({x, y, 200.0 + 3.0 * x - 2.0 * y + 40.0 * chance()});
  }
  for (int i = 0; i < stations; ++i) {
    const bool last = i % side == side - 1, bottom = i / side == side - 1;
    if (!last) network.level(i, i + 1);
    if (!bottom) network.level(i, i + side);
    if (!last && !bottom && chance() < 0.9) network.level(i, i + side + 1);
  }
  for (int i = 0; i < 20; ++i) {
    const int from = static_cast<int>(chance() * stations), to = static_cast<int>(chance() * stations);
    if (from != to) network.level(from, to);
  }
  for (const int station : {0, side - 1, stations / 2, stations - side, stations - 1}) network.tie(station);
  return network;
}

std::string compressed(const std::string& text) {
  constexpr int best = 9, gzipFormat = 15 + 16, mostMemory = 9;
  z_stream stream = {};
  if (deflateInit2(&stream, best, Z_DEFLATED, gzipFormat, mostMemory, Z_DEFAULT_STRATEGY) != Z_OK)
    throw std::bad_alloc();
  std::string packed(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

void write(const std::string& text, OutputFile& file) {
  const std::string packed = compressed(text);
  std::fwrite(packed.data(), 1, packed.size(), file.stream());
  file.complete();
}

void writeNetwork(const std::string& folder) {
  const Network network = make();
  OutputFile matrix(folder + "/survey_network.mtx.gz"), rightHandSide(folder + "/survey_network_b.mtx.gz");
  write(
      "%%MatrixMarket matrix coordinate real general\n"
      "% adjustment of a levelling network: a row an observation, a column the height of a station in mm\n" +
          std::to_string(network.rows) + " " + std::to_string(stations) + " " +
          std::to_string(network.count) + "\n" + network.entries,
      matrix);
  write(
      "%%MatrixMarket matrix array real general\n"
      "% the observations, each over its standard error\n" +
          std::to_string(network.rows) + " 1\n" + network.observed,
      rightHandSide);
  matrix.finish();
  rightHandSide.finish();
}

}  // namespace

int main(int argc, char** argv) {
  const char usage[] =
      "usage: survey_network FOLDER\n"
      "Writes survey_network.mtx.gz and survey_network_b.mtx.gz, an example of a least-squares problem, to "
      "the "
      "folder.\n";
  if (argc == 2 && std::strcmp(argv[1], "--help") == 0)
    return std::fputs(usage, stdout) < 0 || std::fflush(stdout) != 0;
  if (argc != 2) {
    std::fputs(usage, stderr);
    return 1;
  }
  try {
    writeNetwork(argv[1]);
    return 0;
  } catch (...) {
    return reportException("survey_network");
  }
}
