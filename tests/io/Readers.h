#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "limber/io/Reader.h"
#include "tests/support/DecimalPoint.h"
#include "tests/support/TemporaryFile.h"

/// atof as the C standard defines it. On older Windows it knows neither hexadecimal numbers nor infinities.
/// It expects a decimal point in every locale, as the reader does.
inline double standardAtof(const char* word) {
  const DecimalPoint point;
  return std::strtod(word, nullptr);
}

/// A temporary file with `bytes`, and a reader of it.
struct FileReader {
  TemporaryDirectory directory;
  std::string path;
  Reader reader;
  explicit FileReader(const std::string& bytes, bool gz = false)
      : path(gz ? directory.writeGz("text.gz", bytes) : directory.write("text", bytes)),
        reader(path.c_str(), static_cast<const char*>(nullptr)) {}
};

inline std::vector<std::string> wordsOf(Reader& reader) {
  std::vector<std::string> words;
  while (const char* word = reader.getWord()) words.push_back(word);
  return words;
}

inline std::vector<std::string> wordsOf(const std::string& bytes, bool gz = false) {
  FileReader file(bytes, gz);
  return wordsOf(file.reader);
}
