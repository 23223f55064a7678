#pragma once

#include <string>

/// While it lives, the process runs in a locale whose decimal separator is a comma, made for the purpose.
/// Tests begin with: CommaLocale comma; if (!comma.active()) GTEST_SKIP() << "cannot make a locale here";
class CommaLocale {
 public:
  CommaLocale();
  ~CommaLocale();
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  bool active() const { return active_; }

 private:
  std::string directory_;
  bool active_;
};
