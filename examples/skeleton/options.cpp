#include "options.h"

#include "input_error.h"
#include "numbers.h"
#include "program_name.h"

const char usage[] =
    " [-p PATH] CLIP.bvh [FRAME]\n"
    "\n"
    "Prints the world position of every joint and end site of a motion clip (BVH, plain or gzip-compressed)\n"
    "in one frame, the first when none is named. Frames count from 1; lengths are in the clip's unit.\n"
    "\n"
    "  -p PATH   search path of the clip, elements separated by ';' or ':'\n"
    "  --help    this text\n"
    "  --version the version\n"
    "\n"
    "Exit status: 0 all is well; 1 bad input, or the table could not be written; 3 not enough memory.\n";

Options readOptions(int count, char** arguments) {
  Options options;
  bool frameGiven = false;
  for (int i = 1; i < count; ++i) {
    const std::string word = arguments[i];
    if (word == "--help") {
      options.help = true;
      return options;
    }
    if (word == "--version") {
      options.version = true;
      return options;
    }
    if (word == "-p") {
      if (++i == count) throw InputError(programName() + ": -p needs a search path");
      options.searchPath = arguments[i];
    } else if (word.size() > 1 && word[0] == '-' && options.clip.empty()) {
      throw InputError(programName() + ": unknown option " + quoted(word.c_str()) + "; --help shows all");
    } else if (options.clip.empty()) {
      options.clip = word;
    } else if (!frameGiven) {
      if (!parseInt(word.c_str(), &options.frame)) {
        throw InputError(programName() + ": expected a frame number, found " + quoted(word.c_str()));
      }
      frameGiven = true;
    } else {
      throw InputError(programName() + ": expected nothing after the frame, found " + quoted(word.c_str()));
    }
  }
  if (options.clip.empty()) throw InputError(programName() + ": no clip named; --help shows how to call it");
  return options;
}
