#pragma once

#include <new>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/foundation/detail/Sharing.h"
#include "limber/linalg/Vector.h"

namespace limber::detail {

/// References to the fields that hold a solver's work vectors. Either all exist or, without memory, all are
/// null.
template <int N>
struct WorkVectors {
  Vector** fields[N];

  /// Creates the vectors with `n` elements each. A failure is reported once, at `site`, and leaves the fields
  /// null.
  void create(int n, const ReportSite& site) const {
    for (Vector** field : fields) {
      *field = new (std::nothrow) Vector(n < 0 ? 0 : n);
      if (*field) continue;
      site.fatal(newFails);
      drop();
      return;
    }
  }

  /// Shares the vectors of another solver.
  void share(const Vector* const (&others)[N]) const {
    bool complete = true;
    for (int i = 0; i < N; ++i) {
      copyShared(*fields[i], const_cast<Vector*>(others[i]));
      complete &= *fields[i] != nullptr;
    }
    if (!complete) drop();
  }

  void drop() const {
    for (Vector** field : fields) dropShared(*field);
  }

  /// Gives every vector the size of the state. False, after a report, if there is no memory.
  bool grow(int size) const {
    for (Vector** field : fields) {
      Vector* const vector = *field;
      if (!vector) return false;
      if (vector->size() == size) continue;
      vector->grow(size);
      if (vector->size() != size) return false;
    }
    return true;
  }
};

}  // namespace limber::detail
