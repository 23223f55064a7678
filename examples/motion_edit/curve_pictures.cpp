// Curves over time and over steps.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "chart.h"
#include "page.h"
#include "pictures.h"

namespace {

// Draws a line of the legend: a stroke in the current colour and its meaning.
void legend(AIPSWriter* writer, Chart* chart, int row, const std::string& text) {
  const double unitX = (chart->x1() - chart->x0()) / chart->width(),
               unitY = (chart->y1() - chart->y0()) / chart->height();
  const double y = chart->y1() - (14.0 + 13.0 * row) * unitY, x = chart->x1() - 215.0 * unitX;
  chart->line(x, y, x + 20.0 * unitX, y);
  writer->reset();
  chart->label(x + 25.0 * unitX, y - 3.0 * unitY, text, 9);
}

}  // namespace

std::string drawSpeeds(const Scene& scene) {
  // The largest horizontal speed of the standing joints from this frame to the next; below 0 if nothing
  // stands.
  std::vector<double> speeds[2];
  double mean[2] = {0.0, 0.0}, highest = 0.0;
  int steps = 0;
  for (std::vector<double>& all : speeds) all.assign(static_cast<std::size_t>(scene.frames()), -1.0);
  const std::vector<Scene::Target>& targets = scene.targets();
  std::vector<std::vector<int>> standing(static_cast<std::size_t>(scene.frames()));
  for (const Scene::Target& target : targets) {
    if (target.stands && target.held)
      standing[static_cast<std::size_t>(target.frame)].push_back(target.joint);
  }
  for (int f = 0; f + 1 < scene.frames(); ++f) {
    const std::vector<int>& next = standing[static_cast<std::size_t>(f + 1)];
    for (const int j : standing[static_cast<std::size_t>(f)]) {
      if (!std::count(next.begin(), next.end(), j)) continue;
      ++steps;
      for (const bool after : {false, true}) {
        const Pnt3 way = scene.at(after, f + 1, j) - scene.at(after, f, j);
        const double speed = std::hypot(way.x, way.z) / scene.frameTime();
        double& largest = speeds[after][static_cast<std::size_t>(f)];
        largest = std::max(largest, speed);
        mean[after] += speed;
        highest = std::max(highest, speed);
      }
    }
  }
  return drawnPage([&](AIPSWriter* writer) {
    Chart chart(writer, 60, 50, 480, 250);
    chart.setRange(0.0, scene.frames() * scene.frameTime(), 0.0, std::max(1.05 * highest, 1e-3));
    chart.drawAxes("Horizontal speed of the feet that stand (the fastest one)", "seconds",
                   "body heights a second");
    for (const bool after : {false, true}) {
      const auto pen = [&] {
        writer->setWidth(after ? 1.4 : 1.0);
        writer->strokeRGB(after ? leftColour : Pnt3(0.5, 0.5, 0.5));
      };
      pen();
      Polyline line(writer);
      for (int f = 0; f + 1 < scene.frames(); ++f) {
        const double speed = speeds[after][static_cast<std::size_t>(f)];
        if (speed < 0.0) {
          line.gap();
        } else {
          line.to(chart.x((f + 0.5) * scene.frameTime()), chart.y(speed));
        }
      }
      line.gap();
      char text[80];
      std::snprintf(text, sizeof text, "%s: mean %.2g", after ? "after" : "before",
                    mean[after] / std::max(1, steps));
      pen();
      legend(writer, &chart, after, text);
    }
  });
}

std::string drawConvergence(const limber::motion::Report& report) {
  std::vector<double> misses = {report.steps.empty() ? report.missBefore : report.steps[0].before};
  for (const limber::motion::EditStep& step : report.steps) misses.push_back(step.after);
  const auto logOf = [](double miss) { return std::log10(std::max(miss, 1e-12)); };
  Range logs;
  logs.include(logOf(report.goal > 0.0 ? report.goal : 1e-4));
  for (const double miss : misses) logs.include(logOf(miss));
  return drawnPage([&](AIPSWriter* writer) {
    Chart chart(writer, 60, 50, 480, 250);
    chart.setRange(0.0, std::max<double>(1.0, static_cast<double>(misses.size()) - 1.0),
                   std::floor(logs.low - 0.1), std::ceil(logs.high + 0.1));
    chart.drawAxes("Convergence of the edit", "steps", "largest miss, body heights", Chart::Powers::Up);
    writer->strokeRGB(red);
    writer->setDash(4, 3);
    const double goal = logOf(report.goal > 0.0 ? report.goal : 1e-4);
    chart.line(0.0, goal, chart.x1(), goal);
    legend(writer, &chart, 1, "goal");
    writer->strokeRGB(leftColour);
    writer->setWidth(1.4);
    {
      Polyline line(writer);
      for (std::size_t i = 0; i < misses.size(); ++i)
        line.to(chart.x(static_cast<double>(i)), chart.y(logOf(misses[i])));
    }
    for (std::size_t i = 0; i < misses.size(); ++i) {
      writer->fillRGB(leftColour);
      writer->dot(chart.x(static_cast<double>(i)), chart.y(logOf(misses[i])), 2);
    }
    writer->strokeRGB(leftColour);
    char text[80];
    std::snprintf(text, sizeof text, "%zu steps, %.2g s", report.steps.size(), report.seconds);
    legend(writer, &chart, 0, text);
  });
}

std::string drawPreconditioners(const std::vector<Convergence>& runs) {
  const Pnt3 colours[] = {Pnt3(0.5, 0.5, 0.5), rightColour, leftColour, red};
  const double least = 1e-9;
  std::size_t longest = 1;
  for (const Convergence& run : runs) longest = std::max(longest, run.residuals.size());
  return drawnPage([&](AIPSWriter* writer) {
    Chart chart(writer, 60, 50, 480, 250);
    chart.setRange(0.0, static_cast<double>(longest), std::log10(least), 1.0);
    chart.drawAxes("Conjugate gradients on the first step's dual system, by preconditioner", "iterations",
                   "residual", Chart::Powers::Up);
    for (std::size_t k = 0; k < runs.size(); ++k) {
      const auto pen = [&] {
        writer->setWidth(1.4);
        writer->strokeRGB(colours[k % 4]);
      };
      pen();
      {
        Polyline line(writer);
        line.to(chart.x(0.0), chart.y(0.0));
        for (std::size_t i = 0; i < runs[k].residuals.size(); ++i) {
          const double residual = std::clamp(runs[k].residuals[i], least, 10.0);
          line.to(chart.x(static_cast<double>(i) + 1.0), chart.y(std::log10(residual)));
        }
      }
      char text[120];
      std::snprintf(text, sizeof text, "%s: %zu iteration%s, %.2g s", runs[k].name.c_str(),
                    runs[k].residuals.size(), runs[k].residuals.size() == 1 ? "" : "s", runs[k].seconds);
      pen();
      legend(writer, &chart, static_cast<int>(k) + 12, text);  // in the lower corner, below the slow curves
    }
  });
}
