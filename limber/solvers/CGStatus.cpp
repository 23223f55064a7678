#include "limber/solvers/CGStatus.h"

const char* cgiToString(CGIStatus status) {
  switch (status) {
    case CGI_SOLVED:
      return "Solved";
    case CGI_TOO_MANY_ITERS:
      return "Too Many Iters";
    case CGI_NO_DIRECTION:
      return "No Direction";
    case CGI_SINGULAR:
      return "Singular";
    case CGI_SMALL_IMPROVEMENT:
      return "Small Improvement";
    case CGI_NO_STEP_LENGTH:
      return "No Step Length";
    case CGI_NO_IMPROVEMENT:
      return "No Improvement";
    case CGI_BICG_BREAKDOWN:
      return "Bi-CG breakdown!";
    case CGI_BICG_CANT_START:
      return "Bi-CG can't start";
    case CGI_BICG_ROUNDOFF:
      return "Bi-Conjugacy fails from roundoff error";
    case CGI_TOO_MANY_RESTARTS:
      return "Too many Restarts";
  }
  return "illegal CGI code";
}
