#pragma once

/// @file
/// The interface of preconditioners.

#include "limber/Api.h"

class Vector;

LIMBER_FIXED_TABLE_BEGIN

/// An approximation P of the operator M whose inverse is cheap to apply. This base class is the identity.
/// There is no virtual destructor: delete a preconditioner through a pointer to its own class.
class LIMBER_API Preconditioner {
 public:
  /// z = P^-1 r, overwriting z. Here z takes r's length and values.
  virtual void solve(const Vector* r, Vector* z);
};

LIMBER_FIXED_TABLE_END
