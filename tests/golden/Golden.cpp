#include <cstdio>
#include <map>
#include <string>

#include "tests/golden/Golden.h"
#include "tests/support/DecimalPoint.h"

namespace {

std::map<std::string, void (*)()>& parts() {
  static std::map<std::string, void (*)()> all;
  return all;
}

std::string current;

}  // namespace

golden::Part::Part(const char* name, void (*run)()) { parts()[name] = run; }

void golden::print(const std::string& name, double value) {
  const DecimalPoint point;
  std::printf("%s.%s %a\n", current.c_str(), name.c_str(), value);
}

void golden::print(const std::string& name, const std::string& text) {
  std::printf("%s.%s %s\n", current.c_str(), name.c_str(), text.c_str());
}

void golden::print(const std::string& name, const double* values, int n) {
  for (int i = 0; i < n; ++i) print(name + "[" + std::to_string(i) + "]", values[i]);
}

int main() {
  for (const auto& [name, run] : parts()) {
    current = name;
    run();
  }
}
