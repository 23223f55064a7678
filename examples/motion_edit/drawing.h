#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "editor.h"
#include "names.h"

/// Draws an edit as an Illustrator file: above, stick figures before (grey) and after (blue) at some frames,
/// with the constrained points (red); below, the paths of the constrained joints and the hands, before and
/// after, enlarged.
void drawEdit(const Clip& before, const Clip& after, const std::vector<Constraint>& constraints, int figures,
              std::FILE* out);

/// One solver's squared residuals, iteration after iteration.
struct ConvergenceCurve {
  std::string name;
  double seconds;
  std::vector<double> residuals;
};

/// Draws the logarithm of the relative residual over the iterations.
void drawConvergence(const std::vector<ConvergenceCurve>& curves, std::FILE* out);
