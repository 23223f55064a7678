#include "tests/support/MatrixMarket.h"
#include "tests/support/DecimalPoint.h"

#include <zlib.h>

#include <cstdlib>
#include <sstream>

MatrixMarket::MatrixMarket(const std::string& path) {
  gzFile file = gzopen(path.c_str(), "rb");
  if (!file) {
    error = "cannot open " + path;
    return;
  }
  std::string text;
  char buffer[1 << 16];
  for (int n; (n = gzread(file, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<std::size_t>(n));
  gzclose(file);
  read(text);
  if (!error.empty()) error += " in " + path;
}

void MatrixMarket::read(const std::string& text) {
  std::istringstream in(text);
  std::string banner, object, format, field, symmetry, line;
  in >> banner >> object >> format >> field >> symmetry;
  if (banner != "%%MatrixMarket" || object != "matrix" || format != "coordinate") {
    error = "no banner of a coordinate matrix";
    return;
  }
  std::getline(in, line);
  do std::getline(in, line);
  while (in && (line.empty() || line[0] == '%'));
  int height = 0, width = 0, count = 0;
  std::istringstream(line) >> height >> width >> count;
  for (int i = 0; i < height; ++i) {
    rows_.push_back(std::make_unique<SpVec>(1));
    rows_.back()->width = width;
    matrix_.add(rows_.back().get());
  }
  for (int k = 0; k < count; ++k) {
    int i = 0, j = 0;
    std::string value = "1";
    in >> i >> j;
    if (field != "pattern") in >> value;
    if (!in || i < 1 || i > height || j < 1 || j > width) {
      error = "bad entry " + std::to_string(k + 1);
      return;
    }
    const DecimalPoint point;
    const double v = std::strtod(value.c_str(), nullptr);
    rows_[static_cast<std::size_t>(i - 1)]->ins(v, j - 1);
    if (symmetry == "symmetric" && i != j) rows_[static_cast<std::size_t>(j - 1)]->ins(v, i - 1);
  }
}

int MatrixMarket::entries() const {
  int n = 0;
  for (const auto& row : rows_) n += row->numEntries;
  return n;
}
