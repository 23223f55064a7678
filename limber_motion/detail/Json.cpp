#include "limber_motion/detail/Json.h"

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <locale>
#include <string_view>

#include "limber_motion/detail/Numbers.h"

namespace limber::motion::detail {

namespace {

unsigned byte(std::string_view text, std::size_t i) {
  return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
}

// The number of bytes of the UTF-8 character at the beginning of the text, or 0 if it does not begin with
// one.
std::size_t lengthOfCharacter(std::string_view text) {
  // the facet accepts surrogates
  if (byte(text, 0) == 0xED && byte(text, 1) >= 0xA0) return 0;
  const auto& utf8 = std::use_facet<std::codecvt<char32_t, char, std::mbstate_t>>(std::locale::classic());
  std::mbstate_t state{};
  return static_cast<std::size_t>(utf8.length(state, text.data(), text.data() + text.size(), 1));
}

std::string escaped(unsigned code) {
  const char* const digits = "0123456789abcdef";
  return std::string("\\u00") + digits[code / 16] + digits[code % 16];
}

}  // namespace

std::string jsonString(const std::string& text) {
  std::string out = "\"";
  for (std::size_t i = 0, length = 0; i < text.size(); i += std::max<std::size_t>(length, 1)) {
    length = lengthOfCharacter(std::string_view(text).substr(i));
    if (length == 0 || byte(text, i) < 0x20) {
      out += escaped(byte(text, i));
    } else {
      if (text[i] == '"' || text[i] == '\\') out += '\\';
      out += text.substr(i, length);
    }
  }
  return out + "\"";
}

std::string jsonList(const std::vector<std::string>& texts) {
  std::string out = "[";
  for (const std::string& text : texts) out += (out.size() > 1 ? ", " : "") + jsonString(text);
  return out + "]";
}

std::string jsonNumber(double x) { return std::isfinite(x) ? significant(x, 9) : "null"; }

}  // namespace limber::motion::detail
