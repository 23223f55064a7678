#include "limber/ode/OdeSolver.h"

#include "limber/foundation/detail/ReportSite.h"

OdeSolver::OdeSolver(const OdeSolver&) = default;
OdeSolver& OdeSolver::operator=(const OdeSolver&) = default;

int OdeSolver::step(Vector*, double, double) {
  limber::detail::ReportSite{"Vectors", 971}.error("Generic solver can't solve");
  return 0;
}
