#include "limber/solvers/CGStatus.h"

const char* cgiToString(CGIStatus status) {
  static constexpr const char* texts[] = {"Solved",
                                          "Too Many Iters",
                                          "No Direction",
                                          "Singular",
                                          "Small Improvement",
                                          "No Step Length",
                                          "No Improvement",
                                          "Bi-CG breakdown!",
                                          "Bi-CG can't start",
                                          "Bi-Conjugacy fails from roundoff error",
                                          "Too many Restarts"};
  return status >= CGI_SOLVED && status <= CGI_TOO_MANY_RESTARTS ? texts[status] : "illegal CGI code";
}
