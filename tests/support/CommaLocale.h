#pragma once

#include "tests/support/TemporaryFile.h"

/// While it exists, the process uses a locale with a comma as the decimal separator. Tests begin with:
/// CommaLocale comma; if (!comma.active()) GTEST_SKIP() << "cannot make a locale here";
class CommaLocale {
 public:
  CommaLocale();
  ~CommaLocale();
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  bool active() const { return active_; }

 private:
  TemporaryDirectory directory_;
  bool active_;
};
