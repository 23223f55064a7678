#include "drawing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "chart.h"

namespace {

const Pnt3 grey(0.62, 0.62, 0.62), blue(0.10, 0.35, 0.75), red(0.85, 0.12, 0.12), green(0.10, 0.55, 0.25);

/// Draws into memory and copies that to `out`: the writer closes its stream, and says nothing of a full disk.
template <class Draw>
void drawTo(std::FILE* out, Draw draw) {
  char* text = nullptr;
  std::size_t length = 0;
  std::FILE* const memory = open_memstream(&text, &length);
  if (!memory) throw std::bad_alloc();
  {
    AIPSWriter writer(memory, nullptr, 0, 0, 576, 720);
    draw(&writer);
  }
  std::fwrite(text, 1, length, out);
  std::free(text);
}

/// A clip seen from the side: across is the horizontal axis along which the root travels most.
class SideView {
 public:
  SideView(const Clip& before, const Clip& after) {
    for (const Clip* clip : {&before, &after}) {
      const Skeleton skeleton(*clip);
      std::vector<std::vector<Pnt3>> track;
      for (int f = 0; f < clip->frames; f++) track.push_back(skeleton.positions(clip->frame(f)));
      tracks_.push_back(track);
    }
    Pnt3 low = root(0), high = root(0);
    for (int f = 0; f < before.frames; f++) {
      low.includeMin(root(f));
      high.includeMax(root(f));
    }
    alongX_ = high.x - low.x > high.z - low.z;
    travel_ = std::max(high.x - low.x, high.z - low.z);
  }

  double across(const Pnt3& p) const { return alongX_ ? p.x : p.z; }
  const Pnt3& at(bool after, int frame, int joint) const {
    return tracks_[after][static_cast<std::size_t>(frame)][static_cast<std::size_t>(joint)];
  }
  double travel() const { return travel_; }
  const char* axis() const { return alongX_ ? "x" : "z"; }

 private:
  const Pnt3& root(int frame) const { return tracks_[0][static_cast<std::size_t>(frame)][0]; }

  std::vector<std::vector<std::vector<Pnt3>>> tracks_;
  bool alongX_ = false;
  double travel_ = 0.0;
};

struct Range {
  double low = 1e300, high = -1e300;
  void include(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  void widen(double part) {
    const double by = part * (high - low);
    low -= by;
    high += by;
  }
};

std::vector<int> chosenFrames(int frames, int figures) {
  std::vector<int> chosen;
  for (int i = 0; i < figures; i++)
    chosen.push_back(figures == 1 ? frames / 2 : i * (frames - 1) / (figures - 1));
  chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
  return chosen;
}

/// Joints whose paths are drawn: the constrained ones, and the ends of the arms, which are called hands.
std::vector<int> pathJoints(const Clip& clip, const std::vector<Constraint>& constraints) {
  std::vector<int> joints;
  for (std::size_t j = 0; j < clip.joints.size(); j++) {
    const bool constrained = std::any_of(constraints.begin(), constraints.end(),
                                         [&](const Constraint& c) { return c.joint == static_cast<int>(j); });
    const std::string& name = clip.joints[j].name;
    const bool hand = name.size() >= 4 && name.compare(name.size() - 4, 4, "Hand") == 0;
    if (constrained || hand) joints.push_back(static_cast<int>(j));
  }
  return joints;
}

void drawFigure(AIPSWriter* writer, const Chart& chart, const Clip& clip, const SideView& view, bool after,
                int frame, double shift) {
  writer->beginGroup();
  for (std::size_t j = 1; j < clip.joints.size(); j++) {
    const Pnt3& a = view.at(after, frame, clip.joints[j].parent);
    const Pnt3& b = view.at(after, frame, static_cast<int>(j));
    writer->line2(chart.x(view.across(a) + shift), chart.y(a.y), chart.x(view.across(b) + shift),
                  chart.y(b.y));
  }
  writer->endGroup();
}

/// What a figure spans, before and after.
void includeFigure(const Clip& clip, const SideView& view, int frame, double shift, Range* across,
                   Range* up) {
  for (const bool after : {false, true}) {
    for (int j = 0; j < static_cast<int>(clip.joints.size()); j++) {
      const Pnt3& p = view.at(after, frame, j);
      across->include(view.across(p) + shift);
      up->include(p.y);
    }
  }
}

/// Where each figure is moved. A performer who stays in place is drawn frame beside frame.
std::vector<double> figureShifts(const Clip& clip, const SideView& view, const std::vector<int>& frames) {
  const double height = Skeleton(clip).height();
  double widest = 0.3 * height;
  for (const int f : frames) {
    Range across, up;
    includeFigure(clip, view, f, 0.0, &across, &up);
    widest = std::max(widest, across.high - across.low);
  }
  std::vector<double> shifts;
  for (std::size_t i = 0; i < frames.size(); i++) {
    shifts.push_back(view.travel() < 1.5 * height ? static_cast<double>(i) * 1.1 * widest : 0.0);
  }
  return shifts;
}

/// Returns the lower edge of its panel, which is as high as the figures need.
double drawFigures(AIPSWriter* writer, const Clip& clip, const SideView& view,
                   const std::vector<Constraint>& constraints, int figures) {
  constexpr double top = 670.0, width = 500.0;
  const std::vector<int> frames = chosenFrames(clip.frames, figures);
  const std::vector<double> shifts = figureShifts(clip, view, frames);
  Range across, up;
  for (std::size_t i = 0; i < frames.size(); i++)
    includeFigure(clip, view, frames[i], shifts[i], &across, &up);
  across.widen(0.04);
  const double unit = (across.high - across.low) / width;  // the length of a page point
  up.low -= 16.0 * unit;                                   // the frame numbers
  up.high += 8.0 * unit;
  const double height = std::clamp((up.high - up.low) / unit, 120.0, 280.0);

  Chart chart(writer, 50, top - height, width, height);
  chart.setRange(across.low, across.high, up.low, up.high);
  chart.makeEqual();
  chart.drawAxes("Before (grey) and after (blue), constrained points (red)",
                 std::string(view.axis()) + (shifts.back() > 0.0 ? " (cm), figures side by side" : " (cm)"),
                 "y (cm)");
  writer->setLineCap(1);
  for (const bool after : {false, true}) {
    writer->setWidth(after ? 1.3 : 1.0);
    writer->strokeRGB(after ? blue : grey);
    for (std::size_t i = 0; i < frames.size(); i++) {
      drawFigure(writer, chart, clip, view, after, frames[i], shifts[i]);
    }
  }
  writer->reset();
  writer->setWidth(1.2);
  writer->strokeRGB(red);
  for (const Constraint& wish : constraints) {
    const auto found = std::find(frames.begin(), frames.end(), wish.frame);
    if (found == frames.end()) continue;
    const double shift = shifts[static_cast<std::size_t>(found - frames.begin())];
    writer->tick(chart.x(view.across(wish.target) + shift), chart.y(wish.target.y), 3);
  }
  for (std::size_t i = 0; i < frames.size(); i++) {
    const Pnt3& root = view.at(true, frames[i], 0);
    chart.label(view.across(root) + shifts[i], up.low + 4.0 * unit, std::to_string(frames[i] + 1), 7);
  }
  return top - height;
}

void drawPaths(AIPSWriter* writer, const Clip& clip, const SideView& view,
               const std::vector<Constraint>& constraints, double top) {
  const std::vector<int> joints = pathJoints(clip, constraints);
  Range across, up;
  for (const int j : joints) {
    for (int f = 0; f < clip.frames; f++) {
      for (const bool after : {false, true}) {
        across.include(view.across(view.at(after, f, j)));
        up.include(view.at(after, f, j).y);
      }
    }
  }
  across.widen(0.04);
  up.widen(0.08);

  Chart chart(writer, 50, 60, 500, top - 60);
  chart.setRange(across.low, across.high, up.low, up.high);
  chart.drawAxes("Paths of hands and constrained joints", std::string(view.axis()) + " (cm)",
                 "y (cm), enlarged");
  for (const bool after : {false, true}) {
    writer->setWidth(after ? 1.0 : 0.8);
    writer->strokeRGB(after ? blue : grey);
    for (const int j : joints) {
      for (int f = 0; f < clip.frames; f++) {
        const Pnt3& p = view.at(after, f, j);
        if (f == 0) {
          writer->m(chart.x(view.across(p)), chart.y(p.y));
        } else {
          writer->L(chart.x(view.across(p)), chart.y(p.y));
        }
      }
      writer->stroke();
    }
  }
  writer->setWidth(0.7);
  writer->strokeRGB(red);
  for (const Constraint& wish : constraints) {
    writer->tick(chart.x(view.across(wish.target)), chart.y(wish.target.y), 2);
  }
}

}  // namespace

void drawEdit(const Clip& before, const Clip& after, const std::vector<Constraint>& constraints, int figures,
              std::FILE* out) {
  const SideView view(before, after);
  drawTo(out, [&](AIPSWriter* writer) {
    const double bottom = drawFigures(writer, before, view, constraints, figures);
    drawPaths(writer, before, view, constraints, bottom - 70);
  });
}

void drawConvergence(const std::vector<ConvergenceCurve>& curves, std::FILE* out) {
  const auto across = [](std::size_t i) { return std::log10(1.0 + static_cast<double>(i)); };
  const auto up = [](const ConvergenceCurve& curve, std::size_t i) {
    return 0.5 * std::log10(std::max(curve.residuals[i], 1e-300) / std::max(curve.residuals[0], 1e-300));
  };
  Range iterations, logs;
  iterations.include(1.0);
  logs.include(0.0);
  for (const ConvergenceCurve& curve : curves) {
    for (std::size_t i = 0; i < curve.residuals.size(); i++) {
      iterations.include(across(i));
      logs.include(std::max(up(curve, i), -16.0));
    }
  }
  drawTo(out, [&](AIPSWriter* writer) {
    constexpr double width = 480.0, height = 250.0;
    Chart chart(writer, 60, 50, width, height);
    chart.setRange(0.0, iterations.high, std::floor(logs.low), std::ceil(logs.high + 0.1));
    chart.drawAxes("Convergence of the first step, by preconditioner", "1 + iterations", "|r| / |r0|", true);
    const double unitX = chart.x1() / width, unitY = chart.y(chart.y1()) / height;
    const Pnt3 colours[] = {red, green, blue};
    for (std::size_t c = 0; c < curves.size(); c++) {
      const ConvergenceCurve& curve = curves[c];
      if (curve.residuals.empty()) continue;
      writer->setWidth(1.2);
      writer->strokeRGB(colours[c % 3]);
      writer->clipBoxStart(0.0);
      for (std::size_t i = 0; i < curve.residuals.size(); i++) {
        const double x = chart.x(across(i)), y = chart.y(up(curve, i));
        if (i == 0) {
          writer->m(x, y);
        } else {
          writer->L(x, y);
        }
      }
      writer->stroke();
      writer->clipBoxEnd();

      char text[160];
      const std::size_t count = curve.residuals.size() - 1;
      std::snprintf(text, sizeof text, "%s: %zu iteration%s, %.2g s", curve.name.c_str(), count,
                    count == 1 ? "" : "s", curve.seconds);
      const double level = chart.y1() - (height - 20.0 - 14.0 * static_cast<double>(c)) * unitY;
      chart.line(250 * unitX, level, 270 * unitX, level);
      chart.label(275 * unitX, level - 3.0 * unitY, text, 9);
    }
  });
}
