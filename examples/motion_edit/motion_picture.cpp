// Stick figures, and the paths of hands and feet.

#include <algorithm>
#include <cmath>
#include <string>

#include "chart.h"
#include "page.h"
#include "pictures.h"

namespace {

constexpr double left = 50.0, width = 500.0;  // of the panels, in points
constexpr double leastWay = 0.2;              // heights: figures nearer to one another are drawn side by side

const Pnt3& colourOf(Side side) {
  return side == Side::Left ? leftColour : side == Side::Right ? rightColour : dark;
}

// Evenly spaced frames. For each reach, the nearest of them is replaced by the middle of the reach.
std::vector<int> chosenFrames(const Scene& scene, int figures) {
  std::vector<int> chosen;
  for (int i = 0; i < figures; ++i) {
    const int last = scene.frames() - 1, way = last - scene.first();
    chosen.push_back(figures == 1 ? scene.frames() / 2 : scene.first() + i * way / (figures - 1));
  }
  Range reach;
  const auto show = [&] {
    if (reach.high < reach.low) return;
    const int middle = static_cast<int>((reach.low + reach.high) / 2);
    *std::min_element(chosen.begin(), chosen.end(),
                      [&](int a, int b) { return std::abs(a - middle) < std::abs(b - middle); }) = middle;
    reach = Range();
  };
  for (const Scene::Target& target : scene.targets()) {
    if (target.stands || !target.held) continue;
    if (target.frame > reach.high + 1) show();
    reach.include(target.frame);
  }
  show();
  std::sort(chosen.begin(), chosen.end());
  chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
  return chosen;
}

// One figure of the drawing: a frame, and by how much it is shifted along the ground.
struct Figure {
  int frame;
  double shift;
};

class Figures {
 public:
  Figures(AIPSWriter* writer, const Scene& scene, int figures) : writer_(writer), scene_(scene) {
    double widest = 0.3;
    const std::vector<int> frames = chosenFrames(scene, figures);
    for (const int f : frames) {
      Range across, up;
      include({f, 0.0}, &across, &up);
      widest = std::max(widest, across.size());
    }
    for (std::size_t i = 1; i < frames.size(); ++i) {
      const double way =
          scene.at(false, frames[i], scene.root()).x - scene.at(false, frames[i - 1], scene.root()).x;
      beside_ = beside_ || way < leastWay;
    }
    double shift = 0.0;
    for (const int f : frames) {
      figures_.push_back({f, beside_ ? shift - scene.at(false, f, scene.root()).x : 0.0});
      shift += 1.1 * widest;
    }
  }

  // Draws the panel below `top`, and returns the lower edge of its frame.
  double draw(double top) {
    Range across, up;
    up.include(-0.05);
    for (const Figure& figure : figures_) include(figure, &across, &up);
    across.widen(0.04);
    const double unit = across.size() / width;  // the length of a page point
    up.low -= 14.0 * unit;                      // for the frame numbers
    up.high += 8.0 * unit;
    const double high = std::clamp(up.size() / unit, 110.0, 270.0);
    Chart chart(writer_, left, top - high, width, high);
    chart.setRange(across.low, across.high, up.low, up.high);
    chart.makeEqual();
    chart.drawAxes("Before (grey) and after (left side blue, right side orange); bars: feet that stand",
                   std::string("body heights along the way") + (beside_ ? ", figures side by side" : ""),
                   "height");
    chart_ = &chart;
    drawGround();
    for (const Figure& figure : figures_) drawBefore(figure);
    for (const Figure& figure : figures_) drawAfter(figure);
    for (const Figure& figure : figures_) drawReaches(figure);
    writer_->reset();
    for (const Figure& figure : figures_) {
      const double at = scene_.at(true, figure.frame, scene_.root()).x + figure.shift;
      chart.label(at - 6.0 * unit, up.low + 4.0 * unit, std::to_string(figure.frame + 1), 7);
    }
    return top - high;
  }

 private:
  Pnt3 place(const Figure& figure, bool after, int joint) const {
    return scene_.at(after, figure.frame, joint) + Pnt3(figure.shift, 0, 0);
  }

  void include(const Figure& figure, Range* across, Range* up) const {
    for (const bool after : {false, true}) {
      for (int j = scene_.root(); j < static_cast<int>(scene_.joints().size()); ++j) {
        const Pnt3 p = place(figure, after, j);
        across->include(p.x);
        up->include(p.y);
      }
    }
  }

  void line(const Pnt3& a, const Pnt3& b) { chart_->line(a.x, a.y, b.x, b.y); }

  // Draws the ground, with thick lines where feet stand, those of the left side above those of the right.
  void drawGround() {
    writer_->strokeRGB(earth);
    writer_->setWidth(0.7);
    chart_->line(chart_->x0(), 0.0, chart_->x1(), 0.0);
    writer_->setLineCap(0);
    for (const Figure& figure : figures_) {
      for (const Scene::Foot& foot : scene_.feet()) {
        if (!stands(foot, figure.frame)) continue;
        const Pnt3 heel = place(figure, true, foot.heel), tip = place(figure, true, foot.sole.back());
        writer_->strokeRGB(colourOf(scene_.side(foot.ankle)));
        writer_->setWidth(2.5);
        const double below = scene_.side(foot.ankle) == Side::Left ? -0.015 : -0.035;
        chart_->line(heel.x, below, tip.x, below);
      }
    }
    writer_->reset();
  }

  bool stands(const Scene::Foot& foot, int frame) const {
    for (const Scene::Target& target : scene_.targets()) {
      if (target.frame == frame && target.stands &&
          std::count(foot.sole.begin(), foot.sole.end(), target.joint))
        return true;
    }
    return false;
  }

  void drawBones(const Figure& figure, bool after) {
    writer_->setLineCap(1);
    for (const Side side : {Side::Right, Side::Middle, Side::Left}) {
      if (after) writer_->strokeRGB(colourOf(side));
      writer_->beginGroup();
      for (int j = 1; j < static_cast<int>(scene_.joints().size()); ++j) {
        if (!scene_.isDrawn(j) || scene_.side(j) != side) continue;
        line(place(figure, after, scene_.joints()[static_cast<std::size_t>(j)].parent),
             place(figure, after, j));
      }
      for (const Scene::Foot& foot : scene_.feet()) {
        if (scene_.side(foot.ankle) == side) drawFoot(figure, foot, after);
      }
      writer_->endGroup();
    }
  }

  // Draws a foot from the ankle to the heel, along the sole to the tip of the toes, and back over the instep.
  void drawFoot(const Figure& figure, const Scene::Foot& foot, bool after) {
    const Pnt3 ankle = place(figure, after, foot.ankle), heel = place(figure, after, foot.heel);
    const Pnt3 tip = place(figure, after, foot.sole.back());
    const Pnt3 ball = foot.sole.size() > 2 ? place(figure, after, foot.sole[foot.sole.size() - 2]) : tip;
    const auto x = [&](const Pnt3& p) { return chart_->x(p.x); };
    const auto y = [&](const Pnt3& p) { return chart_->y(p.y); };
    if (after) {
      const Pnt3& c = colourOf(scene_.side(foot.ankle));
      writer_->fillRGB(c * 0.35 + Pnt3(0.65, 0.65, 0.65));
      writer_->polyAndStroke(4, x(ankle), y(ankle), x(heel), y(heel), x(ball), y(ball), x(tip), y(tip));
    } else {
      writer_->closedLine(4, x(ankle), y(ankle), x(heel), y(heel), x(ball), y(ball), x(tip), y(tip));
    }
  }

  void drawHead(const Figure& figure, bool after) {
    if (scene_.head() < 0) return;
    const int neck = scene_.joints()[static_cast<std::size_t>(scene_.head())].parent;
    const Pnt3 from = place(figure, after, neck), way = place(figure, after, scene_.head()) - from;
    const Pnt3 centre = from + way * (way.length() > 0.0 ? scene_.headRadius() / way.length() : 0.0);
    writer_->fillGray(1.0);
    writer_->circle(chart_->x(centre.x), chart_->y(centre.y), scene_.headRadius());
    writer_->closeFillAndStroke();
  }

  void drawBefore(const Figure& figure) {
    writer_->setWidth(0.9);
    writer_->strokeRGB(grey);
    drawBones(figure, false);
    drawHead(figure, false);
  }

  void drawAfter(const Figure& figure) {
    writer_->setWidth(1.7);
    drawBones(figure, true);
    writer_->strokeRGB(dark);
    drawHead(figure, true);
  }

  void drawReaches(const Figure& figure) {
    writer_->setWidth(1.4);
    writer_->strokeRGB(red);
    for (const Scene::Target& target : scene_.targets()) {
      if (target.frame != figure.frame || target.stands) continue;
      writer_->tick(chart_->x(target.place.x + figure.shift), chart_->y(target.place.y), 4);
    }
  }

  AIPSWriter* writer_;
  const Scene& scene_;
  std::vector<Figure> figures_;
  bool beside_ = false;
  Chart* chart_ = nullptr;
};

// The joints whose paths are drawn: hands and ankles.
std::vector<int> pathJoints(const Scene& scene) {
  std::vector<int> joints = scene.hands();
  for (const Scene::Foot& foot : scene.feet()) joints.push_back(foot.ankle);
  for (const Scene::Target& target : scene.targets()) {
    if (!target.stands && !std::count(joints.begin(), joints.end(), target.joint))
      joints.push_back(target.joint);
  }
  return joints;
}

// Draws the paths seen from the side (x and y) or from above (x and z), in a panel between `bottom` and
// `top`.
void drawPaths(AIPSWriter* writer, const Scene& scene, bool above, double bottom, double top) {
  const std::vector<int> joints = pathJoints(scene);
  const auto up = [&](const Pnt3& p) { return above ? -p.z : p.y; };
  Range across, upward;
  for (const int j : joints) {
    for (int f = scene.first(); f < scene.frames(); ++f) {
      for (const bool after : {false, true}) {
        across.include(scene.at(after, f, j).x);
        upward.include(up(scene.at(after, f, j)));
      }
    }
  }
  if (joints.empty()) across.include(0.0), upward.include(0.0);
  across.widen(0.04);
  upward.widen(0.1);
  Chart chart(writer, left, bottom, width, top - bottom);
  chart.setRange(across.low, across.high, upward.low, upward.high);
  chart.drawAxes(above ? "The same from above" : "Paths of hands and ankles from the side, targets red",
                 above ? "body heights along the way" : "", above ? "to the left" : "height");
  writer->setLineCap(1);
  for (const bool after : {false, true}) {
    for (const int j : joints) {
      writer->setWidth(after ? 1.1 : 0.8);
      writer->strokeRGB(after ? colourOf(scene.side(j)) : grey);
      Polyline line(writer);
      for (int f = scene.first(); f < scene.frames(); ++f) {
        const Pnt3& p = scene.at(after, f, j);
        line.to(chart.x(p.x), chart.y(up(p)));
      }
    }
  }
  writer->setWidth(0.8);
  writer->strokeRGB(red);
  for (const Scene::Target& target : scene.targets()) {
    const bool shown = std::count(joints.begin(), joints.end(), target.joint) > 0;
    if (shown) writer->tick(chart.x(target.place.x), chart.y(up(target.place)), target.stands ? 1.5 : 3.0);
  }
}

}  // namespace

std::string drawMotion(const Scene& scene, int figures) {
  return drawnPage([&](AIPSWriter* writer) {
    const double bottom = Figures(writer, scene, figures).draw(690.0);
    const double floor = 45.0, gap = 45.0, room = bottom - 50.0 - gap - floor;
    drawPaths(writer, scene, false, floor + gap + 0.38 * room, bottom - 50.0);
    drawPaths(writer, scene, true, floor, floor + 0.38 * room);
  });
}
