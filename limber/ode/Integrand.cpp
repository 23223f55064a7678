#include "limber/ode/Integrand.h"

#include "limber/foundation/detail/ReportSite.h"

using namespace limber::detail;

Integrand::Integrand(const Integrand&) = default;
Integrand& Integrand::operator=(const Integrand&) = default;

int Integrand::fprime(Vector*, double, Vector*) {
  ReportSite{"Vectors", 1098}.error("Evaluate generic Integrand");
  return 0;
}
