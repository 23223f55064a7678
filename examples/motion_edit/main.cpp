// Edits a motion clip: puts joints where a script says, or holds the feet where they stand, by the smallest
// smooth change of the joint angles.

#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "effort.h"
#include "failure.h"
#include "input_error.h"
#include "options.h"
#include "output_file.h"
#include "pictures.h"
#include "program_name.h"
#include "progress.h"

namespace {

using namespace limber::motion;

enum Status { Met = 0, BadInput = 1, NotMet = 2 };  // and exitNoMemory

constexpr double degrees = 180.0 / 3.14159265358979323846;

// The files of one run. Either all of them appear or none.
class Outputs {
 public:
  void add(const std::string& path, const std::string& text) {
    files_.push_back(std::make_unique<OutputFile>(path));
    std::fwrite(text.data(), 1, text.size(), files_.back()->stream());
  }

  void finish() {
    for (const auto& file : files_) file->complete();
    for (const auto& file : files_) file->finish();
    std::string names;
    for (std::size_t i = 0; i < files_.size(); ++i) {
      names += (i == 0 ? "" : i + 1 == files_.size() ? " and " : ", ") + files_[i]->path();
    }
    if (!names.empty()) std::printf("wrote %s\n", names.c_str());
  }

 private:
  std::vector<std::unique_ptr<OutputFile>> files_;
};

void complain(const std::string& sentence) {
  std::fprintf(stderr, "%s: %s\n", programName().c_str(), sentence.c_str());
}

// The files that the options ask for. A list of plants needs none that is not named.
std::vector<std::string> outputsOf(const Options& options) {
  std::vector<std::string> outputs;
  if (!options.plantScript.empty()) outputs.push_back(options.plantScript);
  if (!options.report.empty()) outputs.push_back(options.report);
  if (options.listPlants && !options.outputGiven) return outputs;
  outputs.push_back(options.output + ".bvh");
  if (options.preconditioners) outputs.push_back(options.output + "-preconditioners.ai");
  if (!options.pictures) return outputs;
  for (const char* end : {".ai", "-speed.ai", "-convergence.ai"}) outputs.push_back(options.output + end);
  return outputs;
}

// Checks before the computation that all files can be written, that none of them is an input, and that none
// is written twice.
void checkOutputs(const Options& options) {
  const std::vector<std::string> outputs = outputsOf(options);
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    for (const std::string& input : {options.clip, options.script}) {
      if (!input.empty() && sameFile(outputs[i], input)) {
        throw InputError(programName() + ": " + outputs[i] + " is read, and must not be written over");
      }
    }
    for (std::size_t j = 0; j < i; ++j) {
      if (sameFile(outputs[i], outputs[j])) {
        throw InputError(programName() + ": " + outputs[i] + " would be written twice");
      }
    }
  }
  for (const std::string& output : outputs) OutputFile::requireWritable(output);
}

void describe(const Options& options, const Clip& clip, double height) {
  std::printf("%s: %zu joints and end sites, %d channels, %d frames, %.4g a second, body height %.5g\n",
              options.clip.c_str(), clip.joints.size(), clip.channels, clip.frames, 1.0 / clip.frameTime,
              height);
  for (const std::string& note : clip.notes) std::printf("note: %s\n", note.c_str());
  if (clip.up != Up::Y) std::printf("note: %s is up\n", nameOf(clip.up).c_str());
  for (const GimbalLock& lock : findGimbalLock(clip)) {
    std::printf("note: %s is near gimbal lock in %d frames, nearest in frame %d (%.1f degrees away)\n",
                clip.joints[static_cast<std::size_t>(lock.joint)].name.c_str(), lock.frames, lock.worst + 1,
                lock.distance * degrees);
  }
}

void listPlants(const Clip& clip, const Contacts& contacts, double height) {
  std::printf("%-24s %13s %15s   %-36s %s\n", "joint", "frames", "seconds", "place (clip's unit)",
              "above ground (heights)");
  for (const Contact& c : contacts.list) {
    std::printf("%-24s %6d-%-6d %7.3f-%-7.3f   %11.5g %11.5g %11.5g   %.4f\n",
                clip.joints[static_cast<std::size_t>(c.joint)].name.c_str(), c.first + 1, c.last + 1,
                c.first * clip.frameTime, (c.last + 1) * clip.frameTime, c.place.x, c.place.y, c.place.z,
                (upright(c.place, clip.up).y - contacts.ground) / height);
  }
}

// The constraints: the targets of the script, and the contacts if there is no script or if it has the line
// "plants".
struct Requests {
  Contacts plants;
  std::vector<Constraint> targets;
  bool planted = true;  // the contacts that were found are held

  std::vector<Constraint> all() const {
    std::vector<Constraint> both = constraintsOf(plants);
    both.insert(both.end(), targets.begin(), targets.end());
    sortByFrame(&both);
    return both;
  }
};

Requests requestsOf(const Options& options, const Clip& clip, const Contacts& found) {
  Requests requests = {found, {}, true};
  if (options.script.empty()) return requests;
  const Script script = readScript(options.script, options.path(), clip);
  if (script.constraints.empty() && !script.plants) {
    throw InputError(options.script + ": no constraints in the script");
  }
  requests.targets = script.constraints;
  requests.planted = script.plants;
  if (script.plants) {
    requests.plants = contactsBeside(found, requests.targets);
  } else {
    requests.plants.list.clear();
  }
  return requests;
}

int statusOf(const Report& report) { return report.met ? Met : report.impossible ? BadInput : NotMet; }

void printNote(const Contacts& found) {
  if (!found.note.empty()) std::printf("note: %s\n", found.note.c_str());
}

int run(const Options& options) {
  checkOutputs(options);
  Clip clip = readClip(options.clip, options.path());
  if (options.up) clip.up = *options.up;
  const Clip before = clip;
  const double height = Skeleton(clip).height();
  describe(options, clip, height);
  const Contacts found = findContacts(clip);
  const Requests requests = requestsOf(options, clip, found);
  Progress progress;
  EditOptions how = options.edit;
  how.observer = [&](const EditStep& step) { return progress.goesOn(step); };
  Edit edit(clip, how);
  Outputs outputs;
  if (!options.plantScript.empty()) outputs.add(options.plantScript, scriptOf(found, clip));
  if (options.listPlants) {
    printNote(found);
    listPlants(clip, found, height);
    outputs.finish();
    return found.list.empty() ? BadInput : Met;
  }

  if (requests.planted || !options.plantScript.empty()) printNote(found);
  const std::vector<Constraint> all = requests.all();
  std::printf("%zu contacts of %zu joints, %zu targets in %zu frames of joints\n",
              requests.plants.list.size(), found.feet.size(), requests.targets.size(), all.size());
  const std::string effort = whyStepsTakeLong(clip, all, requests.plants.feet, options.edit.knots);
  if (!effort.empty()) std::printf("note: %s\n", effort.c_str());
  std::fflush(stdout);
  edit.plant(requests.plants);
  edit.add(requests.targets);
  const Report report = edit.solve();
  if (QuietAllocations::failed()) throw std::bad_alloc();
  if (!all.empty()) std::fputs(textOf(report).c_str(), stdout);

  outputs.add(options.output + ".bvh", textOf(clip));
  if (options.pictures) {
    const Scene scene(before, clip, found, all);
    outputs.add(options.output + ".ai", drawMotion(scene, options.figures));
    outputs.add(options.output + "-speed.ai", drawSpeeds(scene));
    outputs.add(options.output + "-convergence.ai", drawConvergence(report));
  }
  if (options.preconditioners && !all.empty()) {
    const std::vector<Convergence> runs = comparePreconditioners(before, all, options.edit);
    outputs.add(options.output + "-preconditioners.ai", drawPreconditioners(runs));
  }
  if (!options.report.empty()) outputs.add(options.report, jsonOf(report));
  outputs.finish();
  if (progress.stopped()) complain("stopped by Ctrl-C; the best motion so far was written");
  for (const std::string& reason : report.reasons) complain(reason);
  return statusOf(report);
}

}  // namespace

int main(int count, char** arguments) {
  setProgramName(arguments[0], "limber-motion-edit");
  const QuietAllocations quiet;
  try {
    const int status = run(readOptions(count, arguments));
    requireStandardOutput(programName());
    return status;
  } catch (...) {
    return reportException(programName().c_str());
  }
}
