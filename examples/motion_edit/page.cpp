#include "page.h"

#include <cstdio>
#include <cstdlib>
#include <new>

// Into memory first: the writer closes its stream, and says nothing of a full disk.
std::string drawnPage(const std::function<void(AIPSWriter*)>& draw) {
  char* text = nullptr;
  std::size_t length = 0;
  std::FILE* const memory = open_memstream(&text, &length);
  if (!memory) throw std::bad_alloc();
  {
    AIPSWriter writer(memory, nullptr, 0, 0, static_cast<int>(pageWidth), static_cast<int>(pageHeight));
    draw(&writer);
  }
  const std::string drawn(text ? text : "", length);
  std::free(text);
  return drawn;
}
