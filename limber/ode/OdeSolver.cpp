#include "limber/ode/OdeSolver.h"

#include "limber/foundation/detail/ReportSite.h"

using namespace limber::detail;

OdeSolver::OdeSolver(const OdeSolver&) = default;
OdeSolver& OdeSolver::operator=(const OdeSolver&) = default;

int OdeSolver::step(Vector*, double, double) {
  ReportSite{"Vectors", 971}.error("Generic solver can't solve");
  return 0;
}
