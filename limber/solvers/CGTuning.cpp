#include "limber/solvers/CGTuning.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "limber/linalg/Vector.h"

double cg_tol = 0.1;
int cg_maxIters = 3;
int cg_maxRestarts = 10;
int cg_reset_resid = 50;
double cg_goNoWhereSc = 0.25;
double cg_epsilon = 1e-08;
int cg_verbosity = 0;
FILE* cgradDribble = nullptr;
int cgradMAXX = 2050;
int cgradMAXB = 2050;
double cgradDefinizer = -1.0;
Vector* cgradDampV = nullptr;
Vector* cgradMassVec = nullptr;

CGObserver cg_observer = nullptr;
void* cg_observerData = nullptr;
int cg_stopped = 0;

double cgradEps = 1e-05;
double cgradTol = 0.0002;
double cgradNeptune = 1e+20;
int maxCGradPasses = 10;

CGTuning::CGTuning() = default;

CGTuning::CGTuning(double relative, const Vector& b) : CGTuning() {
  constexpr double smallest = std::numeric_limits<double>::min();
  constexpr double largest = std::numeric_limits<double>::max();
  const double bound = relative * b.mag();
  // the solvers compare by "less than cg_tol", but the bound itself must count as solved
  const double square = std::nextafter(bound * bound, largest);
  cg_tol = square > smallest && square < largest ? square : smallest;
  cg_epsilon = smallest;
  cg_goNoWhereSc = 10.0;
  cg_maxIters = maxCGradPasses = 30;
  bicg_numZeroSteps = 1000;
  // the older family treats a curvature below the square of cgradEps as zero, so that square must be far
  // below the bound
  cgradEps = std::min(1e-3 * cg_tol, 1e-8 * std::sqrt(cg_tol));
  cgradTol = 0.0;
  cgradNeptune = largest;
}

CGTuning::~CGTuning() = default;
