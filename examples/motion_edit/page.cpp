#include "page.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace files = std::filesystem;

namespace {

const std::string lastLine = "%%EOF\n";

// A temporary file with a unique name. The destructor deletes it.
class ScratchFile {
 public:
  ScratchFile() {
    std::random_device random;
    const files::path folder = files::temp_directory_path();
    for (int attempt = 0; attempt < 100 && !stream_; ++attempt) {
      path_ = folder / ("limber-picture-" + std::to_string(random()) + std::to_string(random()));
      stream_ = std::fopen(path_.string().c_str(), "wbx");
    }
    if (!stream_)
      throw std::runtime_error("no picture can be drawn: " + folder.string() + " cannot be written");
  }
  ~ScratchFile() {
    std::error_code ignored;
    files::remove(path_, ignored);
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  // The user of the stream closes it.
  std::FILE* stream() const { return stream_; }
  std::string text() const {
    std::ifstream in(path_, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

 private:
  files::path path_;
  std::FILE* stream_ = nullptr;
};

}  // namespace

// Draws to a temporary file, because the writer closes its stream and does not tell whether the disk was
// full.
std::string drawnPage(const std::function<void(AIPSWriter*)>& draw) {
  const ScratchFile file;
  {
    AIPSWriter writer(file.stream(), nullptr, 0, 0, static_cast<int>(pageWidth),
                      static_cast<int>(pageHeight));
    draw(&writer);
  }
  const std::string drawn = file.text();
  const bool whole = drawn.size() >= lastLine.size() &&
                     drawn.compare(drawn.size() - lastLine.size(), lastLine.size(), lastLine) == 0;
  if (!whole) throw std::runtime_error("a picture could not be written completely to the temporary folder");
  return drawn;
}
